#pragma once

#include <openssl/evp.h>
#include <openssl/x509.h>

#include <chrono>
#include <memory>
#include <string>

namespace AnswerService {

/// A key made for this run, with a certificate signed by it.
class Certificate {
 public:
  /// Both ends of the validity count from now; `names` is a subject alternative name.
  Certificate(std::chrono::seconds validFrom, std::chrono::seconds validUntil,
              const std::string& names);

  [[nodiscard]] std::string pem() const;
  [[nodiscard]] EVP_PKEY* key() const { return key_.get(); }
  [[nodiscard]] X509* certificate() const { return certificate_.get(); }

 private:
  std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> key_;
  std::unique_ptr<X509, decltype(&X509_free)> certificate_;
};

}  // namespace AnswerService
