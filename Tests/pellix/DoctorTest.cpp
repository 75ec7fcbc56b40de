#include "Support/LoopbackServer.h"
#include "Support/Process.h"
#include "Support/PseudoTerminal.h"
#include "Support/TemporaryDirectory.h"

#include <AnswerService.h>
#include <dlfcn.h>
#include <fmt/chrono.h>
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <utf8proc.h>

#include <regex>

namespace {

using nlohmann::json;
using testing::AnyOf;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;

using Arguments = std::vector<std::string>;
using Environment = std::map<std::string, std::string>;
using Support::LoopbackReply;

/// What a service may answer whatever it is asked for.
constexpr const char* answer =
    R"({"deflection":{"id":1,"auth_token":"canary-auth"},"deflection_articles":[],)"
    R"("interaction_access_token":"canary-interaction","pellix":{"enabled":true},"locale":"de"})";

/// Runs doctor, by way of other programs if need be, and reads its report.
json examine(Environment environment, const Arguments& arguments, Arguments command = {}) {
  environment.insert({"PELLIX_TOKEN", "canary-token"});
  const Support::TemporaryDirectory files;
  std::ranges::copy(
      Arguments{PELLIX_PROGRAM, "doctor", "--json", "--report", files.path() / "report"},
      std::back_inserter(command));
  std::ranges::copy(arguments, std::back_inserter(command));
  const auto outcome = Support::runProcess(command, environment);
  // An emulator's own loader can't take what the program that it runs is to preload.
  EXPECT_THAT(outcome.errors, MatchesRegex("(ERROR: ld.so: [^\n]*\n)*"));
  EXPECT_THAT(outcome.output, Not(HasSubstr("canary")));
  auto report = json::parse(outcome.output);
  EXPECT_EQ(report["healthy"], outcome.exitCode == 0);
  EXPECT_EQ(report["checks"].size(), 21U);
  const auto file = files.read("report");
  EXPECT_THAT(file, Not(AnyOf(HasSubstr("canary"), HasSubstr("private"))));
  for (const auto& check : report["checks"]) EXPECT_THAT(file, HasSubstr(check["check"]));
  return report;
}

/// The row's check finds what it says, "also" some others do, and there is no other problem.
void expectFinding(const json& row, const json& report) {
  auto found = row.value("also", json::object());
  found[std::string(row["check"])] = row["found"];
  for (const auto& check : report["checks"]) {
    const std::string name = check["check"];
    const bool isProblem = row.contains("remedy") && check["check"] == row["check"];
    EXPECT_EQ(check["status"] == "problem", isProblem) << check;
    EXPECT_THAT(std::string(check["found"]), HasSubstr(found.value(name, "")));
    if (isProblem) {
      EXPECT_THAT(std::string(check["remedy"]), HasSubstr(row["remedy"]));
    }
  }
}

/// A service with the row's certificate, if any, that misbehaves as the row says.
std::unique_ptr<AnswerService::Service> serviceFor(const json& row) {
  AnswerService::Options options{.token = "canary-token", .defaultLocale = "de"};
  if (row.contains("certificate")) {
    options.tls = true;
    options.certificateValidFrom = std::chrono::hours(row["certificate"][0]);
    options.certificateValidUntil = std::chrono::hours(row["certificate"][1]);
    options.certificateNames = row["certificate"][2];
  }
  auto service = std::make_unique<AnswerService::Service>(options);
  const auto whatever = std::string("body:") + answer;
  service->setMisbehaviour("interaction", whatever);
  const auto what = row.value("misbehaviour", Arguments{"interaction", whatever});
  service->setMisbehaviour(what[0], what[1]);
  service->start();
  return service;
}

TEST(Doctor, FindsNothingWhenAllIsWell) {
  const Support::TemporaryDirectory files;
  for (const bool tls : {false, true}) {
    const auto service =
        serviceFor(tls ? json{{"certificate", {-1, 1, "IP:127.0.0.1"}}} : json::object());
    files.write("own.pem", service->certificatePem());
    auto address = service->baseUrl();
    if (tls) address.replace(0, 5, "HTTPS");
    const auto report = examine({{"PELLIX_ACCOUNT_URL", address}},
                                {"--certificate-authorities", files.path() / "own.pem"});
    for (const auto& check : report["checks"]) {
      const bool isTLS = check["check"] == "tls" || check["check"] == "certificates";
      const bool isSkipped = check["check"] == "ipv6" || (isTLS && !tls);
      EXPECT_EQ(check["status"], isSkipped ? "skipped" : "ok") << check;
    }
    const auto query = service->record().queries.at(0);
    EXPECT_EQ(report["checks"].back()["found"], "\"" + query.locale + "\"");
    EXPECT_THAT(report.dump(), Not(HasSubstr(query.enquiry)));
  }
}

TEST(Doctor, FindsWhatIsWrongAndSaysWhatToDo) {
  const Support::TemporaryDirectory files;
  const auto root = Support::makeIdentity({});
  const auto expired = Support::makeIdentity({.isExpired = true, .issuer = &root});
  const auto leaf = Support::makeIdentity({.issuer = &expired});
  files.write("root.pem", root.certificate);
  files.write("expired.pem", expired.certificate);
  files.write("leaf.pem", leaf.certificate + leaf.key);
  const auto sound = Support::makeIdentity({.issuer = &root});
  files.write("chain.pem", sound.certificate + root.certificate + sound.key);
  files.write("answer.json", answer);
  Dl_info library{};
  dladdr(reinterpret_cast<void*>(&utf8proc_version), &library);
  std::filesystem::copy(library.dli_fname, files.path() / "libPellixProvidersSDK.so.0");
  std::map<std::string, std::unique_ptr<Support::LoopbackServer>> servers;
  const auto serve = [&servers](const char* name, const LoopbackReply& reply,
                                bool unasked = false) {
    servers[name] = std::make_unique<Support::LoopbackServer>(
        [reply](auto&) { return reply; },
        Support::LoopbackServer::Options{.answersUnasked = unasked});
  };
  const auto tellTime = [&servers](const char* name, int hoursAhead, int age) {
    servers[name] = std::make_unique<Support::LoopbackServer>([=](auto&) {
      const auto time = fmt::gmtime(std::time(nullptr) + hoursAhead * 3600);
      return LoopbackReply{Support::httpReply(
          "200 OK", answer,
          fmt::format("Date: {:%a, %d %b %Y %H:%M:%S} GMT\r\nAge: {}\r\n", time, age))};
    });
  };
  tellTime("ahead", 1, 0);
  tellTime("cached", -1, 3600);
  serve("socks", {{"\5\0\5\2\0\1\0\0\0\0\0\0", 12}, LoopbackReply::Then::stall}, true);
  serve("closed", {Support::httpReply("407 No")});
  serve("silent", {"", LoopbackReply::Then::stall});
  serve("broken", {"", LoopbackReply::Then::reset});

  for (const auto& each : json::parse(std::ifstream(TESTS_SOURCE_DIR "/pellix/Doctor.json"))) {
    SCOPED_TRACE(each.dump());
    const auto service = serviceFor(each);
    files.write("own.pem", service->certificatePem());
    auto text = each.dump();
    const auto replace = [&text](const std::string& name, const std::string& value) {
      text = std::regex_replace(text, std::regex("\\{" + name + "\\}"), value);
    };
    replace("files", files.path());
    for (const auto& [name, server] : servers) replace(name, server->origin().substr(7));
    replace("port", service->baseUrl().substr(service->baseUrl().rfind(':') + 1));
    Arguments command;
    if (each.contains("s_server")) {
      command = {"/usr/bin/openssl", "s_server", "-accept",
                 "127.0.0.1:0",      "-cert",    files.path() / "leaf.pem"};
      std::ranges::copy(json::parse(text)["s_server"], std::back_inserter(command));
    } else if (each.contains("http2")) {
      command = {"/usr/bin/python3", TESTS_SOURCE_DIR "/QuorvelCoreSDK/http2.py", "answer",
                 files.path() / "chain.pem", files.path() / "answer.json"};
    }
    std::optional<Support::PseudoTerminal> server;
    if (!command.empty()) {
      server.emplace(command, Environment());
      if (each.contains("s_server")) server->readUntil("ACCEPT 127.0.0.1:");
      replace("server", "127.0.0.1:" + std::to_string(std::stoi(server->readUntil("\r"))));
    }
    const auto row = json::parse(text);
    auto environment = row.value("environment", Environment());
    environment.insert({"PELLIX_ACCOUNT_URL", service->baseUrl()});
    expectFinding(row, examine(environment, row.value("arguments", Arguments())));
  }
}

TEST(Doctor, NamesASilentNameServer) {
  const Support::TemporaryDirectory files;
  files.write("resolv.conf", "nameserver 127.0.0.53\n");
  files.write("isolated", R"(PATH=/usr/sbin:/usr/bin:/sbin:/bin
    ip link set lo up && mount --bind ${0%/*}/resolv.conf /etc/resolv.conf || exit
    exec perl -MSocket -e '$^F = 9; socket(S, PF_INET, SOCK_DGRAM, 0);
      bind(S, sockaddr_in(53, inet_aton("127.0.0.53"))) && exec @ARGV' "$@")");
  if (Support::runProcess({"/usr/bin/unshare", "-rmn", "/bin/true"}).exitCode != 0) {
    GTEST_SKIP() << "no namespaces here";
  }
  const auto report = examine({{"PELLIX_ACCOUNT_URL", "https://service.test"}}, {"--timeout=1"},
                              {"/usr/bin/unshare", "-rmn", "/bin/sh", files.path() / "isolated"});
  expectFinding(
      {{"check", "name-resolution"}, {"found", "do not answer"}, {"remedy", "resolv.conf"}},
      report);
}

}  // namespace
