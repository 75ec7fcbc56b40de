#include <PellixPlatform/internal/FormatTemplate.h>

#include <utility>

namespace PellixPlatform {

std::optional<std::string> formatTemplate(std::string_view text, std::string_view argument) {
  std::string result;
  result.reserve(text.size() + argument.size());
  bool taken = false;
  while (true) {
    const auto percent = text.find('%');
    result += text.substr(0, percent);
    if (percent == std::string_view::npos) return result;
    text.remove_prefix(percent + 1);
    if (text.starts_with('%')) {
      result += '%';
      text.remove_prefix(1);
    } else if (text.starts_with('@') && !std::exchange(taken, true)) {
      result += argument;
      text.remove_prefix(1);
    } else if (text.starts_with("1$@")) {
      result += argument;
      text.remove_prefix(3);
    } else {
      return std::nullopt;
    }
  }
}

}  // namespace PellixPlatform
