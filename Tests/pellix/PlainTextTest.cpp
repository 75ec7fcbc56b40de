#include "PlainText.h"

#include <gtest/gtest.h>

namespace {

using PellixApp::plainLine;
using PellixApp::plainText;
using PellixApp::printable;

TEST(PlainText, MakesHTMLReadable) {
  struct Row {
    std::string html;
    std::string text;
  };
  const std::vector<Row> rows{
      {"", ""},
      {"plain  words\n only", "plain words only"},
      {"<h1>Title</h1><p>One <em>two</em>.</p><p>Three</p>", "Title\nOne two.\nThree"},
      {"<ul><li>a</li><li>b</li></ul>", "- a\n- b"},
      {"a<br>b", "a\nb"},
      {"<a href=\"https://x.example/\">here</a>, <a href=\"#top\">up</a>",
       "here <https://x.example/>, up"},
      {"<script>alert(1)</script>a<style>b{}</style>", "a"},
      {"1 &lt; 2 &amp; 3&nbsp;4 &#x1F600;", "1 < 2 & 3\u00A04 \U0001F600"},
      {"<p>open <b>and <i>unclosed", "open and unclosed"},
      {"パスワード", "パスワード"},
      {"a\x1b[31mb&#27;[0m", "a[31mb[0m"},
  };
  for (const auto& row : rows) EXPECT_EQ(plainText(row.html), row.text) << row.html;
}

TEST(PlainText, FitsOnALine) {
  EXPECT_EQ(plainLine("<p>a</p><p>b</p>"), "a b");
}

TEST(PlainText, SurvivesDepth) {
  std::string html;
  for (int depth = 0; depth < 100'000; ++depth) html += "<b><i>";
  EXPECT_NO_FATAL_FAILURE(static_cast<void>(plainText(html)));
}

TEST(PlainText, TakesTerminalControlsOut) {
  EXPECT_EQ(printable("a\x07\x1b]0;t\x7f\xC2\x9B"
                      "b\u00E4\n"),
            "a]0;tb\u00E4\n");
}

}  // namespace
