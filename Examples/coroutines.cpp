// A host of coroutines: asks several questions, one after the other, and reports for each that its
// first article helped.
//
//   PELLIX_ACCOUNT_URL=https://... PELLIX_TOKEN=... coroutines QUESTION...

#include <PellixProvidersSDK/Async.h>
#include <PellixProvidersSDK/PellixProvidersSDK.h>
#include <QuorvelCoreSDK/QuorvelCoreSDK.h>
#include <VeltraneProvidersSDK/VeltraneProvidersSDK.h>

#include <coroutine>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <span>
#include <string>

using namespace PellixProvidersSDK;
using PellixPlatform::DispatchQueue;

/// A coroutine that starts at once and that nobody waits for. Any other kind would do as well: what
/// the library gives can be awaited in all of them.
struct Task {
  struct promise_type {
    Task get_return_object() { return {}; }
    std::suspend_never initial_suspend() { return {}; }
    std::suspend_never final_suspend() noexcept { return {}; }
    void return_void() {}
    void unhandled_exception() { std::terminate(); }
  };
};

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

/// The record that an operation ended with, or null once it is said why there is none.
template <class T>
static std::shared_ptr<const T> recordOf(const Ending<T>& ending) {
  if (ending && *ending) return **ending;
  std::fprintf(stderr, "%s\n",
               ending ? ending->error().description().c_str() : "There is no answer.");
  return nullptr;
}

/// Reads like the conversation that it is. Every `co_await` leaves the thread to the main queue,
/// which goes on here when the operation has ended, however it ended.
static Task converse(std::span<char*> questions, int& helped) {
  const auto provider = Pellix::instance()->provider();
  for (const char* const question : questions) {
    const auto answer = recordOf(co_await ask(*provider, question));
    if (!answer) break;
    std::printf("%s\n", question);
    for (const auto& article : answer->deflectionArticles()) {
      std::printf("  %s\n", printable(article->title()).c_str());
    }
    if (answer->deflectionArticles().empty()) continue;
    const auto resolved = recordOf(co_await resolve(
        *provider, answer->deflection()->deflectionID(),
        answer->deflectionArticles().front()->articleId(), answer->interactionAccessToken()));
    if (!resolved) break;
    std::printf("Thank you.\n");
    ++helped;
  }
  DispatchQueue::main().stop();
}

int main(int argc, char** argv) {
  const char* const url = std::getenv("PELLIX_ACCOUNT_URL");
  const char* const token = std::getenv("PELLIX_TOKEN");
  if (argc < 2 || !url || !token) {
    std::fputs("PELLIX_ACCOUNT_URL=... PELLIX_TOKEN=... coroutines QUESTION...\n", stderr);
    return 2;
  }
  QuorvelCoreSDK::Configuration configuration;
  configuration.token = [token] { return token; };
  const auto quorvel =
      QuorvelCoreSDK::Quorvel::initialize({url, "coroutines", "terminal"}, configuration);
  if (!quorvel) {
    std::fprintf(stderr, "%s\n", quorvel.error().description().c_str());
    return 1;
  }
  Pellix::initialize(*quorvel, VeltraneProvidersSDK::Veltrane::initialize(*quorvel));

  const auto questions = std::span(argv, static_cast<std::size_t>(argc)).subspan(1);
  int helped = 0;
  converse(questions, helped);
  DispatchQueue::main().run();
  (*quorvel)->waitUntilIdle(std::chrono::seconds(5));  // votes travel beside the reports
  return helped == argc - 1 ? 0 : 1;
}
