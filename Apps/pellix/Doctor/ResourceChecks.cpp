#include "Doctor/Checks.h"

#include <PellixPlatform/Bundle.h>
#include <PellixPlatform/File.h>
#include <PellixPlatform/PropertyListDecoder.h>
#include <PellixProvidersSDK/Pellix.h>

#include <fmt/core.h>

#include <algorithm>

namespace PellixApp {
namespace {

constexpr const char* reinstall =
    "Install the library's resources again, or name their directory with --resources.";

/// An entry of the endpoint table, which needs all of these.
struct Endpoint {
  std::string name;
  explicit Endpoint(const PellixPlatform::Decoder& decoder)
      : name(decoder.read<std::string>("name")) {
    for (const auto* key : {"urlString", "method"}) {
      static_cast<void>(decoder.read<std::string>(key));
    }
  }
};

const PellixPlatform::Bundle& bundle() {
  // A function's address is the library's own; data may have been copied into this program.
  return PellixPlatform::Bundle::containing(
      reinterpret_cast<const void*>(&PellixProvidersSDK::Pellix::initialize));
}

}  // namespace

Finding checkResources(Diagnosis& diagnosis) {
  const auto table = bundle().pathForResource("Endpoints", "plist");
  const auto info = bundle().pathForResource("Info", "plist");
  if (table && info) return ok(table->parent_path().native());
  const auto directory = table  ? table->parent_path()
                         : info ? info->parent_path()
                                : diagnosis.options.resources;
  return problem(fmt::format("There is no {}.plist in {}.", table ? "Info" : "Endpoints",
                             directory.empty() ? "the library's directory" : directory.native()),
                 reinstall);
}

Finding checkEndpointTable(Diagnosis& diagnosis) {
  const auto path = bundle().pathForResource("Endpoints", "plist");
  if (!path) return skipped("there is no Endpoints.plist");
  const auto data = PellixPlatform::readFile(*path);
  if (!data) return problem(data.error().localizedDescription(), reinstall);
  const auto table = PellixPlatform::PropertyListDecoder().decode<std::vector<Endpoint>>(*data);
  if (!table) return problem(table.error().localizedDescription(), reinstall);
  for (const auto* name : {"interaction", "resolve", "reject"}) {
    if (std::ranges::find(*table, name, &Endpoint::name) == table->end()) {
      return problem(fmt::format("The table has no entry \"{}\".", name), reinstall);
    }
  }
  diagnosis.hasEndpoints = true;
  std::string names;
  for (const auto& entry : *table) names += (names.empty() ? "" : ", ") + entry.name;
  return ok(names);
}

Finding checkLibraryVersion(Diagnosis&) {
  if (!bundle().pathForResource("Info", "plist")) return skipped("there is no Info.plist");
  const auto value = bundle().objectForInfoDictionaryKey("CFBundleShortVersionString");
  const auto* const version = value ? std::get_if<std::string>(&*value) : nullptr;
  if (!version) return problem("Info.plist does not tell the library's version.", reinstall);
  return ok(fmt::format("{}, in pellix {}", *version, PELLIX_VERSION));
}

}  // namespace PellixApp
