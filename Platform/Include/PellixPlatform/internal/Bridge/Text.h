#pragma once

#include <PellixPlatform/internal/Bridge/Objects.h>

#include <cstddef>
#include <iterator>
#include <string>
#include <string_view>

namespace PellixPlatform::Bridge {

/// A text that the host passed to a function.
inline std::string_view textOf(const char* bytes, std::size_t length, const char* function) {
  if (!bytes && length > 0) misuse(function, "null where a text is needed");
  if (length == QVL_UNTIL_NUL) return bytes;
  if (length > PTRDIFF_MAX) misuse(function, "a text longer than any can be");
  return {bytes, length};
}

/// Whether a text can be a file's path: the system's would end at a NUL.
inline bool isPath(std::string_view text) {
  return text.find('\0') == text.npos;
}

/// A text for the host to borrow.
inline const char* lend(const std::string& text, std::size_t* length) {
  if (length) *length = text.size();
  return text.c_str();
}

/// A sentence that lives as long as the process; null if it is empty.
inline const char* lendSentence(std::string_view sentence, std::size_t* length) {
  if (length) *length = sentence.size();
  return sentence.data();
}

/// Absence of a text.
inline const char* lendNothing(std::size_t* length) {
  if (length) *length = 0;
  return nullptr;
}

/// The element of a list that the host asked a function for.
template <class List>
const auto& elementOf(const List& list, std::size_t index, const char* function) {
  if (index >= list.size()) misuse(function, "an index out of range");
  return *std::next(list.begin(), static_cast<std::ptrdiff_t>(index));
}

}  // namespace PellixPlatform::Bridge
