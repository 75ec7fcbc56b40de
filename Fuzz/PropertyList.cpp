// Property lists: the endpoint table, and every value as another library reads it.

#include "Fuzz.h"
#include "Numbers.h"
#include "PropertyListParser.h"
#include "Resources/PellixEndpoint.h"

#include <PellixPlatform/internal/PropertyListDecoder.h>

#include <plist/plist.h>

#include <memory>

namespace {

using PellixPlatform::Tree;

bool sameNumber(std::string_view ours, plist_t theirs) {
  if (plist_get_node_type(theirs) == PLIST_REAL) {
    double real = 0;
    plist_get_real_val(theirs, &real);
    const auto value = PellixPlatform::nearestDouble(ours);
    return !value || *value == real;
  }
  // The other library takes a leading zero for the mark of an octal number, and reads an integer
  // up to its point.
  const auto digits = ours.substr(ours.starts_with('-'));
  if (digits.starts_with('0') || digits.find_first_of(".eE") != digits.npos) return true;
  std::uint64_t integer = 0;
  plist_get_uint_val(theirs, &integer);
  const auto value = PellixPlatform::exactInteger(ours);
  return !value || static_cast<std::uint64_t>(*value) == integer;
}

bool same(const Tree& tree, std::uint32_t index, plist_t theirs);

bool sameElements(const Tree& tree, std::uint32_t index, plist_t theirs) {
  std::uint32_t count = 0;
  for (auto at = index + 1; at < tree.nodes[index].next; at = tree.nodes[at].next, ++count) {
    if (!same(tree, at, plist_array_get_item(theirs, count))) return false;
  }
  return count == plist_array_get_size(theirs);
}

bool sameMembers(const Tree& tree, std::uint32_t index, plist_t theirs) {
  for (auto at = index + 1; at < tree.nodes[index].next; at = tree.nodes[at + 1].next) {
    const std::string key(tree.textOf(tree.nodes[at]));
    if (tree.member(index, key) != at + 1) return true;  // of a key given twice, its last counts
  }
  std::uint32_t count = 0;
  for (auto at = index + 1; at < tree.nodes[index].next; at = tree.nodes[at + 1].next, ++count) {
    const std::string key(tree.textOf(tree.nodes[at]));
    if (!same(tree, at + 1, plist_dict_get_item(theirs, key.c_str()))) return false;
  }
  return count == plist_dict_get_size(theirs);
}

bool same(const Tree& tree, std::uint32_t index, plist_t theirs) {
  // In the order of our kinds; there is no null.
  static constexpr plist_type types[] = {PLIST_DICT,    PLIST_ARRAY, PLIST_STRING, PLIST_UINT,
                                         PLIST_BOOLEAN, PLIST_NONE,  PLIST_DATE,   PLIST_DATA};
  const auto& node = tree.nodes[index];
  const auto type = plist_get_node_type(theirs);
  // Of numbers that are none here, such as hexadecimal ones, the other library makes something.
  if (node.kind == Tree::Kind::malformedNumber) return type == PLIST_UINT || type == PLIST_REAL;
  const bool isReal = type == PLIST_REAL && node.kind == Tree::Kind::number;
  if (type != types[std::to_underlying(node.kind)] && !isReal) return false;
  switch (node.kind) {
    case Tree::Kind::object:
      return sameMembers(tree, index, theirs);
    case Tree::Kind::array:
      return sameElements(tree, index, theirs);
    case Tree::Kind::string:
      return tree.textOf(node) == plist_get_string_ptr(theirs, nullptr);
    case Tree::Kind::number:
      return sameNumber(tree.textOf(node), theirs);
    case Tree::Kind::boolean: {
      std::uint8_t value = 0;
      plist_get_bool_val(theirs, &value);
      return (tree.textOf(node) == "true") == (value != 0);
    }
    default:
      return true;  // nobody reads dates and data
  }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto document = Fuzz::textOf(data, size);
  using Endpoints = std::vector<PellixProvidersSDK::PellixEndpoint>;
  const auto endpoints = PellixPlatform::PropertyListDecoder().decode<Endpoints>(document);
  try {
    const auto tree = PellixPlatform::parsePropertyList(document);
    // The other library overflows the stack in deep documents, and leaves carriage returns, which
    // XML makes line feeds of, as they are.
    constexpr std::size_t most = 1000;
    if (tree.nodes.size() > most || document.find('\r') != document.npos) return 0;
    plist_t theirs = nullptr;
    plist_from_xml(reinterpret_cast<const char*>(data), static_cast<std::uint32_t>(size), &theirs);
    const std::unique_ptr<void, void (*)(plist_t)> release(theirs, plist_free);
    Fuzz::require(!theirs || same(tree, 0, theirs), "values are what they are elsewhere");
  } catch (const PellixPlatform::DecodingFailure& failure) {
    Fuzz::require(!endpoints && endpoints.error() == failure.error,
                  "no record comes from a malformed document");
  }
  return 0;
}
