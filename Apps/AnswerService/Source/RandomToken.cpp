#include "RandomToken.h"

#include <fmt/format.h>
#include <openssl/rand.h>

#include <array>
#include <stdexcept>

namespace AnswerService {

std::string randomToken() {
  std::array<unsigned char, 16> bytes{};
  if (RAND_bytes(bytes.data(), static_cast<int>(bytes.size())) != 1) {
    throw std::runtime_error("The system gave no random bytes.");
  }
  return fmt::format("{:02x}", fmt::join(bytes, ""));
}

}  // namespace AnswerService
