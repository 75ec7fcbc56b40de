#include "JSONParser.h"

#include "ASCII.h"
#include "JSONText.h"
#include "UTF8.h"

#include <algorithm>
#include <utility>

namespace PellixPlatform {
namespace {

/// The grammar of RFC 8259, without recursion: depth costs memory in the tree alone.
class Parser {
 public:
  Parser(std::string_view document, Tree recycled) : text_(document), tree_(std::move(recycled)) {
    tree_.nodes.clear();
    tree_.document = document;
  }

  Tree parse() {
    checkEncoding();
    if (text_.starts_with("\xEF\xBB\xBF")) at_ = 3;
    for (State state = State::value;;) {
      skipSpace();
      switch (state) {
        case State::elementOrEnd:
          if (take(']')) {
            tree_.close();
            state = State::afterValue;
            break;
          }
          [[fallthrough]];
        case State::value:
          state = readValue();
          break;
        case State::keyOrEnd:
          if (take('}')) {
            tree_.close();
            state = State::afterValue;
            break;
          }
          [[fallthrough]];
        case State::key:
          if (peek() != '"') fail("a key is missing");
          readString();
          skipSpace();
          if (!take(':')) fail("a colon is missing");
          state = State::value;
          break;
        case State::afterValue:
          if (tree_.innermost == Tree::none) {
            if (at_ < text_.size()) fail("there is more behind the document");
            return std::move(tree_);
          }
          state = readSeparator();
          break;
      }
    }
  }

 private:
  enum class State { value, elementOrEnd, key, keyOrEnd, afterValue };

  void checkEncoding() const {
    // Positions are kept in 32 bits.
    if (text_.size() >= Tree::none) failAsCorrupted("the document is too large", {});
    const auto valid = text_.substr(0, endOfUTF8(text_));
    if (valid.size() == text_.size()) return;
    const auto breaks = static_cast<std::uint32_t>(std::ranges::count(valid, '\n'));
    failAsCorrupted("the text is not UTF-8",
                    {static_cast<std::uint32_t>(valid.size()), line_ + breaks});
  }

  State readValue() {
    switch (peek()) {
      case '{':
        tree_.open(Tree::Kind::object, position());
        ++at_;
        return State::keyOrEnd;
      case '[':
        tree_.open(Tree::Kind::array, position());
        ++at_;
        return State::elementOrEnd;
      case '"':
        readString();
        return State::afterValue;
      case 't':
        return readWord("true", Tree::Kind::boolean);
      case 'f':
        return readWord("false", Tree::Kind::boolean);
      case 'n':
        return readWord("null", Tree::Kind::null);
      default:
        readNumber();
        return State::afterValue;
    }
  }

  State readSeparator() {
    const bool inObject = tree_.nodes[tree_.innermost].kind == Tree::Kind::object;
    if (take(',')) return inObject ? State::key : State::value;
    if (!take(inObject ? '}' : ']')) {
      fail(inObject ? "a comma or a closing brace is missing"
                    : "a comma or a closing bracket is missing");
    }
    tree_.close();
    return State::afterValue;
  }

  State readWord(std::string_view word, Tree::Kind kind) {
    if (!text_.substr(at_).starts_with(word)) fail("a value is missing");
    add(kind, at_, at_ + word.size());
    at_ += word.size();
    return State::afterValue;
  }

  void readNumber() {
    const auto begin = at_;
    take('-');
    if (!take('0') && !skipDigits()) fail("a value is missing");
    if (take('.') && !skipDigits()) fail("a number has no digits behind its point");
    if (take('e') || take('E')) {
      if (!take('+')) take('-');
      if (!skipDigits()) fail("a number has no digits in its exponent");
    }
    add(Tree::Kind::number, begin, at_);
  }

  void readString() {
    const auto begin = ++at_;
    const auto* const end = text_.data() + text_.size();
    at_ = indexOf(JSONText::skipPlain(text_.data() + at_, end));
    if (peek() == '\\') {
      readEscapedString(begin);
    } else {
      add(Tree::Kind::string, begin, at_);
    }
    if (!take('"')) fail("a string holds a control character");
  }

  /// Reads the rest of a string from its first escape on, into the tree's own text. It takes no
  /// more room there than here, so all of them fit into the document's size, and a block for what
  /// is written beyond.
  void readEscapedString(std::size_t begin) {
    auto& own = tree_.ownText;
    own.resize(text_.size() + sizeof(JSONText::Block));
    char* const to = own.data() + ownEnd_;
    const auto cursor =
        JSONText::readEscaped({.from = text_.data() + at_,
                               .end = text_.data() + text_.size(),
                               .to = std::copy(text_.data() + begin, text_.data() + at_, to)});
    at_ = indexOf(cursor.from);
    if (!cursor.fault.empty()) fail(cursor.fault);

    auto& node = add(Tree::Kind::string, begin, at_);
    node.isOwn = true;
    node.textBegin = static_cast<std::uint32_t>(ownEnd_);
    ownEnd_ += static_cast<std::size_t>(cursor.to - to);
    node.textEnd = static_cast<std::uint32_t>(ownEnd_);
  }

  Tree::Node& add(Tree::Kind kind, std::size_t begin, std::size_t end) {
    const auto start = kind == Tree::Kind::string ? begin - 1 : begin;  // at its quotation mark
    auto& node = tree_.add(kind, {static_cast<std::uint32_t>(start), line_});
    node.textBegin = static_cast<std::uint32_t>(begin);
    node.textEnd = static_cast<std::uint32_t>(end);
    return node;
  }

  [[nodiscard]] std::size_t indexOf(const char* place) const {
    return static_cast<std::size_t>(place - text_.data());
  }

  [[nodiscard]] char peek() const { return at_ < text_.size() ? text_[at_] : '\0'; }

  bool take(char c) {
    if (at_ == text_.size() || text_[at_] != c) return false;
    ++at_;
    return true;
  }

  bool skipDigits() {
    const auto begin = at_;
    while (ASCII::isDigit(peek())) ++at_;
    return at_ > begin;
  }

  // Line breaks stand between tokens only, so they are counted here and nowhere else.
  void skipSpace() {
    for (; at_ < text_.size(); ++at_) {
      const char c = text_[at_];
      if (c == '\n') {
        ++line_;
      } else if (c != ' ' && c != '\t' && c != '\r') {
        return;
      }
    }
  }

  [[nodiscard]] Position position() const { return {static_cast<std::uint32_t>(at_), line_}; }

  [[noreturn]] void fail(std::string_view what) const {
    failAsCorrupted(at_ < text_.size() ? what : "the document ends early", position());
  }

  std::string_view text_;
  std::size_t at_ = 0;
  std::uint32_t line_ = 1;
  Tree tree_;
  std::size_t ownEnd_ = 0;  // of the tree's own text, as far as it is used
};

}  // namespace

Tree parseJSON(std::string_view document, Tree recycled) {
  return Parser(document, std::move(recycled)).parse();
}

}  // namespace PellixPlatform
