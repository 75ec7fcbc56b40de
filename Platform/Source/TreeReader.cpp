#include "TreeReader.h"

#include "DecodingFailure.h"
#include "Numbers.h"

#include <array>
#include <utility>

namespace PellixPlatform {

namespace {

using Kind = Tree::Kind;

std::string_view nameOf(Kind kind) {
  static constexpr auto names =
      std::to_array<std::string_view>({"an object", "an array", "a string", "a number", "a boolean",
                                       "null", "a date", "data", "a malformed number"});
  return names[std::to_underlying(kind)];
}

std::string subject(const std::string& path) {
  return path.empty() ? "the document" : path;
}

[[noreturn]] void failAsUnfit(const Decoder& at, const Tree::Node& node,
                              std::string_view expected) {
  const auto path = at.codingPath();
  fail(DecodingErrorCode::numberDoesNotFit,
       "Number does not fit: " + subject(path) + " is not " + std::string(expected), path,
       node.position, {.expected = expected, .found = nameOf(node.kind)});
}

}  // namespace

const Tree::Node& TreeReader::expect(const Decoder& at, Kind kind) const {
  const auto& node = tree_.nodes[at.cursor().index];
  if (node.kind == kind) return node;
  const auto path = at.codingPath();
  const Found types{.expected = nameOf(kind), .found = nameOf(node.kind)};
  if (node.kind == Kind::null) {
    fail(DecodingErrorCode::valueIsNull,
         "Value is null: " + subject(path) + " must be " + std::string(types.expected), path,
         node.position, types);
  }
  fail(DecodingErrorCode::typeMismatch,
       "Type mismatch: " + subject(path) + " is " + std::string(types.found) + ", must be " +
           std::string(types.expected),
       path, node.position, types);
}

Cursor TreeReader::member(const Decoder& at, std::string_view key, Run& run) const {
  const auto& object = expect(at, Kind::object);
  const auto index = static_cast<std::uint32_t>(at.cursor().index);
  if (run.isInOrder) {
    const auto name = run.next.document ? run.next.index : index + 1;
    run.isInOrder = name < object.next && tree_.textOf(tree_.nodes[name]) == key;
    if (run.isInOrder) {
      run.next = next({&tree_, name + 1});
      return {&tree_, name + 1};
    }
  }
  if (const auto value = tree_.member(index, key); value != Tree::none) return {&tree_, value};
  auto path = at.codingPath();
  if (!path.empty()) path += '.';
  path += key;
  fail(DecodingErrorCode::keyNotFound, "Key not found: " + path, path, object.position);
}

DocumentReader::Elements TreeReader::elements(const Decoder& at) const {
  const auto& array = expect(at, Kind::array);
  Elements elements{{&tree_, at.cursor().index + 1}, {&tree_, array.next}, 0};
  for (auto place = elements.begin; place.index != array.next; place = next(place)) {
    ++elements.count;
  }
  return elements;
}

Cursor TreeReader::next(Cursor element) const {
  return {&tree_, tree_.nodes[element.index].next};
}

std::int64_t TreeReader::integer(const Decoder& at) const {
  const auto& node = expect(at, Kind::number);
  if (const auto value = exactInteger(tree_.textOf(node))) return *value;
  failAsUnfit(at, node, "a 64-bit integer");
}

double TreeReader::real(const Decoder& at) const {
  const auto& node = expect(at, Kind::number);
  if (const auto value = nearestDouble(tree_.textOf(node))) return *value;
  failAsUnfit(at, node, "in the range of a double");
}

bool TreeReader::boolean(const Decoder& at) const {
  return tree_.textOf(expect(at, Kind::boolean)) == "true";
}

std::string TreeReader::string(const Decoder& at) const {
  return std::string(tree_.textOf(expect(at, Kind::string)));
}

}  // namespace PellixPlatform
