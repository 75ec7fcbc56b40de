#pragma once

#include <simdjson.h>
#include <unistd.h>

#include <cstdlib>
#include <mutex>
#include <new>

namespace PellixPlatform {

/// What a parser's code for this machine comes from. simdjson makes it at its first use and
/// destroys it when the process ends, while other threads may still decode: by then nobody may come
/// here any more. A parser that has its code once does not need it again.
class ParserCode {
 public:
  /// Gives `parser` its code, and memory for a document of so many bytes; false if the process ends
  /// or memory is missing.
  static bool give(simdjson::dom::parser& parser, std::size_t bytes) {
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
    code.isGone_ = std::atexit(goAtExit) != 0;  // nobody else comes here if it will not be called
    return isGiven;
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

}  // namespace PellixPlatform
