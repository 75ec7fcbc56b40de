#pragma once

#include <PellixPlatform/Export.h>

#include <cstdint>
#include <map>
#include <string>
#include <variant>

namespace PellixPlatform {

/// The user-info key under which an error keeps a sentence for people.
PELLIX_EXPORT extern const char NSLocalizedDescriptionKey[];

/// Why an operation failed: a value that is copied freely and compared by content.
// What makes one, moves it or ends it is called and marked as seldom run, so that all the functions
// that may meet with one stay small.
class PELLIX_EXPORT Error {
 public:
  using Value = std::variant<std::string, std::int64_t>;
  using UserInfo = std::map<std::string, Value, std::less<>>;

  [[gnu::cold]] Error(std::string domain, std::int64_t code, UserInfo userInfo = {});

  /// An error with nothing but a text for people.
  [[nodiscard, gnu::cold]] static Error described(std::string domain, std::int64_t code,
                                                  std::string text);

  [[gnu::cold]] Error(const Error& other);
  [[gnu::cold]] Error(Error&& other) noexcept;
  [[gnu::cold]] Error& operator=(const Error& other);
  [[gnu::cold]] Error& operator=(Error&& other) noexcept;
  [[gnu::cold]] ~Error();

  /// Who made the error; together with `code` it says which error this is.
  [[nodiscard]] const std::string& domain() const { return domain_; }
  [[nodiscard]] std::int64_t code() const { return code_; }
  [[nodiscard]] const UserInfo& userInfo() const { return userInfo_; }

  /// One line for people: the text under `NSLocalizedDescriptionKey`, or `DOMAIN (CODE)` without
  /// it. Control characters of ASCII, line breaks included, are replaced by blanks.
  [[nodiscard, gnu::cold]] std::string localizedDescription() const;

  /// One line for logs: domain, code and text.
  [[nodiscard, gnu::cold]] std::string description() const;

  friend bool operator==(const Error&, const Error&) = default;

 private:
  std::string domain_;
  std::int64_t code_;
  UserInfo userInfo_;
};

}  // namespace PellixPlatform
