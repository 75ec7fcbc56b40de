#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

namespace Support {

/// A directory that goes with this object, with all that is in it.
class TemporaryDirectory {
 public:
  TemporaryDirectory()
      : path_(
            ::mkdtemp((std::filesystem::temp_directory_path() / "pellix-XXXXXX").string().data())) {
  }
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
  ~TemporaryDirectory() { std::filesystem::remove_all(path_); }

  [[nodiscard]] const std::filesystem::path& path() const { return path_; }

  void write(std::string_view name, std::string_view content) const {
    std::ofstream(path_ / name, std::ios::binary) << content;
  }

  [[nodiscard]] std::string read(std::string_view name) const {
    std::ifstream file(path_ / name, std::ios::binary);
    return {std::istreambuf_iterator(file), {}};
  }

 private:
  std::filesystem::path path_;
};

}  // namespace Support
