#pragma once

#include <map>
#include <string>
#include <vector>

namespace Support {

/// A program on a terminal of its own.
class PseudoTerminal {
 public:
  PseudoTerminal(const std::vector<std::string>& arguments,
                 const std::map<std::string, std::string>& environment,
                 unsigned short columns = 80);
  PseudoTerminal(const PseudoTerminal&) = delete;
  PseudoTerminal& operator=(const PseudoTerminal&) = delete;
  ~PseudoTerminal();

  /// Reads what the program shows until `text` has come, and returns all since the last call.
  /// Throws if it does not come.
  std::string readUntil(const std::string& text);

  /// Types on the keyboard: "\n" is Enter, "\x03" is Ctrl-C.
  void type(const std::string& keys);

  /// Reads to the end; the exit code, or minus the signal's number.
  int wait();

  /// All that was shown, so far.
  [[nodiscard]] const std::string& screen() const { return screen_; }

 private:
  bool readSome();

  int terminal_ = -1;
  int child_ = -1;
  std::string screen_;
  std::size_t seen_ = 0;
};

}  // namespace Support
