#pragma once

#include "EndToEnd/Clients.h"

#include <sys/types.h>

#include <optional>

namespace Benchmarks {

/// What it took to ask some questions.
struct Run {
  double seconds = 0;                // for all
  double cpuSeconds = 0;             // of all threads, for all
  double threads = 0;                // that the process has
  std::vector<double> microseconds;  // from each question to its answer
};

/// A client in a process of its own: its threads, its event loop and its heap are nobody else's,
/// and what processor time it takes is known.
class Contender {
 public:
  using Make = std::unique_ptr<Client> (*)(const Server& server);

  /// Starts the process. None but the first thread may have been started in this one.
  Contender(std::string name, Make make, const Server& server);
  Contender(const Contender&) = delete;
  Contender& operator=(const Contender&) = delete;
  ~Contender();

  [[nodiscard]] const std::string& name() const { return name_; }

  /// As `Client::ask`; nothing if the client's program has ended.
  [[nodiscard]] std::optional<Run> ask(std::size_t count, std::size_t inFlight) const;

 private:
  const std::string name_;
  int socket_ = -1;
  pid_t process_ = -1;
};

}  // namespace Benchmarks
