#include "EncodingFailure.h"
#include "JSONText.h"
#include "UTF8.h"

#include <PellixPlatform/Encoder.h>
#include <PellixPlatform/EncodingError.h>

#include <charconv>
#include <cmath>
#include <utility>

namespace PellixPlatform {
namespace {

[[noreturn]] void fail(EncodingErrorCode code, std::string_view key, std::string_view why) {
  std::string text = "Encoding failed: the value of \"" + std::string(key) + "\" ";
  text += why;
  throw EncodingFailure(
      Error::described(EncodingErrorDomain, std::to_underlying(code), std::move(text)));
}

template <class Number>
void append(Data& text, Number value) {
  char digits[32];  // enough for any 64-bit integer and any shortest double
  const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
  text.append(digits, end);
}

void appendEscaped(Data& text, char c) {
  constexpr std::string_view special = "\"\\\b\f\n\r\t";
  constexpr std::string_view letters = "\"\\bfnrt";
  text += '\\';
  if (const auto at = special.find(c); at != special.npos) {
    text += letters[at];
  } else {
    constexpr std::string_view hex = "0123456789abcdef";
    text += "u00";
    text += hex[static_cast<unsigned char>(c) >> 4];
    text += hex[static_cast<unsigned char>(c) & 0xF];
  }
}

void appendQuoted(Data& text, std::string_view value) {
  const auto* from = value.data();
  const auto* const end = from + value.size();
  text += '"';
  while (true) {
    const auto* const special = JSONText::skipPlain(from, end);
    text.append(from, special);
    if (special == end) break;
    appendEscaped(text, *special);
    from = special + 1;
  }
  text += '"';
}

}  // namespace

Encoder::Encoder() {
  text_.reserve(256);  // as long as bodies are in practice
}

void Encoder::write(std::int64_t value) {
  append(text_, value);
}

void Encoder::write(double value) {
  if (!std::isfinite(value)) fail(EncodingErrorCode::invalidNumber, key_, "is not finite.");
  append(text_, value);
  // As the integer that it is written as, it would come back without its sign.
  if (value == 0 && std::signbit(value)) text_ += ".0";
}

void Encoder::write(bool value) {
  text_ += value ? "true" : "false";
}

void Encoder::write(const std::string& value) {
  if (!isUTF8(value)) {
    fail(EncodingErrorCode::invalidText, key_, "is not valid UTF-8.");
  }
  appendQuoted(text_, value);
}

void Encoder::open(char bracket) {
  text_ += bracket;
}

void Encoder::close(char bracket) {
  text_ += bracket;
}

void Encoder::separate() {
  const char last = text_.back();
  if (last != '{' && last != '[') text_ += ',';
}

void Encoder::name(std::string_view key) {
  key_ = key;
  appendQuoted(text_, key);
  text_ += ':';
}

}  // namespace PellixPlatform
