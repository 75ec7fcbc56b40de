#pragma once

#include <simdjson.h>

#include <new>
#include <string_view>

namespace PellixPlatform {

/// Makes what simdjson makes once for a process: a few small allocations in a function that may not
/// throw, so that the process would end if one failed. Here there is memory for them, or
/// `std::bad_alloc` is thrown and simdjson is not touched.
inline void prepareSimdjson() {
  [[maybe_unused]] static const bool isPrepared = [] {
    constexpr std::size_t ample = 4096;
    ::operator delete(::operator new(ample));
    return simdjson::get_active_implementation() != nullptr;
  }();
}

inline bool isUTF8(std::string_view text) {
  prepareSimdjson();
  return simdjson::validate_utf8(text.data(), text.size());
}

}  // namespace PellixPlatform
