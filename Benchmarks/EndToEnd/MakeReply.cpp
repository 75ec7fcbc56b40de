// Prints the reply that the server of the end-to-end benchmark is to give.

#include "Support/Replies.h"

#include <cstdio>

int main() {
  std::fputs(Benchmarks::makeReply({.bodyBytes = 1}).c_str(), stdout);
}
