#pragma once

#include <PellixPlatform/Decoder.h>
#include <PellixPlatform/DecodingError.h>

#include <exception>
#include <utility>

namespace PellixPlatform {

/// What the authoritative reader throws to end a decoding.
struct DecodingFailure : std::exception {
  explicit DecodingFailure(Error why) : error(std::move(why)) {}
  Error error;
};

/// Where in a document's bytes something stands.
struct Position {
  std::uint32_t byte = 0;
  std::uint32_t line = 1;
};

[[noreturn]] void failAsCorrupted(std::string_view what, Position where);

/// A parsed document as a flat list of nodes: a container is followed by its children (in an object
/// each value by its key's node first), and every node knows where the one behind it starts.
struct Tree {
  enum class Kind : std::uint8_t { object, array, string, number, boolean, null, date, data };

  static constexpr std::uint32_t none = 0xFFFFFFFF;

  struct Node {
    Position position;
    std::uint32_t textBegin = 0;
    std::uint32_t textEnd = 0;
    std::uint32_t next = 0;  // while a container is open: the container around it, or `none`
    Kind kind = Kind::null;
    bool isOwn = false;  // the text is in the tree's own
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
    auto& node = nodes.emplace_back();
    node.position = position;
    node.kind = kind;
    node.next = static_cast<std::uint32_t>(nodes.size());
    return node;
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

/// Parses all of a JSON document; throws `DecodingFailure` where it is malformed. The memory of an
/// earlier tree may serve again.
[[nodiscard]] Tree parseJSON(std::string_view document, Tree recycled = {});

/// Parses all of a property list in XML; throws `DecodingFailure` where it is malformed.
[[nodiscard]] Tree parsePropertyList(std::string_view document);

/// A number's text as an integer, or nothing if it has a fraction or does not fit.
[[nodiscard]] std::optional<std::int64_t> exactInteger(std::string_view number);

/// A number's text as the nearest double; nothing if it is out of range.
[[nodiscard]] std::optional<double> nearestDouble(std::string_view number);

/// The authoritative reader: reads a `Tree`, and alone makes errors.
class TreeReader final : public DocumentReader {
 public:
  explicit TreeReader(const Tree& tree) : tree_(tree) {}

  [[nodiscard]] Cursor root() const { return {&tree_, 0}; }

  [[nodiscard]] Cursor member(const Decoder& at, std::string_view key, Run& run) const override;
  [[nodiscard]] Elements elements(const Decoder& at) const override;
  [[nodiscard]] Cursor next(Cursor element) const override;
  [[nodiscard]] std::int64_t integer(const Decoder& at) const override;
  [[nodiscard]] double real(const Decoder& at) const override;
  [[nodiscard]] bool boolean(const Decoder& at) const override;
  [[nodiscard]] std::string string(const Decoder& at) const override;

 private:
  [[nodiscard]] const Tree::Node& expect(const Decoder& at, Tree::Kind kind) const;

  const Tree& tree_;
};

}  // namespace PellixPlatform
