#pragma once

#include <PellixPlatform/Error.h>

#include <exception>
#include <utility>

namespace PellixPlatform {

/// What a write that fails throws to end an encoding.
struct EncodingFailure : std::exception {
  explicit EncodingFailure(Error why) : error(std::move(why)) {}
  Error error;
};

}  // namespace PellixPlatform
