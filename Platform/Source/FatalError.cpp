#include <PellixPlatform/internal/FatalError.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace PellixPlatform {

void fatalError(std::string_view report) {
  std::fwrite(report.data(), 1, report.size(), stderr);
  std::fputc('\n', stderr);
  std::abort();
}

void fatalUnimplementedInitializer(std::string_view className, std::string_view initializer) {
  fatalError("Fatal error: Use of unimplemented initializer '" + std::string(initializer) +
             "' for class '" + std::string(className) + "'");
}

}  // namespace PellixPlatform
