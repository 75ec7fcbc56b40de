#pragma once

#include <string>
#include <string_view>

namespace AnswerService {

/// What is not UTF-8 becomes U+FFFD.
std::u32string decodeUtf8(std::string_view text);
std::string encodeUtf8(std::u32string_view text);

/// Of a letter of ASCII, its full-width form, or Latin-1; any other character stays as it is.
char32_t simpleLower(char32_t c);

}  // namespace AnswerService
