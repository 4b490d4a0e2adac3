/* What a request costs the process that serves it, beside a plain echo of the same octets.
 * usage: load [-s SILENT] CLIENTS REQUESTS SOCKET     a simulated phone's socket
 *        load [-s SILENT] CLIENTS REQUESTS            an echo that this program starts
 *   -s  connections on which nothing happens, beside the clients (0)
 * Each client asks SAR for its state, and asks again when it is answered. Prints, parted by tabs:
 * CPU time of the server for a request (ns), then the time that a client waits: median, 99th of 100
 * (us). */
#define _GNU_SOURCE
#include <linux/qrtr.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/epoll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <time.h>
#include <unistd.h>

enum { kSar = 0x11, kHeader = 7, kAtOnce = 64, kClients = 1024, kSockets = 20000, kRoom = 4096 };

struct frame {
  unsigned node;
  unsigned port;
  unsigned char octets[kRoom];
};

static long sent_at[kSockets]; /* by descriptor */

static void fail(const char* what) {
  perror(what);
  exit(2);
}

static long now(void) {
  struct timespec time;
  clock_gettime(CLOCK_MONOTONIC, &time);
  return time.tv_sec * 1000000000L + time.tv_nsec;
}

static struct sockaddr_un address_of(const char* path) {
  struct sockaddr_un address = {.sun_family = AF_UNIX};
  strncpy(address.sun_path, path, sizeof address.sun_path - 1);
  return address;
}

static void watch(int epoll, int fd) {
  struct epoll_event event = {.events = EPOLLIN, .data.fd = fd};
  if (fd >= kSockets || epoll_ctl(epoll, EPOLL_CTL_ADD, fd, &event) != 0) fail("epoll");
}

/* Sends back what comes. */
static void echo(int listening) {
  static struct frame frame;
  struct epoll_event events[kAtOnce];
  const int epoll = epoll_create1(0);
  watch(epoll, listening);
  for (;;) {
    const int ready = epoll_wait(epoll, events, kAtOnce, -1);
    for (int i = 0; i < ready; ++i) {
      const int fd = events[i].data.fd;
      if (fd == listening) {
        watch(epoll, accept(fd, NULL, NULL));
        continue;
      }
      const ssize_t got = recv(fd, &frame, sizeof frame, 0);
      if (got <= 0 || send(fd, &frame, (size_t)got, 0) != got) close(fd);
    }
  }
}

static int start_echo(const char* path) {
  const struct sockaddr_un address = address_of(path);
  const int listening = socket(AF_UNIX, SOCK_SEQPACKET, 0);
  if (bind(listening, (const struct sockaddr*)&address, sizeof address) != 0) fail("bind");
  if (listen(listening, SOMAXCONN) != 0) fail("listen");
  const int child = fork();
  if (child == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    echo(listening);
  }
  close(listening);
  return child;
}

static int join(const char* path) {
  const struct sockaddr_un address = address_of(path);
  const int fd = socket(AF_UNIX, SOCK_SEQPACKET, 0);
  if (fd < 0 || connect(fd, (const struct sockaddr*)&address, sizeof address) != 0) fail("connect");
  return fd;
}

/* Where SAR is, as a new connection is told; the frame that asks for its state. */
static struct frame look_up(int fd) {
  struct frame frame;
  struct qrtr_ctrl_pkt packet = {.cmd = QRTR_TYPE_NEW_LOOKUP, .server = {.service = kSar}};
  if (recv(fd, &frame, sizeof frame, 0) <= 0) fail("no greeting");
  memcpy(frame.octets, &packet, sizeof packet);
  if (send(fd, &frame, 8 + sizeof packet, 0) < 0) fail("send");
  struct frame request = {0};
  do {
    if (recv(fd, &frame, sizeof frame, 0) <= 0) fail("no answer");
    memcpy(&packet, frame.octets, sizeof packet);
    if (packet.server.service == kSar) {
      request.node = packet.server.node;
      request.port = packet.server.port;
    }
  } while (packet.server.service != 0);
  return request;
}

static long cpu_of(int process) {
  char path[64];
  long ns = 0;
  snprintf(path, sizeof path, "/proc/%d/schedstat", process);
  FILE* file = fopen(path, "r");
  if (file == NULL || fscanf(file, "%ld", &ns) != 1) fail(path);
  fclose(file);
  return ns;
}

static int by_size(const void* a, const void* b) {
  const long left = *(const long*)a, right = *(const long*)b;
  return (left > right) - (left < right);
}

static void ask(int fd, struct frame* request, unsigned short transaction) {
  memcpy(request->octets + 1, &transaction, 2);
  sent_at[fd] = now();
  if (send(fd, request, 8 + kHeader, 0) < 0) fail("send");
}

int main(int argc, char** argv) {
  int silent = 0, option;
  while ((option = getopt(argc, argv, "s:")) != -1) {
    if (option != 's') return 2;
    silent = atoi(optarg);
  }
  const int clients = optind + 1 < argc ? atoi(argv[optind]) : 0;
  const int requests = optind + 1 < argc ? atoi(argv[optind + 1]) : 0;
  if (clients < 1 || clients > kClients || clients + silent > kSockets - 100 || requests < 1)
    return 2;
  struct rlimit many;
  getrlimit(RLIMIT_NOFILE, &many);
  many.rlim_cur = many.rlim_max;
  setrlimit(RLIMIT_NOFILE, &many);
  char own[] = "/tmp/vex-echo-XXXXXX/socket";
  const char* path = argv[optind + 2];
  int server = 0;
  if (path == NULL) {
    *strrchr(own, '/') = '\0';
    if (mkdtemp(own) == NULL) fail(own);
    own[strlen(own)] = '/';
    server = start_echo(path = own);
  }

  const int epoll = epoll_create1(0);
  struct frame request = {0};
  int sockets[kClients];
  for (int i = 0; i < silent; ++i) join(path);
  for (int i = 0; i < clients; ++i) {
    sockets[i] = join(path);
    if (server == 0 || path != own) request = look_up(sockets[i]);
    watch(epoll, sockets[i]);
  }
  if (server == 0) {
    struct ucred peer;
    socklen_t length = sizeof peer;
    if (getsockopt(sockets[0], SOL_SOCKET, SO_PEERCRED, &peer, &length) != 0) fail("peer");
    server = peer.pid;
  }
  request.octets[3] = 0x02; /* the message */

  long* waited = calloc((size_t)requests, sizeof(long));
  const long before = cpu_of(server);
  int asked = 0, answered = 0;
  for (; asked < clients && asked < requests; ++asked) ask(sockets[asked], &request, 1);
  struct epoll_event events[kAtOnce];
  static struct frame answer;
  while (answered < requests) {
    const int ready = epoll_wait(epoll, events, kAtOnce, -1);
    for (int i = 0; i < ready && answered < requests; ++i) {
      const int fd = events[i].data.fd;
      if (recv(fd, &answer, sizeof answer, 0) < 8 + kHeader) fail("answer");
      waited[answered++] = now() - sent_at[fd];
      if (asked < requests) ask(fd, &request, (unsigned short)(++asked | 1));
    }
  }
  const long used = cpu_of(server) - before;
  qsort(waited, (size_t)requests, sizeof(long), by_size);
  printf("%ld\t%.1f\t%.1f\n", used / requests, (double)waited[requests / 2] / 1e3,
         (double)waited[requests * 99L / 100] / 1e3);
  if (path == own) {
    unlink(own);
    *strrchr(own, '/') = '\0';
    rmdir(own);
  }
  return 0;
}
