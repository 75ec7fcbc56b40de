#pragma once

#include "Terminal.h"

#include <PellixProvidersSDK/DeflectionResponse.h>

namespace PellixApp {

/// Lists the articles of a response on standard output, best first.
void listArticles(const PellixProvidersSDK::DeflectionResponse& response, const Terminal& terminal);

/// Shows all of an article's text.
void showArticle(const PellixProvidersSDK::DeflectionArticle& article, const Terminal& terminal);

}  // namespace PellixApp
