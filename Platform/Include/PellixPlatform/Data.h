#pragma once

#include <string>

namespace PellixPlatform {

/// A buffer of bytes. It is held in a `std::string` so that it moves between network, encoder and
/// decoder without a copy; nothing is implied about its encoding.
using Data = std::string;

}  // namespace PellixPlatform
