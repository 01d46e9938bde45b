#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
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
  EXPECT_EQ(peerUserID(*acceptLocalSocket(*listener)), ::geteuid());
  EXPECT_EQ(peerUserID(Descriptor()), std::nullopt);
  EXPECT_EQ(sendWithoutWaiting(*client, "x"), -1) << "the peer has disconnected; no SIGPIPE";

  std::vector<Descriptor> queue;  // connections that nobody accepts
  std::expected<Descriptor, std::string> next;
  while ((next = connectLocalSocket(path, std::chrono::milliseconds(1))) && queue.size() < 1000) {
    queue.push_back(*std::move(next));
  }
  EXPECT_EQ(next ? "no end of it" : next.error(), "its queue of connections is full");

  EXPECT_EQ(listenOnLocalSocket(folder.write("file", "kept")).error(), "Address already in use");
  EXPECT_EQ(folder.read("file"), "kept");
}

TEST(LocalSocketTest, SocketsAreAboveTheStandardDescriptors) {
  const TemporaryDirectory folder;
  const pid_t child = ::fork();
  if (child == 0) {
    ::close(STDIN_FILENO);
    ::close(STDERR_FILENO);
    const auto listener = listenOnLocalSocket(folder.file("service.sock"));
    const auto client = connectLocalSocket(folder.file("service.sock"));
    const auto accepted = acceptLocalSocket(*listener);
    const bool above = listener->get() > 2 && client && client->get() > 2 && accepted &&
                       accepted->get() > 2 && ::fcntl(STDIN_FILENO, F_GETFD) < 0 &&
                       ::fcntl(STDERR_FILENO, F_GETFD) < 0;
    ::_exit(above ? 0 : 1);
  }
  int status = -1;
  ::waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
}

}  // namespace
}  // namespace platform
