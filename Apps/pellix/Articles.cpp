#include "Articles.h"

#include "PlainText.h"

#include <fmt/core.h>

namespace PellixApp {

void listArticles(const PellixProvidersSDK::DeflectionResponse& response) {
  if (response.deflectionArticles().empty()) {
    fmt::print("No article answers this question.\n");
    return;
  }
  int rank = 0;
  for (const auto& article : response.deflectionArticles()) {
    fmt::print("{}. {} (score {:.2f})\n", ++rank, harmless(article->title()), article->score());
    if (const auto snippet = plainLine(article->snippet()); !snippet.empty()) {
      fmt::print("   {}\n", snippet);
    }
    fmt::print("   {}\n", harmless(article->htmlURL()));
  }
}

}  // namespace PellixApp
