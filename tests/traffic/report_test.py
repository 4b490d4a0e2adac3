"""The page that vex-traffic report makes, in a browser.  usage: report_test.py FOLDER_OF_PROGRAMS"""

import os
import shutil
import signal
import subprocess
import sys
import tempfile

from browser import Browser

HOSTILE = '</script><img src=x onerror=document.title="owned"><script>document.title="owned"</script>'
OVERFLOW = "Math.max(document.documentElement.scrollWidth, document.body.scrollWidth) - innerWidth"
failed = []


def check(rule, is_true, *values):
    if not is_true:
        failed.append(rule)
        print("FAILED:", rule, *values)


def make_capture(programs, folder):
    """Runs with a fault, failures, hostile words, and measurements that change."""
    phone, capture = folder + "/phone", folder + '/"><img src=x>.pcapng'
    env = {**os.environ, "HOME": folder, "VEX_PHONE": phone, "VEX_CAPTURE": capture,
           "VEX_SHELL_LEVELS": "0", "VEX_LOG_LEVELS": "0"}

    def vex(*words):
        subprocess.run([programs + "/vex", *words], env=env, stdout=subprocess.DEVNULL, timeout=30)

    vex("4", "1", "0", "550")
    vex("4", "1", "0", HOSTILE)
    vex("5", "10", "1", "0")
    config = open(phone + "/phone.toml").read()
    for level in ("-80.5", "-90.5"):
        with open(phone + "/phone.toml", "w") as file:
            file.write('fault = [{service = "vendor", kind = "response", action = "duplicate"}]\n' +
                       config.replace("rsrp = [-91.5", "rsrp = [" + level))
        vex("9", "0", "0")
    vex("4", "1", "0", "550")
    return capture


def report(programs, capture, page):
    subprocess.run([programs + "/vex-traffic", "report", capture, "-o", page], check=True, timeout=60)


def see_contents(browser, requests):
    run = browser.run
    check("every exchange is there", run("byId('shown').textContent") == f"{requests} of {requests} exchanges",
          run("byId('shown').textContent"), requests)
    check("failures and faults are marked",
          run("!!document.querySelector('.row.failed .mark.bad') && rows.some((row) => row.fault)"))
    browser.key("n")
    check("the next failure is opened with its fields",
          "No such file or directory" in run("details.panel.innerText"), run("details.panel.innerText"))
    browser.key("Escape")
    run("byId('scroller').focus()")
    browser.key("Home")
    browser.key("ArrowDown")
    browser.key("Enter")
    text = run("details.panel.innerText")
    check("an exchange is opened by the keyboard", "IMEI" in text and "08 1A 32 54" in text, text)
    browser.key("Escape")
    run("byId('search').value = 'get parameters rsrp_rx0'; byId('search').dispatchEvent(new Event('input'))")
    browser.wait("byId('shown').textContent.startsWith('2 of ')")
    check("a search leaves what has all of its words",
          run("[...document.querySelectorAll('.row b')].map((b) => b.textContent).join()") == "vs,vs")
    run("byId('search').value = ''; byId('show').value = 'failures'; refresh()")
    check("failures alone", run("sequence.shown.length > 0 && sequence.shown.every((row) => failuresOf(row).length)"))
    run("byId('show').value = 'all'; refresh(); tabs[1].click()")
    browser.wait("document.querySelector('figure path')")
    check("a chart has a line for each chain, with what was measured",
          run("""[...document.querySelectorAll('figure')].filter((f) => f.innerText.includes('LTE primary \\u00b7 RSRP'))
                 .map((f) => f.querySelectorAll('path').length + f.getAttribute('aria-label'))""")
          == ["4LTE primary \u00b7 RSRP: 8 samples, -97 to -80.5 dBm"],
          run("[...document.querySelectorAll('figure')].map((f) => f.getAttribute('aria-label'))"))
    check("hostile texts stay texts",
          run("document.images.length === 0 && document.scripts.length === 2 && document.title !== 'owned'"))
    check("and are shown", run("rows.some((row) => row.kind === 'run' && row.text.includes('</script><img'))"))


def see_looks(browser):
    grounds = {}
    for width in (360, 1280):
        for scheme in ("light", "dark"):
            browser.look(width, scheme)
            for tab in range(3):
                browser.run(f"tabs[{tab}].click()")
                check(f"{width} pixels hold view {tab}", browser.run(OVERFLOW) <= 0)
            browser.run("tabs[0].click(); sequence.select(1, true)")
            check(f"{width} pixels hold an open exchange", browser.run(OVERFLOW) <= 0)
            browser.run("details.close()")
            grounds[scheme] = browser.run("getComputedStyle(document.body).backgroundColor")
    check("light and dark differ", grounds["light"] != grounds["dark"], grounds)


def see_many(browser, requests):
    browser.look(1280, "light")
    check("ten thousand exchanges, of which few are drawn",
          browser.run("rows.filter(hasMessages).length") == requests and
          browser.run("document.querySelectorAll('.row').length") < 100)
    browser.run("byId('scroller').scrollTop = 1e9")
    browser.wait("document.getElementById('row-' + (sequence.shown.length - 1))")


def main(programs, folder):
    capture, page, many = make_capture(programs, folder), folder + "/page.html", folder + "/many"
    report(programs, capture, page)
    printed = subprocess.run([programs + "/vex-traffic", "print", capture], stdout=subprocess.PIPE,
                             check=True, timeout=60, text=True).stdout
    requests = sum(" request " in line for line in printed.splitlines())
    times = 10000 // requests + 1
    with open(many, "wb") as file:
        for _ in range(times):
            file.write(open(capture, "rb").read())
    report(programs, many, many + ".html")
    browser = Browser(shutil.which("chromium"))
    try:
        browser.look(1280, "light")
        browser.open(page)
        see_contents(browser, requests)
        see_looks(browser)
        browser.open(many + ".html")
        see_many(browser, requests * times)
        urls = {event["request"]["url"] for event in browser.seen("Network.requestWillBeSent")}
        check("nothing is fetched", urls == {"file://" + page, "file://" + many + ".html"}, urls)
        check("no script fails", not browser.seen("Runtime.exceptionThrown"),
              browser.seen("Runtime.exceptionThrown"))
    finally:
        browser.close()


if __name__ == "__main__":
    if not shutil.which("chromium"):
        print("SKIPPED: tools/install capture installs chromium")
        sys.exit(77)
    signal.signal(signal.SIGALRM, lambda *_: sys.exit("FAILED: the page does not get there"))
    signal.alarm(60)
    with tempfile.TemporaryDirectory() as scratch:
        main(sys.argv[1], scratch)
    sys.exit(1 if failed else 0)
