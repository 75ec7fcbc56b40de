// The fast reader and the authoritative one, held against each other and against another parser.

#include "JSONParser.h"
#include "JSONText.h"
#include "Platform/Records.h"
#include "Support/Rows.h"
#include "TreeReader.h"

#include <PellixPlatform/JSONDecoder.h>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <bit>
#include <cstdlib>
#include <random>

namespace PlatformTests {
namespace {

using Result = std::expected<std::shared_ptr<const Sample>, PellixPlatform::Error>;

Result authoritative(std::string_view json) {
  try {
    const auto tree = PellixPlatform::parseJSON(json);
    const PellixPlatform::TreeReader reader(tree);
    return std::make_shared<const Sample>(PellixPlatform::Decoder(reader, reader.root()));
  } catch (const PellixPlatform::DecodingFailure& failure) {
    return std::unexpected(failure.error);
  }
}

bool same(const Result& a, const Result& b) {
  if (!a || !b) return !a && !b && a.error() == b.error();
  return (*a)->isEqual(b->get());
}

/// Changes a document a little: bytes replaced, removed, doubled, or parts of it put elsewhere.
void mutate(std::string& json, std::mt19937& random) {
  static const auto pieces = Support::rowsOf("Platform/Data/Pieces.txt").front();
  // Not by a distribution: those differ between standard libraries.
  const auto below = [&](std::size_t limit) { return random() % limit; };
  for (auto changes = 1 + below(2); changes > 0; --changes) {
    const auto at = below(json.size() + 1);
    const auto length = std::min(json.size() - at, below(4));
    switch (below(4)) {
      case 0:
        json.replace(at, length, pieces[below(pieces.size())]);
        break;
      case 1:
        json.insert(at, pieces[below(pieces.size())]);
        break;
      case 2:
        json.erase(at, length);
        break;
      default:
        json.insert(at, json.substr(below(json.size() + 1), below(12)));
    }
  }
}

TEST(Readers, AgreeOnMutatedDocuments) {
  const auto corpus = Support::rowsOf("Platform/Data/Corpus.txt");
  const auto hasHugeNumber = testing::ContainsRegex("[eE][+]?[0-9]{3}|[0-9]{300}");
  std::mt19937 random(20'240'501);
  int accepted = 0;
  int wellFormed = 0;
  for (int round = 0; round < 200'000; ++round) {
    std::string json = corpus[static_cast<std::size_t>(round) % corpus.size()].front();
    mutate(json, random);
    const auto expected = authoritative(json);
    ASSERT_TRUE(same(PellixPlatform::JSONDecoder().decode<Sample>(json), expected)) << json;

    // Numbers beyond a double are no errors here.
    const bool isAccepted = expected || !summary(expected.error()).starts_with("5; ");
    if (isAccepted != nlohmann::json::accept(json)) {
      ASSERT_TRUE(isAccepted && testing::Value(json, hasHugeNumber)) << json;
    }
    accepted += expected.has_value();
    wellFormed += isAccepted;
  }
  // The mutations are of use only while they leave some of each sort.
  EXPECT_GT(accepted, 10'000);
  EXPECT_GT(wellFormed - accepted, 10'000);
  EXPECT_LT(wellFormed, 150'000);
}

TEST(Readers, TheAuthoritativeOneReadsRunsOfEscapes) {
  // Each stands at each place of a run that would be read four at a time without it.
  const auto pieces = Support::rowsOf("Platform/Data/Escapes.txt").front();
  for (const auto& piece : pieces) {
    for (int before = 0; before < 12; ++before) {
      std::string json = "\"";
      for (int i = 0; i < 9; ++i) {
        json += i == before % 6 ? piece : before < 6 ? "\\u3042" : "\\u9bd5";
      }
      json += '"';
      const auto expected = nlohmann::json::parse(json, nullptr, false);
      try {
        const auto tree = PellixPlatform::parseJSON(json);
        EXPECT_EQ(tree.textOf(tree.nodes.front()), expected.get<std::string>()) << json;
      } catch (const PellixPlatform::DecodingFailure&) {
        EXPECT_TRUE(expected.is_discarded()) << json;
      }
    }
  }
}

TEST(Readers, TheAuthoritativeOneReadsFourEscapesAtOnce) {
  for (const std::string digits : {"0800", "19bd", "A6CE", "fedc", "FFFF"}) {
    std::string text;
    for (int i = 0; i < 4; ++i) text += "\\u" + digits;
    char read[32];
    PellixPlatform::JSONText::Cursor cursor{text.data(), text.data() + text.size(), read, {}};
    PellixPlatform::JSONText::readRunOfEscapes(cursor);
    EXPECT_EQ(cursor.from == cursor.end, std::endian::native == std::endian::little) << digits;
  }
}

/// Keeps where it was decoded from.
struct Root {
  explicit Root(const PellixPlatform::Decoder& decoder) : index(decoder.cursor().index) {
    static_cast<void>(decoder.read<std::int64_t>("v"));
  }
  std::size_t index;
};

/// Decodes a document while its own is being decoded, as other threads may.
struct Around {
  explicit Around(const PellixPlatform::Decoder&)
      : inner(PellixPlatform::JSONDecoder().decode<Root>(document)) {}
  static inline std::string_view document;
  decltype(PellixPlatform::JSONDecoder().decode<Root>("")) inner;
};

/// Whether a document is read by the fast reader.
bool isReadFast(std::string_view json) {
  const PellixPlatform::Tree tree;
  Around::document = json;
  const auto root = PellixPlatform::JSONDecoder().decode<Around>("{}")->inner;
  return root.value().index != PellixPlatform::TreeReader(tree).root().index;
}

TEST(Readers, TheFastOneReadsWhatIsOrdinary) {
  for (const auto& row : Support::rowsOf("Platform/Data/Ordinary.txt")) {
    EXPECT_EQ(isReadFast(row[0]), row[1] == "yes") << row[0];
  }
}

TEST(Readers, TheFastOneDoesNotReadWhatIsFullOfEscapes) {
  // Of sixteen samples, so many have a backslash at their first or last byte, the rest behind them.
  const auto isFast = [](std::size_t size, std::size_t escapes) {
    std::string json = R"({"v":0,"w":")";
    json.resize(size - 2, ' ');
    json += "\"}";
    for (std::size_t i = 0; i < 16; ++i) {
      const bool isSeen = i + 1 < escapes || i == 15;
      json.replace(i * 256 + (!isSeen ? 16 : i % 2 == 0 ? 15 : 0), 2, "\\n");
    }
    return isReadFast(json);
  };
  EXPECT_TRUE(isFast(4096, 8));
  EXPECT_FALSE(isFast(4096, 9));
  EXPECT_TRUE(isFast(4095, 16));
}

TEST(Readers, TheFastOneIsNotBegunWithWhenTheProcessEnds) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");  // where none has been used
  const auto end = [] {
    std::atexit([] { std::_Exit(isReadFast(R"({"v":1})") ? 1 : 7); });
    std::exit(isReadFast(R"({"v":1})") ? 2 : 3);
  };
  EXPECT_EXIT(end(), testing::ExitedWithCode(7), "");
}

}  // namespace
}  // namespace PlatformTests
