#pragma once

#include <PellixPlatform/Object.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace PellixPlatform {

/// What a server answered, besides the body. Its own class says that no more is known than where
/// the answer came from; over HTTP it is an `HTTPURLResponse`.
class PELLIX_EXPORT URLResponse : public Object {
 public:
  explicit URLResponse(std::string url);
  ~URLResponse() override;

  /// The address that answered.
  [[nodiscard]] const std::string& url() const { return url_; }

  /// Equal if of the same class and with the same address.
  [[nodiscard]] bool isEqual(const Object* other) const override;

 private:
  std::string url_;
};

/// An answer over HTTP: status code, header fields and address.
class PELLIX_EXPORT HTTPURLResponse final : public URLResponse {
 public:
  using HeaderFields = std::vector<std::pair<std::string, std::string>>;

  /// Fields of the same name (without regard to case) become one, their values in the order given,
  /// joined by `, ` (RFC 9110, section 5.3).
  HTTPURLResponse(std::string url, int statusCode, HeaderFields headerFields);
  ~HTTPURLResponse() override;

  [[nodiscard]] int statusCode() const { return statusCode_; }

  /// Whether the status is one of 200..299.
  [[nodiscard]] bool isSuccess() const { return 200 <= statusCode_ && statusCode_ <= 299; }

  /// Every field once, ordered by name without regard to case.
  [[nodiscard]] const HeaderFields& allHeaderFields() const { return headerFields_; }

  /// The value of a field, found without regard to case. Borrowed from this object.
  [[nodiscard]] std::optional<std::string_view> valueForHeaderField(std::string_view name) const;

  /// Equal if address, status and header fields are the same; field names without regard to case.
  [[nodiscard]] bool isEqual(const Object* other) const override;

  /// The text that the IANA HTTP Status Code Registry has for a code, `Unknown status` for the
  /// codes it has none for.
  [[nodiscard]] static std::string localizedStringForStatusCode(std::int64_t statusCode);

 private:
  int statusCode_;
  HeaderFields headerFields_;
};

}  // namespace PellixPlatform
