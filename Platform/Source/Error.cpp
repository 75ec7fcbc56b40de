#include <Platform/Error.h>

#include <algorithm>
#include <utility>

namespace Platform {

const char NSLocalizedDescriptionKey[] = "NSLocalizedDescriptionKey";

namespace {

bool isControl(char c) {
  return static_cast<unsigned char>(c) < 0x20 || c == 0x7F;
}

}  // namespace

Error::Error(std::string domain, std::int64_t code, UserInfo userInfo)
    : domain_(std::move(domain)), code_(code), userInfo_(std::move(userInfo)) {}

std::string Error::localizedDescription() const {
  const auto entry = userInfo_.find(std::string_view(NSLocalizedDescriptionKey));
  const auto* text = entry == userInfo_.end() ? nullptr : std::get_if<std::string>(&entry->second);
  std::string line = text ? *text : domain_ + " (" + std::to_string(code_) + ")";
  std::ranges::replace_if(line, isControl, ' ');
  return line;
}

std::string Error::description() const {
  const std::string place = domain_ + " (" + std::to_string(code_) + ")";
  const std::string text = localizedDescription();
  return text == place ? text : place + ": " + text;
}

}  // namespace Platform
