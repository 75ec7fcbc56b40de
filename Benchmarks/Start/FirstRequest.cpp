// Sets the library up and sends its first question on its way: FirstRequest [load|report].
// With "load" it ends as soon as it is loaded; with "report" it tells how much memory that took.

#include "Support/Host.h"
#include "Support/Process.h"
#include "Support/Rounds.h"

#include <string_view>

int main(int argc, char** argv) {
  using namespace Benchmarks;
  const std::string_view mode = argc > 1 ? argv[1] : "";
  if (mode == "load") return 0;
  const double before = mode == "report" ? processStatus("VmRSS:") : 0;

  const OfflineHost host("");
  host.transport->stopAnswering();
  host.provider->getDeflectionForQuery(question, [](const Reply&) {});
  host.transport->run();
  if (host.transport->questions() != 1) return 1;
  if (mode == "report") {
    report("start.rss_kb_loaded", before);
    report("start.rss_kb_added", processStatus("VmRSS:") - before);
  }
}
