#pragma once

#include "CurlTransfer.h"

#include <atomic>
#include <condition_variable>
#include <list>
#include <map>
#include <mutex>
#include <thread>
#include <type_traits>

namespace QuorvelCoreSDK {

/// The one thread that runs every transfer of the process.
///
/// It starts when it is first needed. When the process ends, an exit handler stops it where it is:
/// nothing is cleaned up, no code of the host runs, and whatever was under way simply does not end.
/// The object itself is never destroyed, so any order of teardown is safe.
///
/// When memory runs out on the thread, it ends what it is missing for, silently, and nothing else:
/// going from one list to another takes none.
class CurlWorker {
 public:
  /// Made by the first call that can make it. Errors: `std::system_error` while the system has no
  /// descriptors for it.
  [[nodiscard]] static CurlWorker& shared();

  /// Lets go of everything that is under way or waits; on the thread itself, before anything more
  /// is sent. Until then it waits, and says whether that came to be in time.
  static bool dropAll(Clock::time_point deadline);

  /// Both, and what they are called on, only while `PendingCalls::areAccepted`: in a forked child
  /// nobody lets go of a lock.
  void add(std::unique_ptr<CurlTransfer> transfer);
  void post(std::function<void()> task);

  template <auto cleanUp>
  using CleanUp = std::integral_constant<decltype(cleanUp), cleanUp>;  // called as what it holds
  using Easy = std::unique_ptr<CURL, CleanUp<curl_easy_cleanup>>;
  using Multi = std::unique_ptr<CURLM, CleanUp<curl_multi_cleanup>>;
  using Shared = std::unique_ptr<CURLSH, CleanUp<curl_share_cleanup>>;

 private:
  CurlWorker();
  static void stopAtExit();
  static void forgetInChild();

  template <class Item>
  void enqueue(std::list<Item>& queue, Item item);
  void startThread();
  void run();
  /// Runs code of the host's, unless all is to be dropped, and comes back only if the process does
  /// not end meanwhile.
  template <class Body>
  void callHost(const Body& body);
  /// If the process ends, the thread goes no further: neither into a library that may be gone by
  /// then, nor to its own end, where libraries and runtimes have code of their own.
  void stopIfEnding();
  void dropIfAsked();
  /// Whether there is something to do. If not, the thread says that it is going to wait.
  [[nodiscard]] bool hasWork();
  void startWaiting();
  /// What is on its way to one server. What waits here waits for libcurl to have a connection for
  /// it: libcurl's own queue now and then forgets one, and would rather wait than connect.
  struct Origin {
    std::list<std::unique_ptr<CurlTransfer>> waiting;
    std::list<std::unique_ptr<CurlTransfer>> patient;  // wait for the connection of another one
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
  /// Lets those start that need not wait any longer for the connection of another one.
  void endPatience();
  void finishDone();
  void finishLate();
  void finish(CURL* handle, CURLcode result);
  /// Takes the handles back from the transfers that have come to an end.
  void takeBackHandles();
  void wait();
  void runTasks();
  [[nodiscard]] Easy takeEasy(const std::shared_ptr<const Network>& network);

  Sockets sockets_;  // the thread's, and outlives what libcurl has of it
  const Multi multi_;
  const Shared shared_;  // among the handles: the TLS sessions, so that any of them resumes one
  std::atomic<bool> stopping_ = false;

  std::mutex mutex_;  // guards these six
  std::condition_variable changed_;
  std::list<std::unique_ptr<CurlTransfer>> added_;
  std::list<std::function<void()>> tasks_;
  std::thread thread_;      // never joined
  bool isRunning_ = false;  // from its start until it stops
  bool isWaiting_ = false;  // and has to be woken for what is new
  bool isToDrop_ = false;   // what it has

  // The rest belongs to the thread.
  struct Running {
    Origin* origin;
    std::unique_ptr<CurlTransfer> transfer;
    Easy easy;  // goes before the transfer that it refers to
  };
  struct Spare {
    std::shared_ptr<const Network> network;  // that it is configured for
    Easy easy;
  };
  Origins origins_;
  std::string latestOrigin_;  // that had a turn; the next one is first
  std::map<CURL*, Running> running_;
  std::map<CURL*, Running> finished_;  // whose handles are to be taken back
  Clock::time_point earliestDeadline_ = Clock::time_point::max();  // or earlier
  std::list<Spare> spare_;                                         // the latest first
};

}  // namespace QuorvelCoreSDK
