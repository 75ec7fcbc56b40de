#include "Articles.h"

#include "PlainText.h"
#include "Printable.h"

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
    fmt::print("{}. {} {}\n", ++rank, terminal.bold(oneLine(article->title())),
               terminal.faint(fmt::format("(score {:.2f})", article->score())));
    fmt::print("{}", terminal.fit(oneLine(plainText(article->snippet())), "   "));
    fmt::print("   {}\n", terminal.faint(oneLine(article->htmlURL())));
  }
}

void showArticle(const DeflectionArticle& article, const Terminal& terminal) {
  fmt::print("\n{}\n{}{}\n\n", terminal.bold(oneLine(article.title())),
             terminal.fit(plainText(article.body())), terminal.faint(oneLine(article.htmlURL())));
}

}  // namespace PellixApp
