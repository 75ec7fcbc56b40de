#pragma once

#include "Tree.h"

#include <PellixPlatform/Decoder.h>

namespace PellixPlatform {

/// The authoritative reader: reads a `Tree`, and alone makes errors.
class TreeReader final : public DocumentReader {
 public:
  explicit TreeReader(const Tree& tree) : tree_(tree) {}

  [[nodiscard]] Cursor root() const { return {&tree_, 0}; }

  [[nodiscard]] Cursor member(const Decoder& at, std::string_view key, Run& run) const override;
  [[nodiscard]] Elements elements(const Decoder& at) const override;
  [[nodiscard]] Cursor next(Cursor element) const override;
  [[nodiscard]] std::int64_t integer(const Decoder& at) const override;
  [[nodiscard]] double real(const Decoder& at) const override;
  [[nodiscard]] bool boolean(const Decoder& at) const override;
  [[nodiscard]] std::string string(const Decoder& at) const override;

 private:
  [[nodiscard]] const Tree::Node& expect(const Decoder& at, Tree::Kind kind) const;

  const Tree& tree_;
};

}  // namespace PellixPlatform
