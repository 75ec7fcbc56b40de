#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

/// What every target defines: libFuzzer calls it with inputs that it makes up, `Replay.cpp` with
/// those that are kept.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace Fuzz {

/// Ends the process, which counts as a finding, if a promise is broken.
inline void require(bool isKept, const char* promise) {
  if (isKept) return;
  std::fprintf(stderr, "Broken promise: %s\n", promise);
  std::abort();
}

inline std::string_view textOf(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

/// An input that is taken apart from its front.
class Input {
 public:
  explicit Input(std::string_view bytes) : rest_(bytes) {}

  [[nodiscard]] bool isEmpty() const { return rest_.empty(); }

  /// 0 at the end.
  std::uint8_t byte() {
    if (rest_.empty()) return 0;
    const auto first = static_cast<std::uint8_t>(rest_.front());
    rest_.remove_prefix(1);
    return first;
  }

  /// All before the next NUL, or before the end.
  std::string text() {
    std::string text(rest_.substr(0, rest_.find('\0')));
    rest_.remove_prefix(std::min(text.size() + 1, rest_.size()));
    return text;
  }

 private:
  std::string_view rest_;
};

}  // namespace Fuzz
