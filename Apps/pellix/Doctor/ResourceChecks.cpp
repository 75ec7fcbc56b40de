#include "Doctor/Checks.h"

#include <PellixProvidersSDK/Pellix.h>
#include <Platform/Bundle.h>
#include <Platform/File.h>
#include <Platform/PropertyListDecoder.h>

#include <fmt/core.h>

#include <algorithm>

namespace PellixApp {
namespace {

constexpr const char* reinstall =
    "Install the library's resources again, or name their directory with --resources.";

/// An entry of the endpoint table, which needs all of these.
struct Endpoint {
  std::string name;
  explicit Endpoint(const Platform::Decoder& decoder) : name(decoder.read<std::string>("name")) {
    for (const auto* key : {"urlString", "method"}) {
      static_cast<void>(decoder.read<std::string>(key));
    }
  }
};

const Platform::Bundle& bundle() {
  // A function's address is the library's own; data may have been copied into this program.
  return Platform::Bundle::containing(
      reinterpret_cast<const void*>(&PellixProvidersSDK::Pellix::initialize));
}

}  // namespace

Finding checkResources(Patient& patient) {
  const auto table = bundle().pathForResource("Endpoints", "plist");
  const auto info = bundle().pathForResource("Info", "plist");
  if (table && info) return ok(table->parent_path().native());
  const auto directory = table  ? table->parent_path()
                         : info ? info->parent_path()
                                : patient.options.resources;
  return problem(fmt::format("There is no {}.plist in {}.", table ? "Info" : "Endpoints",
                             directory.empty() ? "the library's directory" : directory.native()),
                 reinstall);
}

Finding checkEndpointTable(Patient& patient) {
  const auto path = bundle().pathForResource("Endpoints", "plist");
  if (!path) return skipped("there is no Endpoints.plist");
  const auto data = Platform::readFile(*path);
  if (!data) return problem(data.error().localizedDescription(), reinstall);
  const auto table = Platform::PropertyListDecoder().decode<std::vector<Endpoint>>(*data);
  if (!table) return problem(table.error().localizedDescription(), reinstall);
  for (const auto* name : {"interaction", "resolve", "reject"}) {
    if (std::ranges::find(*table, name, &Endpoint::name) == table->end()) {
      return problem(fmt::format("The table has no entry \"{}\".", name), reinstall);
    }
  }
  patient.hasEndpoints = true;
  std::string names;
  for (const auto& entry : *table) names += (names.empty() ? "" : ", ") + entry.name;
  return ok(names);
}

Finding checkLibraryVersion(Patient&) {
  if (!bundle().pathForResource("Info", "plist")) return skipped("there is no Info.plist");
  const auto value = bundle().objectForInfoDictionaryKey("CFBundleShortVersionString");
  const auto* const version = value ? std::get_if<std::string>(&*value) : nullptr;
  if (!version) return problem("Info.plist does not tell the library's version.", reinstall);
  return ok(fmt::format("{}, in pellix {}", *version, PELLIX_VERSION));
}

}  // namespace PellixApp
