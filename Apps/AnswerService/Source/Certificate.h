#pragma once

#include <openssl/evp.h>
#include <openssl/x509.h>

#include <chrono>
#include <memory>
#include <string>

namespace AnswerService {

/// A key made for this run, with a certificate for localhost, 127.0.0.1 and ::1 signed by it.
class Certificate {
 public:
  /// Both ends of the validity count from now.
  Certificate(std::chrono::seconds validFrom, std::chrono::seconds validUntil);

  [[nodiscard]] std::string pem() const;
  [[nodiscard]] EVP_PKEY* key() const { return key_.get(); }
  [[nodiscard]] X509* certificate() const { return certificate_.get(); }

 private:
  std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> key_;
  std::unique_ptr<X509, decltype(&X509_free)> certificate_;
};

}  // namespace AnswerService
