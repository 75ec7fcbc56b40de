#include <PellixPlatform/Error.h>

#include <algorithm>
#include <utility>

namespace PellixPlatform {

const char NSLocalizedDescriptionKey[] = "NSLocalizedDescriptionKey";

namespace {

bool isControl(char c) {
  return (c & ~0x1F) == 0 || c == 0x7F;
}

/// A copy, value by value. The copy constructor of a variant with a string won't do: in libstdc++
/// 12 it is undefined when the string gets no memory. For the same reason nobody here lists an
/// error's user info in braces, out of which it would be copied.
Error::UserInfo copyOf(const Error::UserInfo& userInfo) {
  const auto copyOfValue = [](const auto& value) { return Error::Value(value); };
  Error::UserInfo copy;
  for (const auto& [key, value] : userInfo) {
    copy.emplace_hint(copy.end(), key, std::visit(copyOfValue, value));
  }
  return copy;
}

}  // namespace

Error::Error(std::string domain, std::int64_t code, UserInfo userInfo)
    : domain_(std::move(domain)), code_(code), userInfo_(std::move(userInfo)) {}

Error Error::described(std::string domain, std::int64_t code, std::string text) {
  Error error(std::move(domain), code);
  error.userInfo_.emplace(NSLocalizedDescriptionKey, std::move(text));
  return error;
}

Error::Error(const Error& other)
    : domain_(other.domain_), code_(other.code_), userInfo_(copyOf(other.userInfo_)) {}

Error& Error::operator=(const Error& other) {
  return *this = Error(other);
}

Error::Error(Error&&) noexcept = default;
Error& Error::operator=(Error&&) noexcept = default;
Error::~Error() = default;

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

}  // namespace PellixPlatform
