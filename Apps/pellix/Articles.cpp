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
    const auto title =
        fmt::format("{} (score {:.2f})", oneLine(article->title()), article->score());
    fmt::print("{}", terminal.bold(terminal.fitBehind(fmt::format("{}. ", ++rank), title)));
    fmt::print("{}", terminal.fit(oneLine(plainText(article->snippet())), "   "));
    fmt::print("   {}\n", terminal.faint(printableURL(article->htmlURL())));
  }
}

void showArticle(const DeflectionArticle& article, const Terminal& terminal) {
  fmt::print("\n{}{}{}\n\n", terminal.bold(terminal.fit(oneLine(article.title()))),
             terminal.fit(plainText(article.body())),
             terminal.faint(printableURL(article.htmlURL())));
}

}  // namespace PellixApp
