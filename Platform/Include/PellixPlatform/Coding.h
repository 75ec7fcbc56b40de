#pragma once

#include <PellixPlatform/CanonicalEquivalence.h>

#include <algorithm>
#include <concepts>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

namespace PellixPlatform {

/// One row of a record's key table: a key of the encoded form and the field that it stands for.
///
/// A record keeps its fields in one aggregate and lists them once, in declaration order, in a
/// `constexpr std::tuple` of keys; that table reads, writes and compares it.
template <class Fields, class Member>
struct Key {
  std::string_view name;
  Member Fields::* member;
};

template <class Fields, class Member>
Key(const char*, Member Fields::*) -> Key<Fields, Member>;

/// How two fields of records are compared: numbers as numbers (so NaN equals nothing), texts by
/// canonical equivalence, records by their own `isEqual`, lists pairwise. A list is equal to its
/// own storage without a look at what it holds.
struct FieldEquality {
  static bool same(std::int64_t a, std::int64_t b) { return a == b; }
  static bool same(double a, double b) { return a == b; }
  static bool same(bool a, bool b) { return a == b; }
  static bool same(const std::string& a, const std::string& b) {
    return a.data() == b.data() ? a.size() == b.size() : canonicallyEquivalent(a, b);
  }
  template <class T>
  static bool same(const std::shared_ptr<const T>& a, const std::shared_ptr<const T>& b) {
    return a->isEqual(b.get());
  }
  template <class T>
  static bool same(const std::vector<T>& a, const std::vector<T>& b) {
    if (a.size() != b.size()) return false;
    return a.data() == b.data() ||
           std::ranges::equal(a, b, [](const T& x, const T& y) { return same(x, y); });
  }
};

/// Compares two records' fields in the order of their key table, up to the first difference.
template <class Fields, class... Members>
[[nodiscard]] bool sameFields(const Fields& a, const Fields& b,
                              const std::tuple<Key<Fields, Members>...>& keys) {
  return std::apply(
      [&](const auto&... key) {
        return (FieldEquality::same(a.*key.member, b.*key.member) && ...);
      },
      keys);
}

}  // namespace PellixPlatform
