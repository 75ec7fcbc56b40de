// A help desk in a terminal: one thread, which waits by epoll for lines and for the library's
// answers.
//
//   PELLIX_ACCOUNT_URL=https://... PELLIX_TOKEN=... terminal-desk
//
// A line asks. "helped 1" and "no 2" report on the articles of the last answer. The end of the
// input ends it, once what was asked has been answered.

#include <PellixProvidersSDK/Async.h>
#include <PellixProvidersSDK/PellixProvidersSDK.h>
#include <QuorvelCoreSDK/QuorvelCoreSDK.h>
#include <VeltraneProvidersSDK/VeltraneProvidersSDK.h>

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <utility>

using namespace PellixProvidersSDK;

/// What the service sends must not steer the terminal: no control characters, of one byte or of
/// two.
static std::string printable(std::string text) {
  unsigned char before = 0;
  for (char& c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x20 || byte == 0x7F || (before == 0xC2 && byte < 0xA0)) c = ' ';
    before = byte;
  }
  return text;
}

/// HTML without its markup, each piece of which becomes one blank.
static std::string plainText(std::string_view html) {
  constexpr std::pair<std::string_view, char> references[] = {
      {"&lt;", '<'}, {"&gt;", '>'}, {"&quot;", '"'}, {"&#39;", '\''}, {"&amp;", '&'}};
  std::string text;
  while (!html.empty()) {
    std::size_t taken = 1;
    char character = html.front();
    if (character == '<') {
      taken = std::min(html.find('>'), html.size() - 1) + 1;
      character = ' ';
    }
    for (const auto& [reference, meaning] : references) {
      if (!html.starts_with(reference)) continue;
      taken = reference.size();
      character = meaning;
    }
    if (character != ' ' || !text.ends_with(' ')) text += character;
    html.remove_prefix(taken);
  }
  return printable(text);
}

/// The record that an operation ended with, or null once it is said why there is none.
template <class T>
static std::shared_ptr<const T> recordOf(const Ending<T>& ending) {
  if (ending && *ending) return **ending;
  std::printf("%s\n", ending ? ending->error().description().c_str() : "There is no answer.");
  return nullptr;
}

class Desk {
 public:
  /// While this is so, the desk has to stay: it is called when the operation has ended.
  [[nodiscard]] bool isWaiting() const { return isWaiting_; }

  void take(const std::string& line) {
    std::size_t number = 0;
    if (std::sscanf(line.c_str(), "helped %zu", &number) == 1) {
      report(number, true);
    } else if (std::sscanf(line.c_str(), "no %zu", &number) == 1) {
      report(number, false);
    } else if (!line.empty()) {
      ask(line);
    }
  }

 private:
  void ask(const std::string& question) {
    isWaiting_ = true;
    provider_->getDeflectionForQuery(
        question, whenEnded<DeflectionResponse>([this](const Ending<DeflectionResponse>& ending) {
          isWaiting_ = false;
          answer_ = recordOf(ending);
          if (!answer_) return;
          int number = 0;
          for (const auto& article : answer_->deflectionArticles()) {
            std::printf("%d. %s\n   %s\n   %s\n", ++number, printable(article->title()).c_str(),
                        plainText(article->snippet()).c_str(),
                        printable(article->htmlURL()).c_str());
          }
          if (number == 0) std::printf("Nothing was found.\n");
        }));
  }

  void report(std::size_t number, bool helped) {
    if (!answer_ || number < 1 || number > answer_->deflectionArticles().size()) {
      std::printf("There is no such article.\n");
      return;
    }
    isWaiting_ = true;
    const auto deflection = answer_->deflection()->deflectionID();
    const auto article = answer_->deflectionArticles()[number - 1]->articleId();
    auto ended = whenEnded<PellixDispatcherResponse>([this](const auto& ending) {
      isWaiting_ = false;
      if (recordOf(ending)) std::printf("Thank you.\n");
    });
    if (helped) {
      provider_->resolveWithArticle(deflection, article, answer_->interactionAccessToken(), ended);
    } else {
      provider_->rejectWithArticle(deflection, article, answer_->interactionAccessToken(),
                                   RejectionReason::reason0, ended);
    }
  }

  const std::shared_ptr<PellixProvider> provider_ = Pellix::instance()->provider();
  std::shared_ptr<const DeflectionResponse> answer_;
  bool isWaiting_ = false;
};

static bool watch(int epoll, int file) {
  epoll_event readable{.events = EPOLLIN, .data = {.fd = file}};
  return epoll_ctl(epoll, EPOLL_CTL_ADD, file, &readable) == 0;
}

/// Takes lines, one operation at a time: what is typed meanwhile waits for its turn.
static void serve(Desk& desk, int epoll, int wake) {
  std::string input;
  bool isOpen = true;
  while (isOpen || desk.isWaiting()) {
    epoll_event event;
    if (epoll_wait(epoll, &event, 1, -1) != 1) continue;  // a signal
    if (event.data.fd == wake) {
      eventfd_t count = 0;
      eventfd_read(wake, &count);
      PellixPlatform::DispatchQueue::main().runPending();
    } else {
      char bytes[4096];
      const ssize_t count = read(STDIN_FILENO, bytes, sizeof bytes);
      isOpen = count > 0;
      if (isOpen) {
        input.append(bytes, static_cast<std::size_t>(count));
      } else {
        epoll_ctl(epoll, EPOLL_CTL_DEL, STDIN_FILENO, nullptr);
        input += '\n';
      }
    }
    for (std::size_t end = 0; !desk.isWaiting() && (end = input.find('\n')) != std::string::npos;) {
      desk.take(input.substr(0, end));
      input.erase(0, end + 1);
    }
    std::fflush(stdout);
  }
}

int main() {
  const char* const url = std::getenv("PELLIX_ACCOUNT_URL");
  const char* const token = std::getenv("PELLIX_TOKEN");
  if (!url || !token) {
    std::fputs("Set PELLIX_ACCOUNT_URL and PELLIX_TOKEN.\n", stderr);
    return 2;
  }
  const int epoll = epoll_create1(EPOLL_CLOEXEC);
  const int wake = eventfd(0, EFD_CLOEXEC);
  if (!watch(epoll, wake) || !watch(epoll, STDIN_FILENO)) {
    std::perror("epoll");  // of a file, for one, there is nothing to wait for
    return 2;
  }

  QuorvelCoreSDK::Configuration configuration;
  configuration.token = [token] { return token; };
  const auto quorvel =
      QuorvelCoreSDK::Quorvel::initialize({url, "desk", "terminal"}, configuration);
  if (!quorvel) {
    std::fprintf(stderr, "%s\n", quorvel.error().description().c_str());
    return 1;
  }
  Pellix::initialize(*quorvel, VeltraneProvidersSDK::Veltrane::initialize(*quorvel));
  (*quorvel)->prepare();  // while the person types

  auto& queue = PellixPlatform::DispatchQueue::main();
  queue.setWakeHook([wake] { eventfd_write(wake, 1); });
  Desk desk;
  serve(desk, epoll, wake);
  queue.setWakeHook(nullptr);  // a last call may be under way: `wake` stays open
  (*quorvel)->waitUntilIdle(std::chrono::seconds(5));  // votes travel beside the reports
}
