#include "PackagedServer.h"

#include "Support/LoopbackServer.h"

#include <arpa/inet.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <functional>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace Servers {
namespace {

namespace fs = std::filesystem;

constexpr char answer[] =
    R"({"deflection":{"id":7,"auth_token":"a"},"deflection_articles":[{"id":11,"title":"T",)"
    R"("html_url":"h","url":"u","label_names":[],"body":"B","article_id":4711,"locale":"de",)"
    R"("brand_id":3,"score":0.5,"snippet":"S"}],"interaction_access_token":"t"})";

struct Resource {
  std::string path;
  std::string body;
};

/// Each answers whatever lies below it too.
const std::vector<Resource>& resources() {
  static const std::vector<Resource> all{
      {"/api/v1/account/settings", R"({"pellix":{"enabled":true}})"},
      {"/knowledge/v1/settings", R"({"locale":"de"})"},
      {"/knowledge/v1/articles", R"({"votes":[]})"},
      {"/answers/v1/interactions", answer},
      {"/answers/v1/resolutions", "{}"},
      {"/answers/v1/rejections", "{}"},
  };
  return all;
}

/// Replaces each `@NAME@`.
std::string filled(std::string text, const std::map<std::string, std::string>& values) {
  for (const auto& [name, value] : values) {
    const auto mark = "@" + name + "@";
    for (auto at = text.find(mark); at != text.npos; at = text.find(mark, at)) {
      text.replace(at, mark.size(), value);
    }
  }
  return text;
}

constexpr char nginxConfiguration[] = R"(
daemon off;
@USER@
worker_processes 1;
pid @DIRECTORY@/pid;
error_log @DIRECTORY@/error.log;
events { worker_connections 1024; }
http {
  log_format received '$request_method $uri $http_content_length';
  access_log @DIRECTORY@/access.log received;
  default_type application/json;
  keepalive_timeout @KEEP_ALIVE@;
  keepalive_requests @REQUESTS@;
  client_body_temp_path @DIRECTORY@/temporary;
  proxy_temp_path @DIRECTORY@/temporary;
  fastcgi_temp_path @DIRECTORY@/temporary;
  scgi_temp_path @DIRECTORY@/temporary;
  uwsgi_temp_path @DIRECTORY@/temporary;
  ssl_certificate @DIRECTORY@/certificate.pem;
  ssl_certificate_key @DIRECTORY@/key.pem;
  ssl_protocols @TLS@;
  server {
    listen @ADDRESS@:@PORT@ ssl @HTTP2@;
@LOCATIONS@
  }
}
)";

constexpr char apacheConfiguration[] = R"(
ServerRoot @DIRECTORY@
ServerName localhost
PidFile @DIRECTORY@/pid
ErrorLog @DIRECTORY@/error.log
LoadModule mpm_event_module @MODULES@/mod_mpm_event.so
LoadModule authz_core_module @MODULES@/mod_authz_core.so
LoadModule ssl_module @MODULES@/mod_ssl.so
LoadModule http2_module @MODULES@/mod_http2.so
@USER@
LogFormat "%m %U %{Content-Length}i" received
CustomLog @DIRECTORY@/access.log received
KeepAliveTimeout @KEEP_ALIVE@
MaxKeepAliveRequests @REQUESTS@
StartServers 1
Listen @ADDRESS@:@PORT@
Protocols @HTTP2@ http/1.1
SSLEngine on
SSLProtocol -all @TLS@
SSLCertificateFile @DIRECTORY@/certificate.pem
SSLCertificateKeyFile @DIRECTORY@/key.pem
DocumentRoot @DIRECTORY@/documents
<Directory @DIRECTORY@/documents>
  ForceType application/json
  AcceptPathInfo On
</Directory>
)";

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
  const auto identity = Support::makeIdentity({.names = "IP:" + address_});
  directory_.write("certificate.pem", identity.certificate);
  directory_.write("key.pem", identity.key);
  // Holds the port until the server has it too.
  const Support::LoopbackServer port([](const auto&) { return Support::LoopbackReply{}; },
                                     {.isDeaf = true});
  port_ = port.port();
  process_.emplace(command(options));
  waitUntil([this] {
    if (process_->isRunning()) return hasSocket("local", "0A");
    std::ostringstream reason;
    reason << std::ifstream(directory_.path() / "error.log").rdbuf();
    throw std::runtime_error("the server did not start: " + reason.str());
  });
}

std::vector<std::string> PackagedServer::command(const ServerOptions& options) const {
  const auto& directory = directory_.path();
  const bool isRoot = ::geteuid() == 0;
  std::map<std::string, std::string> values{
      {"DIRECTORY", directory},
      {"ADDRESS", address_},
      {"PORT", std::to_string(port_)},
      {"KEEP_ALIVE", std::to_string(options.keepAlive.count()) + "ms"},
      {"REQUESTS", std::to_string(options.requestsPerConnection)}};
  // If this process dies, so does the server.
  std::vector<std::string> command{"/usr/bin/setpriv", "--pdeathsig", "TERM"};
  if (options.program == Program::nginx) {
    values["USER"] = isRoot ? "user nobody nogroup;" : "";
    values["TLS"] = options.speaksTls13 ? "TLSv1.3" : "TLSv1.2";
    values["HTTP2"] = options.speaksHttp2 ? "http2" : "";
    for (const auto& [path, body] : resources()) {
      values["LOCATIONS"] += "    location " + path + " { return 200 '" + body + "'; }\n";
    }
    directory_.write("configuration", filled(nginxConfiguration, values));
    command.insert(command.end(),
                   {NGINX, "-e", directory / "error.log", "-c", directory / "configuration"});
  } else {
    values["USER"] = isRoot ? "User nobody\nGroup nogroup" : "";
    values["TLS"] = options.speaksTls13 ? "+TLSv1.3" : "+TLSv1.2";
    values["HTTP2"] = options.speaksHttp2 ? "h2" : "";
    values["MODULES"] = APACHE_MODULES;
    for (const auto& [path, body] : resources()) {
      const auto file = fs::path("documents").concat(path);
      fs::create_directories((directory / file).parent_path());
      directory_.write(file.string(), body);
    }
    directory_.write("configuration", filled(apacheConfiguration, values));
    command.insert(command.end(), {APACHE, "-D", "FOREGROUND", "-f", directory / "configuration",
                                   "-E", directory / "error.log"});
  }
  return command;
}

std::string PackagedServer::origin() const {
  return "https://" + address_ + ":" + std::to_string(port_);
}

fs::path PackagedServer::certificate() const {
  return directory_.path() / "certificate.pem";
}

void PackagedServer::reload() {
  const auto before = process_->children();
  process_->signal(program_ == Program::nginx ? SIGHUP : SIGUSR1);
  waitUntil([&] { return !std::ranges::includes(before, process_->children()); });
}

std::multiset<std::size_t> PackagedServer::bodiesReceivedAt(const std::string& path) const {
  std::multiset<std::size_t> lengths;
  std::ifstream log(directory_.path() / "access.log");
  std::string method;
  std::string where;
  std::string length;
  while (log >> method >> where >> length) {
    if (method == "POST" && where == path) lengths.insert(std::stoul(length));
  }
  return lengths;
}

void PackagedServer::waitUntilAllAreClosed() const {
  waitUntil([this] { return !hasSocket("remote", "01"); });
}

/// Whether some socket of this machine has the server's port in that column, in that state.
bool PackagedServer::hasSocket(std::string_view column, std::string_view state) const {
  in_addr bytes{};
  inet_pton(AF_INET, address_.c_str(), &bytes);
  char address[sizeof "00000000:0000"];
  std::snprintf(address, sizeof address, "%08X:%04X", bytes.s_addr, port_);
  std::ifstream sockets("/proc/net/tcp");
  std::string line;
  while (std::getline(sockets, line)) {
    std::istringstream fields(line);
    std::string number;
    std::string local;
    std::string remote;
    std::string itsState;
    fields >> number >> local >> remote >> itsState;
    if ((column == "local" ? local : remote) == address && itsState == state) return true;
  }
  return false;
}

}  // namespace Servers
