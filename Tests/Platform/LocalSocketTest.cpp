#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <optional>
#include <string>

#include "Platform/LocalSocket.h"
#include "Tests/Fakes/TemporaryDirectory.h"

namespace platform {
namespace {

TEST(LocalSocketTest, ConnectsToItsOwnersSocketAndKnowsThePeer) {
  const TemporaryDirectory folder;
  const std::string path = folder.file("service.sock");
  EXPECT_TRUE(listenOnLocalSocket(path));  // and is gone again
  EXPECT_EQ(connectLocalSocket(path).error(), "Connection refused");
  const auto listener = listenOnLocalSocket(path);  // takes the old one's place
  ASSERT_TRUE(listener) << listener.error();
  using std::filesystem::perms;
  EXPECT_EQ(std::filesystem::status(path).permissions(), perms::owner_read | perms::owner_write);
  EXPECT_FALSE(acceptLocalSocket(*listener)) << "nobody has come yet";
  const auto client = connectLocalSocket(path);
  ASSERT_TRUE(client);
  EXPECT_EQ(peerUserID(*client), ::geteuid());
  EXPECT_EQ(peerUserID(*acceptLocalSocket(*listener)), ::geteuid());
  EXPECT_EQ(peerUserID(Descriptor()), std::nullopt);
  EXPECT_EQ(sendWithoutWaiting(*client, "x"), -1) << "the peer has gone, and no signal was raised";

  EXPECT_EQ(listenOnLocalSocket(folder.write("file", "kept")).error(), "Address already in use");
  EXPECT_EQ(folder.read("file"), "kept");
}

}  // namespace
}  // namespace platform
