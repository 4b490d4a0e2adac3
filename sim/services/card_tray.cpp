#include "sim/services/card_tray.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sstream>

#include "platform/clock/process_clock.h"

namespace sim {
namespace {

// Which start of the computer this is, from which its clock counts; "?" when it is not known.
std::string boot_id() {
  std::string id;
  if (read_file("/proc/sys/kernel/random/boot_id", &id) != 0) return "?";
  id.resize(std::min(id.size(), id.find('\n')));
  return id.empty() ? "?" : id;
}

uint64_t now_ms() {
  const auto since = platform::clock().now().time_since_epoch();
  return static_cast<uint64_t>(
      std::chrono::duration_cast<std::chrono::milliseconds>(since).count());
}

// False when the value does not have the structure's length.
template <class T>
[[nodiscard]] bool read(std::string_view value, T* to) {
  if (value.size() != sizeof *to) return false;
  std::memcpy(to, value.data(), sizeof *to);
  return true;
}

template <class T>
void add(const T& from, std::string* to) {
  to->append(reinterpret_cast<const char*>(&from), sizeof from);
}

uint64_t cycle_ms(const kelvor_hot_swap& test) {
  return (uint64_t{test.seconds_after_push} + test.seconds_after_pull) * 1000;
}

}  // namespace

std::string card_line(uint32_t sub, bool in) {
  return "card " + std::to_string(sub + 1) + (in ? " is put in" : " is taken out");
}

Change card_change(uint32_t sub, bool in) {
  return {"state.card." + std::to_string(sub + 1), in ? "\"in\"" : "\"out\""};
}

uint64_t CardTray::State::cycles(uint64_t now) const {
  if (began_ms == 0 || now < began_ms || cycle_ms(test) == 0) return test.count;
  return std::min<uint64_t>((now - began_ms) / cycle_ms(test), test.count);
}

bool CardTray::State::running(uint64_t now) const {
  return began_ms != 0 && cycles(now) < test.count;
}

bool CardTray::State::pulled(uint64_t now) const {
  return running(now) &&
         (now - began_ms) % cycle_ms(test) >= uint64_t{test.seconds_after_push} * 1000;
}

// The file is one line of numbers, and the boot id. Anything else counts as no file.
int CardTray::load(State* state) const {
  *state = {};
  for (uint32_t sub = 0; sub < kSlots; ++sub) {
    state->lines[sub] = {1, config_.sims[sub].state != UIM_CARD_ABSENT};
  }
  std::string text;
  const int error = phone_.all().read(kFile, &text);
  if (error != 0) return error == ENOENT ? 0 : error;
  State kept{};
  std::istringstream in(text);
  for (State::Line& line : kept.lines) in >> line.mode >> line.high;
  in >> kept.began_ms >> kept.test.seconds_after_push >> kept.test.seconds_after_pull >>
      kept.test.count >> kept.done;
  if (!in) return 0;
  // A test ends with the start of the computer in which it began.
  std::string boot;
  if (in >> boot && boot != boot_id()) kept.began_ms = 0;
  *state = kept;
  return 0;
}

template <class Change>
int CardTray::change(Change change) const {
  const FileLock lock = phone_.lock();
  if (!lock.held()) return EIO;
  State state;
  // A file that cannot be read is not overwritten.
  if (const int error = load(&state); error != 0) return error;
  change(&state);
  std::ostringstream out;
  for (const State::Line& line : state.lines) out << line.mode << ' ' << line.high << ' ';
  out << state.began_ms << ' ' << state.test.seconds_after_push << ' '
      << state.test.seconds_after_pull << ' ' << state.test.count << ' ' << state.done << ' '
      << boot_id() << '\n';
  return phone_.all().write(kFile, out.str());
}

bool CardTray::present(const State& state, uint32_t sub) {
  return state.lines[sub].high && !state.pulled(now_ms());
}

bool CardTray::present(uint32_t sub) const {
  State state;
  (void)load(&state);  // a failure has been reported; phone.toml's state is used
  return sub < kSlots && present(state, sub);
}

int CardTray::put(uint32_t sub, bool in) const {
  if (sub >= kSlots) return EINVAL;
  return change([&](State* state) { state->lines[sub].high = in; });
}

int CardTray::query(Value value, std::string* answer) const {
  if (!value.empty()) return EINVAL;
  State state;
  if (const int error = load(&state); error != 0) return error;
  add(uint32_t{present(state, 0) || present(state, 1)}, answer);
  return 0;
}

int CardTray::get(Value value, std::string* answer) const {
  uint32_t sub = 0;
  if (!read(value, &sub) || sub >= kSlots) return EINVAL;
  add(uint32_t{present(sub)}, answer);
  return 0;
}

int CardTray::set(Value value, std::string* answer) const {
  kelvor_card_set wanted;
  if (!read(value, &wanted) || wanted.sub >= kSlots || wanted.mode > 1 || wanted.level > 1) {
    return EINVAL;
  }
  const int error = change([&](State* state) {
    state->lines[wanted.sub] = {wanted.mode, wanted.level != 0};
  });
  if (error == 0) add(uint32_t{present(wanted.sub)}, answer);
  return error;
}

int CardTray::type(Value value, std::string* answer) const {
  if (!value.empty()) return EINVAL;
  add(config_.tray, answer);
  return 0;
}

int CardTray::hot_swap(Value value, std::string* answer) const {
  kelvor_hot_swap wanted{};
  if (!read(value, &wanted.opt) && !read(value, &wanted)) return EINVAL;
  if (wanted.opt != 0 && value.size() != sizeof wanted) return EINVAL;
  kelvor_hot_swap_state now{};
  const int error = change([&](State* state) {
    if (wanted.opt != 0) {
      state->test = wanted;
      state->began_ms = now_ms();
      state->done = 0;
    } else if (state->began_ms != 0) {
      state->done = static_cast<uint32_t>(state->cycles(now_ms()));
      state->began_ms = 0;
    }
    now = {state->running(now_ms()), state->done};
  });
  if (error == 0) add(now, answer);
  return error;
}

struct CardTray::Item {
  uint32_t number;
  int (CardTray::*run)(Value value, std::string* answer) const;
};

constexpr CardTray::Item CardTray::kItems[] = {
    {KELVOR_COMMON_ITEM_CARD_QUERY, &CardTray::query},
    {KELVOR_COMMON_ITEM_CARD_GET, &CardTray::get},
    {KELVOR_COMMON_ITEM_CARD_SET, &CardTray::set},
    {KELVOR_COMMON_ITEM_CARD_TYPE, &CardTray::type},
    {KELVOR_COMMON_ITEM_HOT_SWAP, &CardTray::hot_swap},
};

int CardTray::handle(const kelvor_common_item_req& request, std::string* answer) const {
  for (const Item& item : kItems) {
    if (item.number != request.t) continue;
    if (request.l > sizeof request.v) return EINVAL;
    return (this->*item.run)({reinterpret_cast<const char*>(request.v), request.l}, answer);
  }
  return ENOSYS;
}

}  // namespace sim
