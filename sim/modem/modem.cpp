#include "sim/modem/modem.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "platform/qmi_idl.h"
#include "qcci/idl/codec.h"
#include "sim/modem/answer.h"
#include "sim/phone/storage.h"

namespace sim {
namespace {

using base::Lock;
using qcci::kQmiHeader;
using qcci::QmiHeader;

constexpr const char kModemKey[] = "state.modem";

Change of_service(const Service& service, bool up) {
  return {std::string("state.service.") + service.idl().name, up ? "\"up\"" : "\"down\""};
}

std::vector<uint8_t> encode(const qcci::idl::Message& message, QmiHeader header, const void* c,
                            size_t size) {
  std::vector<uint8_t> octets(kQmiHeader + message.max_encoded);
  const auto encoded = qcci::idl::encode(message, c, size, std::span(octets).subspan(kQmiHeader));
  if (encoded.error != qcci::idl::CodecError::kOk) return {};
  octets.resize(kQmiHeader + encoded.length);
  header.length = static_cast<uint16_t>(encoded.length);
  header.write(octets.data());
  return octets;
}

}  // namespace

Modem::Modem(Phone phone, PhoneConfig config, std::span<const ServiceMaker> services)
    : phone_(std::move(phone)), config_(std::move(config)), faults_(config_.faults) {
  for (const ServiceMaker make : services) services_.push_back(make(*this));
  come_up();
}

Modem::~Modem() = default;

Address Modem::attach(Port& port) {
  const Lock lock(mutex_);
  return bus_.attach(port);
}

void Modem::detach(Address client) {
  const Lock lock(mutex_);
  bus_.detach(client);
  std::erase_if(held_, [&](const Held& held) { return held.client == client; });
  for (const auto& service : services_) service->client_gone(client);
}

FaultOutcome Modem::apply_faults(uint32_t service, FaultKind kind, std::vector<uint8_t> octets) {
  FaultOutcome outcome = faults_.apply(service, kind, std::move(octets));
  for (const std::string& rule : outcome.rules) log("fault: " + rule);
  if (outcome.restart) schedule_restart();
  return outcome;
}

void Modem::send(Address client, Address to, std::span<const uint8_t> octets) {
  const Lock lock(mutex_);
  if (to == Bus::kControl) {
    bus_.control(client, octets);
    return;
  }
  const auto id = bus_.service_at(to);
  QmiHeader header;
  if (!id || !QmiHeader::parse(octets, &header) || header.type != QMI_IDL_REQUEST) return;
  Service& service = *find(*id);
  if (tap_) tap_(service.idl(), FaultKind::kRequest, client, to, octets);
  if (faults_.none()) {
    handle(service, to, client, octets);
    return;
  }
  FaultOutcome outcome = apply_faults(*id, FaultKind::kRequest, {octets.begin(), octets.end()});
  for (std::vector<uint8_t>& copy : outcome.copies) {
    const auto go_on = [this, &service, to, client, answered = outcome.answered,
                        copy = std::move(copy)]() REQUIRES(mutex_) {
      if (answered) {
        emit(service, to, client, FaultKind::kResponse, copy);
      } else {
        handle(service, to, client, copy);
      }
    };
    if (outcome.delay.count() == 0) {
      go_on();
    } else {
      after(outcome.delay, go_on);
    }
  }
}

void Modem::handle(Service& service, Address at, Address client, std::span<const uint8_t> octets) {
  QmiHeader header;
  if (bus_.service_at(at) != service.idl().id || !bus_.attached(client)) return;  // gone meanwhile
  if (!QmiHeader::parse(octets, &header)) return;
  service.client_asked(client);
  emit(service, at, client, FaultKind::kResponse,
       respond(service, client, header, octets.subspan(kQmiHeader)));
  for (Held& indication : std::exchange(after_response_, {})) {
    emit(service, at, indication.client, FaultKind::kIndication, std::move(indication.octets));
  }
}

std::vector<uint8_t> Modem::respond(Service& service, Address client, QmiHeader header,
                                    std::span<const uint8_t> tlvs) {
  const qcci::idl::Message* asks = service.idl().find(QMI_IDL_REQUEST, header.message);
  const qcci::idl::Message* answers = service.idl().find(QMI_IDL_RESPONSE, header.message);
  const Service::Handler* handler = service.handler(header.message);
  if (asks == nullptr || answers == nullptr || handler == nullptr) {
    return answer_error(header, QMI_ERROR_INVALID_COMMAND);
  }
  // One handler runs at a time, so the next one gets the same memory.
  std::vector<uint8_t>& request = request_;
  std::vector<uint8_t>& response = response_;
  request.assign(asks->c_size, 0);
  response.assign(answers->c_size, 0);
  const auto error = qcci::idl::decode(*asks, tlvs, request.data(), request.size());
  if (error != qcci::idl::CodecError::kOk) {
    log(std::string(service.idl().name) +
        ": malformed request: " + qcci::idl::codec_error_text(error));
    return answer_error(header, QMI_ERROR_MALFORMED_MESSAGE);
  }
  handling_ = true;
  (*handler)(client, request.data(), response.data());
  handling_ = false;
  header.type = QMI_IDL_RESPONSE;
  return encode(*answers, header, response.data(), response.size());
}

void Modem::indicate(const qmi_idl_service_object& idl, Address client, uint16_t message,
                     const void* c, size_t size) {
  const auto at = up_.find(idl.id);
  const qcci::idl::Message* row = idl.find(QMI_IDL_INDICATION, message);
  if (at == up_.end() || row == nullptr) return;
  std::vector<uint8_t> octets = encode(*row, {QMI_IDL_INDICATION, 0, message, 0}, c, size);
  if (octets.empty()) {
    log(std::string(idl.name) + ": an indication that cannot be encoded");
    return;
  }
  if (handling_) {
    after_response_.push_back({client, at->second, std::move(octets)});
  } else {
    emit(*find(idl.id), at->second, client, FaultKind::kIndication, std::move(octets));
  }
}

void Modem::emit(const Service& service, Address at, Address client, FaultKind kind,
                 std::vector<uint8_t> octets) {
  if (!bus_.attached(client)) return;
  if (faults_.none()) {
    deliver(service, at, client, kind, octets);
    return;
  }
  FaultOutcome outcome = apply_faults(service.idl().id, kind, std::move(octets));
  for (std::vector<uint8_t>& copy : outcome.copies) {
    if (outcome.after_indication) {
      held_.push_back({client, at, std::move(copy)});
    } else if (outcome.delay.count() == 0) {
      deliver(service, at, client, kind, copy);
    } else {
      const auto deliver_late = [this, &service, at, client, kind, copy = std::move(copy)]()
                                    REQUIRES(mutex_) { deliver(service, at, client, kind, copy); };
      after(outcome.delay, deliver_late);
    }
  }
}

void Modem::deliver(const Service& service, Address at, Address client, FaultKind kind,
                    const std::vector<uint8_t>& octets) {
  if (bus_.service_at(at) != service.idl().id) return;  // gone meanwhile
  if (tap_) tap_(service.idl(), kind, client, at, octets);
  bus_.deliver(at, client, octets);
  if (kind != FaultKind::kIndication) return;
  for (size_t i = 0; i < held_.size();) {
    if (held_[i].client != client || held_[i].from != at) {
      ++i;
      continue;
    }
    const Held held = std::move(held_[i]);
    held_.erase(held_.begin() + static_cast<ptrdiff_t>(i));
    deliver(service, at, client, FaultKind::kResponse, held.octets);
  }
}

void Modem::after(platform::Duration delay, std::function<void()> action) {
  due_.emplace(platform::clock().now() + delay, std::move(action));
}

platform::Time Modem::next_due() {
  const Lock lock(mutex_);
  return due_.empty() ? platform::kNever : due_.begin()->first;
}

void Modem::run_due() {
  const Lock lock(mutex_);
  while (!due_.empty() && due_.begin()->first <= platform::clock().now()) {
    const auto action = std::move(due_.begin()->second);
    due_.erase(due_.begin());
    action();
  }
}

// It goes down at once, since those who wait for the bus do not hear of due work.
void Modem::restart() {
  {
    const Lock lock(mutex_);
    schedule_restart();
  }
  run_due();
}

void Modem::schedule_restart() {
  // At once: the process of an embedded modem may end before the modem goes down.
  drop_unsynced();
  after({}, [this]() REQUIRES(mutex_) { go_down(); });
}

void Modem::drop_unsynced() {
  if (const int error = Storage(phone_, config_.modem.loses_unsynced).restart(); error != 0) {
    log(std::string("storage after a restart: ") + std::strerror(error));
  }
}

void Modem::go_down() {
  changed("modem restarts", {{kModemKey, "\"restarting\""}});
  for (const auto& service : services_) withdraw(*service);
  held_.clear();
  drop_unsynced();
  after(config_.modem.restart, [this]() REQUIRES(mutex_) {
    come_up();
    changed("modem is up", {{kModemKey, "\"up\""}});
  });
}

void Modem::come_up() {
  for (const auto& service : services_) {
    const auto& absent = config_.modem.absent;
    if (std::ranges::find(absent, service->idl().id) == absent.end()) publish(*service);
  }
}

void Modem::take_down(uint32_t id) {
  const Lock lock(mutex_);
  Service* const service = find(id);
  if (service == nullptr || !up_.contains(id)) return;
  withdraw(*service);
  changed(std::string("service ") + service->idl().name + " goes down",
          {of_service(*service, false)});
}

void Modem::bring_up(uint32_t id) {
  const Lock lock(mutex_);
  const Service* const service = find(id);
  if (service == nullptr || up_.contains(id)) return;
  publish(*service);
  changed(std::string("service ") + service->idl().name + " is up", {of_service(*service, true)});
}

bool Modem::is_up(uint32_t id) {
  const Lock lock(mutex_);
  return up_.contains(id);
}

void Modem::configure(PhoneConfig config, const std::string& line,
                      const std::vector<Change>& changes) {
  const Lock lock(mutex_);
  config_ = std::move(config);
  faults_.replace(config_.faults);
  changed(line, changes);
}

int Modem::change(const std::function<int()>& change, const std::string& line,
                  const std::vector<Change>& changes) {
  const Lock lock(mutex_);
  const int error = change();
  if (error == 0) changed(line, changes);
  return error;
}

size_t Modem::indicate_all(uint32_t id, uint16_t message, const void* c, size_t size) {
  const Lock lock(mutex_);
  const Service* const service = find(id);
  if (service == nullptr) return 0;
  for (const Address client : service->clients()) {
    indicate(service->idl(), client, message, c, size);
  }
  return service->clients().size();
}

void Modem::publish(const Service& service) {
  const qmi_idl_service_object& idl = service.idl();
  if (up_.contains(idl.id)) return;
  up_[idl.id] = bus_.publish(idl.id, static_cast<uint32_t>(idl.major), 0);
}

void Modem::withdraw(Service& service) {
  const auto at = up_.extract(service.idl().id);
  if (at.empty()) return;
  bus_.withdraw(at.mapped());
  service.restarted();
}

Service* Modem::find(uint32_t id) {
  for (const auto& service : services_) {
    if (service->idl().id == id) return service.get();
  }
  return nullptr;
}

void Modem::set_tap(Tap tap) {
  const Lock lock(mutex_);
  tap_ = std::move(tap);
}

void Modem::set_log(Log log) {
  const Lock lock(mutex_);
  log_ = std::move(log);
}

void Modem::set_watch(Watch watch) {
  const Lock lock(mutex_);
  watch_ = std::move(watch);
}

void Modem::changed(const std::string& line, const std::vector<Change>& changes) {
  log(line);
  if (!watch_) return;
  for (const Change& change : changes) watch_(change);
}

std::vector<std::string> Modem::fault_counts() {
  const Lock lock(mutex_);
  return faults_.counts();
}

void Modem::log(const std::string& line) {
  if (log_) log_(line);
}

std::vector<std::string> Modem::unused_fault_rules() {
  const Lock lock(mutex_);
  std::vector<std::string> lines = faults_.unused();
  for (std::string& line : lines) line.insert(0, "fault rule met no message: ");
  return lines;
}

}  // namespace sim
