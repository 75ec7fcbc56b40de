#include <PellixPlatform/internal/File.h>

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace PellixPlatform {

const char FileErrorDomain[] = "Platform.FileError";

namespace {

class Descriptor {
 public:
  explicit Descriptor(const std::filesystem::path& path)
      : number_(::open(path.c_str(), O_RDONLY | O_CLOEXEC)) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() {
    if (number_ >= 0) ::close(number_);
  }
  [[nodiscard]] int number() const { return number_; }

 private:
  int number_;
};

std::unexpected<Error> failure(const std::filesystem::path& path, int code) {
  return std::unexpected(
      Error::described(FileErrorDomain, code,
                       "The file \"" + path.filename().string() +
                           "\" can't be read: " + std::generic_category().message(code) + "."));
}

}  // namespace

std::expected<Data, Error> readFile(const std::filesystem::path& path) {
  const Descriptor file(path);
  if (file.number() < 0) return failure(path, errno);
  Data data;
  char piece[16384];
  while (true) {
    const auto count = ::read(file.number(), piece, sizeof piece);
    if (count > 0) {
      data.append(piece, static_cast<std::size_t>(count));
    } else if (count == 0) {
      return data;
    } else if (errno != EINTR) {
      return failure(path, errno);
    }
  }
}

}  // namespace PellixPlatform
