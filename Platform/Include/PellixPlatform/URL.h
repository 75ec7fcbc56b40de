#pragma once

#include <PellixPlatform/Export.h>

#include <optional>
#include <string>
#include <string_view>

namespace PellixPlatform {

/// An address in the grammar of RFC 3986, kept as the text it was made from.
class PELLIX_EXPORT URL {
 public:
  /// Nothing if `text` is empty, does not follow the grammar or names a port above 65535. A
  /// relative reference is in the grammar; it has an empty scheme and host.
  [[nodiscard]] static std::optional<URL> parse(std::string text);

  [[nodiscard]] const std::string& string() const { return text_; }
  /// In lower case.
  [[nodiscard]] const std::string& scheme() const { return scheme_; }
  /// In lower case, an IPv6 address without its brackets.
  [[nodiscard]] const std::string& host() const { return host_; }
  [[nodiscard]] bool hasUserInfo() const { return hasUserInfo_; }
  [[nodiscard]] bool hasQuery() const { return hasQuery_; }
  [[nodiscard]] bool hasFragment() const { return hasFragment_; }

  /// Whether the host can only be this machine: `localhost`, 127.0.0.0/8 or ::1.
  [[nodiscard]] bool isLoopback() const;

  /// Whether scheme, host and port are the same; the default ports of http and https need not be
  /// written. Hosts are compared as text.
  [[nodiscard]] bool hasSameOrigin(const URL& other) const;

  friend bool operator==(const URL& a, const URL& b) { return a.text_ == b.text_; }

 private:
  URL() = default;
  /// Reads the text if it is as most are: http or https, a host in lower case, perhaps a port, and
  /// a path without escapes. If not, nothing is said, and the whole grammar decides.
  bool readOrdinary();

  std::string text_;
  std::string scheme_;
  std::string host_;
  int port_ = -1;  // none, unless written or the scheme has a default
  bool isIPv4_ = false;
  bool hasUserInfo_ = false;
  bool hasQuery_ = false;
  bool hasFragment_ = false;
};

}  // namespace PellixPlatform
