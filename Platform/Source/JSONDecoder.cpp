#include "JSONText.h"
#include "Tree.h"

#include <PellixPlatform/JSONDecoder.h>

#include <simdjson.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <bit>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <new>

namespace PellixPlatform {
namespace {

using simdjson::dom::element;
using ArrayIterator = simdjson::dom::array::iterator;
using ObjectIterator = simdjson::dom::object::iterator;

/// A place of the fast reader is simdjson's own: an element and an iterator are both a document and
/// an index into it.
template <class T>
Cursor placeOf(T value) {
  return std::bit_cast<Cursor>(value);
}

/// Thrown at anything out of the ordinary; the authoritative reader decides then.
struct NotOrdinary {};

/// The fast reader. It accepts only what is ordinary and makes no errors.
class OrdinaryReader final : public DocumentReader {
 public:
  [[nodiscard]] Cursor member(const Decoder& at, std::string_view key, Run& run) const override {
    const auto object = get<simdjson::dom::object>(at);
    if (run.isInOrder) {
      auto entry = run.next.document ? std::bit_cast<ObjectIterator>(run.next) : object.begin();
      run.isInOrder = entry != object.end() && entry.key_equals(key);
      if (run.isInOrder) {
        const auto value = entry.value();
        run.next = placeOf(++entry);
        return placeOf(value);
      }
    }
    element value;
    if (object.at_key(key).get(value)) throw NotOrdinary{};
    return placeOf(value);
  }
  [[nodiscard]] Elements elements(const Decoder& at) const override {
    const auto array = get<simdjson::dom::array>(at);
    return {placeOf(array.begin()), placeOf(array.end()), array.size()};
  }
  [[nodiscard]] Cursor next(Cursor place) const override {
    return placeOf(++std::bit_cast<ArrayIterator>(place));
  }
  [[nodiscard]] std::int64_t integer(const Decoder& at) const override {
    return get<std::int64_t>(at);
  }
  [[nodiscard]] double real(const Decoder& at) const override {
    switch (std::bit_cast<element>(at.cursor()).type()) {
      case simdjson::dom::element_type::DOUBLE:
        return get<double>(at);
      case simdjson::dom::element_type::INT64:
        return static_cast<double>(get<std::int64_t>(at));
      default:
        throw NotOrdinary{};
    }
  }
  [[nodiscard]] bool boolean(const Decoder& at) const override { return get<bool>(at); }
  [[nodiscard]] std::string string(const Decoder& at) const override {
    return std::string(get<std::string_view>(at));
  }

 private:
  template <class T>
  static T get(const Decoder& at) {
    T value;
    if (std::bit_cast<element>(at.cursor()).get(value)) throw NotOrdinary{};
    return value;
  }
};

/// A parser's memory for the time of one decoding. Fresh memory costs as much as some decodings do,
/// so one waits here for whoever comes next, unless it has grown beyond what is worth keeping.
template <class T>
class Borrowed {
 public:
  Borrowed() : lent_(spare.exchange(nullptr)) {
    if (!lent_) lent_ = std::make_unique<T>();
  }
  Borrowed(const Borrowed&) = delete;
  Borrowed& operator=(const Borrowed&) = delete;
  ~Borrowed() {
    if (lent_ && isWorthKeeping(*lent_)) lent_.reset(spare.exchange(lent_.release()));
  }
  void discard() { lent_.reset(); }
  T* operator->() const { return lent_.get(); }
  T& operator*() const { return *lent_; }

 private:
  static constexpr std::size_t most = std::size_t{1} << 20;  // bytes, of document or so

  static bool isWorthKeeping(const simdjson::dom::parser& parser) {
    return parser.capacity() <= most;
  }
  static bool isWorthKeeping(const Tree& tree) {
    return tree.ownText.capacity() <= most && tree.nodes.capacity() * sizeof(Tree::Node) <= most;
  }

  static constinit std::atomic<T*> spare;
  std::unique_ptr<T> lent_;
};

template <class T>
constinit std::atomic<T*> Borrowed<T>::spare{nullptr};

/// What a parser's code for this machine comes from. simdjson makes it at its first use and
/// destroys it when the process ends, while other threads may still decode: by then nobody may come
/// here any more. A parser that has its code once does not need it again.
class ParserCode {
 public:
  /// Gives `parser` its code, and memory for a document of so many bytes; false if the process ends
  /// or memory is missing.
  static bool give(simdjson::dom::parser& parser, std::size_t bytes) {
    bytes = std::clamp(bytes, std::size_t{32}, std::size_t{64} << 10);  // it grows when need be
    auto& code = shared();
    const std::lock_guard lock(code.mutex_);
    if (code.isGone_) return false;
    if (code.process_ != 0) return !parser.allocate(bytes);

    // It takes a few small allocations in a function that may not throw, so that the process would
    // end if one failed. Here there is memory for them, or simdjson is not touched.
    constexpr std::size_t ample = 4096;
    ::operator delete(::operator new(ample));
    const bool isGiven = !parser.allocate(bytes);
    code.process_ = getpid();
    if (std::atexit(goAtExit) == 0) return isGiven;
    code.process_ = 0;
    throw std::bad_alloc();
  }

 private:
  static ParserCode& shared() {
    static auto& code = *new ParserCode;  // leaked: may be asked while the process ends
    return code;
  }
  static void goAtExit() {
    auto& code = shared();
    if (getpid() != code.process_) return;  // a forked child may have been made with the lock held
    const std::lock_guard lock(code.mutex_);
    code.isGone_ = true;
  }

  std::mutex mutex_;
  bool isGone_ = false;
  pid_t process_ = 0;  // that has set the handler; there is none before
};

/// Whether escapes make up much of a document, going by a sample. simdjson is good at much else,
/// but takes them one by one.
bool isFullOfEscapes(std::string_view data) {
  using JSONText::Block;
  constexpr std::size_t samples = 16;  // blocks
  const auto step = data.size() / samples;
  if (step < 16 * sizeof(Block)) return false;
  Block found{};
  for (std::size_t i = 0; i < samples; ++i) {
    Block block;
    std::memcpy(&block, data.data() + i * step, sizeof block);
    found += (block == '\\') & 1;
  }
  unsigned backslashes = 0;
  for (std::size_t i = 0; i < sizeof found; ++i) backslashes += found[i];
  return backslashes > samples * sizeof(Block) / 32;
}

/// Reads what is ordinary with the fast reader; whether it was.
template <class Make>
bool readOrdinary(std::string_view data, void* result, Make make) {
  // Not if empty, for simdjson would copy from a null pointer then.
  if (data.empty() || isFullOfEscapes(data)) return false;
  try {
    Borrowed<simdjson::dom::parser> parser;
    if (parser->capacity() == 0 && !ParserCode::give(*parser, data.size())) {
      parser.discard();
      return false;
    }
    element root;
    if (const auto failure = parser->parse(data.data(), data.size()).get(root)) {
      // A parser that memory ran out for would use what it lacks the next time.
      if (failure == simdjson::MEMALLOC) parser.discard();
      return false;
    }
    const OrdinaryReader reader;
    make(result, Decoder(reader, placeOf(root)));
    return true;
  } catch (const NotOrdinary&) {
    return false;  // whatever was made so far is gone; nothing has reached the result
  }
}

}  // namespace

std::optional<Error> JSONDecoder::read(std::string_view data, void* result, Make make) {
  if (readOrdinary(data, result, make)) return std::nullopt;
  try {
    const Borrowed<Tree> tree;
    *tree = parseJSON(data, std::move(*tree));
    const TreeReader reader(*tree);
    make(result, Decoder(reader, reader.root()));
    return std::nullopt;
  } catch (const DecodingFailure& failure) {
    return failure.error;
  }
}

}  // namespace PellixPlatform
