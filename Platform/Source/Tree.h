#pragma once

#include "DecodingFailure.h"

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

namespace PellixPlatform {

/// A parsed document as a flat list of nodes: a container is followed by its children (in an object
/// each value by its key's node first), and every node knows where the one behind it starts.
struct Tree {
  // The last three only property lists have. Their text is nobody's to read, whatever it is.
  enum class Kind : std::uint8_t {
    object,
    array,
    string,
    number,
    boolean,
    null,
    date,
    data,
    malformedNumber,
  };

  static constexpr auto none = std::numeric_limits<std::uint32_t>::max();

  struct Node {
    Position position;
    std::uint32_t textBegin{};
    std::uint32_t textEnd{};
    std::uint32_t next;  // while a container is open: the container around it, or `none`
    Kind kind;
    bool isOwn{};  // the text is in the tree's own
  };

  std::vector<Node> nodes;
  std::string_view document;  // what the nodes' texts refer to, unless
  std::string ownText;        // they could not be taken from there as they are

  [[nodiscard]] std::string_view textOf(const Node& node) const {
    const std::string_view text = node.isOwn ? ownText : document;
    return text.substr(node.textBegin, node.textEnd - node.textBegin);
  }
  /// The value of the first such key of the object at `index`, or `none`.
  [[nodiscard]] std::uint32_t member(std::uint32_t index, std::string_view key) const;

  /// Builds the tree: adds a node, as yet without text, inside the open container.
  Node& add(Kind kind, Position position) {
    const auto next = static_cast<std::uint32_t>(nodes.size() + 1);
    nodes.push_back({.position = position, .next = next, .kind = kind});
    return nodes.back();
  }
  /// Adds a container and makes it the open one.
  void open(Kind kind, Position position) {
    add(kind, position).next = innermost;
    innermost = static_cast<std::uint32_t>(nodes.size() - 1);
  }
  /// Closes the open container.
  void close() {
    const auto around = nodes[innermost].next;
    nodes[innermost].next = static_cast<std::uint32_t>(nodes.size());
    innermost = around;
  }
  std::uint32_t innermost = none;
};

}  // namespace PellixPlatform
