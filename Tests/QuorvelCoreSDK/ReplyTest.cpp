#include "Client.h"
#include "Support/Recorder.h"
#include "Support/Rows.h"
#include "Support/TemporaryDirectory.h"

#include <PellixPlatform/internal/File.h>

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <netdb.h>

#include <latch>
#include <semaphore>

namespace {

std::latch resolverMayGoOn{1};

}  // namespace

/// In place of the system's, so that no test asks a name server: ".invalid" names are unknown, and
/// one of them takes its time.
extern "C" int getaddrinfo(const char* node, const char* service, const addrinfo* hints,
                           addrinfo** result) {
  static const auto system =
      reinterpret_cast<decltype(&getaddrinfo)>(dlsym(RTLD_NEXT, "getaddrinfo"));
  const std::string_view name(node ? node : "");
  if (name == "slow.invalid") resolverMayGoOn.wait();
  if (name.ends_with(".invalid")) return EAI_NONAME;
  return system(node, service, hints, result);
}

namespace QuorvelCoreSDK {
namespace {

using Support::httpReply;
using Support::LoopbackReply;
using Support::LoopbackServer;
using testing::HasSubstr;
using Then = LoopbackReply::Then;

constexpr std::size_t largest = 100'000;

/// {many} are all the header fields that are let in beside two lines, and {quarter} is one, beside
/// four bytes, of which four are.
const Support::Values values{{"{full}", std::string(largest, 'a')},
                             {"{huge}", std::string(largest + 1, 'a')},
                             {"{many}",
                              [] {
                                std::string fields;
                                while (fields.size() < 4 * 998) fields += "a:\r\n";
                                return fields;
                              }()},
                             {"{quarter}", "a:" + std::string((64 << 10) - 8, 'a') + "\r\n"},
                             {"{zeros}", PellixPlatform::readFile(COMPRESSED_ZEROS).value()}};

/// The fields of a header, one after the other.
std::string textOf(const PellixPlatform::HTTPURLResponse::HeaderFields& fields) {
  std::string text;
  for (const auto& [name, value] : fields) text += name + "=" + value + ";";
  return text;
}

TEST(ReplyTest, IsHandedOnAsItCame) {
  for (const auto& row : Support::rowsOf("QuorvelCoreSDK/Data/Replies.txt", values)) {
    SCOPED_TRACE(row[0].substr(0, 1000));
    const LoopbackServer server(replying(row[0], Support::thenIn(row[1])));
    const Client client(server.origin(), {.network = {.maxResponseBytes = largest}});
    const auto outcome = client.perform();
    EXPECT_FALSE(outcome.error) << outcome.text();
    EXPECT_EQ(std::to_string(outcome.status()), row[2]);
    EXPECT_EQ(outcome.data.value_or("-"), row[3]);
    if (row.size() > 4) {
      EXPECT_EQ(textOf(outcome.response->allHeaderFields()), row[4]);
    }
    EXPECT_EQ(server.requests().size(), 1U);
  }
}

TEST(ReplyTest, ThatIsNoneEndsInAnErrorThatSaysWhy) {
  const Support::LogRecorder log;
  for (const auto& row : Support::rowsOf("QuorvelCoreSDK/Data/Faults.txt", values)) {
    SCOPED_TRACE(row[0]);
    const auto is = [&row](const char* how) { return row[1].contains(how); };
    const LoopbackServer server(
        replying(row[4], Support::thenIn(row[1])),
        {.answersUnasked = is("unasked"), .isDeaf = is("deaf"), .isFull = is("full")});
    Configuration configuration{.network = {.maxResponseBytes = largest}};
    if (row[2] == "9") configuration.network.requestTimeout = std::chrono::milliseconds(1000);
    auto address = server.origin();
    if (is("TLS")) address.insert(4, "s");
    const auto outcome = Client(address, configuration).perform();
    const auto code = std::to_string(std::to_underlying(outcome.code()));
    EXPECT_THAT(" " + row[2] + " ", HasSubstr(" " + code + " "));
    EXPECT_EQ(outcome.response, nullptr);
    EXPECT_EQ(outcome.data, std::nullopt);
    const auto text = outcome.text();
    EXPECT_THAT(text, testing::StartsWith(makeCoreError(outcome.code()).description()));
    EXPECT_THAT(text, HasSubstr(row[3]));
    EXPECT_THAT(text, testing::Not(HasSubstr(secret)));
    const auto requests = server.requests();
    EXPECT_EQ(requests.size(), is("unasked") || is("deaf") || is("full") ? 0U : 1U);
    for (const auto& request : requests) EXPECT_FALSE(request.head.contains("Accept-Encoding"));
  }
  for (const auto& line : log.lines()) EXPECT_THAT(line, testing::Not(HasSubstr(secret)));
}

TEST(ReplyTest, IsNotHeldUpByASlowNameOrAStalledNeighbour) {
  std::binary_semaphore isStalled(0);
  const auto answer = [&isStalled](const auto& request) {
    if (!request.head.starts_with("GET /stall")) return LoopbackReply{httpReply("200 OK")};
    isStalled.release();
    return LoopbackReply{"", Then::stall};
  };
  const auto identity = Support::makeIdentity({});
  const Support::TemporaryDirectory directory;
  directory.write("trusted.pem", identity.certificate);
  const LoopbackServer plain(answer);
  const LoopbackServer secure(answer, {.identity = identity});
  const Client nowhere("https://slow.invalid",
                       {.network = {.requestTimeout = std::chrono::milliseconds(300)}});
  for (const auto* server : {&plain, &secure}) {
    const Client client(server->origin(),
                        {.network = {.certificateAuthorities = directory.path() / "trusted.pem"}});
    auto stalled = Client::begin(client.parameters("/stall"));
    isStalled.acquire();
    EXPECT_EQ(nowhere.perform().code(), CoreErrorCode::timedOut);
    EXPECT_EQ(Client("https://unknown.invalid").perform().code(), CoreErrorCode::cannotResolveHost);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(client.perform().status(), 200);
    EXPECT_EQ(stalled.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
    EXPECT_EQ(server->connections(), 2U);
  }
  resolverMayGoOn.count_down();
}

}  // namespace
}  // namespace QuorvelCoreSDK
