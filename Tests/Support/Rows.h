#pragma once

#include <fstream>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace Support {

/// Marks, and what each stands for.
using Values = std::map<std::string, std::string>;

/// A text with each mark replaced.
inline std::string filled(std::string text, const Values& values) {
  for (const auto& [mark, value] : values) {
    for (auto at = text.find(mark); at != text.npos; at = text.find(mark, at + value.size())) {
      text.replace(at, mark.size(), value);
    }
  }
  return text;
}

/// The rows of a data file below `Tests`: fields with tabs between, in which `⟨0A⟩` is the byte of
/// that number. Lines that are empty or begin with '#' are no rows.
inline std::vector<std::vector<std::string>> rowsOf(const std::string& file,
                                                    const Values& values = {}) {
  constexpr std::string_view open = "⟨";
  constexpr std::string_view byte = "⟨0A⟩";
  std::vector<std::vector<std::string>> rows;
  std::ifstream lines(TESTS_SOURCE_DIR "/" + file);
  for (std::string line; std::getline(lines, line);) {
    if (line.empty() || line.starts_with('#')) continue;
    auto& row = rows.emplace_back(1);
    for (std::size_t at = 0; at < line.size(); ++at) {
      if (line[at] == '\t') {
        row.emplace_back();
      } else if (line.compare(at, open.size(), open) == 0) {
        row.back() += static_cast<char>(std::stoi(line.substr(at + open.size(), 2), nullptr, 16));
        at += byte.size() - 1;
      } else {
        row.back() += line[at];
      }
    }
    for (auto& field : row) field = filled(std::move(field), values);
  }
  if (rows.empty()) throw std::runtime_error("There are no rows in " + file);
  return rows;
}

}  // namespace Support
