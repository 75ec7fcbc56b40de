#pragma once

#include <PellixPlatform/DecodingError.h>
#include <PellixPlatform/Error.h>

#include <cstdint>
#include <exception>
#include <string>
#include <string_view>
#include <utility>

namespace PellixPlatform {

/// What the authoritative reader throws to end a decoding.
struct DecodingFailure : std::exception {
  explicit DecodingFailure(Error why) : error(std::move(why)) {}
  Error error;
};

/// Where in a document's bytes something stands.
struct Position {
  std::uint32_t byte = 0;
  std::uint32_t line = 1;
};

/// What was asked for and what stands there, where an error has use for them.
struct Found {
  std::string_view expected;
  std::string_view found;
};

[[noreturn]] void fail(DecodingErrorCode code, std::string text, const std::string& path,
                       Position where, Found types = {});

[[noreturn]] void failAsCorrupted(std::string_view what, Position where);

}  // namespace PellixPlatform
