#include "PlainText.h"
#include "Printable.h"
#include "Support/Rows.h"

#include <gtest/gtest.h>

namespace {

TEST(PlainText, MakesHTMLReadable) {
  EXPECT_EQ(PellixApp::plainText(""), "");
  for (const auto& row : Support::rowsOf("pellix/Data/HTML.txt")) {
    EXPECT_EQ(PellixApp::plainText(row[0]), row[1]) << row[0];
  }
}

TEST(PlainText, TakesNoMoreTimeThanItsSize) {
  for (const char* piece : {"<b><i>", "<a ", " a='1'", "<!--", "<ol>", "<script>", "</", "<p \""}) {
    std::string html = "<p";
    while (html.size() < 300'000) html += piece;
    static_cast<void>(PellixApp::plainText(html));
  }
}

TEST(Printable, CanNeitherSteerNorForgeNorHide) {
  for (const auto& row : Support::rowsOf("pellix/Data/Printable.txt")) {
    EXPECT_EQ(PellixApp::printable(row[0]), row[1]) << row[0];
  }
  EXPECT_EQ(PellixApp::oneLine("a\r\nb"), "a b");
  EXPECT_EQ(PellixApp::printableURL("https://x/\u202E y\n2."), "https://x/%E2%80%AE%20y%0A2.");
  EXPECT_EQ(PellixApp::printableJSON("\"\\n\u009B\u2028\U000E0041\u00E4\""),
            "\"\\n\\u009b\\u2028\\udb40\\udc41\u00E4\"");
}

}  // namespace
