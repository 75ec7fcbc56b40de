#pragma once

#include "Deadline.h"
#include "Network.h"
#include "Sockets.h"

#include <QuorvelCoreSDK/Transport.h>

#include <curl/curl.h>

#include <vector>

namespace QuorvelCoreSDK {

/// One request on its way through libcurl. Used on the worker thread only, once made.
class CurlTransfer {
 public:
  CurlTransfer(TransportRequest request, Transport::Completion completion,
               std::shared_ptr<const Network> network);
  CurlTransfer(const CurlTransfer&) = delete;
  CurlTransfer& operator=(const CurlTransfer&) = delete;

  [[nodiscard]] Clock::time_point deadline() const { return deadline_; }

  /// Until when it may wait for a connection of another one.
  [[nodiscard]] Clock::time_point waitsUntil() const;

  /// Scheme, host and port of the address, as it is written.
  [[nodiscard]] std::string_view origin() const;

  [[nodiscard]] const std::shared_ptr<const Network>& network() const { return network_; }

  /// Sets those options of `easy`, which is fresh or reset, that are the same for all requests of a
  /// network. It refers to `sockets` then.
  static void configure(CURL* easy, Sockets& sockets, const Network& network);

  /// Sets the others of `easy`, which has been configured for the network, whatever an earlier
  /// request has left there. It refers to this transfer then. `isMultiplexed` says that the origin
  /// speaks HTTP/2.
  void prepare(CURL* easy, Sockets& sockets, bool isMultiplexed);

  /// Whether a connection stands that the request goes out over.
  [[nodiscard]] bool hasConnection() const { return isSent_; }

  /// Whether that is one for many requests at once, as HTTP/2 has it.
  [[nodiscard]] bool hasSharedConnection() const { return hasSharedConnection_; }

  /// Says that libcurl has ended the transfer, before it may be prepared anew or finished.
  void leaveConnection(CURLcode result);

  /// Whether the server took nothing of the request, because it had closed the connection before or
  /// says so itself, and it should be prepared anew. Not more often than a few times.
  [[nodiscard]] bool mustStartAgain() const;

  /// Whether libcurl keeps nothing of it with the handle, such as how often it was sent once more.
  [[nodiscard]] bool leavesHandleAsItWas() const { return hasEndedWell_ && !isRepeated_; }

  /// Calls the completion with how the transfer ended, and lets go of it. `proxyStatus` is what a
  /// proxy answered that was asked for a tunnel, else 0.
  void finish(CURLcode result, long proxyStatus);

 private:
  void writeHeaders();

  /// Runs when a connection stands, right before the request goes out, also when libcurl sends it
  /// once more by itself, because a kept connection broke before any of the reply had come. The
  /// server may have acted on it by then, so what is not idempotent is sent once (RFC 9110, section
  /// 9.2.2), unless the server has said that it took nothing of it.
  static int mayBeSent(void* self, char* peer, char* local, int peerPort, int localPort);
  [[nodiscard]] bool mayBeSent(const Sockets::Route& route);
  /// Runs whenever a byte comes of what a proxy says for itself, which no other limit holds for.
  static int mayHaveMore(void* self, curl_off_t, curl_off_t, curl_off_t, curl_off_t);
  static int takeNote(CURL*, curl_infotype kind, char* text, std::size_t size, void* self);
  void readNote(std::string_view note);
  static std::size_t takeHeader(char* data, std::size_t size, std::size_t count, void* self);
  static std::size_t takeBody(char* data, std::size_t size, std::size_t count, void* self);

  [[nodiscard]] TransportFigures takeFigures(bool hadConnection) const;
  /// What is wrong with a reply that libcurl takes for a whole one: RFC 9112, section 6.3.
  [[nodiscard]] std::optional<PellixPlatform::Error> faultOf(
      const PellixPlatform::HTTPURLResponse& response) const;
  [[nodiscard]] PellixPlatform::Error errorFor(CURLcode result, long proxyStatus) const;

  TransportRequest request_;
  Transport::Completion completion_;
  const std::shared_ptr<const Network> network_;
  const Clock::time_point made_ = Clock::now();
  const Clock::time_point deadline_;

  Clock::time_point started_;  // latest
  CURL* easy_ = nullptr;
  Sockets* sockets_ = nullptr;
  Sockets::Use connection_;       // null while there is none
  std::uint64_t receivedBefore_;  // over the connection
  std::int64_t stream_ = 0;       // of the latest attempt over HTTP/2, 0 while it is not known
  long connectsBefore_;           // as libcurl counts connections, before the latest attempt
  std::size_t sentBytes_ = 0;     // of the latest attempt
  int attempts_ = 0;
  bool hasSharedConnection_ = false;
  bool isMultiplexed_;  // like others without a value here, set before it is read
  bool mayBeCut_;       // where its connection ended
  bool isUnheard_;
  bool isStale_;             // the connection could not be used again
  bool isSent_ = false;      // perhaps in part, and perhaps it was heard
  bool isRepeated_ = false;  // by libcurl itself
  bool hasEndedWell_;

  std::string sentHeaders_;
  std::vector<curl_slist> sentHeaderLines_;  // of the text
  char detail_[CURL_ERROR_SIZE] = "";
  int status_ = 0;
  PellixPlatform::HTTPURLResponse::HeaderFields responseHeaders_;
  std::optional<Clock::time_point> firstByteAt_;
  std::size_t headerBytes_ = 0;
  int headerLines_ = 0;
  bool hasAllHeaders_ = false;  // of the final response
  PellixPlatform::Data body_;
  bool isTooLarge_ = false;
  std::optional<TransportFigures> figures_;
};

}  // namespace QuorvelCoreSDK
