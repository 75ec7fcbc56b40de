#include "Tree.h"

namespace PellixPlatform {

std::uint32_t Tree::member(std::uint32_t index, std::string_view key) const {
  const auto end = nodes[index].next;
  for (auto name = index + 1; name < end;) {
    const auto value = name + 1;
    if (textOf(nodes[name]) == key) return value;
    name = nodes[value].next;
  }
  return none;
}

}  // namespace PellixPlatform
