// Which rows are shown: all of the words that are searched for, a service, failures.

function textOf(row) {
  if (row.searched !== undefined) return row.searched;
  const words = [row.text || "", ...failuresOf(row), ...(row.faults || [])];
  for (const message of messagesOf(row)) {
    words.push(serviceName(message), hex4(message.service), messageName(message), hex4(message.message),
      message.type, String(message.transaction), message.client, lineOf(message.values, Infinity));
  }
  return (row.searched = words.join(" ").toLowerCase());
}

function isShown(row, filter) {
  if (row.kind === "control" && !filter.control) return false;
  if (row.kind === "run") return filter.show === "all" && !filter.service && filter.words.length === 0;
  if (filter.service && !(hasMessages(row) && String(firstMessage(row).service) === filter.service)) return false;
  if (filter.show === "failures" && failuresOf(row).length === 0) return false;
  if (filter.show === "notes" && !(row.kind === "note" || (row.faults && row.faults.length))) return false;
  return filter.words.every((word) => textOf(row).includes(word));
}

function readFilter() {
  return {
    words: byId("search").value.toLowerCase().split(/\s+/).filter(Boolean),
    service: byId("service").value,
    show: byId("show").value,
    control: byId("control").checked,
  };
}
