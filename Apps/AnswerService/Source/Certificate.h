#pragma once

#include <openssl/ssl.h>

#include <chrono>
#include <memory>
#include <string>

namespace AnswerService {

/// What a TLS server needs: a key made for this run, and a certificate that is its own authority.
class Certificate {
 public:
  /// Both ends of the validity count from now; `names` is a subject alternative name.
  Certificate(std::chrono::seconds validFrom, std::chrono::seconds validUntil,
              const std::string& names);

  [[nodiscard]] std::string pem() const;
  [[nodiscard]] SSL_CTX* context() const { return context_.get(); }

 private:
  const std::unique_ptr<SSL_CTX, decltype(&SSL_CTX_free)> context_;
};

}  // namespace AnswerService
