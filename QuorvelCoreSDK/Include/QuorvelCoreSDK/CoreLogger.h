#pragma once

#include <PellixPlatform/Export.h>

#include <cstdint>
#include <functional>
#include <string_view>

namespace QuorvelCoreSDK {

/// How grave a log line is; `off` is for the threshold alone.
enum class LogLevel : std::uint8_t { debug, info, warn, error, off };

/// `debug`, `info`, `warn`, `error` or `off`.
[[nodiscard]] PELLIX_EXPORT std::string_view nameOf(LogLevel level);

/// The log of all the family's libraries. Lines never hold a token or a body.
///
/// By default, warnings and errors go to standard error. A host sets the threshold and the sink.
/// Thread safety: any thread; a line already on its way may still reach the earlier sink.
class PELLIX_EXPORT CoreLogger {
 public:
  /// Called on the thread that logs, possibly on several at once; borrows the line. It must not
  /// throw. It may itself log or call the libraries: what is logged on a thread that is within its
  /// sink goes to standard error, warnings and up.
  using Sink = std::function<void(LogLevel level, std::string_view line)>;

  [[gnu::cold]] static void error(std::string_view line);
  [[gnu::cold]] static void warn(std::string_view line);
  static void info(std::string_view line);
  static void debug(std::string_view line);

  /// Lines below `level` are dropped.
  static void setLevel(LogLevel level);

  /// An empty sink brings back the default one. The earlier one is let go of before this returns,
  /// unless a line is on its way to it.
  static void setSink(Sink sink);
};

}  // namespace QuorvelCoreSDK
