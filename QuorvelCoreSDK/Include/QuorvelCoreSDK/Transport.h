#pragma once

#include <PellixPlatform/Data.h>
#include <PellixPlatform/Error.h>
#include <PellixPlatform/URL.h>
#include <PellixPlatform/URLResponse.h>
#include <QuorvelCoreSDK/HttpMethod.h>

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace QuorvelCoreSDK {

/// A request, ready to be sent.
struct TransportRequest {
  HttpMethod method = HttpMethod::get;
  /// https, or http to loopback; anything else ends with `insecureUrl` in the default transport.
  PellixPlatform::URL url;
  std::vector<std::pair<std::string, std::string>> headers;  ///< Holds the token, if there is one.
  std::optional<PellixPlatform::Data> body;
  /// How long the request may take in all, and how many bytes its reply's body may have; nothing:
  /// as the transport is configured.
  std::optional<std::chrono::milliseconds> requestTimeout;
  std::optional<std::size_t> maxResponseBytes;
  /// Whether it may wait up to a second for a connection that another request makes or uses: over
  /// HTTP/2 until that stands, else until that request has ended. It saves a connection where a
  /// request would have one made that other ones are having made already.
  bool waitsForConnection = false;
};

/// How long the steps of a request took and what went over the network: of its latest attempt, if
/// there was more than one. Each time counts from when the request was handed on to the transport
/// to the end of its step; zero: there was no such step, or its end is not known, as those of a
/// connection are not if that failed, or took the place of one that broke.
struct TransportFigures {
  std::chrono::microseconds queued{};      ///< It waited for other requests.
  std::chrono::microseconds nameLookup{};  ///< The next three not on a connection in use before.
  std::chrono::microseconds connected{};
  std::chrono::microseconds tlsHandshake{};
  std::chrono::microseconds firstByte{};  ///< Of the response.
  std::chrono::microseconds total{};
  std::size_t sentBytes = 0;  ///< Head and body, as HTTP/1.1 writes them; not for a proxy.
  std::size_t receivedBytes = 0;
  bool isConnectionReused = false;
  std::string_view protocol;  ///< "HTTP/1.1" and so on, for ever valid; empty: none was spoken yet.
};

/// How a request ended. An error says that it failed on the way; else there is a response.
struct TransportReply {
  std::optional<PellixPlatform::Data> data;  ///< Absent if no byte came.
  std::shared_ptr<const PellixPlatform::URLResponse> response;
  std::optional<PellixPlatform::Error> error;
  std::optional<TransportFigures> figures;  ///< As far as the transport takes them.
};

/// What carries requests. The default is HTTP by libcurl; a host may put another in its place.
///
/// Thread safety: any thread.
/// Errors: a completion or a task throws `std::bad_alloc` when memory runs out; the request that it
/// belongs to has ended then. Other exceptions are those of the host's own callbacks. `send` and
/// `post` throw nothing but `std::bad_alloc`, since both are also called where nobody would catch
/// anything else: by completions and tasks.
class PELLIX_EXPORT Transport {
 public:
  using Completion = std::function<void(TransportReply)>;

  virtual ~Transport();

  /// Sends a request. `completion` is called once, on a thread of the transport's choosing and not
  /// within this call, and let go of right after. The default transport lets
  /// go of it uncalled after `Quorvel::shutDown`, in a forked child, and when memory runs out; so
  /// it does with what is posted.
  virtual void send(TransportRequest request, Completion completion) = 0;

  /// Runs `task` once where completions are called, not within this call, and lets go of it.
  virtual void post(std::function<void()> task) = 0;
};

}  // namespace QuorvelCoreSDK
