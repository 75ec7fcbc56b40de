#include <Platform/CanonicalEquivalence.h>

#include <simdjson.h>
#include <utf8proc.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <optional>

namespace Platform {
namespace {

bool isAscii(char c) { return static_cast<unsigned char>(c) < 0x80; }

bool isValid(std::string_view text) { return simdjson::validate_utf8(text.data(), text.size()); }

/// A text's canonical decomposition, or nothing if it can't be made.
class Decomposition {
 public:
  explicit Decomposition(std::string_view text) {
    utf8proc_uint8_t* bytes = nullptr;
    size_ = utf8proc_map(reinterpret_cast<const utf8proc_uint8_t*>(text.data()),
                         static_cast<utf8proc_ssize_t>(text.size()), &bytes,
                         static_cast<utf8proc_option_t>(UTF8PROC_STABLE | UTF8PROC_DECOMPOSE));
    bytes_.reset(bytes);
  }

  [[nodiscard]] std::optional<std::string_view> text() const {
    if (size_ < 0) return std::nullopt;
    return std::string_view(reinterpret_cast<const char*>(bytes_.get()),
                            static_cast<std::size_t>(size_));
  }

 private:
  struct Free {
    void operator()(utf8proc_uint8_t* bytes) const { std::free(bytes); }  // as utf8proc asks
  };
  std::unique_ptr<utf8proc_uint8_t, Free> bytes_;
  utf8proc_ssize_t size_ = 0;
};

}  // namespace

bool canonicallyEquivalent(std::string_view a, std::string_view b) {
  const auto [inA, inB] = std::ranges::mismatch(a, b);
  if (inA == a.end() && inB == b.end()) return true;

  // What stands before the last common ASCII character can't change the rest: such a character is
  // a starter, so nothing is reordered or composed across it.
  auto start = static_cast<std::size_t>(inA - a.begin());
  while (start > 0) {
    if (isAscii(a[--start])) break;
  }

  const Decomposition fromA(a.substr(start));
  const Decomposition fromB(b.substr(start));
  const auto textA = fromA.text();
  return textA && textA == fromB.text() && isValid(a) && isValid(b);
}

}  // namespace Platform
