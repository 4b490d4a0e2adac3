#include "changes.h"

#include <set>
#include <sstream>
#include <string_view>
#include <tuple>

#include "qcci/wire/octets.h"
#include "sim/phone/phone.h"

namespace run {
namespace {

void add_files(const sim::Folder& folder, const char* kind, Snapshot* snapshot) {
  folder.list([&](const std::string& path, size_t) {
    std::string contents;
    // A file that has gone meanwhile, or cannot be read, counts as empty.
    std::ignore = folder.read(path, &contents);
    (*snapshot)[{kind, path}] = contents;
  });
}

std::string shown(const std::string& kind, const std::string& contents) {
  constexpr size_t kShown = 24;  // octets on one line
  if (kind == "property") return contents;
  std::string text =
      qcci::to_hex(qcci::as_octets(std::string_view(contents).substr(0, kShown)), " ");
  if (contents.size() > kShown) text += " ... " + std::to_string(contents.size()) + " octets";
  return text;
}

}  // namespace

bool take_snapshot(Snapshot* snapshot, std::string* why) {
  const sim::Phone phone(sim::Phone::default_root());
  if (!phone.prepare(why)) return false;
  snapshot->clear();
  add_files(phone.nv(), "nv", snapshot);
  add_files(phone.efs(), "efs", snapshot);
  add_files(phone.folder("pdc"), "selection", snapshot);
  std::string text;
  std::ignore = phone.all().read("properties", &text);  // none yet
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    const size_t equals = line.find('=');
    if (equals != std::string::npos) {
      (*snapshot)[{"property", line.substr(0, equals)}] = line.substr(equals + 1);
    }
  }
  return true;
}

std::vector<Change> changes(const Snapshot& before, const Snapshot& after) {
  std::set<Snapshot::key_type> keys;
  for (const auto& [key, contents] : before) keys.insert(key);
  for (const auto& [key, contents] : after) keys.insert(key);
  std::vector<Change> found;
  for (const auto& key : keys) {
    const auto was = before.find(key);
    const auto is = after.find(key);
    if (was != before.end() && is != after.end() && was->second == is->second) continue;
    Change change{key.first, key.second, {}, {}};
    if (was != before.end()) change.before = shown(key.first, was->second);
    if (is != after.end()) change.after = shown(key.first, is->second);
    found.push_back(std::move(change));
  }
  return found;
}

}  // namespace run
