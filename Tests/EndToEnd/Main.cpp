#include <gmock/gmock.h>

#include "Tests/EndToEnd/MacRun.h"

int main(int count, char** values) {
  constexpr int kSkipped = 77;  // SKIP_RETURN_CODE in CMakeLists.txt
  testing::InitGoogleMock(&count, values);
  const int status = RUN_ALL_TESTS();
  return status == 0 && end_to_end::simulatedMacProblem() ? kSkipped : status;
}
