// What can be asked of a served phone, and changed on it, while its modem runs: one request and one
// answer, each a JSON object on one line. docs/control.md has the requests.
//
// Every change, wherever it comes from, goes through the modem, under its mutex, and is a line of
// its log (Modem::configure, change and their like).
//
// Threads: one, on which no modem's mutex is held.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "sim/config/settings.h"
#include "sim/modem/modem.h"
#include "sim/phone/phone.h"

namespace sim {

constexpr int kControlVersion = 1;
// Rules that requests may add up to: each message is shown to all of them.
constexpr size_t kFaultsMax = 256;

struct ControlAnswer {
  std::string line;  // with its line end
  // The keys whose changes the peer is to be given from now on; an empty one: all.
  std::optional<std::vector<std::string>> watch;
};

class Control {
 public:
  // `settings`: those that the modem was made with. The modem must outlast this.
  Control(Phone phone, Modem& modem, Settings settings);

  // Any octets are answered, if with an error.
  ControlAnswer answer(std::string_view line);
  // A line about a change, for those who watch.
  static std::string event_line(const Change& change);
  // A line with an error that is no request's.
  static std::string error_line(const std::string& why);
  // Whether a change of `key` concerns those who asked for `wanted`: it, or what is below it.
  static bool concerns(std::string_view wanted, std::string_view key);

 private:
  using Json = nlohmann::json;
  // Handlers fill the answer, or say why not.
  using Handler = bool (Control::*)(const Json& request, Json* answer, std::string* why);
  struct Row {
    const char* name;
    Handler run;
  };
  static const Row kVerbs[];
  static const Row kActions[];
  bool run(std::span<const Row> rows, const char* field, const Json& request, Json* answer,
           std::string* why);

  bool get(const Json& request, Json* answer, std::string* why);
  bool set(const Json& request, Json* answer, std::string* why);
  bool act(const Json& request, Json* answer, std::string* why);
  bool watch(const Json& request, Json* answer, std::string* why);

  bool card(const Json& request, Json* answer, std::string* why);
  bool service(const Json& request, Json* answer, std::string* why);
  bool restart(const Json& request, Json* answer, std::string* why);
  bool add_fault(const Json& request, Json* answer, std::string* why);
  bool list_faults(const Json& request, Json* answer, std::string* why);
  bool clear_faults(const Json& request, Json* answer, std::string* why);
  bool indicate(const Json& request, Json* answer, std::string* why);

  [[nodiscard]] bool keep(std::span<const Setting> settings, std::string* why) const;

  const Phone phone_;
  Modem& modem_;
  Settings settings_;
  std::optional<std::vector<std::string>> watched_;  // by the request that is being handled
};

}  // namespace sim
