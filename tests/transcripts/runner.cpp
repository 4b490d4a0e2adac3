// Runs transcripts (transcript.h) on a desk.
//
//   usage: transcripts [--accept] FILE...
//
// vex runs in a process forked from this one, on a clock that goes to the next deadline whenever
// every thread waits.
// --accept writes what was printed into the file, to be reviewed there.

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "common/trace.h"
#include "sim/services/make_modem.h"
#include "sim/serving/embedded_link.h"
#include "support/command.h"
#include "support/process_link.h"
#include "transcripts/transcript.h"

namespace {

// Every vex of this process writes its result record here.
FILE* g_records = std::tmpfile();
int g_least_records = 0;

bool records_are_valid() {
  const std::string check = VEX_SOURCES "/tests/transcripts/check_records.py ";
  std::rewind(g_records);
  ::dup2(::fileno(g_records), STDIN_FILENO);
  return std::system((check + std::to_string(g_least_records)).c_str()) == 0;
}

void show_bus(const std::string& root) {
  std::string why;
  std::shared_ptr<sim::Modem> modem = sim::make_modem(sim::Phone(root), &why);
  if (modem == nullptr) return;
  modem->set_tap([](const qmi_idl_service_object& service, sim::FaultKind kind, sim::Address,
                    sim::Address, std::span<const uint8_t> octets) {
    std::fputs(transcripts::bus_line(service, kind, octets).c_str(), stdout);
  });
  desk::use_link(sim::make_embedded_link(std::move(modem)));
}

int run_vex(const std::string& command, const std::string& root) {
  std::vector<std::string> words = desk::split(command);
  for (; words.front() != "vex"; words.erase(words.begin())) {
    const size_t equals = words.front().find('=');
    ::setenv(words[0].substr(0, equals).c_str(), words[0].substr(equals + 1).c_str(), 1);
  }
  words.erase(words.begin());
  ::setenv("VEX_RESULT_FD", std::to_string(::fileno(g_records)).c_str(), 0);
  desk::TestClock& clock = desk::TestClock::install();
  clock.run_by_itself();
  if (std::getenv("BUS") != nullptr) show_bus(root);
  std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
  const Operation operation(TraceSite{"main", "kelvor_vex_test_main.cpp"});
  const int status = desk::Vex(words).run();
  const auto passed = std::chrono::duration_cast<std::chrono::milliseconds>(clock.passed());
  if (passed.count() != 0) std::printf("[after %ld ms]\n", static_cast<long>(passed.count()));
  return status;
}

constexpr const char kLimitS[] = "100";  // for a step that runs programs; ctest has 120 for a file

std::string run(const transcripts::Step& step, const std::string& root) {
  std::string call;
  std::string words;
  if (transcripts::is_vex(step.command, &call, &words)) {
    if (!call.starts_with("VEX_RESULT_FD")) ++g_least_records;
    return transcripts::output_of([&] {
      FILE* const filter = words.empty() ? nullptr : ::popen(words.c_str(), "w");
      if (filter != nullptr) ::dup2(::fileno(filter), STDOUT_FILENO);
      const int status = run_vex(call, root);
      std::fclose(stdout);
      return filter != nullptr ? ::pclose(filter) : status;
    });
  }
  return transcripts::output_of([&] {
    // With a limit, after which nothing that the step has begun is left.
    ::execlp("timeout", "timeout", "-k", "1", kLimitS, "sh", "-c", step.command.c_str(), nullptr);
    return 127;
  });
}

}  // namespace

int main(int argc, char** argv) {
  const std::string before =
      std::string(VEX_PROGRAMS) + ":" + VEX_SOURCES "/tests/transcripts/bin:";
  ::setenv("PATH", (before + std::getenv("PATH") + ":" + VEX_SOURCES "/tools").c_str(), 1);
  ::setenv("VEX_SHELL_LEVELS", "11", 1);
  const bool accept = argc > 1 && std::string(argv[1]) == "--accept";
  const std::span<char* const> words(argv, static_cast<size_t>(argc));
  ::fcntl(::fileno(g_records), F_SETFL, O_APPEND);
  const bool good = transcripts::run_files(words.subspan(accept ? 2 : 1), run, accept);
  return records_are_valid() && good ? 0 : 1;
}
