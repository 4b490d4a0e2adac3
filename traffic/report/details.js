// One exchange with all of its fields.

class Details {
  constructor(onClose) {
    this.panel = byId("details");
    this.onClose = onClose;
    this.panel.addEventListener("keydown", (event) => { if (event.key === "Escape") this.close(); });
  }

  open(row) {
    this.panel.hidden = false;
    this.panel.replaceChildren(...this.contents(row));
    this.panel.scrollTop = 0;
    if (matchMedia("(max-width: 760px)").matches) this.panel.querySelector("button").focus();
  }

  close() {
    if (this.panel.hidden) return;
    this.panel.hidden = true;
    this.onClose();
  }

  contents(row) {
    const close = make("button", { type: "button", "aria-label": "Close", title: "Close (Esc)" }, "\u2715");
    close.addEventListener("click", () => this.close());
    const first = hasMessages(row) ? firstMessage(row) : null;
    const title = first ? serviceName(first) + " \u00b7 " + messageName(first)
                        : { note: row.fault ? "Fault" : "Note", control: "Name service" }[row.kind];
    const parts = [make("div", { class: "bar" }, make("h2", {}, title), close), facts(row, first)];
    for (const message of messagesOf(row)) parts.push(...messageParts(message, row));
    return parts;
  }
}

function facts(row, first) {
  const all = [["Time", localTime(row.t) + "  (" + seconds(row.t) + " s)"]];
  if (row.text) all.push(["Text", row.text]);
  if (first) {
    all.push(["Message", hex4(first.message) + " of service " + hex4(first.service)],
      ["Client", first.client], ["Server", first.server], ["Transaction", String(first.transaction)]);
    if (tookOf(row) !== undefined) all.push(["Took", duration(tookOf(row))]);
    if (failuresOf(row).length) all.push(["Failed", failuresOf(row).join(", ")]);
    for (const fault of row.faults) all.push(["Fault", fault]);
  }
  return make("dl", {}, ...all.flatMap(([name, value]) => [make("dt", {}, name), make("dd", { class: "mono" }, value)]));
}

function localTime(ns) {
  const time = new Date(capture.begun_ms + ns / 1e6);
  const two = (number) => String(number).padStart(2, "0");
  return `${time.getFullYear()}-${two(time.getMonth() + 1)}-${two(time.getDate())} ` +
    `${two(time.getHours())}:${two(time.getMinutes())}:${two(time.getSeconds())}.${String(time.getMilliseconds()).padStart(3, "0")}`;
}

function messageParts(message, row) {
  const since = message === row.request ? seconds(message.t) + " s" : "+" + duration(message.t - row.t);
  const parts = [make("h3", {}, message.type[0].toUpperCase() + message.type.slice(1), make("small", {}, since))];
  if (message.problem) parts.push(make("p", { class: "mark bad" }, message.problem));
  if (message.datagram) parts.push(make("code", { class: "hex" }, message.datagram));
  if (message.values.length) parts.push(fieldList(message.values, new Set(message.failures)));
  else if (!message.problem) parts.push(make("p", { class: "empty" }, "without fields"));
  return parts;
}

function fieldList(fields, failures) {
  return make("ul", { class: "fields" }, ...fields.map(([name, value, meaning], i) => {
    const label = name === "" ? String(i) : name;
    const inside = value !== null && typeof value === "object" && (value.fields || value.items);
    if (inside) {
      const count = value.items ? " (" + value.items.length + ")" : "";
      return make("li", {}, make("details", { open: "" }, make("summary", { class: "mono" }, label + count), fieldList(inside, failures)));
    }
    return make("li", {}, make("span", { class: "name mono" }, label),
      make("span", { class: "value mono" }, plainValue(value)),
      meaning ? make("span", { class: "meaning" + (failures.has(meaning) ? " bad" : "") }, meaning) : null);
  }));
}
