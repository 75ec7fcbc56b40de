#include "Decode/Rivals.h"
#include "EndToEnd/Clients.h"
#include "EndToEnd/EasyHandle.h"
#include "Support/Rounds.h"

#include <curl/curl.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <memory>
#include <span>
#include <string_view>
#include <thread>
#include <utility>

namespace Benchmarks {
namespace {

using Clock = std::chrono::steady_clock;

/// Travels between the two threads and serves again: what it holds is allocated once.
struct Question {
  std::string body;
  std::string received;
  PlainReply reply;  // let go of by the worker, which made it
  Clock::time_point begin;
  Question* next = nullptr;
};

/// Questions on their way from one thread to one other, in order. A batch costs one atomic
/// exchange, and a system call if the other thread sleeps.
class Handoff {
 public:
  Handoff() = default;
  Handoff(const Handoff&) = delete;
  Handoff& operator=(const Handoff&) = delete;
  ~Handoff() { close(event); }

  /// Puts one with those to be sent.
  void add(Question& question) {
    if (!newest_) oldest_ = &question;
    question.next = std::exchange(newest_, &question);
  }

  /// Gives the other thread what was added.
  void send() {
    if (!newest_) return;
    auto* before = sent_.load(std::memory_order_relaxed);
    do {
      oldest_->next = before == &asleep_ ? nullptr : before;
    } while (!sent_.compare_exchange_weak(before, newest_, std::memory_order_acq_rel));
    newest_ = nullptr;
    if (before == &asleep_) wake();
  }

  void wake() { eventfd_write(event, 1); }

  /// By the other thread: what has been sent, the oldest first.
  [[nodiscard]] Question* take() {
    auto* from = sent_.exchange(nullptr, std::memory_order_acq_rel);
    if (from == &asleep_) return nullptr;
    Question* to = nullptr;
    while (from) to = std::exchange(from, std::exchange(from->next, to));
    return to;
  }

  /// By the other thread, before it waits for the event: false if there is something to take.
  [[nodiscard]] bool fallAsleep() {
    Question* nothing = nullptr;
    return sent_.compare_exchange_strong(nothing, &asleep_, std::memory_order_acq_rel) ||
           nothing == &asleep_;
  }

  const int event = eventfd(0, EFD_CLOEXEC);

 private:
  Question* newest_ = nullptr;
  Question* oldest_ = nullptr;
  std::atomic<Question*> sent_ = nullptr;
  Question asleep_;  // stands in `sent_` for a thread that wants to be woken
};

/// The sockets that libcurl wants to hear of. A connection's socket stays with epoll between two
/// transfers, which saves two system calls for each. While idle it's told of once at most: HTTP/2's
/// housekeeping arrives after each reply, so there a socket is armed for one event at a time, and
/// one of HTTP/1.1 is let go of when its server closes it.
class Sockets {
 public:
  explicit Sockets(bool isHTTP2) : once_(isHTTP2 ? EPOLLONESHOT : 0U) {}
  Sockets(const Sockets&) = delete;
  Sockets& operator=(const Sockets&) = delete;
  ~Sockets() { close(epoll_); }

  /// Watches for something of our own. It need not be read: each write is told once.
  void addEvent(int event) {
    epoll_event entry{.events = EPOLLIN | EPOLLET, .data = {.fd = event}};
    epoll_ctl(epoll_, EPOLL_CTL_ADD, event, &entry);
  }

  [[nodiscard]] int wait(std::span<epoll_event> events, int milliseconds) {
    return epoll_wait(epoll_, events.data(), static_cast<int>(events.size()), milliseconds);
  }

  /// Takes note of an event. Says whether somebody waits for it.
  [[nodiscard]] bool isWanted(int socket) {
    auto& watch = at(socket);
    if (once_ != 0) {
      watch.armed = 0;
    } else if (watch.wanted == 0) {
      control(socket, watch, 0);
    }
    return watch.wanted != 0;
  }

  /// After the event has been seen to.
  void rearm(int socket) {
    auto& watch = at(socket);
    if (watch.wanted != 0 && watch.armed != watch.wanted) control(socket, watch, watch.wanted);
  }

  void want(int socket, std::uint32_t events) {
    auto& watch = at(socket);
    watch.wanted = events;
    const bool mayStay = watch.isConnection && events == 0;
    if (!mayStay && watch.armed != events) control(socket, watch, events);
  }

  void open(int socket) { at(socket) = {.isConnection = true}; }
  void closeSocket(int socket) {
    at(socket) = {};
    close(socket);
  }

 private:
  struct Watch {
    std::uint32_t wanted = 0, armed = 0;
    bool isAdded = false, isConnection = false;
  };

  Watch& at(int socket) {
    const auto index = static_cast<std::size_t>(socket);
    if (watches_.size() <= index) watches_.resize(index + 1);
    return watches_[index];
  }

  void control(int socket, Watch& watch, std::uint32_t events) {
    epoll_event entry{.events = events | once_, .data = {.fd = socket}};
    epoll_ctl(epoll_,
              events == 0     ? EPOLL_CTL_DEL
              : watch.isAdded ? EPOLL_CTL_MOD
                              : EPOLL_CTL_ADD,
              socket, &entry);
    watch.armed = events;
    watch.isAdded = events != 0;
  }

  const std::uint32_t once_;
  const int epoll_ = epoll_create1(EPOLL_CLOEXEC);
  std::vector<Watch> watches_;  // by socket
};

/// An easy handle, and the question that it is busy with.
class Transfer : public EasyHandle {
 public:
  Transfer(const Server& server, Sockets& sockets) : EasyHandle(server) {
    curl_url_set(url_.get(), CURLUPART_URL, (server.address + Query::path).c_str(), 0);
    set(CURLOPT_CURLU, url_.get());  // so it is taken apart once
    set(CURLOPT_PRIVATE, this);
    set(CURLOPT_SOCKOPTFUNCTION, opened);
    set(CURLOPT_SOCKOPTDATA, &sockets);
    set(CURLOPT_CLOSESOCKETFUNCTION, closed);
    set(CURLOPT_CLOSESOCKETDATA, &sockets);
  }

  void ask(Question& question) {
    question_ = &question;
    start(question.body, question.received);
  }

  [[nodiscard]] Question& answered(CURLcode result) {
    finish(result);
    return *std::exchange(question_, nullptr);
  }

 private:
  static int opened(void* sockets, curl_socket_t socket, curlsocktype) {
    static_cast<Sockets*>(sockets)->open(socket);
    return CURL_SOCKOPT_OK;
  }
  static int closed(void* sockets, curl_socket_t socket) {
    static_cast<Sockets*>(sockets)->closeSocket(socket);
    return 0;
  }

  const std::unique_ptr<CURLU, void (*)(CURLU*)> url_{curl_url(), curl_url_cleanup};
  Question* question_ = nullptr;
};

/// Sends questions and decodes replies, on a thread of its own.
class Worker {
 public:
  explicit Worker(Server server)
      : server_(std::move(server)),
        isHTTP2_(server_.address.starts_with("https:")),
        mostTransfers_(isHTTP2_ ? mostStreams : mostConnections),
        sockets_(isHTTP2_) {
    set(CURLMOPT_MAX_HOST_CONNECTIONS, static_cast<long>(mostConnections));
    set(CURLMOPT_MAXCONNECTS, static_cast<long>(mostConnections));
    set(CURLMOPT_PIPELINING, static_cast<long>(CURLPIPE_MULTIPLEX));
    set(CURLMOPT_SOCKETFUNCTION, watch);
    set(CURLMOPT_SOCKETDATA, &sockets_);
    set(CURLMOPT_TIMERFUNCTION, setTimer);
    set(CURLMOPT_TIMERDATA, this);
    sockets_.addEvent(questions.event);
    thread_ = std::thread([this] { run(); });
  }
  Worker(const Worker&) = delete;
  Worker& operator=(const Worker&) = delete;
  ~Worker() {
    isStopping_ = true;
    questions.wake();
    thread_.join();
    transfers_.clear();
    curl_multi_cleanup(multi_);
  }

  Handoff questions;
  Handoff replies;

 private:
  static constexpr std::size_t mostStreams = 256;

  // What is finished makes room for the next questions; they are on their way while replies are
  // decoded.
  void run() {
    while (!isStopping_) {
      finishTransfers();
      startTransfers();
      const bool isDue = due_ <= Clock::now();
      if (isDue) act(CURL_SOCKET_TIMEOUT, 0);
      decodeReplies();
      if (!isDue && questions.fallAsleep()) waitForSockets();
    }
  }

  void finishTransfers() {
    int left = 0;
    while (const auto* message = curl_multi_info_read(multi_, &left)) {
      Transfer* transfer = nullptr;
      curl_easy_getinfo(message->easy_handle, CURLINFO_PRIVATE, &transfer);
      received_.push_back(&transfer->answered(message->data.result));
      curl_multi_remove_handle(multi_, transfer->handle);
      idle_.push_back(transfer);
    }
  }

  void startTransfers() {
    for (auto* question = questions.take(); question; question = question->next) {
      waiting_.push_back(question);
    }
    for (; !waiting_.empty(); waiting_.pop_front()) {
      if (idle_.empty()) {
        if (transfers_.size() == mostTransfers_) return;
        idle_.push_back(&transfers_.emplace_back(server_, sockets_));
      }
      idle_.back()->ask(*waiting_.front());
      curl_multi_add_handle(multi_, idle_.back()->handle);
      idle_.pop_back();
    }
  }

  void decodeReplies() {
    for (auto* question : received_) {
      question->reply = {};
      auto reply = decodeWithSimdjson(question->received);
      if (!reply || reply->articles.empty()) giveUp("no articles");
      question->reply = *std::move(reply);
      replies.add(*question);
    }
    received_.clear();
    replies.send();
  }

  void waitForSockets() {
    using std::chrono::ceil, std::chrono::milliseconds;
    const auto time = due_ == never ? -1 : ceil<milliseconds>(due_ - Clock::now()).count();
    std::array<epoll_event, 64> events;
    const auto count = sockets_.wait(events, static_cast<int>(time));
    for (int i = 0; i < count; ++i) {
      const auto& [what, data] = events[static_cast<std::size_t>(i)];
      if (data.fd == questions.event || !sockets_.isWanted(data.fd)) continue;
      act(data.fd, (what & EPOLLIN ? CURL_CSELECT_IN : 0) |
                       (what & EPOLLOUT ? CURL_CSELECT_OUT : 0) |
                       (what & (EPOLLERR | EPOLLHUP) ? CURL_CSELECT_ERR : 0));
      sockets_.rearm(data.fd);
    }
  }

  void act(curl_socket_t socket, int events) {
    if (socket == CURL_SOCKET_TIMEOUT) due_ = never;
    int running = 0;
    curl_multi_socket_action(multi_, socket, events, &running);
  }

  static int watch(CURL*, curl_socket_t socket, int what, void* sockets, void*) {
    static_cast<Sockets*>(sockets)->want(socket, what == CURL_POLL_REMOVE
                                                     ? 0
                                                     : (what & CURL_POLL_IN ? EPOLLIN : 0U) |
                                                           (what & CURL_POLL_OUT ? EPOLLOUT : 0U));
    return 0;
  }

  static int setTimer(CURLM*, long milliseconds, void* worker) {
    static_cast<Worker*>(worker)->due_ =
        milliseconds < 0    ? never
        : milliseconds == 0 ? Clock::time_point::min()
                            : Clock::now() + std::chrono::milliseconds(milliseconds);
    return 0;
  }

  template <class Value>
  void set(CURLMoption option, Value value) {
    curl_multi_setopt(multi_, option, value);
  }

  static constexpr auto never = Clock::time_point::max();

  const Server server_;
  const bool isHTTP2_;
  const std::size_t mostTransfers_;
  Sockets sockets_;
  CURLM* const multi_ = curl_multi_init();
  Clock::time_point due_ = never;
  std::deque<Transfer> transfers_;
  std::vector<Transfer*> idle_;  // the one used last is used next
  std::deque<Question*> waiting_;
  std::vector<Question*> received_;
  std::atomic<bool> isStopping_ = false;
  std::thread thread_;
};

void appendEscaped(std::string& to, std::string_view from) {
  const auto isPlain = [](char c) {
    return static_cast<unsigned char>(c) >= 0x20 && c != '"' && c != '\\';
  };
  for (;;) {
    const auto plain = std::ranges::find_if_not(from, isPlain) - from.begin();
    to.append(from, 0, static_cast<std::size_t>(plain));
    from.remove_prefix(static_cast<std::size_t>(plain));
    if (from.empty()) return;
    constexpr char digits[] = "0123456789abcdef";
    const auto c = static_cast<unsigned char>(from.front());
    if (c >= 0x20) {
      to += {'\\', from.front()};
    } else {
      to += {'\\', 'u', '0', '0', digits[c >> 4], digits[c & 15]};
    }
    from.remove_prefix(1);
  }
}

class ExpertClient final : public Client {
 public:
  explicit ExpertClient(const Server& server) : worker_(server) {}

  std::vector<double> ask(std::size_t count, std::size_t inFlight) override {
    std::vector<double> microseconds;
    microseconds.reserve(count);
    if (questions_.size() < inFlight) questions_.resize(inFlight);
    std::size_t asked = 0;
    while (asked < std::min(count, inFlight)) askOne(questions_[asked++]);
    worker_.questions.send();
    while (microseconds.size() < count) {
      auto* question = worker_.replies.take();
      if (!question && worker_.replies.fallAsleep()) wait();
      while (question) {
        auto& answered = *std::exchange(question, question->next);
        keep(answered.reply);
        microseconds.push_back(
            std::chrono::duration<double, std::micro>(Clock::now() - answered.begin).count());
        if (asked++ < count) askOne(answered);
      }
      worker_.questions.send();
    }
    return microseconds;
  }

 private:
  void askOne(Question& question) {
    question.begin = Clock::now();
    question.body = beginning_;
    appendEscaped(question.body, Query::enquiry);
    question.body += ending_;
    worker_.questions.add(question);
  }

  void wait() const {
    eventfd_t ignored = 0;
    eventfd_read(worker_.replies.event, &ignored);
  }

  // Of each body, around the question.
  const std::string beginning_ = R"({"via_id":)" + std::to_string(Query::viaId) +
                                 R"(,"deflection_channel_id":)" + std::to_string(Query::channelId) +
                                 R"(,"interaction_reference":")" + Query::reference +
                                 R"(","interaction_reference_type":)" +
                                 std::to_string(Query::referenceType) + R"(,"enquiry":")";
  const std::string ending_ = std::string(R"(","locale":")") + Query::locale + R"(","labels":[]})";
  Worker worker_;
  std::deque<Question> questions_;
};

}  // namespace

std::unique_ptr<Client> makeExpertClient(const Server& server) {
  return std::make_unique<ExpertClient>(server);
}

}  // namespace Benchmarks
