#include <PellixProvidersSDK/QVLPellix.h>
