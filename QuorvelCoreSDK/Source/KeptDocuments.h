#pragma once

#include <memory>
#include <mutex>
#include <vector>

namespace QuorvelCoreSDK {

class CachedDocument;

/// The documents of one core instance, which those who need them have made: what is done with all
/// of them.
///
/// Thread safety: any thread.
class KeptDocuments {
 public:
  /// Knows the document as long as somebody else holds it.
  void add(const std::shared_ptr<CachedDocument>& document);
  /// Says that one is gone.
  void forget();

  /// See `Quorvel::prepare`.
  void prepare();

  /// Fetches those that whoever asks for `one`, and waits for it, is going to ask for next.
  void fetchBeside(const CachedDocument& one);

 private:
  [[nodiscard]] std::vector<std::shared_ptr<CachedDocument>> all();

  std::mutex mutex_;
  std::vector<std::weak_ptr<CachedDocument>> documents_;
};

}  // namespace QuorvelCoreSDK
