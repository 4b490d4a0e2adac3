// The contract on a desk: on a new phone, and with time that passes over every wait.

#include "support/desk.h"

#include <memory>

namespace {

class OnADesk : public testing::Environment {
  void SetUp() override {
    directory_ = std::make_unique<desk::PhoneDirectory>();
    desk::TestClock::install().run_by_itself();
  }
  void TearDown() override { directory_.reset(); }

  std::unique_ptr<desk::PhoneDirectory> directory_;
};
[[maybe_unused]] const auto* const g_desk = testing::AddGlobalTestEnvironment(new OnADesk);

}  // namespace
