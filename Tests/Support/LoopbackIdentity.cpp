#include "LoopbackIdentity.h"

#include <openssl/ec.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>

#include <stdexcept>
#include <string_view>

namespace Support {
namespace {

template <auto function>
struct Free {
  template <class T>
  void operator()(T* object) const {
    function(object);
  }
};

using Memory = std::unique_ptr<BIO, Free<BIO_free_all>>;
using Key = std::unique_ptr<EVP_PKEY, Free<EVP_PKEY_free>>;
using Certificate = std::unique_ptr<X509, Free<X509_free>>;

template <class T>
T* must(T* made) {
  if (!made) throw std::runtime_error(ERR_error_string(ERR_get_error(), nullptr));
  return made;
}

Memory memory(std::string_view text = {}) {
  Memory made(must(BIO_new(BIO_s_mem())));
  BIO_write(made.get(), text.data(), static_cast<int>(text.size()));
  return made;
}

std::string textIn(const Memory& memory) {
  const char* data = nullptr;
  const auto size = BIO_get_mem_data(memory.get(), &data);
  return {data, static_cast<std::size_t>(size)};
}

Key keyOf(const LoopbackIdentity& identity) {
  return Key(must(PEM_read_bio_PrivateKey(memory(identity.key).get(), nullptr, nullptr, nullptr)));
}

Certificate certificateOf(const LoopbackIdentity& identity) {
  return Certificate(
      must(PEM_read_bio_X509(memory(identity.certificate).get(), nullptr, nullptr, nullptr)));
}

void addExtension(X509* certificate, int kind, const char* value) {
  const std::unique_ptr<X509_EXTENSION, Free<X509_EXTENSION_free>> extension(
      must(X509V3_EXT_conf_nid(nullptr, nullptr, kind, value)));
  X509_add_ext(certificate, extension.get(), -1);
}

}  // namespace

LoopbackIdentity makeIdentity(const IdentityOptions& options) {
  constexpr long day = 24 * 60 * 60;
  static long serial = 0;
  const Key key(must(EVP_EC_gen("P-256")));
  const Certificate made(must(X509_new()));
  X509_set_version(made.get(), X509_VERSION_3);
  ASN1_INTEGER_set(X509_get_serialNumber(made.get()), ++serial);
  X509_gmtime_adj(X509_getm_notBefore(made.get()), -2 * day);
  X509_gmtime_adj(X509_getm_notAfter(made.get()), options.isExpired ? -day : day);
  X509_set_pubkey(made.get(), key.get());
  const std::string name = "Loopback " + std::to_string(serial);
  auto* const subject = X509_get_subject_name(made.get());
  X509_NAME_add_entry_by_NID(subject, NID_commonName, MBSTRING_ASC,
                             reinterpret_cast<const unsigned char*>(name.data()),
                             static_cast<int>(name.size()), -1, 0);
  addExtension(made.get(), NID_basic_constraints, "CA:TRUE");
  addExtension(made.get(), NID_subject_alt_name, options.names.c_str());

  const Certificate issuer = options.issuer ? certificateOf(*options.issuer) : nullptr;
  const Key issuerKey = options.issuer ? keyOf(*options.issuer) : nullptr;
  X509_set_issuer_name(made.get(), issuer ? X509_get_subject_name(issuer.get()) : subject);
  X509_sign(made.get(), issuerKey ? issuerKey.get() : key.get(), EVP_sha256());

  const auto certificateText = memory();
  const auto keyText = memory();
  PEM_write_bio_X509(certificateText.get(), made.get());
  PEM_write_bio_PrivateKey(keyText.get(), key.get(), nullptr, nullptr, 0, nullptr, nullptr);
  return {.certificate = textIn(certificateText), .key = textIn(keyText)};
}

void FreeTlsContext::operator()(TlsContext* context) const {
  SSL_CTX_free(context);
}

std::unique_ptr<TlsContext, FreeTlsContext> makeServerContext(const LoopbackIdentity& identity) {
  std::unique_ptr<TlsContext, FreeTlsContext> context(must(SSL_CTX_new(TLS_server_method())));
  SSL_CTX_use_certificate(context.get(), certificateOf(identity).get());
  SSL_CTX_use_PrivateKey(context.get(), keyOf(identity).get());
  return context;
}

}  // namespace Support
