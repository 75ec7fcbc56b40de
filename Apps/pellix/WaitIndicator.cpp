#include "WaitIndicator.h"

#include "Terminal.h"

#include <fmt/core.h>

#include <string_view>

namespace PellixApp {
namespace {

constexpr std::string_view text = "Asking... (Ctrl-C ends)";

}  // namespace

void WaitIndicator::show() {
  if (!Terminal::look().hasErrors) return;
  fmt::print(stderr, "{}", text);
  isShown_ = true;
}

WaitIndicator::~WaitIndicator() {
  if (isShown_) fmt::print(stderr, "\r{:{}}\r", "", text.size());
}

}  // namespace PellixApp
