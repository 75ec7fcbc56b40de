#pragma once

#include <PellixPlatform/Decoder.h>
#include <PellixPlatform/Object.h>

#include <string>

namespace VeltraneProvidersSDK {

/// The knowledge base's settings, as far as clients need them. Immutable.
class PELLIX_EXPORT LumenoSettings final : public PellixPlatform::Object {
 public:
  explicit LumenoSettings(const PellixPlatform::Decoder& decoder);
  ~LumenoSettings() override;

  /// The locale that the knowledge base is written in; may be empty.
  [[nodiscard]] const std::string& locale() const { return locale_; }

 private:
  const std::string locale_;
};

}  // namespace VeltraneProvidersSDK
