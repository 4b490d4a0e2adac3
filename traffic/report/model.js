// The capture as rows: exchanges, indications, runs, notes and packets of the name service.

const capture = JSON.parse(byId("data").textContent);

const serviceName = (message) => message.service_name || hex4(message.service);
const messageName = (message) => message.message_name || "?";

function messageRow(message) {
  return {
    kind: message.type === "indication" ? "indication" : "exchange",
    t: message.t,
    request: message.type === "request" ? message : null,
    responses: message.type === "request" ? [] : [message],
    faults: [],
  };
}

function rowsOf(events) {
  const rows = [];
  const rowOfMessage = [];
  let last = null;
  let t = 0, run = null;
  for (const event of events) {
    if (event.t !== undefined) t = event.t;
    if (run && event.t !== undefined) {
      run.t = t;  // a run has no time of its own
      run = null;
    }
    if (event.run !== undefined) {
      run = { kind: "run", t, text: event.run };
      rows.push(run);
      last = null;
    } else if (event.note !== undefined) {
      const fault = /^(modem: )?fault:/.test(event.note);
      rows.push({ kind: "note", t, text: event.note, fault });
      if (fault && last) last.faults.push(event.note);
    } else if (event.control !== undefined) {
      rows.push({ kind: "control", t, text: event.control });
    } else {
      const asked = event.answers === undefined ? undefined : rowOfMessage[event.answers];
      if (asked) {
        asked.responses.push(event);
      } else {
        rows.push(messageRow(event));
      }
      last = asked || rows[rows.length - 1];
      rowOfMessage.push(last);
    }
  }
  return rows;
}

// What went wrong with a row, for its reader.
function failuresOf(row) {
  if (row.failures) return row.failures;
  const all = [];
  if (row.kind === "exchange" || row.kind === "indication") {
    for (const message of messagesOf(row)) {
      all.push(...(message.failures || []));
      if (message.problem) all.push(message.problem);
    }
    if (row.kind === "exchange" && row.responses.length === 0) all.push("no response");
    if (row.kind === "exchange" && !row.request) all.push("no request");
    if (row.responses.length > 1) all.push(row.responses.length + " responses");
  }
  return (row.failures = [...new Set(all)]);
}

const messagesOf = (row) => (row.request ? [row.request, ...row.responses] : row.responses || []);
const firstMessage = (row) => row.request || row.responses[0];
const hasMessages = (row) => row.kind === "exchange" || row.kind === "indication";
const tookOf = (row) => (row.request && row.responses.length ? row.responses[0].t - row.t : undefined);

// Values in one line, up to about so many characters.
function lineOf(values, most) {
  const words = [];
  let length = 0;
  const walk = (fields, around) => {
    for (const [name, value, meaning] of fields) {
      if (length > most) return;
      const label = name === "" ? around : name;
      if (value !== null && typeof value === "object") {
        if (value.fields || value.items) {
          walk(value.fields || value.items, label);
          continue;
        }
      }
      const text = label + "=" + plainValue(value, 24) + (meaning ? " (" + meaning + ")" : "");
      words.push(text);
      length += text.length;
    }
  };
  walk(values, "");
  return words.join("  ");
}

// What the numbers of a message stand for.
function meaningsOf(values) {
  const all = [];
  for (const [, value, meaning] of values) {
    const inside = value !== null && typeof value === "object" && (value.fields || value.items);
    if (inside) all.push(...meaningsOf(inside));
    if (meaning) all.push(meaning);
  }
  return all;
}

function plainValue(value, mostOctets) {
  if (value === null || typeof value !== "object") return String(value);
  if (value.text !== undefined) return JSON.stringify(value.text);
  const octets = value.octets;
  const shown = mostOctets && octets.length > mostOctets * 3 ? octets.slice(0, mostOctets * 3) + "\u2026" : octets;
  return "[" + shown + (value.count ? " \u2026 " + value.count + " octets" : "") + "]";
}
