#pragma once

#include <PellixPlatform/Export.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace PellixPlatform {

class Decoder;

/// A place in a document. What it holds is its reader's business.
struct Cursor {
  const void* document;
  std::size_t index;
};

/// What a `Decoder` asks of the reader behind it. A read that fails throws what the decoder that
/// started the reading catches.
class PELLIX_EXPORT DocumentReader {
 public:
  struct Elements {
    Cursor begin;
    Cursor end;
    std::size_t count;
  };

  /// How far a run of questions for the keys of one object has come. While the keys stand in the
  /// order of the questions, each stands right behind the one before and need not be looked for. No
  /// key may be asked for twice in a run: so none stands twice in what the run has passed either.
  struct Run {
    Cursor next{};  // no document: at the beginning
    bool isInOrder = true;
  };

  /// The value of a key of the object at a place; the first, if the key stands there twice.
  [[nodiscard]] virtual Cursor member(const Decoder& at, std::string_view key, Run& run) const = 0;
  [[nodiscard]] virtual Elements elements(const Decoder& at) const = 0;
  /// The place behind an element.
  [[nodiscard]] virtual Cursor next(Cursor element) const = 0;
  [[nodiscard]] virtual std::int64_t integer(const Decoder& at) const = 0;
  [[nodiscard]] virtual double real(const Decoder& at) const = 0;
  [[nodiscard]] virtual bool boolean(const Decoder& at) const = 0;
  [[nodiscard]] virtual std::string string(const Decoder& at) const = 0;

 protected:
  ~DocumentReader() = default;
};

}  // namespace PellixPlatform
