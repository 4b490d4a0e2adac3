#include "traffic/dissector/code.h"

namespace traffic {

const char* const kDissectorHead = R"lua(-- QMI in captures of vex. Made by vex-traffic dissector.
local vexqmi = Proto("vexqmi", "QMI")
local all = {}
local function keep(f) all[#all + 1] = f; return f end
local function unsigned(abbr, name, names)
  return keep(ProtoField.uint32(abbr, name, base.DEC, names))
end
local function long(abbr, name, names)
  return keep(ProtoField.uint64(abbr, name, base.DEC, names))
end
local function signed(abbr, name, names)
  return keep(ProtoField.int32(abbr, name, base.DEC, names))
end
local function decimal(abbr, name) return keep(ProtoField.float(abbr, name)) end
local function octets(abbr, name) return keep(ProtoField.bytes(abbr, name)) end
local function text(abbr, name) return keep(ProtoField.string(abbr, name)) end
local types = {[0] = "request", [2] = "response", [4] = "indication"}
local control = {[2] = "hello", [3] = "bye", [4] = "new server", [5] = "server gone",
                 [6] = "client gone", [10] = "look-up", [11] = "look-up ends"}
)lua";

const char* const kDissectorTail = R"lua(
local head = {
  service = keep(ProtoField.uint32("vexqmi.service", "service", base.HEX, service_names)),
  instance = keep(ProtoField.uint32("vexqmi.instance", "version and instance", base.HEX)),
  type = keep(ProtoField.uint8("vexqmi.type", "type", base.DEC, types)),
  transaction = keep(ProtoField.uint16("vexqmi.transaction", "transaction", base.DEC)),
  message = keep(ProtoField.uint16("vexqmi.message", "message", base.HEX)),
  control = keep(ProtoField.uint32("vexqmi.control", "name service", base.DEC, control)),
}
vexqmi.fields = all
local bad = ProtoExpert.new("vexqmi.bad", "not as the rows have it", expert.group.MALFORMED,
                            expert.severity.WARN)
vexqmi.experts = {bad}

-- Payload rows of requests, by who asked whom and the transaction; and of frames.
local asked, rows = {}, {}
function vexqmi.init() asked, rows = {}, {} end

local function number(range)
  if range:len() == 1 then return range:uint() end
  if range:len() == 8 then return range:le_uint64() end
  return range:le_uint()
end

local function show_payload(tree, range, fields)
  local size = range:len()
  for _, f in ipairs(fields) do
    if f.kind == "number" then
      if f.at + f.width <= size then tree:add_le(f.field, range(f.at, f.width)) end
    elseif f.at < size then
      local items = math.floor(math.min(f.room, size - f.at) / f.width)
      if f.count_width > 0 and f.count_at + f.count_width <= size then
        items = math.min(items, number(range(f.count_at, f.count_width)))
      elseif f.count_width > 0 then
        items = 0
      end
      if f.kind == "numbers" then
        for i = 0, items - 1 do tree:add_le(f.field, range(f.at + i * f.width, f.width)) end
      else
        if f.kind == "text" then
          for i = 0, items - 1 do
            if range(f.at + i, 1):uint() == 0 then items = i; break end
          end
        end
        if items > 0 then tree:add(f.field, range(f.at, items)) end
      end
    end
  end
end

local function show_record(tree, range, layout, rest)
  local at, size = 0, range:len()
  for _, f in ipairs(layout) do
    if at + f.width > size then break end
    tree:add_le(f.field, range(at, f.width))
    at = at + f.width
  end
  if at < size then tree:add(rest, range(at)) end
end

-- Returns the range behind the elements; nil when it ends before them.
local show
local function show_item(tree, range, e, at)
  if e.rows then return show(tree:add(vexqmi, range(at), e.name), range, e.rows, at) end
  if at + e.width > range:len() then return nil end
  tree:add_le(e.field, range(at, e.width))
  return at + e.width
end
function show(tree, range, elements, at, payload)
  local id
  for _, e in ipairs(elements) do
    local items = e.max
    if e.count_width > 0 then
      if at + e.count_width > range:len() then return nil end
      items = number(range(at, e.count_width))
      at = at + e.count_width
    end
    if e.kind == "octets" or e.kind == "text" then
      if at + items > range:len() then return nil end
      if payload and e.name == "data" then
        show_payload(tree:add(vexqmi, range(at, items), e.name),
                     range(at, math.min(items, payload.size)), payload.fields)
      elseif items > 0 and e.records and e.records[id] then
        show_record(tree:add(vexqmi, range(at, items), e.name), range(at, items), e.records[id],
                    e.rest)
      elseif items > 0 then
        tree:add(e.field, range(at, items))
      end
      at = at + items
    else
      for _ = 1, items do
        at = show_item(tree, range, e, at)
        if not at then return nil end
        if e.name == "id" and e.width then id = number(range(at - e.width, e.width)) end
      end
    end
  end
  return at
end

-- The payload row of a vendor request, from its family and the octets of its elements.
local function row_of(tlvs)
  local family, data = tlvs[1], tlvs[16]
  if not family or not data or family:len() ~= 4 then return nil end
  local id = family:le_uint()
  local width = selector_widths[id]
  if not width or data:len() < 12 then return nil end
  local selector, item = number(data(0, width)), data(item_at, 4):le_uint()
  for _, row in ipairs(payload_rows) do
    if row.family == id and (row.selector < 0 or row.selector == selector) and
       (row.item < 0 or row.item == item) then return row end
  end
  return nil
end

local function payload_of(service, header, key, frame, tlvs)
  if service ~= vendor_service then return nil end
  if not rows[frame] then
    local row = asked[key]
    if header.type == 0 then
      row = header.message == vendor_message and row_of(tlvs) or nil
      asked[key] = row
    end
    rows[frame] = {row = header.type ~= 4 and row or nil}
  end
  local row = rows[frame].row
  if not row or header.message ~= vendor_message or not tlvs[2] or tlvs[2]:len() ~= 4 then
    return nil
  end
  return {fields = header.type == 0 and row.request or row.response, size = tlvs[2]:le_uint()}
end

local function show_message(range, pinfo, tree, service, key)
  if range:len() < 7 then tree:add_proto_expert_info(bad); return end
  local header = {type = range(0, 1):uint(), transaction = range(1, 2):le_uint(),
                  message = range(3, 2):le_uint()}
  tree:add(head.type, range(0, 1))
  tree:add_le(head.transaction, range(1, 2))
  tree:add_le(head.message, range(3, 2))
  local known = services[service] and services[service][header.message]
  pinfo.cols.info = string.format("%s %s %s %d", service_names[service] or "?",
    known and known.name or "?", types[header.type] or "?", header.transaction)
  local at, tlvs = 7, {}
  while at + 3 <= range:len() do
    local size = range(at + 1, 2):le_uint()
    if at + 3 + size > range:len() then tree:add_proto_expert_info(bad); return end
    if size > 0 then tlvs[range(at, 1):uint()] = range(at + 3, size) end
    at = at + 3 + size
  end
  local payload = payload_of(service, header, key .. header.transaction, pinfo.number, tlvs)
  local message = known and known[header.type]
  if not message then return end
  for _, tlv in ipairs(message) do
    local value = tlvs[tlv.type]
    if value and show(tree, value, tlv.rows, 0, payload) ~= value:len() then
      tree:add_proto_expert_info(bad)
    end
  end
end

function vexqmi.dissector(tvb, pinfo, root)
  if tvb:len() < 28 or tvb(0, 1):uint() ~= 1 then return 0 end
  pinfo.cols.protocol = "QMI"
  local tree = root:add(vexqmi, tvb())
  local kind, service = tvb(1, 1):uint(), tvb(4, 4):le_uint()
  local function address(at) return tvb(at, 4):le_uint() .. "." .. tvb(at + 4, 4):le_uint() end
  local from, to = address(12), address(20)
  pinfo.cols.src, pinfo.cols.dst = from, to
  if kind == 0 then
    tree:add_le(head.service, tvb(4, 4))
    tree:add_le(head.instance, tvb(8, 4))
    local ends = {from, to}
    table.sort(ends)
    if tvb:len() > 28 then
      show_message(tvb(28), pinfo, tree, service, table.concat(ends, " ") .. " ")
    end
  elseif kind == 1 and tvb:len() >= 32 then
    tree:add_le(head.control, tvb(28, 4))
    pinfo.cols.info = "name service: " .. (control[tvb(28, 4):le_uint()] or "?")
  else
    pinfo.cols.info = "note"
  end
  return tvb:len()
end
)lua";

}  // namespace traffic
