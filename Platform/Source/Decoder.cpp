#include <PellixPlatform/Decoder.h>

namespace PellixPlatform {

std::string Decoder::codingPath() const {
  if (!parent_) return {};
  std::string path = parent_->codingPath();
  if (!key_.data()) return path + "[" + std::to_string(index_) + "]";
  if (!path.empty()) path += '.';
  return path += key_;
}

}  // namespace PellixPlatform
