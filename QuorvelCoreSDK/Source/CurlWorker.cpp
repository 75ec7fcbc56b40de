#include "CurlWorker.h"

#include "Inheritance.h"
#include "PendingCall.h"

#include <PellixPlatform/JSONDecoder.h>

#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <new>
#include <system_error>
#include <utility>

namespace QuorvelCoreSDK {
namespace {

constexpr std::size_t mostRunning = 256;     // transfers; more wait for their turn
constexpr std::size_t mostConnections = 16;  // to one server, if each request takes one
constexpr std::size_t mostStreams = 100;     // to one server otherwise: RFC 9113, section 6.5.2
constexpr std::size_t mostConnecting = 4;    // at once then, since the others can join them
constexpr std::size_t mostSpare = 32;        // handles kept for reuse
constexpr long mostKept = 64;                // connections that stand while nothing uses them
constexpr std::size_t mostOrigins = 64;      // that are remembered while nothing goes to them
constexpr int longestWait = 60'000;          // milliseconds; nothing depends on it

/// libcurl ends what is late by itself, and can say more of it, so it comes first.
constexpr std::chrono::milliseconds patience(20);

/// How long the process waits for the thread when it ends: more than any library takes, and no more
/// than a person bears if code of the host's does not come back.
constexpr std::chrono::milliseconds longestStop(1000);

constinit std::atomic<bool> isBegun = false;  // its making
constinit std::atomic<CurlWorker*> made = nullptr;

/// While it lives, a thread that this one starts receives no signal but those of its own faults:
/// the host's handlers run on the host's threads, and writing to a connection that is gone gives an
/// error instead of a signal.
class WithoutSignals {
 public:
  WithoutSignals() {
    sigset_t blocked;
    sigfillset(&blocked);
    for (const int fault : {SIGBUS, SIGFPE, SIGILL, SIGSEGV, SIGSYS, SIGTRAP}) {
      sigdelset(&blocked, fault);
    }
    pthread_sigmask(SIG_SETMASK, &blocked, &before_);
  }
  WithoutSignals(const WithoutSignals&) = delete;
  WithoutSignals& operator=(const WithoutSignals&) = delete;
  ~WithoutSignals() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

 private:
  sigset_t before_{};
};

/// Runs `body`, which ends what it can't get memory for.
template <class Body>
void withMemory(const Body& body) {
  try {
    body();
  } catch (const std::bad_alloc&) {
    // An error that told of it would need memory too; that the callback goes tells as much.
  }
}

/// Something to read.
struct Nothing {
  explicit Nothing(const PellixPlatform::Decoder&) {}
};

CurlWorker::Multi makeMulti() {
  // Libraries make at their first use what they destroy when the process ends: JSON's, then TLS's.
  static_cast<void>(PellixPlatform::JSONDecoder().decode<Nothing>("{}"));
  if (curl_global_init(CURL_GLOBAL_DEFAULT) != CURLE_OK) throw std::bad_alloc();
  CurlWorker::Multi multi(curl_multi_init());
  // Older ones come without their sockets if no descriptor is left, but nothing here needs those.
  if (!multi) throw std::system_error(errno, std::generic_category());
  keepFromChildren(multi.get());
  // Else it would be four, as long as requests come one at a time.
  curl_multi_setopt(multi.get(), CURLMOPT_MAXCONNECTS, mostKept);
  return multi;
}

CurlWorker::Shared makeShared() {
  CurlWorker::Shared shared(curl_share_init());
  if (!shared) throw std::bad_alloc();
  curl_share_setopt(shared.get(), CURLSHOPT_SHARE, CURL_LOCK_DATA_SSL_SESSION);
  return shared;
}

}  // namespace

CurlWorker& CurlWorker::shared() {
  // First, for a child that is forked meanwhile would wait for the thread that makes it.
  [[maybe_unused]] static const bool isWatched = [] {
    if (pthread_atfork(nullptr, nullptr, forgetInChild) != 0) throw std::bad_alloc();
    return true;
  }();
  isBegun = true;
  try {
    static auto& worker = *new CurlWorker;
    return worker;
  } catch (...) {
    isBegun = false;
    throw;
  }
}

CurlWorker::CurlWorker() : multi_(makeMulti()), shared_(makeShared()) {
  // Registered after what the libraries have made, so that it runs before that is torn down.
  if (std::atexit(stopAtExit) != 0) throw std::bad_alloc();
  made = this;
}

void CurlWorker::forgetInChild() {
  const bool wasBegun = isBegun.exchange(false);
  if (made.exchange(nullptr) || wasBegun) PendingCalls::refuseInChild();
}

void CurlWorker::stopAtExit() {
  auto* const worker = made.load();
  if (!worker) return;  // a forked child has no such thread
  PendingCalls::refuseAtExit();
  worker->stopping_ = true;
  std::unique_lock lock(worker->mutex_);
  // A callback on the worker itself may end the process.
  if (worker->thread_.get_id() == std::this_thread::get_id()) return;
  worker->sockets_.wake();
  worker->changed_.wait_for(lock, longestStop, [&] { return !worker->isRunning_; });
}

template <class Body>
void CurlWorker::callHost(const Body& body) {
  {
    const std::lock_guard lock(mutex_);
    if (isToDrop_) return;
  }
  withMemory(body);
  stopIfEnding();
}

void CurlWorker::stopIfEnding() {
  if (!stopping_) return;
  {
    const std::lock_guard lock(mutex_);
    isRunning_ = false;
  }
  changed_.notify_all();
  while (true) pause();
}

bool CurlWorker::dropAll(Clock::time_point deadline) {
  auto* const worker = made.load();
  if (!worker) return true;
  decltype(added_) transfers;  // go after the lock does
  decltype(tasks_) tasks;
  std::unique_lock lock(worker->mutex_);
  transfers.swap(worker->added_);
  tasks.swap(worker->tasks_);
  worker->isToDrop_ = true;
  if (worker->thread_.get_id() == std::this_thread::get_id()) return true;  // when that goes on
  worker->sockets_.wake();
  return worker->changed_.wait_until(lock, deadline,
                                     [&] { return !worker->isToDrop_ || !worker->isRunning_; });
}

void CurlWorker::dropIfAsked() {
  {
    const std::lock_guard lock(mutex_);
    if (!isToDrop_) return;
  }
  for (auto& [handle, running] : running_) {
    running.transfer->leaveConnection(CURLE_ABORTED_BY_CALLBACK);
  }
  finished_.swap(running_);
  takeBackHandles();
  origins_.clear();
  {
    const std::lock_guard lock(mutex_);
    isToDrop_ = false;
  }
  changed_.notify_all();
}

template <class Item>
void CurlWorker::enqueue(std::list<Item>& queue, Item item) {
  std::list<Item> added;
  added.push_back(std::move(item));
  const std::lock_guard lock(mutex_);
  // Looked at here, too, so that `dropAll` misses nothing.
  if (!PendingCalls::areAccepted()) return;
  if (!thread_.joinable()) startThread();
  queue.splice(queue.end(), added);
  if (std::exchange(isWaiting_, false)) sockets_.wake();
}

void CurlWorker::startThread() {
  const WithoutSignals inherited;
  try {
    thread_ = std::thread([this] { run(); });
    isRunning_ = true;
  } catch (const std::system_error&) {
    throw std::bad_alloc();  // what a thread takes is memory
  }
}

void CurlWorker::add(std::unique_ptr<CurlTransfer> transfer) {
  enqueue(added_, std::move(transfer));
}

void CurlWorker::post(std::function<void()> task) {
  enqueue(tasks_, std::move(task));
}

void CurlWorker::run() {
  while (true) {
    stopIfEnding();
    dropIfAsked();
    runTasks();
    dropIfAsked();
    sortAdded();
    startWaiting();
    sockets_.beginTurn();
    int stillRunning = 0;
    curl_multi_perform(multi_.get(), &stillRunning);
    countConnecting();
    finishDone();
    finishLate();
    takeBackHandles();
    endPatience();
    if (!hasWork()) wait();
  }
}

void CurlWorker::wait() {
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(earliestDeadline_ - Clock::now());
  const auto most = std::clamp<std::int64_t>(left.count(), 0, longestWait);
  std::array watched{
      curl_waitfd{.fd = sockets_.descriptor(), .events = CURL_WAIT_POLLIN, .revents = {}}};
  curl_multi_poll(multi_.get(), watched.data(), watched.size(), static_cast<int>(most), nullptr);
  if (watched.front().revents != 0) sockets_.closeIdle();
}

bool CurlWorker::mayStart(const Origin& origin) const {
  if (origin.waiting.empty() || running_.size() >= mostRunning) return false;
  if (!origin.isMultiplexed) return origin.running < mostConnections;
  return origin.running < mostStreams && origin.connecting < mostConnecting;
}

bool CurlWorker::hasWork() {
  for (const auto& [name, origin] : origins_) {
    if (mayStart(origin)) return true;
  }
  const std::lock_guard lock(mutex_);
  isWaiting_ = added_.empty() && tasks_.empty() && !isToDrop_;
  return !isWaiting_;
}

void CurlWorker::sortAdded() {
  std::list<std::unique_ptr<CurlTransfer>> added;
  {
    const std::lock_guard lock(mutex_);
    isWaiting_ = false;
    if (isToDrop_) return;  // what is new since then is not to go with what is old
    added.splice(added.end(), added_);
  }
  while (!added.empty()) {
    std::list<std::unique_ptr<CurlTransfer>> next;  // goes if memory is missing for it
    next.splice(next.end(), added, added.begin());
    const auto& transfer = *next.front();
    earliestDeadline_ = std::min(earliestDeadline_, transfer.deadline());
    withMemory([&] {
      auto found = origins_.find(transfer.origin());
      if (found == origins_.end())
        found = origins_.try_emplace(std::string(transfer.origin())).first;
      auto& [waiting, patient, running, connecting, isMultiplexed] = found->second;
      auto& list = Clock::now() < transfer.waitsUntil() ? patient : waiting;
      list.splice(list.end(), next);
    });
  }
}

void CurlWorker::startWaiting() {
  // Each origin has its turn, so that a busy one does not shut the others out.
  auto origin = origins_.upper_bound(latestOrigin_);
  for (std::size_t left = origins_.size(); left > 0; --left) {
    if (origin == origins_.end()) origin = origins_.begin();
    const bool hadTurn = mayStart(origin->second);
    while (mayStart(origin->second)) startNext(origin->second);
    if (hadTurn) withMemory([&] { latestOrigin_ = origin->first; });
    ++origin;
  }
}

void CurlWorker::startNext(Origin& origin) {
  auto transfer = std::move(origin.waiting.front());
  origin.waiting.pop_front();
  withMemory([&] { start(origin, std::move(transfer)); });
}

void CurlWorker::start(Origin& origin, std::unique_ptr<CurlTransfer> transfer) {
  auto easy = takeEasy(transfer->network());
  auto* const handle = easy.get();
  transfer->prepare(handle, sockets_, origin.isMultiplexed);
  running_.emplace(handle, Running{&origin, std::move(transfer), std::move(easy)});
  if (curl_multi_add_handle(multi_.get(), handle) == CURLM_OK) {
    ++origin.running;
    ++origin.connecting;
  } else {
    running_.erase(handle);  // for want of memory
  }
}

void CurlWorker::countConnecting() {
  for (auto& [name, origin] : origins_) origin.connecting = 0;
  for (const auto& [handle, running] : running_) {
    if (!running.transfer->hasConnection()) ++running.origin->connecting;
    if (running.transfer->hasSharedConnection()) running.origin->isMultiplexed = true;
  }
}

void CurlWorker::endPatience() {
  const auto now = Clock::now();
  for (auto& [name, origin] : origins_) {
    const bool stands = origin.isMultiplexed && origin.connecting < origin.running;
    bool mayNext = stands || (origin.running == 0 && origin.waiting.empty());
    for (auto at = origin.patient.begin(); at != origin.patient.end();) {
      const auto next = std::next(at);
      const auto until = (*at)->waitsUntil();
      if (mayNext || until <= now) {
        origin.waiting.splice(origin.waiting.end(), origin.patient, at);
        mayNext = stands;  // else the others wait for its connection
      }
      earliestDeadline_ = std::min(earliestDeadline_, until);
      at = next;
    }
  }
}

void CurlWorker::finishDone() {
  int left = 0;
  while (const auto* message = curl_multi_info_read(multi_.get(), &left)) {
    if (message->msg == CURLMSG_DONE) finish(message->easy_handle, message->data.result);
  }
}

void CurlWorker::finishLate() {
  const auto now = Clock::now();
  if (now < earliestDeadline_) return;
  takeBackHandles();  // for what starts again may end here, and its handle refers to it

  earliestDeadline_ = Clock::time_point::max();
  const auto isLate = [&](const CurlTransfer& transfer) {
    const auto last = transfer.deadline() + patience;
    if (last <= now) return true;
    earliestDeadline_ = std::min(earliestDeadline_, last);
    return false;
  };
  // What the host adds meanwhile is not among them yet.
  for (auto at = running_.begin(); at != running_.end();) {
    auto* const handle = at->first;
    const bool isOver = isLate(*at->second.transfer);
    ++at;  // before its place goes
    if (isOver) finish(handle, CURLE_OPERATION_TIMEDOUT);
  }
  for (auto& [name, origin] : origins_) {
    for (auto at = origin.waiting.begin(); at != origin.waiting.end();) {
      if (!isLate(**at)) {
        ++at;
        continue;
      }
      const auto transfer = std::move(*at);
      at = origin.waiting.erase(at);
      callHost([&] { transfer->finish(CURLE_OPERATION_TIMEDOUT, 0); });
    }
  }
}

void CurlWorker::finish(CURL* handle, CURLcode result) {
  // Somebody waits for it, and for others that end at the same time: the handle comes later.
  auto& finished = finished_.insert(running_.extract(handle)).position->second;
  auto& origin = *finished.origin;
  auto& transfer = finished.transfer;
  --origin.running;
  origin.waiting.splice(origin.waiting.end(), origin.patient);
  long proxyStatus = 0;
  curl_easy_getinfo(handle, CURLINFO_HTTP_CONNECTCODE, &proxyStatus);
  long version = CURL_HTTP_VERSION_NONE;
  curl_easy_getinfo(handle, CURLINFO_HTTP_VERSION, &version);
  if (version != CURL_HTTP_VERSION_NONE) origin.isMultiplexed = version >= CURL_HTTP_VERSION_2_0;
  transfer->leaveConnection(result);
  if (transfer->mustStartAgain()) {
    withMemory([&] { origin.waiting.push_front(std::move(transfer)); });
  } else {
    callHost([&] { transfer->finish(result, proxyStatus); });
  }
}

void CurlWorker::takeBackHandles() {
  for (auto& [handle, finished] : finished_) {
    curl_multi_remove_handle(multi_.get(), handle);
    auto& easy = finished.easy;
    const auto& transfer = finished.transfer;
    // One that sent a request anew may do so again: resetting it does not take all of it back.
    if (!transfer || !transfer->leavesHandleAsItWas()) continue;
    withMemory([&] { spare_.push_front({transfer->network(), std::move(easy)}); });
    if (spare_.size() > mostSpare) spare_.pop_back();
  }
  finished_.clear();
  if (origins_.size() <= mostOrigins) return;
  std::erase_if(origins_, [](const auto& named) {
    const auto& origin = named.second;
    return origin.running == 0 && origin.waiting.empty() && origin.patient.empty();
  });
}

void CurlWorker::runTasks() {
  std::list<std::function<void()>> ready;
  {
    const std::lock_guard lock(mutex_);
    if (isToDrop_) return;
    ready.splice(ready.end(), tasks_);
  }
  while (!ready.empty()) {
    const auto task = std::exchange(ready.front(), nullptr);
    ready.pop_front();
    callHost(task);
  }
}

CurlWorker::Easy CurlWorker::takeEasy(const std::shared_ptr<const Network>& network) {
  if (const auto fitting = std::ranges::find(spare_, network, &Spare::network);
      fitting != spare_.end()) {
    auto easy = std::move(fitting->easy);
    spare_.erase(fitting);
    return easy;
  }
  Easy easy(curl_easy_init());
  if (!easy || curl_easy_setopt(easy.get(), CURLOPT_SHARE, shared_.get()) != CURLE_OK) {
    throw std::bad_alloc();
  }
  CurlTransfer::configure(easy.get(), sockets_, *network);
  return easy;
}

}  // namespace QuorvelCoreSDK
