#pragma once

#include <PellixPlatform/Decoder.h>
#include <QuorvelCoreSDK/QuorvelCoreSDK.h>
#include <QuorvelCoreSDK/internal/CachedDocument.h>
#include <QuorvelCoreSDK/internal/Surroundings.h>

#include <cstdint>
#include <functional>
#include <memory>

namespace Benchmarks::Fleet {

/// The account's settings, as far as somebody looks at them.
struct Settings final : PellixPlatform::Object {
  using DefaultType = Settings;
  bool isEnabled = false;
  std::int64_t version = 0;

  Settings() = default;
  explicit Settings(const PellixPlatform::Decoder& decoder);
  static std::shared_ptr<const Settings> default_() { return std::make_shared<const Settings>(); }
};

/// A process that has the library in it, for as long as it lives: the real core with the settings
/// of an account and of its knowledge base, and the order in which a question asks for them. Of the
/// libraries above, whose instances are one for a process, there is but the question's request.
class Installation : public std::enable_shared_from_this<Installation> {
 public:
  Installation(std::shared_ptr<QuorvelCoreSDK::Transport> transport,
               QuorvelCoreSDK::Surroundings surroundings);

  void prepare() const { quorvel_->prepare(); }

  /// `ended` is told by which settings the question went or did not go, and whether it was
  /// answered.
  using Ended = std::function<void(const Settings& settings, bool isAnswered)>;
  void ask(Ended ended);

 private:
  void send(Ended ended, const std::shared_ptr<const Settings>& settings);

  const std::shared_ptr<QuorvelCoreSDK::Quorvel> quorvel_;
  const std::shared_ptr<QuorvelCoreSDK::CachedDocument> knowledgeSettings_;
};

}  // namespace Benchmarks::Fleet
