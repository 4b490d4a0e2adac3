// A table of the messages: how often, how many failed, how long they took.

function showSummary(rows) {
  const lines = new Map();
  for (const row of rows) {
    if (!hasMessages(row)) continue;
    const first = firstMessage(row);
    const key = first.service + " " + first.message + " " + row.kind;
    if (!lines.has(key)) lines.set(key, { service: serviceName(first), message: messageName(first) + (row.kind === "indication" ? " indication" : ""), count: 0, failed: 0, times: [] });
    const line = lines.get(key);
    ++line.count;
    if (failuresOf(row).length) ++line.failed;
    if (tookOf(row) !== undefined) line.times.push(tookOf(row));
  }
  const cells = (line) => {
    const times = line.times.sort((a, b) => a - b);
    const at = (part) => (times.length ? duration(times[Math.floor((times.length - 1) * part)]) : "");
    return make("tr", {}, make("td", {}, line.service), make("td", {}, line.message),
      make("td", {}, String(line.count)), make("td", { class: line.failed ? "bad" : "" }, String(line.failed)),
      make("td", {}, at(0)), make("td", {}, at(0.5)), make("td", {}, at(0.95)), make("td", {}, at(1)));
  };
  const head = ["Service", "Message", "Count", "Failed", "Least", "Median", "95 %", "Most"];
  const sorted = [...lines.values()].sort((a, b) => a.service.localeCompare(b.service) || b.count - a.count);
  byId("summary").append(make("div", { class: "wide" }, make("table", {},
    make("thead", {}, make("tr", {}, ...head.map((name) => make("th", { scope: "col" }, name)))),
    make("tbody", {}, ...sorted.map(cells)))));
}
