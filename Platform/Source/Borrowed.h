#pragma once

#include "Tree.h"

#include <simdjson.h>

#include <atomic>
#include <cstddef>
#include <memory>

namespace PellixPlatform {

/// A parser's memory for the time of one decoding. Fresh memory costs as much as some decodings do,
/// so one waits here for whoever comes next, unless it has grown beyond what is worth keeping.
template <class T>
class Borrowed {
 public:
  Borrowed() : lent_(spare.exchange(nullptr)) {
    if (!lent_) lent_ = std::make_unique<T>();
  }
  Borrowed(const Borrowed&) = delete;
  Borrowed& operator=(const Borrowed&) = delete;
  ~Borrowed() {
    if (lent_ && isWorthKeeping(*lent_)) lent_.reset(spare.exchange(lent_.release()));
  }
  void discard() { lent_.reset(); }
  T* operator->() const { return lent_.get(); }
  T& operator*() const { return *lent_; }

 private:
  static constexpr std::size_t most = std::size_t{1} << 20;  // bytes, of document or so

  static bool isWorthKeeping(const simdjson::dom::parser& parser) {
    return parser.capacity() <= most;
  }
  static bool isWorthKeeping(const Tree& tree) {
    return tree.ownText.capacity() < most && tree.nodes.capacity() * sizeof(Tree::Node) <= most;
  }

  static constinit std::atomic<T*> spare;
  std::unique_ptr<T> lent_;
};

template <class T>
constinit std::atomic<T*> Borrowed<T>::spare{nullptr};

}  // namespace PellixPlatform
