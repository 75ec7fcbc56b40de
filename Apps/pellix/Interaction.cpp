#include "Interaction.h"

#include <PellixPlatform/JSONDecoder.h>
#include <PellixPlatform/internal/File.h>

#include <fmt/core.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <system_error>

namespace PellixApp {

using PellixProvidersSDK::DeflectionResponse;

/// The stream as it is given. Opened anew by a name, a file would start from its beginning again,
/// and a socket can't be opened.
static std::expected<PellixPlatform::Data, PellixPlatform::Error> readStandardInput() {
  PellixPlatform::Data data;
  char piece[16384];
  while (const auto count = std::fread(piece, 1, sizeof piece, stdin)) data.append(piece, count);
  const int code = errno;
  if (std::ferror(stdin) == 0) return data;
  return std::unexpected(PellixPlatform::Error::described(
      PellixPlatform::FileErrorDomain, code,
      fmt::format("Standard input can't be read: {}.", std::generic_category().message(code))));
}

std::expected<Interaction, std::string> readInteraction(const Options& options) {
  const auto& file = options.interactionFile;
  const auto data = file == "-" ? readStandardInput() : PellixPlatform::readFile(file);
  if (!data) return std::unexpected(data.error().localizedDescription());
  const auto response = PellixPlatform::JSONDecoder().decode<DeflectionResponse>(*data);
  if (!response) {
    return std::unexpected("The interaction is not what 'pellix ask --json' writes. " +
                           response.error().localizedDescription());
  }
  const auto& articles = (*response)->deflectionArticles();
  if (options.articleId) {
    const auto found = std::ranges::find(articles, *options.articleId,
                                         [](const auto& a) { return a->articleId(); });
    if (found != articles.end()) return Interaction{*response, *found};
    return std::unexpected(
        fmt::format("The interaction has no article with the identifier {}.", *options.articleId));
  }
  const auto rank = options.articleRank.value_or(0);
  if (1 <= rank && rank <= articles.size()) return Interaction{*response, articles[rank - 1]};
  return std::unexpected(fmt::format("The interaction has {} articles; there is no article {}.",
                                     articles.size(), rank));
}

}  // namespace PellixApp
