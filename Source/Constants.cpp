#include "Constants.h"

#include <type_traits>

namespace PellixProvidersSDK {

static_assert(std::is_empty_v<Constants>);

}  // namespace PellixProvidersSDK
