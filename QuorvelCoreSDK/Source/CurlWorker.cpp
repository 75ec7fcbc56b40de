#include "CurlWorker.h"

#include <signal.h>
#include <unistd.h>

#include <cstdlib>
#include <new>
#include <utility>

namespace QuorvelCoreSDK {
namespace {

constexpr std::size_t mostRunning = 256;  // transfers; more wait for their turn
constexpr std::size_t mostSpare = 32;     // handles kept for reuse
constexpr int longestWait = 60'000;       // milliseconds; nothing depends on it

/// Starts a thread that receives no signal: the host's handlers run on the host's threads, and
/// writing to a connection that is gone gives an error instead of a signal.
template <class Function>
std::thread startWithoutSignals(Function function) {
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &before);
  std::thread thread(std::move(function));
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  return thread;
}

CURLM* makeMulti() {
  curl_global_init(CURL_GLOBAL_DEFAULT);
  auto* const multi = curl_multi_init();
  if (!multi) throw std::bad_alloc();
  curl_multi_setopt(multi, CURLMOPT_PIPELINING, static_cast<long>(CURLPIPE_MULTIPLEX));
  return multi;
}

}  // namespace

CurlWorker& CurlWorker::shared() {
  static auto& worker = *new CurlWorker;
  return worker;
}

CurlWorker::CurlWorker() : process_(getpid()), multi_(makeMulti()) {
  // Registered after libcurl has set up the TLS library, so that it runs before that is torn down.
  std::atexit(stopAtExit);
}

void CurlWorker::stopAtExit() {
  auto& worker = shared();
  if (getpid() != worker.process_) return;  // a forked child has no such thread
  std::thread thread;
  {
    const std::lock_guard lock(worker.mutex_);
    worker.stopping_ = true;
    thread = std::move(worker.thread_);
  }
  if (!thread.joinable()) return;
  if (thread.get_id() == std::this_thread::get_id()) {  // a callback on the worker ends the process
    thread.detach();
    return;
  }
  curl_multi_wakeup(worker.multi_);
  thread.join();
}

template <class Item>
void CurlWorker::enqueue(std::vector<Item>& queue, Item item) {
  const std::lock_guard lock(mutex_);
  queue.push_back(std::move(item));
  if (!thread_.joinable()) {
    if (!stopping_) thread_ = startWithoutSignals([this] { run(); });
  } else if (queue.size() == 1 && thread_.get_id() != std::this_thread::get_id()) {
    curl_multi_wakeup(multi_);
  }
}

void CurlWorker::add(std::unique_ptr<CurlTransfer> transfer) {
  enqueue(added_, std::move(transfer));
}

void CurlWorker::post(std::function<void()> task) { enqueue(tasks_, std::move(task)); }

void CurlWorker::run() {
  while (!stopping_) {
    startWaiting();
    int stillRunning = 0;
    curl_multi_perform(multi_, &stillRunning);
    finishDone();
    runTasks();
    // Other threads wake the wait; what was added on this one has to be looked for.
    if (!stopping_ && !hasWork()) curl_multi_poll(multi_, nullptr, 0, longestWait, nullptr);
  }
}

bool CurlWorker::hasWork() {
  if (running_ < mostRunning && !waiting_.empty()) return true;
  const std::lock_guard lock(mutex_);
  return !added_.empty() || !tasks_.empty();
}

void CurlWorker::startWaiting() {
  {
    const std::lock_guard lock(mutex_);
    for (auto& transfer : added_) waiting_.push_back(std::move(transfer));
    added_.clear();
  }
  while (running_ < mostRunning && !waiting_.empty()) {
    auto easy = takeEasy();
    waiting_.front()->prepare(easy.get());
    if (curl_multi_add_handle(multi_, easy.get()) != CURLM_OK) throw std::bad_alloc();
    static_cast<void>(easy.release());                 // the multi handle lists it now
    static_cast<void>(waiting_.front().release());     // and it holds its transfer
    waiting_.pop_front();
    ++running_;
  }
}

void CurlWorker::finishDone() {
  int left = 0;
  while (const auto* message = curl_multi_info_read(multi_, &left)) {
    if (message->msg != CURLMSG_DONE) continue;
    const CURLcode result = message->data.result;
    Easy easy(message->easy_handle);
    CurlTransfer* held = nullptr;
    curl_easy_getinfo(easy.get(), CURLINFO_PRIVATE, &held);
    const std::unique_ptr<CurlTransfer> transfer(held);
    curl_multi_remove_handle(multi_, easy.get());
    --running_;
    curl_easy_reset(easy.get());
    if (spare_.size() < mostSpare) spare_.push_back(std::move(easy));
    transfer->finish(result);
  }
}

void CurlWorker::runTasks() {
  std::vector<std::function<void()>> tasks;
  {
    const std::lock_guard lock(mutex_);
    std::swap(tasks, tasks_);
  }
  for (auto& task : tasks) std::exchange(task, nullptr)();
}

CurlWorker::Easy CurlWorker::takeEasy() {
  if (!spare_.empty()) {
    auto easy = std::move(spare_.back());
    spare_.pop_back();
    return easy;
  }
  Easy easy(curl_easy_init());
  if (!easy) throw std::bad_alloc();
  return easy;
}

}  // namespace QuorvelCoreSDK
