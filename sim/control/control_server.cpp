#include "sim/control/control_server.h"

#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "qcci/link/local_socket.h"
#include "sim/serving/listen_at.h"

namespace sim {

class ControlServer::Peer final : public Polled {
 public:
  Peer(ControlServer& server, Descriptor fd) : server_(server), fd_(std::move(fd)) {
    polled_ = server_.poller_.add(fd_.get(), EPOLLIN, *this);
  }
  ~Peer() override { server_.poller_.remove(polled_); }
  Peer(const Peer&) = delete;
  Peer& operator=(const Peer&) = delete;

  bool is_served() const { return polled_ != 0; }

  void tell(const Change& change, const std::string& line) {
    const bool wanted = std::ranges::any_of(
        watched_, [&](const std::string& key) { return Control::concerns(key, change.key); });
    if (wanted) send(line);
  }

  void ready(uint32_t events) override {
    if ((events & EPOLLOUT) != 0) flush();
    const bool gone =
        (events & (EPOLLIN | EPOLLHUP | EPOLLERR)) != 0 && backlog_.empty() && !take_one();
    if (gone || (events & (EPOLLHUP | EPOLLERR)) != 0) server_.close(*this);
  }

 private:
  // Called with the modem's mutex held as well, so it closes nothing: a peer that does not read is
  // shut out, and closed when the poller says so.
  void send(const std::string& line) {
    backlog_ += line;
    flush();
    if (backlog_.size() > kBacklogMax) ::shutdown(fd_.get(), SHUT_RDWR);
  }

  void flush() {
    const bool waited = waits_;
    const ssize_t sent =
        ::send(fd_.get(), backlog_.data(), backlog_.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    if (sent > 0) backlog_.erase(0, static_cast<size_t>(sent));
    if (sent < 0 && errno != EAGAIN && errno != EINTR) backlog_.clear();  // closed by the next read
    waits_ = !backlog_.empty();
    if (waits_ != waited) server_.poller_.change(polled_, waits_ ? EPOLLOUT : EPOLLIN);
  }

  // Handles a line, if there is a whole one; what follows it stays in the socket. False when the
  // peer is gone or its line is too long.
  [[nodiscard]] bool take_one() {
    char octets[4096];
    ssize_t got = ::recv(fd_.get(), octets, sizeof octets, MSG_PEEK | MSG_DONTWAIT);
    if (got < 0) return errno == EAGAIN || errno == EINTR;
    if (got == 0) return false;
    const auto* const end =
        static_cast<const char*>(std::memchr(octets, '\n', static_cast<size_t>(got)));
    if (end != nullptr) got = end - octets + 1;
    got = ::recv(fd_.get(), octets, static_cast<size_t>(got), MSG_DONTWAIT);
    if (got <= 0) return false;
    line_.append(octets, static_cast<size_t>(got));
    if (line_.size() > kLineMax) {
      send(Control::error_line("a line of more than " + std::to_string(kLineMax) + " octets"));
      return false;
    }
    if (end == nullptr) return true;
    ControlAnswer answer = server_.control_.answer(std::exchange(line_, {}));
    if (answer.watch) watched_ = std::move(*answer.watch);
    send(answer.line);
    return true;
  }

  ControlServer& server_;
  Descriptor fd_;
  Poller::Id polled_ = 0;
  std::string line_;     // its beginning, until its end has come
  std::string backlog_;  // what has not been sent yet
  bool waits_ = false;   // for room to send it
  std::vector<std::string> watched_;
};

ControlServer::ControlServer(Modem& modem, Control& control, Poller& poller)
    : modem_(modem), control_(control), poller_(poller) {}

ControlServer::~ControlServer() {
  modem_.set_watch({});
  poller_.remove(accepting_);
  peers_.clear();
  if (phone_ != nullptr) ::unlinkat(phone_->descriptor(), kSocket, 0);
}

bool ControlServer::listen(const Phone& phone, std::string* why) {
  if (!listen_at(phone, kSocket, SOCK_STREAM, &listening_, why)) return false;
  accepting_ = poller_.add(listening_.get(), EPOLLIN, *this);
  if (accepting_ == 0) {
    *why = phone.path(kSocket) + ": " + std::strerror(errno);
    return false;
  }
  phone_ = std::make_unique<Phone>(phone);
  modem_.set_watch([this](const Change& change) { tell(change); });
  return true;
}

void ControlServer::tell(const Change& change) {
  if (peers_.empty()) return;
  const std::string line = Control::event_line(change);
  for (const auto& [peer, owner] : peers_) peer->tell(change, line);
}

void ControlServer::close(Peer& peer) {
  peers_.erase(&peer);
  poller_.change(accepting_, EPOLLIN);
}

void ControlServer::ready(uint32_t) {
  for (;;) {
    Descriptor accepted(
        ::accept4(listening_.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    if (!accepted) {
      // Without a descriptor for another peer the next one waits until one ends.
      const bool full = (errno == EMFILE || errno == ENFILE) && !peers_.empty();
      if (full) poller_.change(accepting_, 0);
      return;
    }
    if (!qcci::local_peer_trusted(accepted.get())) continue;
    if (peers_.size() == kPeersMax) {
      const std::string line = Control::error_line("the phone has as many peers as it serves");
      (void)::send(accepted.get(), line.data(), line.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
      continue;
    }
    auto peer = std::make_unique<Peer>(*this, std::move(accepted));
    if (peer->is_served()) peers_.emplace(peer.get(), std::move(peer));
  }
}

}  // namespace sim
