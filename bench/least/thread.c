/* The floor of a process with a second thread. */
#include <pthread.h>
#include <unistd.h>

static void* wait_for_ever(void* nothing) {
  pause();
  return nothing;
}

int main(void) {
  pthread_t thread;
  return pthread_create(&thread, NULL, wait_for_ever, NULL);
}
