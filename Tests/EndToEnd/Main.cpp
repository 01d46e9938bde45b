#include <gmock/gmock.h>

#include <iostream>
#include <string>

#include "Tests/EndToEnd/MacRun.h"

namespace {

/// Says at the end what the first failure was: where the Mac itself fails, all tests do.
class FirstFailure final : public testing::EmptyTestEventListener {
  void OnTestPartResult(const testing::TestPartResult& result) override {
    if (result.failed() && first_.empty()) {
      first_ = result.message();
    }
  }
  void OnTestProgramEnd(const testing::UnitTest& /*program*/) override {
    if (!first_.empty()) {
      std::cout << "\nThe first failure: " << first_.substr(0, 2000) << '\n';
    }
  }
  std::string first_;
};

}  // namespace

int main(int count, char** values) {
  constexpr int kSkipped = 77;  // what the build system takes for a skipped test
  testing::InitGoogleMock(&count, values);
  testing::UnitTest::GetInstance()->listeners().Append(new FirstFailure);
  const int status = RUN_ALL_TESTS();
  return status == 0 && end_to_end::whyNoMac() ? kSkipped : status;
}
