// Statistics records over time: a chart for each quantity of a record, a line for each chain.

// Fields by their names: the chart's title, its unit, and the line's name in the first group.
const quantities = [
  [/^rsrp(?:_(rx\d))?$/, "RSRP", "dBm"],
  [/^rsrq(?:_(rx\d))?$/, "RSRQ", "dB"],
  [/^rssi(?:_(rx\d))?$/, "RSSI", "dBm"],
  [/^snr(?:_(rx\d))?$/, "SNR", "dB"],
  [/^rx_agc_(\d)$/, "AGC", "dBm"],
  [/^rx_([pd]rx)$/, "RX level", "dBm"],
  [/^((?:pusch_|pusch_ex_)?tx_power|max_power)$/, "TX power", "dBm"],
  [/^dl_path_loss$/, "Path loss", "dB"],
  [/^ant_(.x_\d_(?:old|new))$/, "Antennas", ""],
  [/^((?:ant|sig)_.*|(?:old|new)_config)$/, "Antenna", ""],
];
const scanGroup = "Network scans";
const notPlotted = new Set(["version", "leading", "stack_max", "rx_valid", "rest"]);

function valueOf(fields, name) {
  const field = fields.find((one) => one[0] === name);
  return field ? field[1] : undefined;
}

function chartsOf(rows) {
  const charts = new Map();
  const add = (group, title, unit, line, t, value, row, meaning) => {
    const key = group + "|" + title;
    if (!charts.has(key)) charts.set(key, { group, title, unit, lines: new Map(), names: new Map() });
    const chart = charts.get(key);
    if (!chart.lines.has(line)) chart.lines.set(line, []);
    chart.lines.get(line).push({ t, value, row });
    if (meaning) chart.names.set(value, meaning);
  };
  for (const row of rows) {
    for (const message of messagesOf(row)) {
      if (message.type === "request") continue;
      const networks = message.service_name === "nas" && valueOf(message.values, "networks");
      if (networks) add(scanGroup, "Networks found", "", "networks", message.t, networks.items.length, row);
      if (message.service_name !== "vs") continue;
      const records = valueOf(message.values, "parameters");
      for (const [, record] of records ? records.items : []) addRecord(record.fields, message.t, row, add);
    }
  }
  return [...charts.values()];
}

function addRecord(fields, t, row, add) {
  const data = valueOf(fields, "data");
  const id = fields.find((field) => field[0] === "id");
  if (!data || !data.fields || !id) return;
  const group = "Subscription " + valueOf(fields, "sub");
  for (const [name, value, meaning] of data.fields) {
    if (typeof value !== "number" || notPlotted.has(name)) continue;
    const found = quantities.map((one) => [one, one[0].exec(name)]).find(([, match]) => match);
    const title = (id[2] || hex4(id[1])) + " \u00b7 " + (found ? found[0][1] : name);
    add(group, title, found ? found[0][2] : "", lineName(found && found[1][1] || name), t, value, row, meaning);
  }
}

const lineName = (name) => (/^\d$/.test(name) ? "rx" + name : name.replaceAll("_", " "));

// About so many round numbers that span the range.
function ticks(low, high, about) {
  const raw = (high - low || 1) / about, power = 10 ** Math.floor(Math.log10(raw));
  const step = [1, 2, 5, 10].map((n) => n * power).find((n) => n >= raw * 0.999);
  const all = [];
  for (let n = Math.ceil(low / step - 1e-9); n * step <= high + step * 1e-9; ++n) all.push(Number((n * step).toPrecision(12)));
  return all;
}

// At most two samples a pixel: the least and the greatest.
function thinned(samples, x, width) {
  if (samples.length <= width * 2) return samples;
  const kept = [];
  for (let i = 0; i < samples.length;) {
    const column = Math.floor(x(samples[i].t));
    let low = samples[i], high = samples[i];
    for (; i < samples.length && Math.floor(x(samples[i].t)) === column; ++i) {
      if (samples[i].value < low.value) low = samples[i];
      if (samples[i].value > high.value) high = samples[i];
    }
    kept.push(...(low.t <= high.t ? [low, high] : [high, low]));
  }
  return kept;
}

class Chart {
  constructor(chart, end, onSample) {
    Object.assign(this, chart, { end, onSample });
    this.all = [...this.lines.values()].flat().sort((a, b) => a.t - b.t);
    const values = this.all.map((sample) => sample.value);
    this.low = values.reduce((a, b) => Math.min(a, b));
    this.high = values.reduce((a, b) => Math.max(a, b));
    this.holder = make("div");
    this.legend = make("ul", { class: "legend" });
    this.time = make("small", { class: "time" });
    this.figure = make("figure", { tabindex: "0", "aria-label": `${this.title}: ${plural(this.all.length, "sample")}, ${this.low} to ${this.high} ${this.unit}` },
      make("figcaption", {}, this.title + " ", make("small", {}, this.unit), this.time), this.holder, this.legend);
    this.figure.addEventListener("keydown", (event) => this.key(event));
    this.holder.addEventListener("pointermove", (event) => this.point(event));
    this.holder.addEventListener("pointerleave", () => this.mark(null));
    this.holder.addEventListener("click", () => this.at && this.onSample(this.at.row));
    this.mark(null);
    onWidth(this.holder, (width) => this.draw(width));
  }

  draw(width) {
    const left = 46, right = 10, top = 8, bottom = 20, height = 168;
    const pad = (this.high - this.low || 2) * 0.08;
    const low = this.low - pad, high = this.high + pad;
    this.x = (t) => left + (this.end ? t / this.end : 0.5) * (width - left - right);
    this.y = (value) => height - bottom - (value - low) / (high - low) * (height - top - bottom);
    const svg = draw("svg", { viewBox: `0 0 ${width} ${height}`, height, "aria-hidden": "true" });
    const whole = this.all.every((sample) => Number.isInteger(sample.value));
    for (const value of ticks(low, high, 4)) {
      if (whole && !Number.isInteger(value)) continue;
      svg.append(draw("line", { class: "grid", x1: left, x2: width - right, y1: this.y(value), y2: this.y(value) }),
        draw("text", { x: left - 6, y: this.y(value) + 4, "text-anchor": "end" }, this.names.get(value) || String(value)));
    }
    for (const t of ticks(0, this.end / 1e9, width / 110)) {
      svg.append(draw("text", { x: Math.min(this.x(t * 1e9), width - right - 14), y: height - 5, "text-anchor": t === 0 ? "start" : "middle" }, t + " s"));
    }
    [...this.lines.values()].forEach((samples, i) => svg.append(...this.line(samples, i, width)));
    this.cursor = draw("line", { class: "cursor", y1: top, y2: height - bottom, visibility: "hidden" });
    svg.append(this.cursor);
    this.holder.replaceChildren(svg);
  }

  line(samples, i, width) {
    const color = `var(--s${i % 6})`;
    const shown = thinned(samples, this.x, width);
    const at = (sample) => this.x(sample.t).toFixed(1) + " " + this.y(sample.value).toFixed(1);
    const path = draw("path", { d: "M" + shown.map(at).join("L"), "stroke-dasharray": i >= 6 ? "5 3" : "none" });
    path.style.stroke = color;
    if (samples.length > 60) return [path];
    return [path, ...samples.map((sample) => {
      const dot = draw("circle", { cx: this.x(sample.t), cy: this.y(sample.value), r: 2.6 });
      dot.style.fill = color;
      return dot;
    })];
  }

  point(event) {
    const box = this.holder.getBoundingClientRect(), x = event.clientX - box.left;
    let nearest = this.all[0];
    for (const sample of this.all) if (Math.abs(this.x(sample.t) - x) < Math.abs(this.x(nearest.t) - x)) nearest = sample;
    this.mark(nearest);
  }

  // Shows the values at a sample's time; the last ones without one.
  mark(sample) {
    this.at = sample;
    const items = [...this.lines].map(([name, samples], i) => {
      const one = sample ? samples.findLast((other) => other.t <= sample.t) : samples[samples.length - 1];
      const swatch = make("i");
      swatch.style.background = `var(--s${i % 6})`;
      return make("li", {}, swatch, name + " ", make("b", {}, one ? this.names.get(one.value) || String(one.value) : "\u2013"));
    });
    this.legend.replaceChildren(...items);
    this.time.textContent = sample ? seconds(sample.t) + " s" : "";
    if (!this.cursor) return;
    this.cursor.setAttribute("visibility", sample ? "visible" : "hidden");
    if (sample) { this.cursor.setAttribute("x1", this.x(sample.t)); this.cursor.setAttribute("x2", this.x(sample.t)); }
  }

  key(event) {
    const step = { ArrowRight: 1, ArrowLeft: -1 }[event.key];
    if (event.key === "Enter" && this.at) this.onSample(this.at.row);
    if (!step) return;
    event.preventDefault();
    const times = [...new Set(this.all.map((sample) => sample.t))];
    const at = this.at ? times.indexOf(this.at.t) + step : step > 0 ? 0 : times.length - 1;
    const t = times[Math.min(Math.max(at, 0), times.length - 1)];
    this.mark(this.all.find((sample) => sample.t === t));
  }
}

function showPlots(rows, end, onSample) {
  const panel = byId("plots");
  const groups = new Map();
  for (const chart of chartsOf(rows)) {
    if (!groups.has(chart.group)) groups.set(chart.group, []);
    groups.get(chart.group).push(chart);
  }
  const scans = (name) => Number(name === scanGroup);
  for (const name of [...groups.keys()].sort((a, b) => scans(a) - scans(b) || a.localeCompare(b))) {
    groups.get(name).sort((a, b) => (a.unit === "") - (b.unit === ""));
    panel.append(make("h2", { class: "group" }, name),
      make("div", { class: "charts" }, ...groups.get(name).map((chart) => new Chart(chart, end, onSample).figure)));
  }
  if (groups.size === 0) panel.append(make("p", { class: "empty" }, "The capture has no statistics records and no network scans."));
  return [...groups.values()].reduce((sum, charts) => sum + charts.length, 0);
}
