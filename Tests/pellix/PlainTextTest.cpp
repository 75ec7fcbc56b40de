#include "PlainText.h"
#include "Printable.h"

#include <gtest/gtest.h>

namespace {

using Rows = std::vector<std::pair<std::string, std::string>>;

TEST(PlainText, MakesHTMLReadable) {
  const Rows rows{
      {"", ""},
      {"plain  words\n only", "plain words only"},
      {"<h1>Title</h1><p>One <em>two</em>.</p><P>Three", "Title\nOne two.\nThree"},
      {"<ul><li>a<li>b</ul><ol><li>c<ul><li>d</ul><li>e</ol>", "- a\n- b\n1. c\n- d\n2. e"},
      {"<ol start=7><li>a<li value='9'>b<li>c</ol></ol><li>d", "7. a\n9. b\n10. c\n- d"},
      {"a<br/>b<!-- <p>> -->c<!doctype>d</ >e", "a\nbcde"},
      {"<a id=x href='https://x/?a&amp;b'>y</a>, <a href=\"#top\">up</a>",
       "y <https://x/?a&b>, up"},
      {"<script>if (a </b) </script >a<STYLE>b{}</style>", "a"},
      {"&lt; &amp; 3&nbsp;4 &#x1F600; &auml; &no; & &#xD800;", "< & 3\u00A04 😀 ä &no; & \uFFFD"},
      {"1 < 2 <3 <p title='>'>open <b>and <i>unclosed<a href=\"", "1 < 2 <3\nopen and unclosed"},
      {"a\x1b[31mb&#27;[0m&#x202E;", "a[31mb[0m"},
  };
  for (const auto& [html, text] : rows) EXPECT_EQ(PellixApp::plainText(html), text) << html;
}

TEST(PlainText, TakesNoMoreTimeThanItsSize) {
  for (const char* piece : {"<b><i>", "<a ", " a='1'", "<!--", "<ol>", "<script>", "</", "<p \""}) {
    std::string html = "<p";
    while (html.size() < 300'000) html += piece;
    static_cast<void>(PellixApp::plainText(html));
  }
}

TEST(Printable, CanNeitherSteerNorForgeNorHide) {
  const Rows rows{
      {"a\x07\x1b]0;t\x7f\xC2\x9B\u00E4\n", "a]0;t\u00E4\n"},
      {"a\r\nb\vc\fd\u0085e\u2028f\u2029g\th", "a\nb\nc\nd\ne\nf\ng h"},
      {"\u202Aa\u202Eb\u2066c\u2069d\u200Ee\u200Ff\u061Cg", "abcdefg"},
      {"pay\u200B\u200C\u200D\u2060\uFEFF\u00AD\u3164pal\U000E0041", "paypal"},
      {"\u0645\u200C\u0646 \u2764\uFE0F \u2764\u200Dx",
       "\u0645\u200C\u0646 \u2764\uFE0F \u2764\u200Dx"},
      {"a\xFFz\xE2\x80", "a?z??"},
  };
  for (const auto& [text, shown] : rows) EXPECT_EQ(PellixApp::printable(text), shown) << text;
  EXPECT_EQ(PellixApp::oneLine("a\r\nb"), "a b");
  EXPECT_EQ(PellixApp::printableURL("https://x/\u202E y\n2."), "https://x/%E2%80%AE%20y%0A2.");
  EXPECT_EQ(PellixApp::printableJSON("\"\\n\u009B\u2028\U000E0041\u00E4\""),
            "\"\\n\\u009b\\u2028\\udb40\\udc41\u00E4\"");
}

}  // namespace
