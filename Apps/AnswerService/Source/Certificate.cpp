#include "Certificate.h"

#include <openssl/ec.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/x509v3.h>

#include <stdexcept>

namespace AnswerService {
namespace {

constexpr long kX509Version3 = 2;

struct Extension {
  int id;
  const char* value;
};

/// A certificate that is its own authority: clients add it to those they trust.
constexpr Extension kExtensions[] = {
    {.id = NID_basic_constraints, .value = "critical,CA:TRUE"},
    {.id = NID_key_usage, .value = "critical,digitalSignature,keyCertSign"},
    {.id = NID_ext_key_usage, .value = "serverAuth"},
    {.id = NID_subject_key_identifier, .value = "hash"},
};

void require(bool succeeded) {
  if (!succeeded) throw std::runtime_error("The certificate cannot be made.");
}

void nameAfter(X509* certificate, const char* name) {
  X509_NAME* const subject = X509_get_subject_name(certificate);
  require(X509_NAME_add_entry_by_txt(subject, "CN", MBSTRING_UTF8,
                                     reinterpret_cast<const unsigned char*>(name), -1, -1, 0) == 1);
  require(X509_set_issuer_name(certificate, subject) == 1);
}

void addExtension(X509* certificate, const Extension& extension) {
  X509V3_CTX context;
  X509V3_set_ctx(&context, certificate, certificate, nullptr, nullptr, 0);
  const std::unique_ptr<X509_EXTENSION, decltype(&X509_EXTENSION_free)> made(
      X509V3_EXT_conf_nid(nullptr, &context, extension.id, extension.value), &X509_EXTENSION_free);
  require(made && X509_add_ext(certificate, made.get(), -1) == 1);
}

/// Random, since clients may refuse two certificates of one issuer with the same number.
void setRandomSerialNumber(X509* certificate) {
  std::uint64_t number = 0;
  require(RAND_bytes(reinterpret_cast<unsigned char*>(&number), sizeof number) == 1);
  require(ASN1_INTEGER_set_uint64(X509_get_serialNumber(certificate), number | 1U) == 1);
}

}  // namespace

Certificate::Certificate(std::chrono::seconds validFrom, std::chrono::seconds validUntil,
                         const std::string& names)
    : key_(EVP_EC_gen("P-256"), &EVP_PKEY_free), certificate_(X509_new(), &X509_free) {
  X509* const certificate = certificate_.get();
  require(key_ && certificate && X509_set_version(certificate, kX509Version3) == 1);
  setRandomSerialNumber(certificate);
  require(X509_gmtime_adj(X509_getm_notBefore(certificate), validFrom.count()) != nullptr);
  require(X509_gmtime_adj(X509_getm_notAfter(certificate), validUntil.count()) != nullptr);
  nameAfter(certificate, "AnswerService on loopback");
  require(X509_set_pubkey(certificate, key_.get()) == 1);
  for (const Extension& extension : kExtensions) addExtension(certificate, extension);
  addExtension(certificate, {.id = NID_subject_alt_name, .value = names.c_str()});
  require(X509_sign(certificate, key_.get(), EVP_sha256()) > 0);
}

std::string Certificate::pem() const {
  const std::unique_ptr<BIO, decltype(&BIO_free)> buffer(BIO_new(BIO_s_mem()), &BIO_free);
  require(buffer && PEM_write_bio_X509(buffer.get(), certificate_.get()) == 1);
  char* text = nullptr;
  const long size = BIO_get_mem_data(buffer.get(), &text);
  return {text, static_cast<std::size_t>(size)};
}

}  // namespace AnswerService
