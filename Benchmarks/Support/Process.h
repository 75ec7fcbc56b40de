#pragma once

#include <string_view>

namespace Benchmarks {

/// A number that the kernel keeps of this process, by its name with the colon, as "VmRSS:" (in
/// KiB).
[[nodiscard]] double processStatus(std::string_view name);

}  // namespace Benchmarks
