#include <PellixPlatform/internal/Bridge/ErrorObject.h>

#include <utility>

namespace PellixPlatform::Bridge {

ErrorObject::ErrorObject(Error error)
    : error_(std::move(error)), localizedDescription_(error_.localizedDescription()) {}

ErrorObject::~ErrorObject() = default;

}  // namespace PellixPlatform::Bridge
