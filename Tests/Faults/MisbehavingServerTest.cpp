#include "Application.h"
#include "Support/TemporaryDirectory.h"

#include <PellixPlatform/internal/File.h>

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <netdb.h>

#include <algorithm>
#include <atomic>

/// In place of the system's, so that no test asks a name server.
extern "C" int getaddrinfo(const char* node, const char* service, const addrinfo* hints,
                           addrinfo** result) {
  static const auto system =
      reinterpret_cast<decltype(&getaddrinfo)>(dlsym(RTLD_NEXT, "getaddrinfo"));
  if (node && std::string_view(node).ends_with(".invalid")) return EAI_NONAME;
  return system(node, service, hints, result);
}

namespace Faults {
namespace {

constexpr std::size_t largest = 100'000;
constexpr std::chrono::milliseconds soon(1000);  // a time limit that is meant to pass

const std::string disabled = "QV_Pellix_Disabled 1006";
const std::string unresolved = "com.quorvel.core 6: The server's name could not be resolved.";
const std::string unreachable = "com.quorvel.core 8: The server could not be reached.";
const std::string late = "com.quorvel.core 9: The server did not answer in time.";
const std::string untrusted = "com.quorvel.core 10: The server's certificate is not trusted.";
const std::string proxyFailed = "com.quorvel.core 16: The proxy did not pass the request on.";

enum class Certificate : std::uint8_t { none, good, expired, notIssued, ofAnotherHost };
enum class Cursor : std::uint8_t { here, behindProxy, nowhere };

/// A way in which a server misbehaves, and how the operations end then.
struct Row {
  std::string name;
  LoopbackReply reply;          // {elsewhere} stands for the address of another server
  std::string ending;           // of each operation, with settings that are kept already
  std::string report = ending;  // of a resolution and a rejection, if it is not the same
  LoopbackServer::Options server = {};
  Certificate certificate = Certificate::none;
  Cursor place = Cursor::here;
  bool isWell = false;  // the reply only comes before the proper one

  friend void PrintTo(const Row& row, std::ostream* out) { *out << row.name; }
};

std::vector<Row> rows() {
  using enum Certificate;
  const std::string ok = "HTTP/1.1 200 OK\r\n";
  const std::string chunked = ok + "Transfer-Encoding: chunked\r\n\r\n";
  const std::string half = ok + "Content-Length: 10\r\n\r\n{\"a\":";
  const std::string early = "HTTP/1.1 103 Early Hints\r\n\r\n";
  const std::string basic = "-Authenticate: Basic realm=\"x\"\r\n";
  const std::string zeros = PellixPlatform::readFile(COMPRESSED_ZEROS).value();
  const std::string either = lost + "<br>or " + unreachable;  // it is a matter of timing
  const LoopbackReply reset{"", Then::reset};
  const LoopbackReply stall{"", Then::stall};
  const LoopbackServer::Options unasked{.answersUnasked = true};
  const auto status = [](const std::string& number, const std::string& text,
                         const std::string& fields = "") {
    return Row{"answers " + number,
               {httpReply(number + " " + text, "", fields)},
               "com.pellix.providers " + number + ": " + text};
  };
  return {
      {"refuses the connection", {}, unreachable, unreachable, {.isDeaf = true}},
      {"lets the connection wait", {}, late, late, {.isFull = true}},
      {"resets the connection when it stands", reset, either, either, unasked},
      {"resets the connection instead of a reply", reset, lost},
      {"closes the connection instead of a reply", {"", Then::close}, lost},
      {"resets the connection within the header fields", {ok + "X-A", Then::reset}, lost},
      {"resets the connection within the body", {half, Then::reset}, lost},
      {"stalls before the TLS handshake", stall, late, late, unasked, good},
      {"stalls before the reply", stall, late},
      {"stalls within the header fields", {ok + "X-A", Then::stall}, late},
      {"stalls within the body", {half, Then::stall}, late},

      {"sends less than Content-Length says", {half, Then::close}, lost},
      {"sends more than Content-Length says",
       {ok + "Content-Length: 5\r\n\r\n{\"a\":1}", Then::close},
       corrupted + "the document ends early",
       success},
      {"sends a chunk without a size", {chunked + "zz\r\n{}", Then::close}, malformed},
      {"sends more than a chunk's size says", {chunked + "1\r\n{}\r\n", Then::close}, malformed},
      {"ends within a chunk", {chunked + "5\r\n{}", Then::close}, lost},
      {"does not speak HTTP", {"SSH-2.0-Server\r\n\r\n", Then::close}, malformed},
      {"does not speak JSON",
       {httpReply("200 OK", "<p>")},
       corrupted + "a value is missing",
       success},
      {"sends a huge header field", {ok + std::string(300'000, 'a'), Then::close}, tooLarge},
      // This is a status line and a header field at once.
      {"sends header fields without end", {"HTTP/1.1 200 O:K\r\n", Then::repeat}, tooLarge},
      {"sends interim replies without end", {early, Then::repeat}, tooLarge},
      {"sends a huge body", {httpReply("200 OK", std::string(largest + 1, ' '))}, tooLarge},
      {"sends a body without end", {ok + "\r\n", Then::repeat}, tooLarge},
      {"sends a compressed bomb that nobody asked for",
       {httpReply("200 OK", zeros, "Content-Encoding: gzip\r\n")},
       corrupted + "the text is not UTF-8",
       success},
      {"sends a compressed bomb as a transfer coding",
       {ok + "Transfer-Encoding: gzip\r\n\r\n" + zeros, Then::close},
       tooLarge},

      {"has an expired certificate", {}, untrusted, untrusted, {}, expired},
      {"has a certificate of its own making", {}, untrusted, untrusted, {}, notIssued},
      {"has another host's certificate", {}, untrusted, untrusted, {}, ofAnotherHost},

      {"sends an interim reply first", {early}, success, success, {}, none, Cursor::here, true},
      {"answers 200 without a body", {httpReply("200 OK")}, silence, success},
      {"answers 204", {"HTTP/1.1 204 No Content\r\n\r\n"}, silence, success},
      status("301", "Moved Permanently", "Location: /elsewhere\r\n"),
      status("307", "Temporary Redirect", "Location: {elsewhere}/answers\r\n"),
      status("304", "Not Modified"),
      status("401", "Unauthorized", "WWW" + basic),
      status("407", "Proxy Authentication Required", "Proxy" + basic),
      status("429", "Too Many Requests", "Retry-After: 1\r\n"),
      status("500", "Internal Server Error"),
      status("503", "Service Unavailable"),

      {"is behind a proxy that refuses the connection",
       {},
       unreachable,
       unreachable,
       {.isDeaf = true},
       none,
       Cursor::behindProxy},
      {"is behind a proxy that refuses to pass anything on",
       {httpReply("403 Forbidden")},
       proxyFailed,
       proxyFailed,
       {},
       none,
       Cursor::behindProxy},
      {"is behind a proxy that wants another password",
       {httpReply("407 Proxy Authentication Required", "", "Proxy" + basic)},
       proxyFailed,
       proxyFailed,
       {},
       none,
       Cursor::behindProxy},
      {"is behind a proxy that stalls", stall, late, late, {}, none, Cursor::behindProxy},
      {"has a name that nobody knows", {}, unresolved, unresolved, {}, none, Cursor::nowhere},
      {"has an address of IPv6 only",
       {},
       success,
       success,
       {.isIPv6 = true},
       none,
       Cursor::here,
       true},
  };
}

/// A settings service of the host's own, for where no settings could ever have been fetched.
class OwnSettings final : public QuorvelCoreSDK::SettingsProvider {
  void answer(RecordType type, Continuation continuation) override {
    continuation(type.decode(R"({"pellix":{"enabled":true}})").value());
  }
};

class MisbehavingServerTest : public testing::TestWithParam<Row> {
 protected:
  void SetUp() override {
    directory_.write("authority.pem", authority_.certificate);
    constexpr std::string_view placeholder = "{elsewhere}";
    if (const auto at = reply_.bytes.find(placeholder); at != reply_.bytes.npos) {
      reply_.bytes.replace(at, placeholder.size(), elsewhere_.origin());
    }
    try {
      port_.emplace(nullptr, LoopbackServer::Options{.isIPv6 = row_.server.isIPv6, .isDeaf = true});
    } catch (const std::runtime_error& reason) {
      table_ += "| " + row_.name + " | not tried | | | |\n";
      GTEST_SKIP() << reason.what();
    }
  }

  /// For the documentation.
  static void TearDownTestSuite() {
    const char* const file = std::getenv("PELLIX_FAULT_TABLE");
    if (file) std::ofstream(file) << table_;
  }

  /// A server at the one port, which misbehaves unless `isWell_`.
  [[nodiscard]] std::unique_ptr<LoopbackServer> makeServer(LoopbackServer::Options options,
                                                           Certificate certificate) const {
    using enum Certificate;
    // One that stalls before the handshake does so by not speaking TLS at all.
    if (certificate != none && !options.answersUnasked) {
      options.identity = Support::makeIdentity(
          {.names = certificate == ofAnotherHost ? "DNS:other.invalid" : "IP:127.0.0.1",
           .isExpired = certificate == expired,
           .issuer = certificate == notIssued ? nullptr : &authority_});
    }
    options.port = port_->port();
    const auto answer = [this](const LoopbackRequest& request) {
      if (isWell_) return LoopbackReply{properReply(request)};
      return row_.isWell ? LoopbackReply{reply_.bytes + properReply(request)} : reply_;
    };
    return std::make_unique<LoopbackServer>(answer, std::move(options));
  }

  [[nodiscard]] Application application(std::shared_ptr<OwnSettings> settings) const {
    QuorvelCoreSDK::Configuration configuration{
        .network = {.ignoreProxyEnvironment = true,
                    .certificateAuthorities = directory_.path() / "authority.pem",
                    .maxResponseBytes = largest},
        .settings = std::move(settings)};
    auto& network = configuration.network;
    if (row_.ending == late)
      (seesRequests() ? network.requestTimeout : network.connectTimeout) = soon;
    auto address = port_->origin();
    if (row_.place == Cursor::behindProxy) network.proxy = "http://me:x@" + address.substr(7);
    if (row_.certificate != Certificate::none) address.insert(4, "s");
    if (row_.place != Cursor::here) address = "https://account.invalid";
    return Application(address, std::move(configuration));
  }

  /// Whether the server misbehaves only once it has a request.
  [[nodiscard]] bool seesRequests() const {
    return row_.place == Cursor::here && row_.ending != untrusted && !row_.server.isDeaf &&
           !row_.server.isFull && !row_.server.answersUnasked;
  }

  /// Runs the operations, looks at how they end and that each asked the server so many times, and
  /// gives each ending.
  static std::array<std::string, 3> endings(const Application& application,
                                            const LoopbackServer& server,
                                            std::array<std::string, 3> expected,
                                            std::ptrdiff_t times) {
    const auto calls = application.runOperations();
    const auto requests = server.requests();
    for (std::size_t i = 0; i < calls.size(); ++i) {
      SCOPED_TRACE(paths[i]);
      const auto ending = textOf(calls[i]);
      const bool isEither = expected[i].contains("<br>or ") && expected[i].contains(ending);
      if (!isEither) {
        EXPECT_EQ(ending, expected[i]);
        expected[i] = ending;
      }
      const auto isIt = [i](const LoopbackRequest& request) { return isFor(request, paths[i]); };
      EXPECT_EQ(std::ranges::count_if(requests, isIt), times);
    }
    for (const auto& request : requests) EXPECT_FALSE(request.head.contains("Accept-Encoding"));
    return expected;
  }

  static std::string table_;

  const Row& row_ = GetParam();
  LoopbackReply reply_ = row_.reply;
  const Support::TemporaryDirectory directory_;
  const Support::LoopbackIdentity authority_ =
      Support::makeIdentity({.names = "DNS:authority.invalid"});
  const LoopbackServer elsewhere_{[](const auto&) { return LoopbackReply{httpReply("200 OK")}; }};
  std::optional<LoopbackServer> port_;  // holds it while no other server does
  std::atomic<bool> isWell_ = false;
};

std::string MisbehavingServerTest::table_ =
    "| The server | query | resolution | rejection | each, if the settings fail like this |\n"
    "|---|---|---|---|---|\n";

TEST_P(MisbehavingServerTest, EndsEveryOperationOnce) {
  table_ += "| " + row_.name;
  {
    SCOPED_TRACE("with settings that are kept already");
    const bool couldKeep = row_.place == Cursor::here;
    const auto app = application(couldKeep ? nullptr : std::make_shared<OwnSettings>());
    isWell_ = couldKeep;
    auto server =
        makeServer({.isIPv6 = row_.server.isIPv6}, std::min(row_.certificate, Certificate::good));
    EXPECT_TRUE(!couldKeep || app.keepSettings());
    isWell_ = false;
    if (!seesRequests()) {
      server.reset();
      server = makeServer(row_.server, row_.certificate);
    }
    const auto [query, resolution, rejection] =
        endings(app, *server, {row_.ending, row_.report, row_.report}, seesRequests() ? 1 : 0);
    table_ += " | " + query + " | " + (resolution == query ? "the same" : resolution) + " | " +
              (rejection == resolution ? "the same" : rejection);
  }
  SCOPED_TRACE("with settings that can't be had");
  const auto& ending = row_.isWell ? success : disabled;
  const auto server = makeServer(row_.server, row_.certificate);
  const auto [query, resolution, rejection] =
      endings(application(nullptr), *server, {ending, ending, ending}, row_.isWell ? 1 : 0);
  table_ += " | " + (resolution == query && rejection == query ? query : "mixed") + " |\n";
  EXPECT_EQ(elsewhere_.connections(), 0U);
}

INSTANTIATE_TEST_SUITE_P(Server, MisbehavingServerTest, testing::ValuesIn(rows()));

}  // namespace
}  // namespace Faults
