// clang-format off: the order is what is tested. The standard headers are not ours to defend.
#include <algorithm>
#include <chrono>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <expected>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include "HostileMacros.h"

class Platform {};  // a name that hosts are likely to have

#include <PublicHeaders.h>
