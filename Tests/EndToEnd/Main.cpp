#include <gmock/gmock.h>

#include "Tests/EndToEnd/MacRun.h"

int main(int count, char** values) {
  constexpr int kSkipped = 77;  // what the build system takes for a skipped test
  testing::InitGoogleMock(&count, values);
  const int status = RUN_ALL_TESTS();
  return status == 0 && end_to_end::whyNoMac() ? kSkipped : status;
}
