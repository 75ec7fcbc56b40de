#pragma once

#include <string>

namespace AnswerService {

/// 32 hexadecimal digits that nobody can guess.
std::string randomToken();

}  // namespace AnswerService
