#include "Terminal.h"

#include "Printable.h"

#include <sys/ioctl.h>
#include <unistd.h>
#include <utf8proc.h>

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace PellixApp {
namespace {

bool isSet(const char* name) {
  const char* const value = std::getenv(name);
  return value && *value;
}

bool isDumb() {
  const char* const name = std::getenv("TERM");
  return !name || std::string_view(name) == "dumb";
}

std::size_t columnsOf(int descriptor) {
  winsize size{};
  const bool isKnown = ::ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  return isKnown ? size.ws_col : 80;
}

std::string styled(const char* code, std::string_view text) {
  const std::string_view end = text.ends_with('\n') ? "\n" : "";
  text.remove_suffix(end.size());
  return code + std::string(text) + "\033[0m" + std::string(end);
}

/// Cuts the first line off a text that has no line feeds.
std::string_view takeLine(std::string_view& text, std::size_t width) {
  std::size_t columns = 0;
  std::size_t fits = 0;    // bytes that fit
  std::size_t breaks = 0;  // bytes up to the last place where a line may break
  while (fits < text.size()) {
    const auto [bytes, c] = firstCharacter(text.substr(fits));
    const auto taken = static_cast<std::size_t>(std::max(0, utf8proc_charwidth(c)));
    if (bytes == " " || (taken == 2 && fits > 0)) breaks = fits;
    if (columns + taken > width && fits > 0) {
      const auto line = text.substr(0, breaks > 0 ? breaks : fits);
      text.remove_prefix(line.size());
      text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
      return line;
    }
    columns += taken;
    fits += bytes.size();
  }
  const auto line = text;
  text = {};
  return line;
}

}  // namespace

Terminal Terminal::of(std::FILE* stream) {
  const int descriptor = ::fileno(stream);
  if (::isatty(descriptor) == 0) return {};
  return {.isInteractive = ::isatty(STDIN_FILENO) != 0,
          .hasColours = !isSet("NO_COLOR") && !isDumb(),
          .width = columnsOf(descriptor)};
}

std::string Terminal::bold(std::string_view text) const {
  return hasColours ? styled("\033[1m", text) : std::string(text);
}

std::string Terminal::faint(std::string_view text) const {
  return hasColours ? styled("\033[2m", text) : std::string(text);
}

std::string Terminal::fit(std::string_view text, std::string_view indent) const {
  if (width > 0 && width < 2 * indent.size()) indent = {};
  std::string result;
  while (!text.empty()) {
    const auto end = std::min(text.find('\n'), text.size());
    auto paragraph = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    do {
      const auto line =
          width == 0 ? std::exchange(paragraph, {}) : takeLine(paragraph, width - indent.size());
      result.append(indent).append(line).append("\n");
    } while (!paragraph.empty());
  }
  return result;
}

std::string Terminal::fitBehind(std::string_view label, std::string_view text) const {
  const std::string indent(label.size(), ' ');
  auto fitted = fit(text, indent);
  if (!fitted.starts_with(indent)) return fit(label) + fitted;
  return fitted.replace(0, label.size(), label);
}

void tell(std::string_view text) {
  std::fwrite(text.data(), 1, text.size(), stderr);
}

}  // namespace PellixApp
