#include "Bridge/Bridge.h"
#include "Support/FailingAllocations.h"

#include <gmock/gmock.h>

#include <functional>
#include <optional>

namespace BridgeTests {
namespace {

using Support::beginFailingAllocations;
using Support::endFailingAllocations;

/// Calls with ever more memory until there is enough, and with ever later allocations failing alone
/// until none fails; `check` hears what came of it, and whether an allocation failed.
template <class Call, class Check>
void withScarceMemory(Call call, Check check) {
  for (const auto shortage : {Support::Shortage::lasting, Support::Shortage::passing}) {
    std::size_t limit = 0;
    for (bool failed = true; failed; ++limit) {
      ASSERT_LT(limit, 1000U);
      beginFailingAllocations(limit, shortage);
      const auto result = call();
      failed = endFailingAllocations();
      check(result, failed);
    }
    EXPECT_GT(limit, 1U);
  }
}

/// Notes what came, without any memory.
template <class Record>
void note(const Record*, const QVLError* error, void* context) {
  static_cast<Outcome*>(context)->text = error ? "error" : "record";
}

TEST(ScarceMemory, EndsAnOperationAndReleasesItsContextOnce) {
  const std::pair<const char*, void (*)(Outcome&)> starts[] = {
      {"ask", [](Outcome& outcome) { ask(outcome, "How?", note); }},
      {"resolve", [](Outcome& outcome) { resolve(outcome, note); }},
      {"reject", [](Outcome& outcome) { reject(outcome, QVLRejectionReason2, note); }},
  };
  const std::pair<std::shared_ptr<PellixTests::OwnSettings>, const char*> accounts[] = {
      {nullptr, "record"},  // nothing is at hand
      {std::make_shared<PellixTests::OwnSettings>(PellixTests::disabled), "error"},
  };
  for (const auto& [settings, expected] : accounts) {
    for (const auto& [name, start] : starts) {
      const Host host(settings);
      host.transport->answer(std::string(resolvePath), 200, "");
      host.transport->answer(std::string(rejectPath), 200, "");
      std::optional<Outcome> outcome;
      withScarceMemory([&] { return start(outcome.emplace()), 0; },
                       [&](int, bool failed) {
                         Support::settle(*host.transport);
                         EXPECT_EQ(outcome->releases, 1) << name;
                         EXPECT_TRUE(outcome->text == expected || (failed && outcome->text.empty()))
                             << name << " " << outcome->text;
                       });
    }
  }
}

TEST(ScarceMemory, OnTheMainQueueEndsWhatRunsThere) {
  const Host host;
  host.transport->answer(std::string(rejectPath), 200, "{}");
  std::optional<Outcome> outcome;
  const auto prepare = [&] {
    reject(outcome.emplace(), QVLRejectionReason2, note);
    host.transport->run();
  };
  prepare();
  withScarceMemory([] { return QVLMainQueue_runPending(), 0; },
                   [&](int, bool failed) {
                     EXPECT_EQ(outcome->releases, 1);
                     EXPECT_EQ(outcome->text, failed ? "" : "record");
                     prepare();
                   });
  Support::settle(*host.transport);
}

/// A call of a host that sets the library up; whether it did what it is for.
struct Call {
  const char* name;
  std::function<bool()> isDone;
};

TEST(ScarceMemory, GivesNoObjectAndChangesNothing) {
  // Longer than what a string holds without memory of its own.
  const std::string text(100, 'x');
  const std::string resources = TESTS_SOURCE_DIR "/../Source/Resources";
  auto* const configuration = QVLQuorvelConfiguration_init();
  const auto initialize = [&](const std::string& url, const QVLError** error) {
    return QVLQuorvel_initialize(url.data(), url.size(), text.data(), text.size(), "client", 6,
                                 configuration, error);
  };
  const auto secure = "https://acme.example/" + text;
  const auto insecure = "http://acme.example/" + text;
  auto* const quorvel = initialize(secure, nullptr);
  auto* const veltrane = QVLVeltrane_initialize(quorvel);
  const auto isMade = [](const QVLObject* object) {
    if (object) QVLRelease(object);
    return object != nullptr;
  };
  const Call calls[] = {
      {"settings", [&] { return isMade(QVLPellixSettings_init()); }},
      {"token",
       [&] { return QVLQuorvelConfiguration_setToken(configuration, text.data(), text.size()); }},
      {"configuration",
       [&] {
         auto* const made = QVLQuorvelConfiguration_init();
         const bool isSet = made && QVLQuorvelConfiguration_setCertificateAuthorities(
                                        made, text.data(), text.size());
         return isMade(made) && isSet;
       }},
      {"core", [&] { return isMade(initialize(secure, nullptr)); }},
      {"core, refused",
       [&] {
         const QVLError* error = nullptr;
         return initialize(insecure, &error) == nullptr && isMade(error);
       }},
      {"knowledge base", [&] { return isMade(QVLVeltrane_initialize(quorvel)); }},
      {"locale",
       [&] { return QVLVeltrane_setLumenoLocaleOverride(veltrane, text.data(), text.size()); }},
      {"resources",
       [&] { return QVLBundle_setResourceDirectory(resources.data(), resources.size()); }},
  };
  for (const auto& call : calls) {
    ASSERT_TRUE(call.isDone()) << call.name;
    const auto before = Support::liveAllocations();
    withScarceMemory([&] { return call.isDone(); },
                     [&](bool isDone, bool failed) {
                       EXPECT_TRUE(isDone || failed) << call.name;
                       EXPECT_TRUE(call.isDone()) << call.name;
                       EXPECT_EQ(Support::liveAllocations(), before) << call.name;
                     });
  }
  for (const QVLObject* object :
       {static_cast<const QVLObject*>(configuration), static_cast<const QVLObject*>(quorvel),
        static_cast<const QVLObject*>(veltrane)}) {
    QVLRelease(object);
  }
}

TEST(ScarceMemory, ReleasesTheContextOfASetterThatHasNoEffect) {
  auto* const configuration = QVLQuorvelConfiguration_init();
  const auto release = [](void* releases) { ++*static_cast<int*>(releases); };
  const std::function<bool(int&)> setters[] = {
      [&](int& count) { return QVLMainQueue_setWakeHook([](void*) {}, &count, release); },
      [&](int& count) {
        return QVLCoreLogger_setSink([](int, const char*, size_t, void*) {}, &count, release);
      },
      [&](int& count) {
        return QVLQuorvelConfiguration_setTokenSupplier(
            configuration, [](QVLTokenReceiver*, void*) {}, &count, release);
      },
  };
  int counts[] = {0, 0, 0};  // the last ones are released at the end
  for (auto* releases = counts; const auto& set : setters) {
    int calls = 0;
    int held = 0;
    withScarceMemory([&] { return set(*releases); },
                     [&](bool isSet, bool failed) {
                       EXPECT_EQ(isSet, !failed);
                       ++calls;
                       if (isSet) held = 1;
                       EXPECT_EQ(*releases, calls - held);
                     });
    ++releases;
  }
  QVLMainQueue_setWakeHook(nullptr, nullptr, nullptr);
  QVLCoreLogger_setSink(nullptr, nullptr, nullptr);
  QVLRelease(configuration);
}

TEST(ScarceMemory, IsReportedWhereAReferenceIsLost) {
  const auto settings = std::make_shared<const PellixProvidersSDK::PellixSettings>();
  EXPECT_EXIT(
      {
        beginFailingAllocations(0);
        QVLRetain(settings.get());
      },
      testing::KilledBySignal(SIGABRT), testing::StrEq("Fatal error: QVLRetain: out of memory\n"));
}

}  // namespace
}  // namespace BridgeTests
