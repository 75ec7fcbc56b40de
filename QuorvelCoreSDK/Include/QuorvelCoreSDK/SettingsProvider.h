#pragma once

#include <PellixPlatform/JSONDecoder.h>
#include <PellixPlatform/Object.h>

#include <chrono>
#include <concepts>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

namespace QuorvelCoreSDK {

/// A settings record: it decodes itself from the account's settings document, and has a default for
/// when there is none to decode.
template <class T>
concept DecodableDefault = std::derived_from<typename T::DefaultType, PellixPlatform::Object> &&
                           std::constructible_from<T, const PellixPlatform::Decoder&> && requires {
                             {
                               T::default_()
                             } -> std::same_as<std::shared_ptr<const typename T::DefaultType>>;
                           };

/// Why settings could not be had.
struct SettingsFailure {
  PellixPlatform::Error error;
  std::chrono::system_clock::time_point time;
};

/// The settings service: answers with records decoded from the account's settings document.
///
/// Thread safety: any thread.
class PELLIX_EXPORT SettingsProvider {
 public:
  using Record = std::shared_ptr<const PellixPlatform::Object>;
  using Continuation = std::function<void(Record)>;

  /// A record's type, as far as those who keep documents need to know it.
  struct RecordType {
    std::expected<Record, PellixPlatform::Error> (*decode)(std::string_view document);
    /// What stands in for a record that is not to be had.
    Record (*makeDefault)();
  };

  virtual ~SettingsProvider();

  /// Calls `callback` once with the record, or with its default if there is none to decode: at once
  /// on this thread if the document is at hand, else on the thread on which it arrives. If memory
  /// runs out meanwhile, or the transport drops the request, it is let go of without a call.
  template <DecodableDefault T>
  void getSettings(std::function<void(std::shared_ptr<const typename T::DefaultType>)> callback) {
    // In a statement of its own, so that nothing is left of the callback here when it is called.
    Continuation continuation = [callback = std::exchange(callback, nullptr)](Record record) {
      if (!callback) return;
      callback(std::static_pointer_cast<const typename T::DefaultType>(std::move(record)));
    };
    answer(RecordType{.decode = decodeRecord<T>,
                      .makeDefault = []() -> Record { return T::default_(); }},
           std::move(continuation));
  }

  /// Why the latest attempt to get the settings document failed, and when; nothing if it did not,
  /// or if the service does not tell.
  [[nodiscard]] virtual std::optional<SettingsFailure> lastFailure() const;

 protected:
  /// Calls `continuation` once with a record of that type; see `getSettings`.
  virtual void answer(RecordType type, Continuation continuation) = 0;

 private:
  template <class T>
  static std::expected<Record, PellixPlatform::Error> decodeRecord(std::string_view document) {
    return PellixPlatform::JSONDecoder().decode<T>(document);
  }
};

}  // namespace QuorvelCoreSDK
