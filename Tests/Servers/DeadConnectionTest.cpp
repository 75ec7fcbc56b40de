#include "Conversation.h"

#include <sched.h>

#include <cerrno>
#include <cstring>

namespace Servers {
namespace {

constexpr char server[] = "10.1.0.2";

void mustRun(const std::string& command) {
  if (std::system(command.c_str()) != 0) throw std::runtime_error("failed: " + command);
}

/// Has all connections to the server that are made from now on come from an address of this
/// machine's loopback.
void connectFrom(const std::string& address) {
  mustRun("ip address add " + address + "/32 dev lo");
  mustRun(std::string("ip route replace table local local ") + server + " dev lo src " + address);
}

/// As when a phone changes from one network to another: what is sent on the connections of before
/// gets no answer, and nothing says so.
TEST(DeadConnectionTest, CostsOneQuestion) {
  if (unshare(CLONE_NEWNET) != 0) {
    GTEST_SKIP() << "A network of its own is not permitted here: " << std::strerror(errno);
  }
  mustRun("ip link set lo up");
  mustRun(std::string("ip address add ") + server + "/32 dev lo");
  connectFrom("10.1.0.1");
  Conversation conversation(
      {.speaksHttp2 = true, .keepAlive = std::chrono::minutes(1), .address = server},
      std::chrono::seconds(1));
  ASSERT_TRUE(conversation.unanswered.empty());
  connectFrom("10.1.0.3");
  mustRun("ip address del 10.1.0.1/32 dev lo");
  for (int i = 0; i < 5; ++i) conversation.askOnce();
  EXPECT_LE(conversation.unanswered.size(), 1U);
}

}  // namespace
}  // namespace Servers
