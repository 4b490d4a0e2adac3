#include "sim/serving/server.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <deque>
#include <utility>

#include "qcci/link/local_socket.h"
#include "sim/serving/listen_at.h"

namespace sim {
namespace {

// Octets that may wait for one client to read them; a client with more is cut off, so that it
// cannot fill the memory.
constexpr size_t kBacklogOctets = size_t{4} << 20;
// Descriptors kept from clients: the modem needs a few for its files, and one for each service that
// is on the kernel's bus.
constexpr rlim_t kSpareDescriptors = 16;
constexpr const char kSocketLock[] = "modem.sock.lock";

// The kernel hands out the lowest free number, so `fd` is about the number in use.
bool leaves_enough(int fd) {
  rlimit limit{};
  ::getrlimit(RLIMIT_NOFILE, &limit);
  const rlim_t spare = std::min(kSpareDescriptors, limit.rlim_cur / 2);
  return static_cast<rlim_t>(fd) < limit.rlim_cur - spare;
}

}  // namespace

// One client's connection: a port on the bus.
class Server::Connection final : public Port, public Polled {
 public:
  Connection(Server& server, Descriptor fd)
      : server_(server), fd_(std::move(fd)), address_(server.modem_.attach(*this)) {
    const auto hello = qcci::ControlPacket::of_client(qcci::Control::kHello, address_);
    deliver(Bus::kControl, hello.octets());
    polled_ = server_.poller_.add(fd_.get(), wanted(), *this);
  }
  ~Connection() override {
    server_.poller_.remove(polled_);
    server_.modem_.detach(address_);
  }
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  bool is_served() const { return polled_ != 0; }

  // With the modem's mutex held, so it cannot close the connection: a client that does not read is
  // shut out, and closed when the poller says so.
  void deliver(Address from, std::span<const uint8_t> octets) override {
    if (backlog_.empty() && write(from, octets)) return;
    backlog_octets_ += octets.size();
    if (backlog_octets_ > kBacklogOctets) ::shutdown(fd_.get(), SHUT_RDWR);
    backlog_.push_back({from, {octets.begin(), octets.end()}});
    if (backlog_.size() == 1) server_.poller_.change(polled_, wanted());
  }

  void ready(uint32_t events) override {
    if ((events & EPOLLOUT) != 0) flush();
    if ((events & (EPOLLIN | EPOLLHUP | EPOLLERR)) != 0 && !take_one()) server_.close(*this);
  }

 private:
  uint32_t wanted() const { return backlog_.empty() ? EPOLLIN : EPOLLIN | EPOLLOUT; }

  void flush() {
    while (!backlog_.empty()) {
      const auto& [from, octets] = backlog_.front();
      if (!write(from, octets)) return;
      backlog_octets_ -= octets.size();
      backlog_.pop_front();
    }
    server_.poller_.change(polled_, wanted());
  }

  // False when the client is gone or has sent a malformed frame.
  [[nodiscard]] bool take_one() {
    Address to;
    const int got = qcci::local_frame_read(fd_.get(), &to, &server_.received_);
    if (got > 0) server_.modem_.send(address_, to, server_.received_);
    return got >= 0;
  }

  bool write(Address from, std::span<const uint8_t> octets) {
    return qcci::local_frame_write(fd_.get(), from, octets) == qcci::Sent::kSent;
  }

  Server& server_;
  Descriptor fd_;
  Address address_;
  Poller::Id polled_ = 0;
  std::deque<std::pair<Address, std::vector<uint8_t>>> backlog_;
  size_t backlog_octets_ = 0;
};

Server::Server(ModemBus& modem, Poller& poller) : modem_(modem), poller_(poller) {}

Server::~Server() {
  poller_.remove(accepting_);
  connections_.clear();
  if (phone_ != nullptr) ::unlinkat(phone_->descriptor(), kSocket, 0);
}

std::string Server::socket_path(const Phone& phone) {
  const bool there = S_ISSOCK(mode_of(phone.descriptor(), kSocket));
  return there ? phone.path_for_system_calls(kSocket) : "";
}

bool Server::is_served(const Phone& phone) {
  Descriptor file;
  return open_file_beneath(phone.descriptor(), kSocketLock, O_RDWR, 0, &file) == 0 &&
         ::flock(file.get(), LOCK_EX | LOCK_NB) != 0;
}

bool Server::listen(const Phone& phone, std::string* why) {
  const auto fail = [&](const std::string& what) {
    *why = phone.path(kSocket) + ": " + what;
    return false;
  };
  // The lock, not the socket, says whether the phone is served: it ends with its process, even one
  // that is killed.
  if (const int error = phone.all().quiet().open(kSocketLock, O_RDWR, &lock_); error != 0) {
    *why = phone.path(kSocketLock) + ": " + reason(error);
    return false;
  }
  if (::flock(lock_.get(), LOCK_EX | LOCK_NB) != 0) {
    return fail(errno == EWOULDBLOCK ? "another process serves this phone" : std::strerror(errno));
  }
  if (!listen_at(phone, kSocket, SOCK_SEQPACKET, &listening_, why)) return false;
  accepting_ = poller_.add(listening_.get(), EPOLLIN, *this);
  if (accepting_ == 0) return fail(std::strerror(errno));
  phone_ = std::make_unique<Phone>(phone);
  return true;
}

void Server::close(Connection& connection) {
  connections_.erase(&connection);
  if (std::exchange(full_, false)) poller_.change(accepting_, EPOLLIN);
}

void Server::ready(uint32_t) {
  for (;;) {
    Descriptor accepted(
        ::accept4(listening_.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    const int fd = accepted.get();
    if (fd < 0) {
      full_ = (errno == EMFILE || errno == ENFILE) && !connections_.empty();
      if (full_) poller_.change(accepting_, 0);
      return;
    }
    if (!qcci::local_peer_trusted(fd)) continue;
    if (!leaves_enough(fd)) {
      const auto bye = qcci::ControlPacket::of_client(qcci::Control::kBye, {Bus::kNode, 0});
      qcci::local_frame_write(fd, Bus::kControl, bye.octets());
      continue;
    }
    auto connection = std::make_unique<Connection>(*this, std::move(accepted));
    if (connection->is_served()) connections_.emplace(connection.get(), std::move(connection));
  }
}

}  // namespace sim
