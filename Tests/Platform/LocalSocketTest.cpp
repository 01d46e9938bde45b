#include <gmock/gmock.h>
#include <unistd.h>

#include <chrono>
#include <expected>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "Platform/LocalSocket.h"
#include "Tests/Fakes/TemporaryDirectory.h"

namespace platform {
namespace {

TEST(LocalSocketTest, ConnectsAndIdentifiesThePeer) {
  const TemporaryDirectory folder;
  const std::string path = folder.file("service.sock");
  EXPECT_TRUE(listenOnLocalSocket(path));  // closed immediately
  EXPECT_EQ(connectLocalSocket(path).error(), "Connection refused");
  const auto listener = listenOnLocalSocket(path);  // replaces the old one
  ASSERT_TRUE(listener) << listener.error();
  using std::filesystem::perms;
  EXPECT_EQ(std::filesystem::status(path).permissions(), perms::owner_read | perms::owner_write);
  EXPECT_FALSE(acceptLocalSocket(*listener)) << "no client yet";
  const auto client = connectLocalSocket(path);
  ASSERT_TRUE(client);
  EXPECT_EQ(peerUserID(*client), ::geteuid());
  {
    const auto accepted = acceptLocalSocket(*listener);
    ASSERT_TRUE(accepted) << accepted.error();
    EXPECT_EQ(peerUserID(*accepted), ::geteuid());
  }
  EXPECT_EQ(peerUserID(Descriptor()), std::nullopt);
  EXPECT_EQ(sendWithoutWaiting(*client, "x"), -1) << "the peer has disconnected; no SIGPIPE";

  std::vector<Descriptor> queue;  // connections that nobody accepts
  std::expected<Descriptor, std::string> next;
  while ((next = connectLocalSocket(path, std::chrono::milliseconds(1))) && queue.size() < 1000) {
    queue.push_back(*std::move(next));
  }
  // macOS refuses further connections, as if nobody listened.
  EXPECT_THAT(next ? "no end of it" : next.error(),
              testing::AnyOf("its queue of connections is full", "Connection refused"));

  EXPECT_EQ(listenOnLocalSocket(folder.write("file", "kept")).error(), "Address already in use");
  EXPECT_EQ(folder.read("file"), "kept");
}

}  // namespace
}  // namespace platform
