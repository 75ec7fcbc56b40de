#include "TlsContext.h"

#include "Sockets.h"

#include <openssl/ssl.h>

#include <cstddef>
#include <string_view>

namespace QuorvelCoreSDK {
namespace {

int socketsIndex() {
  static const int index = SSL_CTX_get_ex_new_index(0, nullptr, nullptr, nullptr, nullptr);
  return index;
}

Sockets& socketsOf(const SSL* tls) {
  return *static_cast<Sockets*>(SSL_CTX_get_ex_data(SSL_get_SSL_CTX(tls), socketsIndex()));
}

void noteAlert(const SSL* tls, int where, int) {
  // Farewells are alerts, too: RFC 8446, section 6.1.
  if ((where & SSL_CB_READ_ALERT) == SSL_CB_READ_ALERT) socketsOf(tls).noteEndOfTls(tls);
}

void noteMessage(int isSent, int, int kind, const void*, std::size_t, SSL* tls, void*) {
  if (isSent != 0 || kind != SSL3_RT_HEADER) return;
  auto& sockets = socketsOf(tls);
  if (sockets.mayHaveMore(tls) || sockets.breakOff(tls)) return;
  SSL_set_shutdown(tls, SSL_RECEIVED_SHUTDOWN);  // which fails a handshake
}

}  // namespace

bool canWatchTls() {
  static const auto* const library = curl_version_info(CURLVERSION_NOW)->ssl_version;
  return std::string_view(library ? library : "").starts_with("OpenSSL/");
}

bool speaksHttp2(const void* tls) {
  if (!tls || !canWatchTls()) return false;
  const unsigned char* name = nullptr;
  unsigned length = 0;
  SSL_get0_alpn_selected(static_cast<const SSL*>(tls), &name, &length);
  return std::string_view(reinterpret_cast<const char*>(name), length) == "h2";  // RFC 9113
}

bool holdsUnread(const void* tls) {
  return tls && canWatchTls() && SSL_has_pending(static_cast<const SSL*>(tls)) != 0;
}

void endInPeace(void* tls) {
  constexpr int both = SSL_SENT_SHUTDOWN | SSL_RECEIVED_SHUTDOWN;
  if (tls && canWatchTls()) SSL_set_shutdown(static_cast<SSL*>(tls), both);
}

CURLcode watchTls(CURL* easy, void* context, void* sockets) {
  auto* const tls = static_cast<SSL_CTX*>(context);
  const char* folder = nullptr;
  curl_easy_getinfo(easy, CURLINFO_PRIVATE, &folder);
  // The certificates are shared by the contexts, which have the folder once.
  const bool isComplete = (!folder || SSL_CTX_load_verify_dir(tls, folder) == 1) &&
                          SSL_CTX_set_ex_data(tls, socketsIndex(), sockets) == 1;
  SSL_CTX_set_info_callback(tls, noteAlert);
  SSL_CTX_set_msg_callback(tls, noteMessage);
  // libcurl would do without tickets, and in TLS 1.2 many servers resume no session otherwise.
  SSL_CTX_clear_options(tls, SSL_OP_NO_TICKET);
  return isComplete ? CURLE_OK : CURLE_OUT_OF_MEMORY;
}

CURLcode watchTlsInSecret(CURL* easy, void* context, void* sockets) {
  SSL_CTX_set_keylog_callback(static_cast<SSL_CTX*>(context), nullptr);
  return watchTls(easy, context, sockets);
}

}  // namespace QuorvelCoreSDK
