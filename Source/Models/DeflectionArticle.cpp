#include <PellixProvidersSDK/DeflectionArticle.h>

#include <utility>

namespace PellixProvidersSDK {

using PellixPlatform::Key;

namespace {

using Fields = DeflectionArticle::Fields;

constexpr std::tuple keys{
    Key{"id", &Fields::id},
    Key{"title", &Fields::title},
    Key{"html_url", &Fields::htmlURL},
    Key{"url", &Fields::url},
    Key{"label_names", &Fields::labelNames},
    Key{"body", &Fields::body},
    Key{"article_id", &Fields::articleId},
    Key{"locale", &Fields::locale},
    Key{"brand_id", &Fields::brandId},
    Key{"score", &Fields::score},
    Key{"snippet", &Fields::snippet},
};

}  // namespace

DeflectionArticle::DeflectionArticle(Fields fields) : fields_(std::move(fields)) {}
DeflectionArticle::DeflectionArticle(const PellixPlatform::Decoder& decoder)
    : fields_(decoder.decode(keys)) {}
DeflectionArticle::~DeflectionArticle() = default;

void DeflectionArticle::encode(PellixPlatform::Encoder& encoder) const {
  encoder.encode(fields_, keys);
}

bool DeflectionArticle::isEqual(const PellixPlatform::Object* other) const {
  const auto* that = dynamic_cast<const DeflectionArticle*>(other);
  return that && PellixPlatform::sameFields(fields_, that->fields_, keys);
}

}  // namespace PellixProvidersSDK
