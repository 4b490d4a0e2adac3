/* The least that a process can do for one answer of a modem: one look-up, one request, one line.
 * It asks SAR for its state and prints what `vex 5 5` prints.
 * usage: least          on the kernel's QRTR bus
 *        least SOCKET   on a simulated phone's socket
 *
 * It waits for ever, takes no modem's service but the first, and heeds no modem that lies: that is
 * what the yardstick leaves out. */
#include <linux/qrtr.h>
#include <stdio.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <sys/un.h>
#include <unistd.h>

enum { kSar = 0x11, kState = 0x10, kResponse = 2, kHeader = 7 };

struct address {
  unsigned node;
  unsigned port;
};

static int fd;
static int on_bus;

static int join(const char* path, struct address* own) {
  if (on_bus) {
    struct sockaddr_qrtr address;
    socklen_t length = sizeof address;
    fd = socket(AF_QIPCRTR, SOCK_DGRAM, 0);
    if (fd < 0 || getsockname(fd, (struct sockaddr*)&address, &length) != 0) return -1;
    own->node = address.sq_node;
    return 0;
  }
  struct sockaddr_un address = {.sun_family = AF_UNIX};
  if (strlen(path) >= sizeof address.sun_path) return -1;
  strcpy(address.sun_path, path);
  fd = socket(AF_UNIX, SOCK_SEQPACKET, 0);
  if (fd < 0 || connect(fd, (struct sockaddr*)&address, sizeof address) != 0) return -1;
  struct {
    struct address from;
    struct qrtr_ctrl_pkt packet;
  } hello; /* the server's first record, which comes from this node's control port */
  if (recv(fd, &hello, sizeof hello, 0) != sizeof hello) return -1;
  own->node = hello.from.node;
  return 0;
}

static long send_to(struct address to, const void* octets, size_t length) {
  if (on_bus) {
    const struct sockaddr_qrtr address = {AF_QIPCRTR, to.node, to.port};
    return sendto(fd, octets, length, 0, (const struct sockaddr*)&address, sizeof address);
  }
  const struct iovec record[] = {{&to, sizeof to}, {(void*)octets, length}};
  return writev(fd, record, 2);
}

static long receive(struct address* from, void* octets, size_t room) {
  if (on_bus) {
    struct sockaddr_qrtr address;
    socklen_t length = sizeof address;
    const long got = recvfrom(fd, octets, room, 0, (struct sockaddr*)&address, &length);
    *from = (struct address){address.sq_node, address.sq_port};
    return got;
  }
  const struct iovec record[] = {{from, sizeof *from}, {octets, room}};
  return readv(fd, record, 2) - (long)sizeof *from;
}

/* The value of the state's TLV; -1 when there is none. */
static int state_in(const unsigned char* message, long length) {
  for (long at = kHeader; at + 3 <= length; at += 3 + (message[at + 1] | message[at + 2] << 8)) {
    int state = 0;
    if (message[at] != kState || at + 3 + (long)sizeof state > length) continue;
    memcpy(&state, message + at + 3, sizeof state);
    return state;
  }
  return -1;
}

int main(int argc, char** argv) {
  static const unsigned char get_state[kHeader] = {0, 1, 0, 0x02, 0, 0, 0};
  struct qrtr_ctrl_pkt packet = {.cmd = QRTR_TYPE_NEW_LOOKUP, .server = {.service = kSar}};
  struct address own = {0}, from = {0};
  unsigned char message[4096];
  char line[32];

  on_bus = argc < 2;
  if (join(argv[1], &own) != 0) return 2;
  own.port = QRTR_PORT_CTRL;
  if (send_to(own, &packet, sizeof packet) < 0) return 2;
  struct address server = {0};
  /* To the end of the list: what is left unread may reach the process that has the port next. */
  do {
    if (receive(&from, &packet, sizeof packet) != sizeof packet) return 2;
    if (packet.cmd != QRTR_TYPE_NEW_SERVER) continue; /* the end of somebody else */
    if (server.port == 0) server = (struct address){packet.server.node, packet.server.port};
  } while (packet.cmd != QRTR_TYPE_NEW_SERVER || packet.server.service != 0);
  if (server.port == 0) return 3;
  if (send_to(server, get_state, sizeof get_state) < 0) return 2;
  for (;;) {
    const long got = receive(&from, message, sizeof message);
    if (got < 0) return 2;
    if (from.port != server.port || got < kHeader || message[0] != kResponse) continue;
    const int length = snprintf(line, sizeof line, "SAR DSI: %d\n", state_in(message, got));
    return write(STDOUT_FILENO, line, (size_t)length) != length;
  }
}
