// What connects the parts.

const rows = rowsOf(capture.events);
const runEnd = capture.events.reduce((end, event) => Math.max(end, event.t || 0), 0);
const details = new Details(() => byId("scroller").focus());
const sequence = new Sequence(rows, (row) => details.open(row));

function showTotals() {
  document.title = capture.name + " \u00b7 QMI traffic";
  byId("name").textContent = capture.name;
  const exchanges = rows.filter((row) => row.kind === "exchange").length;
  const failures = rows.filter((row) => failuresOf(row).length).length;
  const faults = rows.filter((row) => row.fault).length;
  byId("totals").append(`${localTime(0)} \u00b7 ${plural(exchanges, "exchange")} in ${duration(runEnd)} \u00b7 `,
    make("span", { class: failures ? "bad" : "" }, plural(failures, "failure")), " \u00b7 ",
    make("span", { class: faults ? "fault" : "" }, plural(faults, "fault")));
  byId("next-failure").disabled = failures === 0;
  const warnings = [];
  if (capture.damage) warnings.push("The capture could not be read to its end: " + capture.damage + ".");
  if (capture.left_out) warnings.push(plural(capture.left_out, "further message") + " left out: the page would be too large.");
  byId("warning").textContent = warnings.join(" ");
  byId("warning").hidden = warnings.length === 0;
}

// The run in a strip: how much happened when, and where the list is.
const strip = { bins: 240, height: 34, view: draw("rect", { class: "view", y: 0, height: 34 }) };
function showOverview(shown) {
  const bins = Array.from({ length: strip.bins }, () => ({ count: 0, bad: 0, fault: 0 }));
  const binOf = (t) => Math.min(strip.bins - 1, Math.floor(runEnd ? t / runEnd * strip.bins : 0));
  for (const row of shown) {
    const bin = bins[binOf(row.t)];
    ++bin.count;
    if (failuresOf(row).length) ++bin.bad;
    if (row.fault) ++bin.fault;
  }
  const most = Math.max(1, ...bins.map((bin) => bin.count));
  const svg = draw("svg", { viewBox: `0 0 ${strip.bins} ${strip.height}`, preserveAspectRatio: "none", "aria-hidden": "true" },
    draw("line", { class: "base", x1: 0, x2: strip.bins, y1: strip.height - 0.5, y2: strip.height - 0.5, "vector-effect": "non-scaling-stroke" }));
  bins.forEach((bin, i) => {
    for (const [count, kind] of [[bin.count, ""], [bin.fault, " fault"], [bin.bad, " bad"]]) {
      if (count === 0) continue;
      const height = 5 + (strip.height - 7) * Math.log1p(count) / Math.log1p(most);
      svg.append(draw("rect", { class: "bar" + kind, x: i + 0.1, width: 0.8, y: strip.height - height, height }));
    }
  });
  svg.append(strip.view);
  byId("overview").replaceChildren(svg);
  sequence.onView = (first, end) => {
    if (shown.length === 0) return;
    const from = binOf(shown[Math.min(first, shown.length - 1)].t), to = binOf(shown[Math.max(0, end - 1)].t);
    strip.view.setAttribute("x", from);
    strip.view.setAttribute("width", Math.max(1, to - from + 1));
  };
}
byId("overview").addEventListener("click", (event) => {
  const box = byId("overview").getBoundingClientRect();
  const t = (event.clientX - box.left) / box.width * runEnd;
  const at = sequence.shown.findIndex((row) => row.t >= t);
  sequence.select(at < 0 ? sequence.shown.length - 1 : at, false);
});

function refresh() {
  const filter = readFilter();
  const shown = rows.filter((row) => isShown(row, filter));
  showOverview(shown);
  sequence.show(shown);
  const found = shown.filter(hasMessages).length;
  byId("shown").textContent = found.toLocaleString("en") + " of " + plural(rows.filter(hasMessages).length, "exchange");
}

function fillServices() {
  const services = new Map();
  for (const row of rows) if (hasMessages(row)) services.set(firstMessage(row).service, serviceName(firstMessage(row)));
  byId("service").append(make("option", { value: "" }, "All services"),
    ...[...services].sort((a, b) => a[1].localeCompare(b[1])).map(([id, name]) => make("option", { value: id }, name)));
}

const tabs = [...document.querySelectorAll("[role=tab]")];
function showTab(tab) {
  for (const one of tabs) {
    one.setAttribute("aria-selected", one === tab);
    one.tabIndex = one === tab ? 0 : -1;
    byId(one.getAttribute("aria-controls")).hidden = one !== tab;
  }
}
tabs.forEach((tab, i) => {
  tab.addEventListener("click", () => showTab(tab));
  tab.addEventListener("keydown", (event) => {
    const step = { ArrowRight: 1, ArrowLeft: -1 }[event.key];
    if (!step) return;
    const next = tabs[(i + step + tabs.length) % tabs.length];
    showTab(next);
    next.focus();
  });
});

// A row of the sequence, whatever is filtered.
function reveal(row) {
  showTab(tabs[0]);
  if (!sequence.shown.includes(row)) {
    byId("search").value = byId("service").value = "";
    byId("show").value = "all";
    refresh();
  }
  sequence.select(sequence.shown.indexOf(row), true);
}

let searching = 0;
byId("search").addEventListener("input", () => { clearTimeout(searching); searching = setTimeout(refresh, 120); });
for (const id of ["service", "show", "control"]) byId(id).addEventListener("change", refresh);
byId("next-failure").addEventListener("click", () => sequence.nextFailure(1));
document.addEventListener("keydown", (event) => {
  if (event.ctrlKey || event.metaKey || event.altKey || event.target.matches("input, select")) return;
  if (event.key === "/") { showTab(tabs[0]); byId("search").focus(); event.preventDefault(); }
  if (event.key === "n" || event.key === "p") sequence.nextFailure(event.key === "n" ? 1 : -1);
  if (event.key === "Escape") details.close();
});
byId("search").addEventListener("keydown", (event) => { if (event.key === "Escape" || event.key === "Enter") byId("scroller").focus(); });

showTotals();
fillServices();
refresh();
showTab(tabs[0]);
tabs[1].append(` (${showPlots(rows, runEnd, reveal)})`);
showSummary(rows);
