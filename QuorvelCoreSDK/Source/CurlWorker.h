#pragma once

#include "CurlTransfer.h"

#include <atomic>
#include <list>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

namespace QuorvelCoreSDK {

/// The one thread that runs every transfer of the process.
///
/// It starts when it is first needed and is stopped by an exit handler, which cleans up nothing and
/// runs no code of the host: whatever was under way simply does not end. The object itself is never
/// destroyed, so any order of teardown is safe.
///
/// When memory runs out on the thread, it ends what it is missing for, silently, and nothing else:
/// going from one list to another takes none.
class CurlWorker {
 public:
  /// Made by the first call that can make it. Errors: `std::system_error` while the system has no
  /// descriptors for it.
  [[nodiscard]] static CurlWorker& shared();

  void add(std::unique_ptr<CurlTransfer> transfer);
  void post(std::function<void()> task);

 private:
  struct Free {
    void operator()(CURL* easy) const { curl_easy_cleanup(easy); }
  };
  using Easy = std::unique_ptr<CURL, Free>;

  CurlWorker();
  static void stopAtExit();

  template <class Item>
  void enqueue(std::list<Item>& queue, Item item);
  void startThread();
  void run();
  /// Whether there is something to do. If not, the thread says that it is going to wait.
  [[nodiscard]] bool hasWork();
  void startWaiting();
  /// What is on its way to one server. What waits here waits for libcurl to have a connection for
  /// it: libcurl's own queue now and then forgets one, and would rather wait than connect.
  struct Origin {
    std::list<std::unique_ptr<CurlTransfer>> waiting;
    std::size_t running = 0;
    std::size_t connecting = 0;  // of these, as seen last
    bool isMultiplexed = false;  // as far as the latest reply tells
  };
  using Origins = std::map<std::string, Origin, std::less<>>;

  void sortAdded();
  void startNext(Origin& origin);
  void start(Origin& origin, std::unique_ptr<CurlTransfer> transfer);
  [[nodiscard]] bool mayStart(const Origin& origin) const;
  void countConnecting();
  void finishDone();
  void finishLate();
  void finish(CURL* handle, CURLcode result);
  void wait();
  void runTasks();
  [[nodiscard]] Easy takeEasy();

  const int process_;
  CURLM* const multi_;
  std::atomic<bool> stopping_ = false;

  std::mutex mutex_;  // guards these four
  std::list<std::unique_ptr<CurlTransfer>> added_;
  std::list<std::function<void()>> tasks_;
  std::thread thread_;
  bool isWaiting_ = false;  // and has to be woken for what is new

  // The rest belongs to the thread.
  struct Running {
    Origin* origin;
    std::unique_ptr<CurlTransfer> transfer;
  };
  Sockets sockets_;
  Origins origins_;
  std::string latestOrigin_;  // that had a turn; the next one is first
  std::map<CURL*, Running> running_;
  Clock::time_point earliestDeadline_ = Clock::time_point::max();  // or earlier
  std::list<std::function<void()>> ready_;
  std::vector<Easy> spare_;
};

}  // namespace QuorvelCoreSDK
