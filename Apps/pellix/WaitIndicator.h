#pragma once

namespace PellixApp {

/// A line on the terminal that says that the program waits; gone with this object.
class WaitIndicator {
 public:
  WaitIndicator() = default;
  WaitIndicator(const WaitIndicator&) = delete;
  WaitIndicator& operator=(const WaitIndicator&) = delete;
  ~WaitIndicator();

  /// Does nothing unless standard error is a terminal.
  void show();

 private:
  bool isShown_ = false;
};

}  // namespace PellixApp
