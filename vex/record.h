// The result record of a run (docs/result.schema.json): begun before the command, written after it.
#pragma once

#include <cstdint>

namespace vex {

// For its lifetime the run's results are collected, when the environment asks for them.
class RunRecord {
 public:
  RunRecord(int argc, char** argv);
  ~RunRecord();
  RunRecord(const RunRecord&) = delete;
  RunRecord& operator=(const RunRecord&) = delete;

 private:
  const int argc_;
  char** const argv_;
  const bool wanted_;
  uint64_t begun_ms_ = 0;
};

// The layer of a code that an operation of qmi/ returns, for the record. Each returns the code.
int note_nvefs(int code);  // kelvor_extend_nvefs.h
int note_uim(int code);    // kelvor_extend_api_uim.h; also fails for a card that refused
// A common request: the code of its sending, then that of the response.
int note_common(int code, const void* rsp);

}  // namespace vex
