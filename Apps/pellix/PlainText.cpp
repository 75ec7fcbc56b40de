#include "PlainText.h"

#include "CharacterReference.h"
#include "Printable.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

namespace PellixApp {
namespace {

constexpr std::string_view blanks = " \t\n\f\r";
constexpr auto blocks = std::to_array<std::string_view>(
    {"p",     "div", "h1",  "h2",         "h3",      "h4",      "h5", "h6", "ul", "ol", "li",
     "table", "tr",  "pre", "blockquote", "section", "article", "dl", "dt", "dd", "hr", "br"});
constexpr auto unseen = std::to_array<std::string_view>({"script", "style", "template", "title"});

char lower(char c) {
  return 'A' <= c && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool isLetter(char c) {
  return 'a' <= lower(c) && lower(c) <= 'z';
}

bool equal(std::string_view a, std::string_view b) {
  return std::ranges::equal(a, b, {}, lower, lower);
}

bool isOneOf(const auto& names, std::string_view name) {
  return std::ranges::any_of(names, [name](auto each) { return equal(each, name); });
}

/// These take off what stands at the front of `text`, so that nothing is read twice.
bool take(std::string_view& text, std::string_view prefix) {
  const bool isThere = text.starts_with(prefix);
  if (isThere) text.remove_prefix(prefix.size());
  return isThere;
}

std::string_view takeUntil(std::string_view& text, std::string_view ends) {
  const auto taken = text.substr(0, text.find_first_of(ends));
  text.remove_prefix(taken.size());
  return taken;
}

void skipPast(std::string_view& text, std::string_view mark) {
  const auto found = text.find(mark);
  text.remove_prefix(found == text.npos ? text.size() : found + mark.size());
}

void skipBlanks(std::string_view& text) {
  text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
}

/// A tag, and what is of use here of its attributes.
struct Tag {
  bool isEnd = false;
  std::string_view name;
  std::string_view href;
  std::string_view number;  // where a list starts, or an item's own
};

std::string_view takeValue(std::string_view& html) {
  skipBlanks(html);
  for (const std::string_view quote : {"\"", "'"}) {
    if (!take(html, quote)) continue;
    const auto value = takeUntil(html, quote);
    take(html, quote);
    return value;
  }
  return takeUntil(html, " \t\n\f\r>");
}

/// Takes what stands behind the tag's first angle bracket.
Tag takeTag(std::string_view& html) {
  Tag tag;
  tag.isEnd = take(html, "/");
  tag.name = takeUntil(html, " \t\n\f\r/>");
  while (!html.empty() && !take(html, ">")) {
    const auto name = takeUntil(html, " \t\n\f\r/>=");
    skipBlanks(html);
    const auto value = take(html, "=") ? takeValue(html) : std::string_view();
    if (name.empty()) take(html, "/");
    if (equal(name, "href")) tag.href = value;
    if (equal(name, "start") || equal(name, "value")) tag.number = value;
  }
  return tag;
}

std::string withoutReferences(std::string_view html) {
  std::string text;
  while (!html.empty()) {
    text += takeUntil(html, "&");
    if (!html.empty()) text += takeCharacterReference(html);
  }
  return text;
}

/// Collects text as a person would read it: runs of blanks are one, and so are line ends.
class Text {
 public:
  void add(std::string_view piece) {
    for (const char c : piece) {
      if (blanks.contains(c)) {
        wantsBlank_ = true;
        continue;
      }
      if (wantsBlank_ && !text_.empty() && text_.back() != '\n') text_ += ' ';
      wantsBlank_ = false;
      text_ += c;
    }
  }
  void endLine() {
    wantsBlank_ = false;
    if (!text_.empty() && text_.back() != '\n') text_ += '\n';
  }
  std::string take() {
    if (text_.ends_with('\n')) text_.pop_back();
    return std::move(text_);
  }

 private:
  std::string text_;
  bool wantsBlank_ = false;
};

class Reader {
 public:
  explicit Reader(std::string_view html) : html_(html) {}

  std::string read() {
    while (!html_.empty()) {
      text_.add(withoutReferences(takeUntil(html_, "<")));
      if (!html_.empty()) readMarkup();
    }
    return text_.take();
  }

 private:
  void readMarkup() {
    const auto name = html_.substr(html_.starts_with("</") ? 2 : 1, 1);
    if (take(html_, "<!--")) {
      skipPast(html_, "-->");
    } else if (!name.empty() && isLetter(name.front())) {
      html_.remove_prefix(1);
      const auto tag = takeTag(html_);
      if (isOneOf(blocks, tag.name)) text_.endLine();
      tag.isEnd ? end(tag) : start(tag);
    } else if (html_.starts_with("<!") || html_.starts_with("<?") || html_.starts_with("</")) {
      skipPast(html_, ">");
    } else {
      html_.remove_prefix(1);
      text_.add("<");
    }
  }

  void start(const Tag& tag) {
    std::int32_t number = 1;
    const bool isNumbered =
        std::from_chars(tag.number.data(), tag.number.data() + tag.number.size(), number).ec ==
        std::errc{};
    if (equal(tag.name, "ol")) lists_.emplace_back(number);
    if (equal(tag.name, "ul")) lists_.emplace_back();
    if (equal(tag.name, "li")) startItem(isNumbered ? std::optional(number) : std::nullopt);
    if (equal(tag.name, "a")) address_ = withoutReferences(tag.href);
    if (isOneOf(unseen, tag.name)) skipElement(tag.name);
  }

  void startItem(std::optional<std::int32_t> number) {
    auto* const next = !lists_.empty() && lists_.back() ? &*lists_.back() : nullptr;
    if (next && number) *next = *number;
    text_.add(next ? std::to_string((*next)++) + ". " : "- ");
  }

  void end(const Tag& tag) {
    const bool endsList = equal(tag.name, "ol") || equal(tag.name, "ul");
    if (endsList && !lists_.empty()) lists_.pop_back();
    if (!equal(tag.name, "a")) return;
    if (address_.starts_with("http")) text_.add(" <" + address_ + ">");
    address_.clear();
  }

  void skipElement(std::string_view name) {
    do {
      skipPast(html_, "</");
    } while (!html_.empty() && !equal(html_.substr(0, name.size()), name));
    skipPast(html_, ">");
  }

  std::string_view html_;
  Text text_;
  std::vector<std::optional<std::int64_t>> lists_;  // those open: the next number, if they have any
  std::string address_;                             // of the link that is open
};

}  // namespace

std::string plainText(std::string_view html) {
  return printable(Reader(html).read());
}

}  // namespace PellixApp
