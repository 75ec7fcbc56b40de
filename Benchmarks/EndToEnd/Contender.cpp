#include "EndToEnd/Contender.h"

#include "Support/Rounds.h"

#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <utility>

namespace Benchmarks {
namespace {

struct Order {
  std::size_t count;
  std::size_t inFlight;
};

double processorSeconds() {
  timespec time{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

/// Does what it is told until nobody is there to tell.
[[noreturn]] void obey(Client& client, int socket) {
  Order order{};
  while (recv(socket, &order, sizeof order, 0) == sizeof order) {
    const auto begin = std::chrono::steady_clock::now();
    const double before = processorSeconds();
    auto numbers = client.ask(order.count, order.inFlight);
    numbers.push_back(
        std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count());
    numbers.push_back(processorSeconds() - before);
    numbers.push_back(processStatus("Threads:"));
    send(socket, numbers.data(), numbers.size() * sizeof(double), MSG_NOSIGNAL);
  }
  std::_Exit(0);
}

double takeLast(std::vector<double>& numbers) {
  const double last = numbers.back();
  numbers.pop_back();
  return last;
}

}  // namespace

Contender::Contender(std::string name, Make make, const Server& server) : name_(std::move(name)) {
  int ends[2];
  // Each order and each answer is one packet.
  if (socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends) != 0) std::abort();
  process_ = fork();
  if (process_ < 0) std::abort();
  if (process_ == 0) {
    close(ends[0]);
    obey(*make(server), ends[1]);
  }
  close(ends[1]);
  socket_ = ends[0];
}

Contender::~Contender() {
  // Its end of the connection is held by those that were started later too.
  kill(process_, SIGKILL);
  waitpid(process_, nullptr, 0);
  close(socket_);
}

std::optional<Run> Contender::ask(std::size_t count, std::size_t inFlight) const {
  const Order order{count, inFlight};
  std::vector<double> numbers(count + 3);
  const auto bytes = numbers.size() * sizeof(double);
  if (send(socket_, &order, sizeof order, MSG_NOSIGNAL) != sizeof order ||
      recv(socket_, numbers.data(), bytes, 0) != static_cast<ssize_t>(bytes)) {
    return std::nullopt;
  }
  Run run;
  run.threads = takeLast(numbers);
  run.cpuSeconds = takeLast(numbers);
  run.seconds = takeLast(numbers);
  run.microseconds = std::move(numbers);
  return run;
}

}  // namespace Benchmarks
