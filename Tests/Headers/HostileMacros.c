#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#include "HostileMacros.h"

#include <PellixProvidersSDK/QVLPellix.h>
