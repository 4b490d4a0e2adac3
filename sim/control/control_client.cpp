#include "sim/control/control_client.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>

#include <cerrno>
#include <cstring>

#include "qcci/link/local_socket.h"
#include "sim/control/control_server.h"

namespace sim {
namespace {

constexpr int kLimitS = 10;
constexpr size_t kAnswerMax = size_t{64} << 20;  // octets; far beyond any phone's values

}  // namespace

bool ControlClient::connect(const Phone& phone, std::string* why) {
  if (!phone.is_there(why)) return false;
  socket_ = Descriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  const bool there = S_ISSOCK(mode_of(phone.descriptor(), ControlServer::kSocket));
  limit(kLimitS);
  if (there && socket_ &&
      qcci::local_connect(socket_.get(), phone.path_for_system_calls(ControlServer::kSocket)) ==
          0 &&
      qcci::local_peer_trusted(socket_.get())) {
    return true;
  }
  *why = phone.root() + ": nobody serves this phone (vex-phone serve does)";
  return false;
}

void ControlClient::limit(int seconds) {
  const timeval time{seconds, 0};
  ::setsockopt(socket_.get(), SOL_SOCKET, SO_RCVTIMEO, &time, sizeof time);
  ::setsockopt(socket_.get(), SOL_SOCKET, SO_SNDTIMEO, &time, sizeof time);
}

bool ControlClient::read_line(nlohmann::json* line, std::string* why) {
  size_t end = 0;
  while ((end = received_.find('\n')) == std::string::npos) {
    char octets[4096];
    const ssize_t got = ::recv(socket_.get(), octets, sizeof octets, 0);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0 || received_.size() > kAnswerMax) {
      *why =
          got < 0 && errno == EAGAIN ? "the phone does not answer" : "the phone's server has gone";
      return false;
    }
    received_.append(octets, static_cast<size_t>(got));
  }
  *line = nlohmann::json::parse(received_.begin(), received_.begin() + static_cast<ptrdiff_t>(end),
                                nullptr, false);
  received_.erase(0, end + 1);
  if (!line->is_object()) {
    *why = "the phone's server sends what is no answer";
    return false;
  }
  const auto error = line->find("error");
  if (error == line->end()) return true;
  *why = error->is_string() ? error->get<std::string>() : "refused";
  return false;
}

bool ControlClient::ask(nlohmann::json request, nlohmann::json* answer, std::string* why) {
  request["version"] = kControlVersion;
  const std::string line =
      request.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
  for (size_t at = 0; at < line.size();) {
    const ssize_t sent = ::send(socket_.get(), line.data() + at, line.size() - at, MSG_NOSIGNAL);
    if (sent < 0 && errno == EINTR) continue;
    if (sent <= 0) break;  // an answer may say why, or its absence
    at += static_cast<size_t>(sent);
  }
  return read_line(answer, why);
}

bool ControlClient::next(nlohmann::json* line, std::string* why) {
  limit(0);  // none: a change may come in a week
  return read_line(line, why);
}

}  // namespace sim
