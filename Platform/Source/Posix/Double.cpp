#include "System.h"

#include <clocale>
#include <cstdlib>
#include <new>

namespace PellixPlatform {
namespace {

locale_t classicLocale() {
  static const locale_t locale = [] {
    const locale_t made = newlocale(LC_ALL_MASK, "C", nullptr);
    return made ? made : throw std::bad_alloc();
  }();
  return locale;
}

}  // namespace

// Not strtod: a host's setlocale would change what it reads.
double System::parseDouble(const char* text) {
  return strtod_l(text, nullptr, classicLocale());
}

}  // namespace PellixPlatform
