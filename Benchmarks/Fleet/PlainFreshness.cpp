// For comparison: documents are kept for the time to live to the millisecond, and fetched anew by
// whoever asks when that is over, however often it has failed. Linked into a program, this takes
// the place of the library's own file of the same name.

#include "Freshness.h"

namespace QuorvelCoreSDK {

void Freshness::renew(std::chrono::milliseconds timeToLive) {
  freshUntil_ = surroundings_.now() + timeToLive;
}

void Freshness::postpone() {}

bool Freshness::isFresh() const {
  return surroundings_.now() < freshUntil_;
}

bool Freshness::isJustTried() const {
  return false;
}

bool Freshness::haveClocksJumped() const {
  return false;
}

}  // namespace QuorvelCoreSDK
