#include "PellixProvidersSDK/Samples.h"
#include "Support/LoopbackServer.h"

#include <PellixProvidersSDK/QVLPellix.h>

#include <dlfcn.h>

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <future>
#include <list>
#include <set>
#include <string>

/// Loads the libraries that are named, asks each of them a question through its C interface, and
/// unloads them all while the questions are under way. The answers come all the same, each from the
/// library that was asked.
namespace {

using Support::LoopbackReply;

/// A library, and what became of the question to it.
struct Library {
  void* handle;
  std::int64_t answer = 0;  // the deflection's number
  int calls = 0;
  int releases = 0;

  /// The library's own function of that name and type.
  template <class Function>
  [[nodiscard]] Function* function(const char* name) const {
    return reinterpret_cast<Function*>(dlsym(handle, name));
  }
};

#define CALL(library, name) (library).function<decltype(name)>(#name)

void takeAnswer(const QVLDeflectionResponse* response, const QVLError*, void* context) {
  auto& library = *static_cast<Library*>(context);
  ++library.calls;
  if (!response) return;
  const auto* deflection = CALL(library, QVLDeflectionResponse_deflection)(response);
  library.answer = CALL(library, QVLDeflection_deflectionID)(deflection);
}

void endQuestion(void* context) {
  auto& library = *static_cast<Library*>(context);
  ++library.releases;
  CALL(library, QVLMainQueue_stop)();
}

void ask(Library& library, const std::string& address, const std::string& application) {
  auto* const configuration = CALL(library, QVLQuorvelConfiguration_init)();
  CALL(library, QVLQuorvelConfiguration_setToken)(configuration, "secret", QVL_UNTIL_NUL);
  auto* const quorvel = CALL(library, QVLQuorvel_initialize)(
      address.data(), address.size(), application.data(), application.size(), "client",
      QVL_UNTIL_NUL, configuration, nullptr);
  auto* const veltrane = CALL(library, QVLVeltrane_initialize)(quorvel);
  CALL(library, QVLPellix_initializeWithQuorvel_veltrane)(quorvel, veltrane);
  for (const QVLObject* object :
       {static_cast<const QVLObject*>(configuration), static_cast<const QVLObject*>(quorvel),
        static_cast<const QVLObject*>(veltrane)}) {
    CALL(library, QVLRelease)(object);
  }
  auto* const provider = CALL(library, QVLPellix_provider)(CALL(library, QVLPellix_instance)());
  CALL(library, QVLPellixProvider_getDeflectionForQueryWithQuery_callback)(
      provider, application.data(), application.size(), takeAnswer, &library, endQuestion);
}

/// Each question is its library's number, and so is the number of its answer. No answer goes out
/// before `count` questions have come and the host lets them.
Support::LoopbackServer::Handler answers(std::size_t count, std::promise<void>& allAsked,
                                         std::shared_future<void> open) {
  return [=, &allAsked, asked = std::make_shared<std::atomic<std::size_t>>(0)](
             const auto& request) -> LoopbackReply {
    std::string document = R"({"pellix":{"enabled":true},"locale":"de"})";
    if (!request.body.empty()) {
      if (++*asked == count) allAsked.set_value();
      open.wait();
      const auto text = request.body.find(R"("enquiry":")") + 11;
      document = PellixTests::responseJSON();
      document.replace(document.find('7'), 1, 1, request.body[text]);
    }
    return {Support::httpReply("200 OK", document), LoopbackReply::Then::keep};
  };
}

}  // namespace

int main(int count, char** arguments) {
  std::promise<void> allAsked;
  std::promise<void> gate;
  const auto libraryCount = static_cast<std::size_t>(count - 1);
  const Support::LoopbackServer server(answers(libraryCount, allAsked, gate.get_future().share()));
  std::list<Library> libraries;
  std::set<void*> instances;
  for (std::size_t i = 1; i <= libraryCount; ++i) {
    auto& library = libraries.emplace_back(dlopen(arguments[i], RTLD_NOW | RTLD_LOCAL));
    if (!library.handle) return std::printf("%s\n", dlerror());
    ask(library, server.origin(), std::to_string(i));
    instances.insert(library.function<void>("QVLPellix_instance"));
  }
  allAsked.get_future().wait();
  for (const auto& library : libraries) dlclose(library.handle);
  gate.set_value();
  std::int64_t expected = 0;
  int faults = instances.size() == libraryCount ? 0 : 1;
  for (const auto& library : libraries) {
    CALL(library, QVLMainQueue_run)();
    ++expected;
    const bool isRight = library.answer == expected && library.calls == 1 && library.releases == 1;
    std::printf("library %d: answer %d, %d calls, %d releases\n", static_cast<int>(expected),
                static_cast<int>(library.answer), library.calls, library.releases);
    faults += isRight ? 0 : 1;
  }
  return faults;
}
