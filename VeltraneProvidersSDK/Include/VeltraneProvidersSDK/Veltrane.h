#pragma once

#include <PellixPlatform/Object.h>
#include <QuorvelCoreSDK/Quorvel.h>

#include <memory>
#include <optional>
#include <string>

namespace QuorvelCoreSDK {
class CachedDocument;
}

namespace VeltraneProvidersSDK {

/// The knowledge-base library's instance for one account.
///
/// Thread safety: any thread.
class PELLIX_EXPORT Veltrane final : public PellixPlatform::Object {
 public:
  ~Veltrane() override;

  /// Sets up the library over a core instance (not null, retained) and makes the result the shared
  /// instance, in place of an earlier one.
  static std::shared_ptr<Veltrane> initialize(
      const std::shared_ptr<QuorvelCoreSDK::Quorvel>& quorvel);

  /// The shared instance, or null while there is none.
  [[nodiscard]] static std::shared_ptr<Veltrane> instance();

  /// The locale to search in, whatever the knowledge base's own settings say. An empty text counts
  /// as set.
  [[nodiscard]] std::optional<std::string> lumenoLocaleOverride() const;
  void setLumenoLocaleOverride(std::optional<std::string> locale);

  /// The core instance that requests are made with.
  [[nodiscard]] const std::shared_ptr<QuorvelCoreSDK::Quorvel>& quorvel() const;

 private:
  friend class QVLLumenoSettingsProvider;
  struct State;
  explicit Veltrane(const std::shared_ptr<QuorvelCoreSDK::Quorvel>& quorvel);
  [[nodiscard]] const std::shared_ptr<QuorvelCoreSDK::CachedDocument>& lumenoSettings() const;
  const std::unique_ptr<State> state_;
};

}  // namespace VeltraneProvidersSDK
