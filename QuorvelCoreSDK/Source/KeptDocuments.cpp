#include "KeptDocuments.h"

#include <QuorvelCoreSDK/CoreLogger.h>
#include <QuorvelCoreSDK/internal/CachedDocument.h>

#include <atomic>
#include <new>
#include <ranges>
#include <string>

namespace QuorvelCoreSDK {

void KeptDocuments::add(const std::shared_ptr<CachedDocument>& document) {
  const std::lock_guard lock(mutex_);
  documents_.emplace_back(document);
}

void KeptDocuments::forget() {
  const std::lock_guard lock(mutex_);
  std::erase_if(documents_, [](const auto& each) { return each.expired(); });
}

void KeptDocuments::prepare() {
  const auto report = [hasReported =
                           std::make_shared<std::atomic<bool>>()](const std::string& failure) {
    if (!hasReported->exchange(true)) CoreLogger::warn("Could not prepare: " + failure);
  };
  const auto documents = all();
  bool isConnecting = false;
  // Those of the libraries above come first, for they are asked for first.
  for (const auto& document : documents | std::views::reverse) {
    if (!document->isPrepared() || document->isAtHand()) continue;
    document->fetchAhead(report, isConnecting);
    isConnecting = true;
  }
  if (isConnecting || documents.empty()) return;
  // Nothing is missing but, perhaps, a connection.
  const auto& first = documents.front();
  if (!first->isJustTried()) first->fetchAhead(report, false);
}

void KeptDocuments::fetchBeside(const CachedDocument& one) {
  try {
    for (const auto& document : all()) {
      const bool comesAlong = document->comesAlong() && document.get() != &one;
      if (comesAlong && !document->isAtHand()) document->fetchAhead(nullptr, true);
    }
  } catch (const std::bad_alloc&) {
    // They are fetched when they are asked for.
  }
}

std::vector<std::shared_ptr<CachedDocument>> KeptDocuments::all() {
  std::vector<std::shared_ptr<CachedDocument>> documents;
  const std::lock_guard lock(mutex_);
  documents.reserve(documents_.size());  // so that none goes here, which would lock once more
  for (const auto& each : documents_) {
    if (auto document = each.lock()) documents.push_back(std::move(document));
  }
  return documents;
}

}  // namespace QuorvelCoreSDK
