"""A browser without a window, through the DevTools protocol on two pipes: no port, no library."""

import json
import os
import shutil
import subprocess
import tempfile
import time


class Browser:
    def __init__(self, program):
        self.home = tempfile.mkdtemp()
        there, self.to = os.pipe()
        self.back, back = os.pipe()
        high = [os.dup(there), os.dup(back)]

        def fds():  # it reads from 3 and writes to 4
            os.dup2(high[0], 3)
            os.dup2(high[1], 4)

        words = ["--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage",
                 "--no-first-run", "--disable-background-networking", "--disable-component-update",
                 "--remote-debugging-pipe", "--user-data-dir=" + self.home]
        self.process = subprocess.Popen(
            [program, *words], preexec_fn=fds, close_fds=False, env={**os.environ, "HOME": self.home},
            stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        for fd in (there, back, *high):
            os.close(fd)
        self.text, self.count, self.events = b"", 0, []
        target = self.call("Target.createTarget", url="about:blank")["targetId"]
        self.page = None
        self.page = self.call("Target.attachToTarget", targetId=target, flatten=True)["sessionId"]
        for domain in ("Page", "Runtime", "Network"):
            self.call(domain + ".enable")

    def message(self):
        while b"\0" not in self.text:
            more = os.read(self.back, 1 << 20)
            assert more, "the browser has ended"
            self.text += more
        one, self.text = self.text.split(b"\0", 1)
        return json.loads(one)

    def call(self, method, **parameters):
        self.count += 1
        request = {"id": self.count, "method": method, "params": parameters}
        if getattr(self, "page", None):
            request["sessionId"] = self.page
        os.write(self.to, json.dumps(request).encode() + b"\0")
        while True:
            message = self.message()
            if message.get("id") == self.count:
                assert "error" not in message, message
                return message["result"]
            self.events.append(message)

    def seen(self, method):
        return [event["params"] for event in self.events if event.get("method") == method]

    def open(self, path):
        loads = len(self.seen("Page.loadEventFired"))
        self.call("Page.navigate", url="file://" + path)
        while len(self.seen("Page.loadEventFired")) == loads:
            self.events.append(self.message())

    def run(self, script):
        result = self.call("Runtime.evaluate", expression=script, returnByValue=True,
                           awaitPromise=True)
        assert "exceptionDetails" not in result, result
        return result["result"].get("value")

    def wait(self, condition):
        while not self.run(f"!!({condition})"):
            time.sleep(0.02)

    def key(self, key):
        for kind in ("keyDown", "keyUp"):
            self.call("Input.dispatchKeyEvent", type=kind, key=key)

    def look(self, width, scheme):
        self.call("Emulation.setDeviceMetricsOverride", width=width, height=740,
                  deviceScaleFactor=1, mobile=False)
        self.call("Emulation.setEmulatedMedia",
                  features=[{"name": "prefers-color-scheme", "value": scheme}])
        self.run("new Promise((done) => requestAnimationFrame(() => requestAnimationFrame(done)))")

    def close(self):
        self.page = None
        try:
            self.call("Browser.close")
            self.process.wait(10)
        except (AssertionError, OSError, subprocess.TimeoutExpired):
            self.process.kill()
            self.process.wait()
        shutil.rmtree(self.home, ignore_errors=True)
