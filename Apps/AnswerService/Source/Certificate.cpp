#include "Certificate.h"

#include <openssl/ec.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/x509v3.h>

#include <cstdint>
#include <stdexcept>

namespace AnswerService {
namespace {

void require(bool succeeded) {
  if (!succeeded) throw std::runtime_error("The certificate cannot be made.");
}

void addExtension(X509* certificate, int id, const char* value) {
  X509V3_CTX context;
  X509V3_set_ctx(&context, certificate, certificate, nullptr, nullptr, 0);
  const std::unique_ptr<X509_EXTENSION, decltype(&X509_EXTENSION_free)> extension(
      X509V3_EXT_conf_nid(nullptr, &context, id, value), &X509_EXTENSION_free);
  require(extension && X509_add_ext(certificate, extension.get(), -1) == 1);
}

void addIssuer(X509* certificate) {
  X509_NAME* const subject = X509_get_subject_name(certificate);
  const auto name = reinterpret_cast<const unsigned char*>("AnswerService on loopback");
  require(X509_NAME_add_entry_by_txt(subject, "CN", MBSTRING_UTF8, name, -1, -1, 0) == 1);
  require(X509_set_issuer_name(certificate, subject) == 1);
  // Clients may refuse two certificates of one issuer with the same number.
  std::uint64_t number = 0;
  require(RAND_bytes(reinterpret_cast<unsigned char*>(&number), sizeof number) == 1);
  require(ASN1_INTEGER_set_uint64(X509_get_serialNumber(certificate), number | 1U) == 1);
}

}  // namespace

Certificate::Certificate(std::chrono::seconds validFrom, std::chrono::seconds validUntil,
                         const std::string& names)
    : context_(SSL_CTX_new(TLS_server_method()), &SSL_CTX_free) {
  const std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> key(EVP_EC_gen("P-256"),
                                                                &EVP_PKEY_free);
  const std::unique_ptr<X509, decltype(&X509_free)> owner(X509_new(), &X509_free);
  X509* const certificate = owner.get();
  require(context_ && key && certificate && X509_set_version(certificate, X509_VERSION_3) == 1);
  require(X509_gmtime_adj(X509_getm_notBefore(certificate), validFrom.count()) != nullptr);
  require(X509_gmtime_adj(X509_getm_notAfter(certificate), validUntil.count()) != nullptr);
  addIssuer(certificate);
  require(X509_set_pubkey(certificate, key.get()) == 1);
  addExtension(certificate, NID_basic_constraints, "critical,CA:TRUE");
  addExtension(certificate, NID_key_usage, "critical,digitalSignature,keyCertSign");
  addExtension(certificate, NID_ext_key_usage, "serverAuth");
  addExtension(certificate, NID_subject_key_identifier, "hash");
  addExtension(certificate, NID_subject_alt_name, names.c_str());
  require(X509_sign(certificate, key.get(), EVP_sha256()) > 0);
  require(SSL_CTX_use_certificate(context(), certificate) == 1 &&
          SSL_CTX_use_PrivateKey(context(), key.get()) == 1 &&
          SSL_CTX_set_min_proto_version(context(), TLS1_2_VERSION) == 1);
}

std::string Certificate::pem() const {
  const std::unique_ptr<BIO, decltype(&BIO_free)> buffer(BIO_new(BIO_s_mem()), &BIO_free);
  require(buffer && PEM_write_bio_X509(buffer.get(), SSL_CTX_get0_certificate(context())) == 1);
  char* text = nullptr;
  const long size = BIO_get_mem_data(buffer.get(), &text);
  return {text, static_cast<std::size_t>(size)};
}

}  // namespace AnswerService
