#include "LoopbackIdentity.h"

#include "Support/Process.h"
#include "Support/TemporaryDirectory.h"

#include <openssl/ssl.h>

#include <atomic>
#include <iterator>
#include <stdexcept>

namespace Support {
namespace {

constexpr char configuration[] = R"([ca]
default_ca = own
[own]
database = database
new_certs_dir = .
rand_serial = yes
default_md = sha256
policy = any
copy_extensions = copy
[any]
commonName = supplied
[req]
distinguished_name = none
[none]
)";

std::string content(const std::filesystem::path& file) {
  std::ifstream in(file);
  return {std::istreambuf_iterator(in), {}};
}

void mustRun(const std::filesystem::path& directory, const std::string& command) {
  const auto in = "cd '" + directory.string() + "' && openssl " + command;
  const auto outcome =
      runProcess({"/bin/sh", "-c", in}, {{"PATH", "/usr/local/bin:/usr/bin:/bin"}});
  if (outcome.exitCode != 0) throw std::runtime_error(command + ": " + outcome.errors);
}

}  // namespace

LoopbackIdentity makeIdentity(const IdentityOptions& options) {
  static std::atomic<int> count = 0;
  const TemporaryDirectory directory;
  directory.write("configuration", configuration);
  directory.write("database", "");
  mustRun(directory.path(),
          "req -new -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -config configuration"
          " -subj '/CN=Loopback " +
              std::to_string(++count) +
              "' -addext basicConstraints=CA:TRUE -addext subjectAltName=" + options.names +
              " -keyout key.pem -out request.pem");
  std::string issue =
      "ca -batch -notext -config configuration -in request.pem -out certificate.pem";
  issue += options.isExpired ? " -startdate 20200101000000Z -enddate 20200102000000Z" : " -days 2";
  if (options.issuer) {
    directory.write("issuer.pem", options.issuer->certificate);
    directory.write("issuer-key.pem", options.issuer->key);
    issue += " -cert issuer.pem -keyfile issuer-key.pem";
  } else {
    issue += " -selfsign -keyfile key.pem";
  }
  mustRun(directory.path(), issue);
  return {.certificate = content(directory.path() / "certificate.pem"),
          .key = content(directory.path() / "key.pem")};
}

void FreeTlsContext::operator()(TlsContext* context) const {
  SSL_CTX_free(context);
}

std::unique_ptr<TlsContext, FreeTlsContext> makeServerContext(const LoopbackIdentity& identity) {
  const TemporaryDirectory directory;
  directory.write("certificate.pem", identity.certificate);
  directory.write("key.pem", identity.key);
  std::unique_ptr<TlsContext, FreeTlsContext> context(SSL_CTX_new(TLS_server_method()));
  const auto file = [&](const char* name) { return (directory.path() / name).string(); };
  if (SSL_CTX_use_certificate_file(context.get(), file("certificate.pem").c_str(),
                                   SSL_FILETYPE_PEM) != 1 ||
      SSL_CTX_use_PrivateKey_file(context.get(), file("key.pem").c_str(), SSL_FILETYPE_PEM) != 1) {
    throw std::runtime_error("no identity for the server");
  }
  return context;
}

}  // namespace Support
