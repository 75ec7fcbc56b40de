#include "Doctor/Checks.h"

#include <PellixPlatform/internal/PropertyListDecoder.h>
#include <PellixProvidersSDK/ResourceBundle.h>

#include <fmt/core.h>

#include <algorithm>

namespace PellixApp {
namespace {

// The library carries its own, so only a directory can be at fault.
constexpr const char* mendDirectory =
    "Mend the directory, or leave --resources out: the library carries its own.";

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

}  // namespace

Finding checkResources(Examination& examination) {
  const auto& directory = examination.options.resources;
  for (const auto* name : {"Endpoints", "Info"}) {
    if (!PellixProvidersSDK::resourceBundle().dataForResource(name, "plist")) {
      return problem(fmt::format("There is no {}.plist in {}.", name, directory.native()),
                     mendDirectory);
    }
  }
  return ok(directory.empty() ? "carried by the library" : directory.native());
}

Finding checkEndpointTable(Examination& examination) {
  const auto file = PellixProvidersSDK::resourceBundle().dataForResource("Endpoints", "plist");
  if (!file) return skipped("there is no Endpoints.plist");
  const auto& data = *file;
  if (!data) return problem(data.error().localizedDescription(), mendDirectory);
  const auto table = PellixPlatform::PropertyListDecoder().decode<std::vector<Endpoint>>(*data);
  if (!table) return problem(table.error().localizedDescription(), mendDirectory);
  for (const auto* name : {"interaction", "resolve", "reject"}) {
    if (std::ranges::find(*table, name, &Endpoint::name) == table->end()) {
      return problem(fmt::format("The table has no entry \"{}\".", name), mendDirectory);
    }
  }
  examination.hasEndpoints = true;
  std::string names;
  for (const auto& entry : *table) names += (names.empty() ? "" : ", ") + entry.name;
  return ok(names);
}

Finding checkLibraryVersion(Examination&) {
  const auto& bundle = PellixProvidersSDK::resourceBundle();
  if (!bundle.dataForResource("Info", "plist")) return skipped("there is no Info.plist");
  const auto value = bundle.objectForInfoDictionaryKey("CFBundleShortVersionString");
  const auto* const version = value ? std::get_if<std::string>(&*value) : nullptr;
  if (!version) return problem("Info.plist does not tell the library's version.", mendDirectory);
  return ok(fmt::format("{}, in pellix {}", *version, PELLIX_VERSION));
}

}  // namespace PellixApp
