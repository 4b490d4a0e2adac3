/* What whole processes cost, from their start to their end.
 * usage: process_cost [-j AT_ONCE] ROUNDS COMMAND...
 *   -j  start that many of a command at once, and measure until the last has ended (1)
 * A COMMAND is one word, NAME=VALUE of its environment before it and arguments after it, all parted
 * by blanks; it is started with nothing else in its environment but PATH and VEX_PHONE. A round
 * runs every command once, so that whatever else the machine does falls on all of them. What they
 * print goes nowhere. For each command a line of numbers, parted by tabs: median, lower and upper
 * quartile (us), peak memory (KiB), page faults */
#define _GNU_SOURCE
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

enum { kCommandsMax = 32, kWordsMax = 32, kRoundsMax = 10000 };

struct command {
  char* environment[kWordsMax];
  char* words[kWordsMax];
  long* times; /* ns, one a round */
  struct rusage usage;
};

static struct command commands[kCommandsMax];

static void fail(const char* what) {
  fprintf(stderr, "process_cost: %s\n", what);
  exit(2);
}

static void parse(struct command* command, char* text) {
  int variables = 0, words = 0;
  static char path[4096], phone[4096];
  const char* root = getenv("VEX_PHONE");
  snprintf(path, sizeof path, "PATH=%s", getenv("PATH"));
  snprintf(phone, sizeof phone, "VEX_PHONE=%s", root != NULL ? root : "");
  command->environment[variables++] = path;
  command->environment[variables++] = phone;
  for (char* word = strtok(text, " "); word != NULL; word = strtok(NULL, " ")) {
    if (variables + 1 >= kWordsMax || words + 1 >= kWordsMax) fail("too many words");
    if (words == 0 && strchr(word, '=') != NULL) {
      command->environment[variables++] = word;
    } else {
      command->words[words++] = word;
    }
  }
  if (words == 0) fail("an empty command");
}

static long now(void) {
  struct timespec time;
  clock_gettime(CLOCK_MONOTONIC, &time);
  return time.tv_sec * 1000000000L + time.tv_nsec;
}

/* A kernel that ends processes on its ticks would have each command begin at the same moment of
 * one, after the command before it: so they begin at any moment of two of them. */
static void wait_a_little(void) {
  static unsigned random = 1;
  random = random * 1664525 + 1013904223;
  const struct timespec time = {0, (random >> 8) % 8000000};
  nanosleep(&time, NULL);
}

/* vfork for the time, since it costs the same whatever this process has; fork for the memory, since
 * what a process had before it became the command counts too, and a fork has next to nothing. */
static void start(struct command* command, int with_vfork) {
  const pid_t process = with_vfork ? vfork() : fork();
  if (process < 0) fail("no process");
  if (process != 0) return;
  execvpe(command->words[0], command->words, command->environment);
  _exit(127);
}

/* Returns what a process of the command used that ended well. */
static struct rusage end_one(const struct command* command) {
  struct rusage usage;
  int status = 0;
  if (wait4(-1, &status, 0, &usage) >= 0 && status == 0) return usage;
  fprintf(stderr, "process_cost: %s ended with status %#x\n", command->words[0], (unsigned)status);
  exit(1);
}

static int by_size(const void* a, const void* b) {
  const long left = *(const long*)a, right = *(const long*)b;
  return (left > right) - (left < right);
}

static double in_us(long ns) { return (double)ns / 1e3; }

int main(int argc, char** argv) {
  int at_once = 1, option;
  while ((option = getopt(argc, argv, "j:")) != -1) {
    if (option != 'j') return 2;
    at_once = atoi(optarg);
  }
  const int count = argc - optind - 1;
  const int rounds = count > 0 ? atoi(argv[optind]) : 0;
  if (count < 1 || count > kCommandsMax || rounds < 1 || rounds > kRoundsMax || at_once < 1) {
    fail("usage: process_cost [-j AT_ONCE] ROUNDS COMMAND...");
  }
  const int results = dup(STDOUT_FILENO);
  const int nowhere = open("/dev/null", O_RDWR);
  if (results < 0 || nowhere < 0) fail("no /dev/null");
  for (int fd = 0; fd < 3; ++fd) {
    if (fd != STDERR_FILENO) dup2(nowhere, fd);
  }
  fcntl(results, F_SETFD, FD_CLOEXEC);
  close(nowhere);

  for (int c = 0; c < count; ++c) {
    parse(&commands[c], argv[optind + 1 + c]);
    commands[c].times = calloc((size_t)rounds, sizeof(long));
    if (commands[c].times == NULL) fail("no memory");
    start(&commands[c], 0);
    commands[c].usage = end_one(&commands[c]);
  }
  for (int round = 0; round < rounds; ++round) {
    for (int c = 0; c < count; ++c) {
      wait_a_little();
      const long begun = now();
      for (int i = 0; i < at_once; ++i) start(&commands[c], 1);
      for (int i = 0; i < at_once; ++i) end_one(&commands[c]);
      commands[c].times[round] = now() - begun;
    }
  }
  for (int c = 0; c < count; ++c) {
    const struct command* command = &commands[c];
    qsort(command->times, (size_t)rounds, sizeof(long), by_size);
    dprintf(results, "%.1f\t%.1f\t%.1f\t%ld\t%ld\n", in_us(command->times[rounds / 2]),
            in_us(command->times[rounds / 4]), in_us(command->times[rounds * 3 / 4]),
            command->usage.ru_maxrss, command->usage.ru_minflt);
  }
  return 0;
}
