#include "Doctor/Finding.h"

#include "Printable.h"

namespace PellixApp {

void Finding::encode(PellixPlatform::Encoder& encoder) const {
  constexpr std::tuple keys{PellixPlatform::Key{"check", &Finding::check},
                            PellixPlatform::Key{"status", &Finding::status},
                            PellixPlatform::Key{"found", &Finding::found},
                            PellixPlatform::Key{"remedy", &Finding::remedy}};
  encoder.encode(*this, keys);
}

Finding ok(std::string_view found) {
  return {.status = "ok", .found = oneLine(found)};
}

Finding skipped(std::string_view why) {
  return {.status = "skipped", .found = oneLine(why)};
}

Finding problem(std::string_view found, std::string_view remedy) {
  return {.status = "problem", .found = oneLine(found), .remedy = oneLine(remedy)};
}

}  // namespace PellixApp
