#pragma once

#include <PellixPlatform/Encoder.h>

#include <optional>
#include <string>
#include <string_view>

namespace PellixApp {

/// What a check came to, in texts of one line.
struct Finding {
  std::string check;
  std::string status;                 ///< "ok", "problem" or "skipped"
  std::string found;                  ///< For a skipped check, why it was.
  std::optional<std::string> remedy;  ///< For a problem.

  [[nodiscard]] bool isProblem() const { return remedy.has_value(); }
  void encode(PellixPlatform::Encoder& encoder) const;
};

[[nodiscard]] Finding ok(std::string_view found);
[[nodiscard]] Finding skipped(std::string_view why);
[[nodiscard]] Finding problem(std::string_view found, std::string_view remedy);

}  // namespace PellixApp
