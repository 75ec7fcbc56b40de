#pragma once

#include <PellixProvidersSDK/DeflectionResponse.h>

namespace PellixApp {

/// Lists the articles of a response on standard output, best first, for people.
void listArticles(const PellixProvidersSDK::DeflectionResponse& response);

}  // namespace PellixApp
