#pragma once

#include <string>

namespace PellixTests {

/// An article with nothing but ordinary values.
inline std::string articleJSON(const std::string& id = "11") {
  // Appended and not added: gcc 12 warns falsely of additions that it inlines.
  return std::string(R"({"id":)")
      .append(id)
      .append(R"(,"title":"Resetting","html_url":"https://acme.example/a/11",)"
              R"("url":"https://acme.example/api/a/11","label_names":["account","login"],)"
              R"("body":"<p>Reset</p>","article_id":4711,"locale":"en-us","brand_id":3,)"
              R"("score":0.75,"snippet":"<em>Reset</em>"})");
}

/// A response with two articles.
inline std::string responseJSON() {
  return R"({"deflection":{"id":7,"auth_token":"hidden"},"deflection_articles":[)" +
         articleJSON("11") + "," + articleJSON("-12") + R"(],"interaction_access_token":"token"})";
}

}  // namespace PellixTests
