#include "ASCII.h"

#include <PellixPlatform/URLResponse.h>

#include <algorithm>
#include <typeinfo>

namespace PellixPlatform {
namespace {

bool sameName(std::string_view a, std::string_view b) {
  return std::ranges::equal(a, b, {}, ASCII::lowerCase, ASCII::lowerCase);
}

bool nameLess(std::string_view a, std::string_view b) {
  return std::ranges::lexicographical_compare(a, b, {}, ASCII::lowerCase, ASCII::lowerCase);
}

constexpr auto nameOf = &HTTPURLResponse::HeaderFields::value_type::first;

}  // namespace

URLResponse::URLResponse(std::string url) : url_(std::move(url)) {}
URLResponse::~URLResponse() = default;

bool URLResponse::isEqual(const Object* other) const {
  const auto* that = dynamic_cast<const URLResponse*>(other);
  return that && typeid(*that) == typeid(*this) && url_ == that->url_;
}

HTTPURLResponse::HTTPURLResponse(std::string url, int statusCode, HeaderFields headerFields)
    : URLResponse(std::move(url)), statusCode_(statusCode) {
  // Pointers are put in order, not the fields: sorting those takes ten times as much code.
  std::vector<HeaderFields::value_type*> ordered;
  ordered.reserve(headerFields.size());
  for (auto& field : headerFields) ordered.push_back(&field);
  std::ranges::sort(ordered, [](const auto* a, const auto* b) {
    return nameLess(a->first, b->first) || (a < b && !nameLess(b->first, a->first));
  });
  headerFields_.reserve(headerFields.size());
  for (auto* const field : ordered) {
    if (!headerFields_.empty() && sameName(field->first, headerFields_.back().first)) {
      headerFields_.back().second.append(", ").append(field->second);
    } else {
      headerFields_.push_back(std::move(*field));
    }
  }
}

HTTPURLResponse::~HTTPURLResponse() = default;

std::optional<std::string_view> HTTPURLResponse::valueForHeaderField(std::string_view name) const {
  const auto field = std::ranges::lower_bound(headerFields_, name, nameLess, nameOf);
  if (field == headerFields_.end() || !sameName(field->first, name)) return std::nullopt;
  return field->second;
}

bool HTTPURLResponse::isEqual(const Object* other) const {
  const auto* that = dynamic_cast<const HTTPURLResponse*>(other);
  return that && url() == that->url() && statusCode_ == that->statusCode_ &&
         std::ranges::equal(headerFields_, that->headerFields_, [](const auto& a, const auto& b) {
           return sameName(a.first, b.first) && a.second == b.second;
         });
}

}  // namespace PellixPlatform
