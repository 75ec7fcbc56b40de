// Canonical equivalence: its laws, and another library's normalisation forms.
// The input is one text up to a NUL, then the other.

#include "Fuzz.h"

#include <PellixPlatform/CanonicalEquivalence.h>

#include <utf8proc.h>

#include <memory>
#include <optional>

namespace {

/// A text in a normalisation form; nothing if it is not UTF-8.
std::optional<std::string> normalized(std::string_view text, utf8proc_option_t form) {
  utf8proc_uint8_t* result = nullptr;
  const auto length = utf8proc_map(reinterpret_cast<const utf8proc_uint8_t*>(text.data()),
                                   static_cast<utf8proc_ssize_t>(text.size()), &result,
                                   static_cast<utf8proc_option_t>(UTF8PROC_STABLE | form));
  const std::unique_ptr<utf8proc_uint8_t, void (*)(void*)> release(result, std::free);
  if (length < 0) return std::nullopt;
  return std::string(reinterpret_cast<const char*>(result), static_cast<std::size_t>(length));
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using PellixPlatform::canonicallyEquivalent;
  Fuzz::Input input(Fuzz::textOf(data, size));
  const auto a = input.text();
  const auto b = input.text();
  const auto decomposedA = normalized(a, UTF8PROC_DECOMPOSE);
  const auto decomposedB = normalized(b, UTF8PROC_DECOMPOSE);
  const bool expected = decomposedA && decomposedB ? decomposedA == decomposedB : a == b;
  Fuzz::require(canonicallyEquivalent(a, b) == expected, "equivalent texts decompose alike");
  Fuzz::require(canonicallyEquivalent(b, a) == expected, "equivalence is symmetric");
  Fuzz::require(canonicallyEquivalent(a, a), "equivalence is reflexive");
  if (!decomposedA) return 0;
  for (const auto form : {UTF8PROC_DECOMPOSE, UTF8PROC_COMPOSE}) {
    const auto normalizedA = normalized(a, form).value();
    Fuzz::require(canonicallyEquivalent(a, normalizedA), "a text equals its normalisation forms");
    Fuzz::require(!decomposedB || canonicallyEquivalent(a + b, normalizedA + b),
                  "texts stay equal when the same is added to both");
  }
  return 0;
}
