#include "verbs.h"

#include <cstdio>

#include "output.h"
#include "sim/config/key_path.h"
#include "sim/control/control_client.h"

namespace sim {
namespace {

using Json = nlohmann::json;

bool ask(const Phone& phone, Json request, Json* answer, std::string* why) {
  ControlClient client;
  return client.connect(phone, why) && client.ask(std::move(request), answer, why);
}

bool act(const Phone& phone, const char* action, Json request, std::string* why) {
  request["do"] = "act";
  request["action"] = action;
  Json answer;
  return ask(phone, std::move(request), &answer, why);
}

// NAME=VALUE; false, and why, for another word.
bool split(const std::string& word, std::string* name, std::string* value, std::string* why) {
  const size_t equals = word.find('=');
  if (equals == 0 || equals == std::string::npos) {
    *why = word + ": not NAME=VALUE";
    return false;
  }
  *name = word.substr(0, equals);
  *value = word.substr(equals + 1);
  return true;
}

bool object_of(const std::vector<std::string>& words, Json* object, std::string* why) {
  *object = Json::object();
  for (const std::string& word : words) {
    std::string name;
    std::string value;
    if (!split(word, &name, &value, why)) return false;
    (*object)[name] = value;
  }
  return true;
}

std::string text_of(const Json& json, const char* member) {
  const auto found = json.find(member);
  return found != json.end() && found->is_string() ? found->get<std::string>() : "?";
}

}  // namespace

bool get_values(const Phone& phone, const std::string& key, bool json, std::string* why) {
  Json answer;
  if (!ask(phone, {{"do", "get"}, {"key", key}}, &answer, why)) return false;
  const Json& values = answer["values"];
  if (json) {
    std::printf("%s\n", values.dump(2).c_str());
    return true;
  }
  for (const auto& [name, value] : values.items()) {
    std::printf("%s = %s\n", name.c_str(), text_of(values, name.c_str()).c_str());
  }
  return true;
}

bool set_values(const Phone& phone, const std::vector<std::string>& words, bool keep,
                std::string* why) {
  Json values;
  Json answer;
  return object_of(words, &values, why) &&
         ask(phone, {{"do", "set"}, {"values", values}, {"keep", keep}}, &answer, why);
}

bool put_card(const Phone& phone, uint32_t slot, bool in, std::string* why) {
  return act(phone, "card", {{"slot", slot}, {"in", in}}, why);
}

bool put_service(const Phone& phone, const std::string& service, bool up, std::string* why) {
  return act(phone, "service", {{"service", service}, {"up", up}}, why);
}

bool restart_modem(const Phone& phone, std::string* why) {
  return act(phone, "restart", Json::object(), why);
}

bool add_fault(const Phone& phone, const std::vector<std::string>& words, std::string* why) {
  std::string rule;
  for (const std::string& word : words) {
    std::string name;
    std::string value;
    if (words.size() == 1 && word.starts_with('{'))
      return act(phone, "add-fault", {{"rule", word}}, why);
    if (!split(word, &name, &value, why)) return false;
    const toml::table read = value_of_text(value);
    rule += (rule.empty() ? "{" : ", ") + name + " = " + toml_of(*read.get(kValueName));
  }
  return act(phone, "add-fault", {{"rule", rule + "}"}}, why);
}

bool list_faults(const Phone& phone, std::string* why) {
  Json answer;
  if (!ask(phone, {{"do", "act"}, {"action", "list-faults"}}, &answer, why)) return false;
  for (const Json& line : answer["faults"]) {
    if (line.is_string()) std::printf("%s\n", line.get<std::string>().c_str());
  }
  return true;
}

bool clear_faults(const Phone& phone, std::string* why) {
  return act(phone, "clear-faults", Json::object(), why);
}

bool send_indication(const Phone& phone, const std::string& service, const std::string& message,
                     const std::vector<std::string>& words, std::string* why) {
  Json fields;
  Json answer;
  if (!object_of(words, &fields, why) || !ask(phone,
                                              {{"do", "act"},
                                               {"action", "indicate"},
                                               {"service", service},
                                               {"message", message},
                                               {"fields", fields}},
                                              &answer, why)) {
    return false;
  }
  std::printf("clients %s\n", answer["clients"].dump().c_str());
  return true;
}

bool watch_values(const Phone& phone, const std::vector<std::string>& keys, bool json,
                  std::string* why) {
  ControlClient client;
  Json line;
  if (!client.connect(phone, why) || !client.ask({{"do", "watch"}, {"keys", keys}}, &line, why)) {
    return false;
  }
  while (client.next(&line, why)) {
    const std::string key = text_of(line, "changed");
    const std::string value = text_of(line, "value");
    std::string text = key;
    text.append(" = ").append(value);
    if (json) text = Json{{"key", key}, {"value", value}}.dump();
    std::printf("%s\n", text.c_str());
    if (!flush_output(why)) return false;
  }
  return false;
}

}  // namespace sim
