#include "PlainText.h"

#include <libxml/HTMLparser.h>

#include <algorithm>
#include <array>
#include <memory>
#include <utility>

namespace PellixApp {
namespace {

constexpr auto blocks = std::to_array<std::string_view>(
    {"p",     "div", "h1",  "h2",         "h3",      "h4",      "h5", "h6", "ul", "ol", "li",
     "table", "tr",  "pre", "blockquote", "section", "article", "dl", "dt", "dd", "hr"});
constexpr auto unseen = std::to_array<std::string_view>({"script", "style", "head", "template"});

std::string_view view(const xmlChar* text) {
  return text ? std::string_view(reinterpret_cast<const char*>(text)) : std::string_view();
}

bool isBlank(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

/// Collects text as a person would read it: runs of blanks are one, and so are line ends.
class Text {
 public:
  void add(std::string_view piece) {
    for (const char c : piece) {
      if (isBlank(c)) {
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
    while (!text_.empty() && isBlank(text_.back())) text_.pop_back();
    return std::move(text_);
  }

 private:
  std::string text_;
  bool wantsBlank_ = false;
};

void startElement(const xmlNode& node, Text& text) {
  const auto name = view(node.name);
  if (name == "br" || std::ranges::find(blocks, name) != blocks.end()) text.endLine();
  if (name == "li") text.add("- ");
}

void endElement(xmlNode& node, Text& text) {
  const auto name = view(node.name);
  if (name == "a") {
    const std::unique_ptr<xmlChar, void (*)(void*)> address(
        xmlGetProp(&node, reinterpret_cast<const xmlChar*>("href")), xmlFree);
    if (view(address.get()).starts_with("http")) {
      text.add(" <" + std::string(view(address.get())) + ">");
    }
  }
  if (std::ranges::find(blocks, name) != blocks.end()) text.endLine();
}

/// Walks the tree without recursion, for its depth is the sender's choice.
void walk(xmlNode* const root, Text& text) {
  for (auto* node = root; node;) {
    const bool isElement = node->type == XML_ELEMENT_NODE;
    const bool isSeen = isElement && std::ranges::find(unseen, view(node->name)) == unseen.end();
    if (isSeen) startElement(*node, text);
    if (node->type == XML_TEXT_NODE) text.add(view(node->content));
    if (isSeen && node->children) {
      node = node->children;
      continue;
    }
    while (node) {
      if (node->type == XML_ELEMENT_NODE) endElement(*node, text);
      if (node == root) return;
      if (node->next) break;
      node = node->parent;
    }
    if (node) node = node->next;
  }
}

}  // namespace

std::string plainText(std::string_view html) {
  const std::unique_ptr<xmlDoc, void (*)(xmlDocPtr)> document(
      htmlReadMemory(
          html.data(), static_cast<int>(html.size()), nullptr, "UTF-8",
          HTML_PARSE_RECOVER | HTML_PARSE_NOERROR | HTML_PARSE_NOWARNING | HTML_PARSE_NONET),
      xmlFreeDoc);
  auto* const root = document ? xmlDocGetRootElement(document.get()) : nullptr;
  if (!root) return {};
  Text text;
  walk(root, text);
  return printable(text.take());
}

std::string plainLine(std::string_view html) {
  auto text = plainText(html);
  std::ranges::replace(text, '\n', ' ');
  return text;
}

std::string printable(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  for (std::size_t at = 0; at < text.size(); ++at) {
    const auto byte = static_cast<unsigned char>(text[at]);
    const bool isC1 = byte == 0xC2 && at + 1 < text.size() &&
                      static_cast<unsigned char>(text[at + 1]) < 0xA0;  // U+0080 to U+009F
    if (isC1) {
      ++at;
    } else if ((byte >= 0x20 && byte != 0x7F) || byte == '\n') {
      result += text[at];
    }
  }
  return result;
}

}  // namespace PellixApp
