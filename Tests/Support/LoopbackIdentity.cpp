#include "LoopbackIdentity.h"

#include "Support/Process.h"
#include "Support/TemporaryDirectory.h"

#include <atomic>
#include <stdexcept>

namespace Support {

// From version 3.5 on, openssl no longer takes a negative number of days.
constexpr const char* expired =
    "$(openssl x509 -help 2>&1 | grep -q not_after &&"
    " echo -not_before 20200101000000Z -not_after 20200102000000Z || echo -days -1)";

LoopbackIdentity makeIdentity(const IdentityOptions& options) {
  static std::atomic<int> count = 0;
  const TemporaryDirectory directory;
  std::string issuer = " -signkey key.pem";
  if (options.issuer) {
    directory.write("issuer.pem", options.issuer->certificate);
    directory.write("issuer-key.pem", options.issuer->key);
    issuer = " -CA issuer.pem -CAkey issuer-key.pem";
  }
  const auto command =
      "cd '" + directory.path().string() +
      "' && openssl req -new -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -keyout key.pem"
      " -subj '/CN=Loopback " +
      std::to_string(++count) +
      "' -addext basicConstraints=CA:TRUE -addext subjectAltName=" + options.names +
      " -out request.pem && openssl x509 -req -in request.pem -copy_extensions copy " +
      (options.isExpired ? expired : "-days 2") + issuer;
  const auto outcome =
      runProcess({"/bin/sh", "-c", command}, {{"PATH", "/usr/local/bin:/usr/bin:/bin"}});
  if (outcome.exitCode != 0) throw std::runtime_error(command + ": " + outcome.errors);
  return {.certificate = outcome.output, .key = directory.read("key.pem")};
}

}  // namespace Support
