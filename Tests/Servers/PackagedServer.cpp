#include "PackagedServer.h"

#include "Faults/Application.h"
#include "Support/Rows.h"

#include <PellixPlatform/internal/File.h>

#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <fstream>
#include <functional>
#include <stdexcept>
#include <thread>

namespace Servers {
namespace {

namespace fs = std::filesystem;

/// Each answers whatever lies below it too.
const std::pair<std::string, std::string> resources[] = {
    {"/api/v1/account/settings", R"({"pellix":{"enabled":true}})"},
    {"/knowledge/v1/settings", R"({"locale":"de"})"},
    {"/knowledge/v1/articles", R"({"votes":[]})"},
    {"/answers/v1/interactions", Faults::properAnswer},
    {"/answers/v1/resolutions", "{}"},
    {"/answers/v1/rejections", "{}"},
};

std::string configuration(const std::string& file, const Support::Values& values) {
  const auto path = fs::path(TESTS_SOURCE_DIR) / "Servers/Data" / file;
  return Support::filled(PellixPlatform::readFile(path).value(), values);
}

/// Looks again and again, for a minute at most.
void waitUntil(const std::function<bool()>& isSo) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
  while (!isSo()) {
    if (std::chrono::steady_clock::now() > end) throw std::runtime_error("waited in vain");
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

}  // namespace

PackagedServer::PackagedServer(const ServerOptions& options)
    : program_(options.program), address_(options.address) {
  // Workers, which a server that root starts runs as somebody else, read the documents.
  fs::permissions(directory_.path(), fs::perms::owner_all | fs::perms::others_exec);
  const bool isIPv6 = address_.starts_with('[');
  const auto number = isIPv6 ? address_.substr(1, address_.size() - 2) : address_;
  const auto identity = Support::makeIdentity({.names = "IP:" + number});
  directory_.write("certificate.pem", identity.certificate);
  directory_.write("key.pem", identity.key);
  // Holds the port until the server has it too.
  const Support::LoopbackServer port([](const auto&) { return Support::LoopbackReply{}; },
                                     {.isIPv6 = isIPv6, .isDeaf = true});
  port_ = port.port();
  process_.emplace(command(options));
  waitUntil([this] {
    if (process_->isRunning()) return hasSocket("src", "listening");
    throw std::runtime_error("the server did not start: " + directory_.read("error.log"));
  });
}

std::vector<std::string> PackagedServer::command(const ServerOptions& options) const {
  const auto& directory = directory_.path();
  const bool isRoot = ::geteuid() == 0;
  Support::Values values{{"@DIRECTORY@", directory},
                         {"@ADDRESS@", address_},
                         {"@PORT@", std::to_string(port_)},
                         {"@KEEP_ALIVE@", std::to_string(options.keepAlive.count()) + "ms"},
                         {"@TLS@", options.speaksTls13 ? "TLSv1.3" : "TLSv1.2"},
                         {"@REQUESTS@", std::to_string(options.requestsPerConnection)}};
  // If this process dies, so does the server.
  std::vector<std::string> command{"/usr/bin/setpriv", "--pdeathsig", "TERM"};
  if (options.program == Program::nginx) {
    values["@USER@"] = isRoot ? "user nobody nogroup;" : "";
    values["@HTTP2@"] = options.speaksHttp2 ? "http2" : "";
    for (const auto& [path, body] : resources) {
      values["@LOCATIONS@"] += "    location " + path + " { return 200 '" + body + "'; }\n";
    }
    directory_.write("configuration", configuration("nginx.conf", values));
    command.insert(command.end(),
                   {NGINX, "-e", directory / "error.log", "-c", directory / "configuration"});
  } else {
    values["@USER@"] = isRoot ? "User nobody\nGroup nogroup" : "";
    values["@MODULES@"] = APACHE_MODULES;
    for (const auto& [path, body] : resources) {
      const auto file = fs::path("documents").concat(path);
      fs::create_directories((directory / file).parent_path());
      directory_.write(file.string(), body);
    }
    directory_.write("configuration", configuration("apache.conf", values));
    command.insert(command.end(), {APACHE, "-D", "FOREGROUND", "-f", directory / "configuration",
                                   "-E", directory / "error.log"});
  }
  return command;
}

void PackagedServer::reload() {
  const auto before = process_->children();
  process_->signal(program_ == Program::nginx ? SIGHUP : SIGUSR1);
  waitUntil([&] { return !std::ranges::includes(before, process_->children()); });
}

std::multiset<std::size_t> PackagedServer::bodiesReceivedAt(const std::string& path) const {
  std::multiset<std::size_t> lengths;
  std::ifstream log(directory_.path() / "access.log");
  for (std::string method, where, length; log >> method >> where >> length;) {
    if (method == "POST" && where == path) lengths.insert(std::stoul(length));
  }
  return lengths;
}

void PackagedServer::waitUntilAllAreClosed() const {
  waitUntil([this] { return !hasSocket("dst", "established"); });
}

void PackagedServer::waitUntilNoneIsHalfClosed() const {
  waitUntil([this] { return !hasSocket("dst", "close-wait"); });
}

/// Whether some socket of this machine in that state has the server's port at that end.
bool PackagedServer::hasSocket(const std::string& end, const std::string& state) const {
  const auto socket = address_ + ":" + std::to_string(port_);
  return !Support::runProcess({"/bin/ss", "-Htan", "state", state, end, socket}).output.empty();
}

}  // namespace Servers
