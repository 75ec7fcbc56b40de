#pragma once

#include <PellixPlatform/Data.h>
#include <PellixPlatform/Object.h>
#include <PellixPlatform/URLResponse.h>

#include <memory>
#include <optional>

namespace PellixProvidersSDK {

/// What the answer service replied to a resolution or a rejection. The library does not look into
/// the body.
///
/// Ownership: the response is shared, the body is the record's own.
/// Thread safety: immutable, any thread.
class PELLIX_EXPORT PellixDispatcherResponse final : public PellixPlatform::Object {
 public:
  /// Stores both as they are. `response` is not null.
  PellixDispatcherResponse(std::shared_ptr<const PellixPlatform::HTTPURLResponse> response,
                           std::optional<PellixPlatform::Data> data);

  ~PellixDispatcherResponse() override;

  /// Never null.
  [[nodiscard]] const std::shared_ptr<const PellixPlatform::HTTPURLResponse>& response() const {
    return fields_.response;
  }
  /// The body, or nothing if there was none.
  [[nodiscard]] const std::optional<PellixPlatform::Data>& data() const { return fields_.data; }

  /// Equal if `other` is such a record with an equal response and the same body; no body is not the
  /// same as an empty one. `hash` goes by identity all the same.
  [[nodiscard]] bool isEqual(const PellixPlatform::Object* other) const override;

 private:
  struct Fields {
    std::shared_ptr<const PellixPlatform::HTTPURLResponse> response;
    std::optional<PellixPlatform::Data> data;
  };

  const Fields fields_;
};

}  // namespace PellixProvidersSDK
