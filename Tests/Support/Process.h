#pragma once

#include <sys/types.h>

#include <map>
#include <set>
#include <string>
#include <vector>

namespace Support {

/// What a program that has ended leaves behind.
struct Outcome {
  int exitCode = -1;  ///< Minus the signal's number if a signal ended it.
  std::string output;
  std::string errors;
};

/// Runs a program to its end with an environment of just these variables, and `input` on standard
/// input. The first of `arguments` is the program's path, or its name as for the shell.
[[nodiscard]] Outcome runProcess(std::vector<std::string> arguments,
                                 const std::map<std::string, std::string>& environment = {},
                                 const std::string& input = {});

/// Waits until a process has ended; its exit code, or minus the signal's number.
int waitForProcess(pid_t process);

/// A program that goes on until it is told to end.
class BackgroundProcess {
 public:
  explicit BackgroundProcess(std::vector<std::string> arguments);
  BackgroundProcess(const BackgroundProcess&) = delete;
  BackgroundProcess& operator=(const BackgroundProcess&) = delete;
  /// Tells it to end, and waits until it has.
  ~BackgroundProcess();

  void signal(int signal) const;
  /// False if it has ended by itself.
  [[nodiscard]] bool isRunning();
  /// The processes that it has started.
  [[nodiscard]] std::set<pid_t> children() const;

 private:
  pid_t process_ = -1;
};

}  // namespace Support
