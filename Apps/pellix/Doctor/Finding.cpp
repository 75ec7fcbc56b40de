#include "Doctor/Finding.h"

#include "PlainText.h"

#include <utf8proc.h>

#include <algorithm>

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

std::string oneLine(std::string_view text) {
  std::string line;
  while (!text.empty()) {
    utf8proc_int32_t c = 0;
    const auto length = utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(text.data()),
                                         static_cast<utf8proc_ssize_t>(text.size()), &c);
    const auto character = text.substr(0, static_cast<std::size_t>(std::max<long>(length, 1)));
    line += length < 0 ? "?" : c == '\n' ? " " : character;
    text.remove_prefix(character.size());
  }
  return printable(line);
}

}  // namespace PellixApp
