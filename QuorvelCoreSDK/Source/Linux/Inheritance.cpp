#include "../Inheritance.h"

#include <fcntl.h>
#include <linux/sockios.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <filesystem>
#include <set>
#include <string>
#include <system_error>

namespace QuorvelCoreSDK {
namespace {

/// The stream sockets of this machine on which data waits, on either end.
std::set<int> busySockets() {
  std::set<int> busy;
  std::error_code none;  // without this directory, nothing is found
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd", none)) {
    const int descriptor = std::stoi(entry.path().filename().string());
    int domain = AF_UNSPEC;  // which it stays for what is no socket
    socklen_t size = sizeof domain;
    ::getsockopt(descriptor, SOL_SOCKET, SO_DOMAIN, &domain, &size);
    if (domain != AF_UNIX) continue;
    int received = 0;
    int sent = 0;
    ::ioctl(descriptor, SIOCINQ, &received);
    ::ioctl(descriptor, SIOCOUTQ, &sent);
    if (received > 0 || sent > 0) busy.insert(descriptor);
  }
  return busy;
}

}  // namespace

void keepFromChildren(CURLM* multi) {
  const auto before = busySockets();
  curl_multi_wakeup(multi);
  for (const int descriptor : busySockets()) {
    if (!before.contains(descriptor)) ::fcntl(descriptor, F_SETFD, FD_CLOEXEC);
  }
}

}  // namespace QuorvelCoreSDK
