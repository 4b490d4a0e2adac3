// vex: the program.

#include "common/trace.h"
#include "vex/commands.h"
#include "vex/process.h"

int main(int argc, char** argv) {
  const Operation operation(__func__);
  vex::prepare_process();
  return vex::run(argc, argv);
}
