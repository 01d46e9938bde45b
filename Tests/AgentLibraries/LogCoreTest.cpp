#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>

#include "AgentLibraries/LogCore/Logger.h"

namespace LogCore {
namespace {

TEST(LogSinkTest, OneThatThrowsLosesItsLineOnly) {
  struct ThrowingSink final : LogSink {
    void write(LogLevel, const LogTag&, std::uint32_t, const MessageBuilder&) override {
      throw std::runtime_error("no room");
    }
  };
  const auto former = setLogSink(std::make_shared<ThrowingSink>());
  EXPECT_NO_THROW(logError(LogTag{"test"}, [] { return "lost"; }));
  setLogSink(former);
}

}  // namespace
}  // namespace LogCore
