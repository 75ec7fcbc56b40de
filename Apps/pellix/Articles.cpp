#include "Articles.h"

#include "PlainText.h"

#include <fmt/core.h>

namespace PellixApp {

using PellixProvidersSDK::DeflectionArticle;
using PellixProvidersSDK::DeflectionResponse;

void listArticles(const DeflectionResponse& response, const Terminal& terminal) {
  if (response.deflectionArticles().empty()) {
    fmt::print("No article answers this question.\n");
    return;
  }
  int rank = 0;
  for (const auto& article : response.deflectionArticles()) {
    fmt::print("{}. {} {}\n", ++rank, terminal.bold(printable(article->title())),
               terminal.faint(fmt::format("(score {:.2f})", article->score())));
    fmt::print("{}", terminal.fit(plainLine(article->snippet()), "   "));
    fmt::print("   {}\n", terminal.faint(printable(article->htmlURL())));
  }
}

void showArticle(const DeflectionArticle& article, const Terminal& terminal) {
  fmt::print("\n{}\n{}{}\n\n", terminal.bold(printable(article.title())),
             terminal.fit(plainText(article.body()), ""),
             terminal.faint(printable(article.htmlURL())));
}

}  // namespace PellixApp
