#include "PropertyListParser.h"

#include "ASCII.h"

#include <expat.h>

#include <algorithm>
#include <array>
#include <memory>
#include <new>

namespace PellixPlatform {
namespace {

using Kind = Tree::Kind;

struct Element {
  std::string_view name;
  Kind kind;
};

constexpr auto valueElements = std::to_array<Element>({
    {"dict", Kind::object},
    {"array", Kind::array},
    {"string", Kind::string},
    {"integer", Kind::number},
    {"real", Kind::number},
    {"true", Kind::boolean},
    {"false", Kind::boolean},
    {"date", Kind::date},
    {"data", Kind::data},
});

bool isContainer(Kind kind) {
  return kind == Kind::object || kind == Kind::array;
}

bool isBlank(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

std::string_view trimmed(std::string_view text) {
  while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
  return text;
}

/// Whether a text is a decimal number, in JSON's sense but for leading zeros.
bool isNumber(std::string_view text) {
  if (text.starts_with('-')) text.remove_prefix(1);
  const auto digits = [&text] {
    const auto end = std::ranges::find_if_not(text, ASCII::isDigit);
    const bool any = end != text.begin();
    text = {end, text.end()};
    return any;
  };
  if (!digits()) return false;
  if (text.starts_with('.')) {
    text.remove_prefix(1);
    if (!digits()) return false;
  }
  if (text.starts_with('e') || text.starts_with('E')) {
    text.remove_prefix(1);
    if (text.starts_with('+') || text.starts_with('-')) text.remove_prefix(1);
    if (!digits()) return false;
  }
  return text.empty();
}

/// Builds the tree out of expat's events. No exception may pass through expat, so what goes wrong
/// is kept and thrown when it has returned.
class Parser {
 public:
  Parser() : expat_(XML_ParserCreate(nullptr), XML_ParserFree) {
    if (!expat_) throw std::bad_alloc();
    XML_SetUserData(expat_.get(), this);
    XML_SetElementHandler(expat_.get(), guarded<&Parser::start>, guarded<&Parser::end>);
    XML_SetCharacterDataHandler(expat_.get(), guarded<&Parser::characters>);
    // Without these two, undefined entities would vanish silently and declared ones could grow
    // without bound.
    XML_SetEntityDeclHandler(expat_.get(), [](void* self, auto...) {
      static_cast<Parser*>(self)->stop("entities can't be declared here");
    });
    XML_SetSkippedEntityHandler(expat_.get(), [](void* self, const XML_Char*, int) {
      static_cast<Parser*>(self)->stop("an entity is not defined");
    });
  }

  Tree parse(std::string_view document) {
    if (document.starts_with("bplist")) {
      failAsCorrupted("binary property lists are not read, only those in XML", {});
    }
    constexpr std::size_t largest = std::size_t{1} << 30;  // expat counts in int
    if (document.size() > largest) failAsCorrupted("the document is too large", {});

    const auto status =
        XML_Parse(expat_.get(), document.data(), static_cast<int>(document.size()), XML_TRUE);
    if (failure_) std::rethrow_exception(failure_);
    if (status != XML_STATUS_OK) {
      const auto code = XML_GetErrorCode(expat_.get());
      if (code == XML_ERROR_NO_MEMORY) throw std::bad_alloc();
      failAsCorrupted(XML_ErrorString(code), position());
    }
    if (tree_.nodes.empty()) failAsCorrupted("the property list is empty", position());
    return std::move(tree_);
  }

 private:
  /// A member function as one of expat's handlers.
  template <auto handler, class... Arguments>
  static void guarded(void* self, Arguments... arguments) {
    auto& parser = *static_cast<Parser*>(self);
    if (parser.failure_) return;
    try {
      (parser.*handler)(arguments...);
    } catch (...) {
      parser.failure_ = std::current_exception();
      XML_StopParser(parser.expat_.get(), XML_FALSE);
    }
  }

  void stop(std::string_view why) { guarded<&Parser::failAsCorruptedHere>(this, why); }
  void failAsCorruptedHere(std::string_view why) { failAsCorrupted(why, position()); }

  void start(const XML_Char* written, const XML_Char**) {
    const std::string_view name = written;
    if (inLeaf_) failAsCorruptedHere("an element stands where only text may");
    if (!inList_) {
      if (name != "plist") failAsCorruptedHere("the document is not a property list");
      inList_ = true;
      return;
    }
    if (name == "key") {
      if (!wantsKey()) failAsCorruptedHere("a key stands where a value must");
      startLeaf(Kind::string);
      return;
    }
    if (wantsKey()) failAsCorruptedHere("a value has no key");
    if (tree_.innermost == Tree::none && !tree_.nodes.empty()) {
      failAsCorruptedHere("the property list holds more than one value");
    }
    const auto element = std::ranges::find(valueElements, name, &Element::name);
    if (element == valueElements.end()) failAsCorruptedHere("an element is unknown");
    if (isContainer(element->kind)) {
      tree_.open(element->kind, position());
    } else {
      startLeaf(element->kind);
    }
    keyIsRead_ = false;
  }

  void end(const XML_Char* written) {
    const std::string_view name = written;
    if (name == "plist") return;
    if (!inLeaf_) {
      if (keyIsRead_) failAsCorruptedHere("a key has no value");
      tree_.close();
      return;
    }
    inLeaf_ = false;
    auto& leaf = tree_.nodes.back();
    auto& text = tree_.ownText;
    if (leaf.kind == Kind::boolean) {
      text.resize(leaf.textBegin);
      text += name;
    } else if (leaf.kind == Kind::number) {
      std::string number(trimmed(std::string_view(text).substr(leaf.textBegin)));
      if (number.starts_with('+') && !number.starts_with("+-")) number.erase(0, 1);
      if (!isNumber(number)) leaf.kind = Kind::malformedNumber;
      text.replace(leaf.textBegin, text.npos, number);
    }
    leaf.textEnd = static_cast<std::uint32_t>(text.size());
    keyIsRead_ = name == "key";
  }

  void characters(const XML_Char* text, int length) {
    const std::string_view piece(text, static_cast<std::size_t>(length));
    if (inLeaf_) {
      tree_.ownText += piece;
    } else if (!std::ranges::all_of(piece, isBlank)) {
      failAsCorruptedHere("text stands where only elements may");
    }
  }

  void startLeaf(Kind kind) {
    auto& leaf = tree_.add(kind, position());
    leaf.textBegin = static_cast<std::uint32_t>(tree_.ownText.size());
    leaf.isOwn = true;
    inLeaf_ = true;
  }

  [[nodiscard]] bool wantsKey() const {
    return tree_.innermost != Tree::none && tree_.nodes[tree_.innermost].kind == Kind::object &&
           !keyIsRead_;
  }

  [[nodiscard]] Position position() const {
    return {
        static_cast<std::uint32_t>(std::max(XML_Index{0}, XML_GetCurrentByteIndex(expat_.get()))),
        static_cast<std::uint32_t>(XML_GetCurrentLineNumber(expat_.get()))};
  }

  std::unique_ptr<XML_ParserStruct, void (*)(XML_Parser)> expat_;
  Tree tree_;
  std::exception_ptr failure_;
  bool inList_ = false;
  bool inLeaf_ = false;
  bool keyIsRead_{};  // set by whatever stands first
};

}  // namespace

Tree parsePropertyList(std::string_view document) {
  return Parser().parse(document);
}

}  // namespace PellixPlatform
