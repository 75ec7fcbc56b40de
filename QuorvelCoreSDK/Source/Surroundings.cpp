#include <QuorvelCoreSDK/internal/Surroundings.h>

#include <random>

namespace QuorvelCoreSDK {

double anyChance() {
  // Nobody must be kept from guessing it; it need only differ from one device to the next.
  const auto time = std::chrono::system_clock::now().time_since_epoch().count();
  thread_local std::minstd_rand generator(static_cast<std::minstd_rand::result_type>(time));
  return std::uniform_real_distribution()(generator);
}

}  // namespace QuorvelCoreSDK
