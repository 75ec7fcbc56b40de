#pragma once

#include <utility>

namespace QuorvelCoreSDK {

/// Lasts as long as this thread is within a sink.
class WithinSink {
 public:
  WithinSink() : before_(std::exchange(isSo_, true)) {}
  WithinSink(const WithinSink&) = delete;
  WithinSink& operator=(const WithinSink&) = delete;
  ~WithinSink() { isSo_ = before_; }

  [[nodiscard]] static bool isSo() { return isSo_; }

 private:
  const bool before_;
  static inline constinit thread_local bool isSo_ = false;
};

}  // namespace QuorvelCoreSDK
