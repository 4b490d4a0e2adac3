// The sequence chart: lanes of clients and services, a row an exchange. Only the rows that can be
// seen are in the document.

const rowHeight = 44;
const mostClients = 3;  // with a lane each; more share one
const mostServices = 12;

class Sequence {
  constructor(rows, onOpen) {
    this.all = rows;
    this.shown = rows;
    this.onOpen = onOpen;
    this.selected = -1;
    this.scroller = byId("scroller");
    this.holder = byId("rows");
    this.drawn = new Map();
    this.lanes = lanesOf(rows);
    this.scroller.addEventListener("scroll", () => this.schedule(), { passive: true });
    this.scroller.addEventListener("keydown", (event) => this.key(event));
    this.holder.addEventListener("click", (event) => {
      const row = event.target.closest(".row");
      if (row) this.select(Number(row.dataset.at), true);
    });
    onWidth(this.scroller, () => this.layOut());
    new ResizeObserver(() => this.schedule()).observe(this.scroller);
  }

  show(rows) {
    const kept = this.shown[this.selected];
    this.shown = rows;
    this.selected = kept ? rows.indexOf(kept) : -1;
    this.holder.style.height = rows.length * rowHeight + "px";
    this.clear();
    this.update();
  }

  clear() {
    this.holder.replaceChildren();
    this.drawn.clear();
  }

  // Places the lanes in the width that there is.
  layOut() {
    const width = this.scroller.clientWidth;
    const narrow = matchMedia("(max-width: 760px)").matches;
    const count = this.lanes.length;
    const lanes = Math.round(narrow ? Math.min(Math.max(64, count * 15), width * 0.4)
                                    : Math.min(Math.max(200, count * 96), width * 0.45));
    const margin = narrow ? 10 : 44;
    const step = count > 1 ? (lanes - 2 * margin) / (count - 1) : 0;
    this.lanes.forEach((lane, i) => { lane.x = Math.round(margin + i * step) + 0.5; });
    this.width = lanes;
    const head = byId("lanes");
    const steep = step < 60 && count > 1;
    head.style.height = steep ? "76px" : "28px";
    head.className = steep ? "steep" : "";
    const left = narrow ? 0 : 92;
    head.replaceChildren(...this.lanes.map((lane) => {
      const label = make("span", { class: lane.client ? "client" : "" }, lane.name);
      label.style.left = left + lane.x + "px";
      return label;
    }));
    this.scroller.style.setProperty("--lanes", lanes + "px");
    this.clear();
    this.update();
  }

  schedule() {
    if (this.waiting) return;
    this.waiting = true;
    requestAnimationFrame(() => { this.waiting = false; this.update(); });
  }

  range() {
    const top = this.scroller.scrollTop, height = this.scroller.clientHeight;
    return [Math.max(0, Math.floor(top / rowHeight)), Math.min(this.shown.length, Math.ceil((top + height) / rowHeight) + 1)];
  }

  update() {
    if (!this.width) return;
    const [first, end] = this.range();
    for (const [at, element] of this.drawn) {
      if (at < first - 8 || at >= end + 8) { element.remove(); this.drawn.delete(at); }
    }
    for (let at = Math.max(0, first - 8); at < Math.min(this.shown.length, end + 8); ++at) {
      if (!this.drawn.has(at)) this.add(at);
    }
    if (this.onView) this.onView(first, end);
  }

  add(at) {
    const element = this.element(this.shown[at]);
    element.dataset.at = at;
    element.id = "row-" + at;
    element.setAttribute("aria-setsize", this.shown.length);
    element.setAttribute("aria-posinset", at + 1);
    element.setAttribute("aria-selected", at === this.selected);
    element.style.top = at * rowHeight + "px";
    this.drawn.set(at, element);
    this.holder.append(element);
  }

  element(row) {
    if (!hasMessages(row)) {
      const mark = row.kind === "run" ? "\u25b8 " : row.fault ? "\u25b2 " : "";
      const text = make("div", { class: "head", title: row.text }, mark + (row.text || "a run"));
      return make("div", { class: "row " + row.kind + (row.fault ? " fault" : ""), role: "option" },
        make("span", { class: "time" }, seconds(row.t)), row.kind === "run" ? null : this.lifelines(),
        make("div", { class: "what" }, text));
    }
    const failures = failuresOf(row), first = firstMessage(row), took = tookOf(row);
    const head = make("div", { class: "head" }, make("b", {}, serviceName(first)), " \u00b7 " + messageName(first),
      row.kind === "indication" ? " indication" : "", make("span", { class: "about" }, aboutOf(row)));
    const tail = make("div", { class: "tail" },
      failures.length ? make("span", { class: "mark bad" }, "\u2715 " + failures.join(", ")) : null,
      row.faults.length ? make("span", { class: "mark fault" }, "\u25b2 fault") : null, summaryOf(row));
    return make("div", { class: "row " + row.kind + (row.faults.length ? " faulted" : "") + (failures.length ? " failed" : ""), role: "option" },
      make("span", { class: "time" }, seconds(row.t)), this.arrows(row),
      make("div", { class: "what" }, head, tail),
      make("span", { class: "took" }, took === undefined ? "" : duration(took)));
  }

  lifelines() {
    const svg = draw("svg", { width: this.width, height: rowHeight, "aria-hidden": "true" });
    for (const lane of this.lanes) {
      svg.append(draw("line", { class: "life", x1: lane.x, x2: lane.x, y1: 0, y2: rowHeight }));
    }
    return svg;
  }

  arrows(row) {
    const svg = this.lifelines();
    const first = firstMessage(row);
    const client = laneOf(this.lanes, true, first.client), service = laneOf(this.lanes, false, first.service);
    if (row.request) svg.append(arrow("ask", client.x, service.x, 15));
    if (row.responses.length) {
      svg.append(arrow("answer", service.x, client.x, row.request ? 30 : 22));
    } else {
      const x = (client.x + service.x) / 2;
      svg.append(draw("path", { class: "lost", d: `M${x - 4} 26l8 8m0 -8l-8 8` }));
    }
    return svg;
  }

  select(at, open) {
    if (at < 0 || at >= this.shown.length) return;
    this.selected = at;
    const head = byId("lanes").offsetHeight;
    const top = at * rowHeight, view = this.scroller.clientHeight - head;
    if (top < this.scroller.scrollTop) this.scroller.scrollTop = top;
    if (top + rowHeight > this.scroller.scrollTop + view) this.scroller.scrollTop = top + rowHeight - view;
    this.update();
    for (const [i, element] of this.drawn) element.setAttribute("aria-selected", i === at);
    this.scroller.setAttribute("aria-activedescendant", "row-" + at);
    if (open && this.shown[at].kind !== "run") this.onOpen(this.shown[at]);
  }

  // The next failure in that direction, 1 or -1.
  nextFailure(step) {
    for (let i = 1; i <= this.shown.length; ++i) {
      const at = (Math.max(this.selected, step < 0 ? 0 : -1) + step * i + this.shown.length * 2) % this.shown.length;
      if (failuresOf(this.shown[at]).length) return this.select(at, true);
    }
    return undefined;
  }

  key(event) {
    const page = Math.max(1, Math.floor(this.scroller.clientHeight / rowHeight) - 2);
    const moves = { ArrowDown: 1, ArrowUp: -1, PageDown: page, PageUp: -page, Home: -Infinity, End: Infinity };
    if (event.key in moves) {
      const to = Math.min(Math.max(this.selected + moves[event.key], 0), this.shown.length - 1);
      this.select(to, !byId("details").hidden);
      event.preventDefault();
    } else if (event.key === "Enter") {
      this.select(this.selected, true);
      event.preventDefault();
    }
  }
}

function arrow(kind, from, to, y) {
  const back = from < to ? -7 : 7;
  return draw("g", { class: kind }, draw("line", { x1: from, x2: to + back / 2, y1: y, y2: y }),
    draw("path", { d: `M${to} ${y}l${back} -3.5v7z`, stroke: "none" }));
}

// What a request is about, by the names of its values.
function aboutOf(row) {
  const names = row.request ? [...new Set(meaningsOf(row.request.values.filter(inSummary)))].slice(0, 4) : [];
  return names.length ? names.join(", ") : "";
}

// Without the standard result, which the row shows when it is a failure, and what every message of
// the vendor service has.
const inSummary = ([name]) => name !== "resp" && name !== "id" && name !== "data_len";
function summaryOf(row) {
  const asked = row.request ? lineOf(row.request.values.filter(inSummary), 110) : "";
  const got = row.responses.length ? lineOf(row.responses[0].values.filter(inSummary), 160) : "";
  return asked && got ? asked + "  \u2192  " + got : asked || got;
}

function lanesOf(rows) {
  const clients = new Set(), services = new Map();
  for (const row of rows) {
    if (!hasMessages(row)) continue;
    const message = firstMessage(row);
    clients.add(message.client);
    services.set(message.service, serviceName(message));
  }
  const lanes = clients.size > mostClients ? [{ client: true, key: null, name: plural(clients.size, "client") }]
                                           : [...clients].map((key) => ({ client: true, key, name: key }));
  const kept = [...services].slice(0, mostServices);
  for (const [key, name] of kept) lanes.push({ client: false, key, name });
  if (kept.length < services.size) lanes.push({ client: false, key: null, name: "others" });
  return lanes;
}

function laneOf(lanes, client, key) {
  const side = lanes.filter((lane) => lane.client === client);
  return side.find((lane) => lane.key === key) || side[side.length - 1];
}
