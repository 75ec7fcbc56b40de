#include "Doctor/ReportFile.h"

#include <PellixPlatform/internal/File.h>

#include <fmt/core.h>
#include <sys/utsname.h>

#include <cerrno>
#include <cstdlib>
#include <system_error>

namespace PellixApp {
namespace {

std::string systemName() {
  utsname system{};
  ::uname(&system);
  const auto release = PellixPlatform::readFile("/etc/os-release").value_or("");
  constexpr std::string_view key = "PRETTY_NAME=";
  std::string name("unknown distribution");
  if (const auto at = release.find(key); at != release.npos) {
    name = release.substr(at + key.size(), release.find('\n', at) - at - key.size());
    std::erase(name, '"');
  }
  return fmt::format("{} {} {}, {}", system.sysname, system.release, system.machine, name);
}

void replaceAll(std::string& text, const std::string& what, std::string_view with) {
  for (auto at = text.find(what); at != text.npos; at = text.find(what, at + with.size())) {
    text.replace(at, what.size(), with);
  }
}

std::string withoutPrivateParts(std::string text, const Examination& examination) {
  if (examination.account) {
    const auto& address = examination.account->accountDetails().accountUrl();
    const auto origin = address.substr(0, address.find('/', address.find("://") + 3));
    auto path = address.substr(origin.size());
    path.erase(path.find_last_not_of('/') + 1);
    if (!path.empty()) {
      replaceAll(text, address, origin + "/...");
      replaceAll(text, path + "/", "/.../");
    }
  }
  if (const char* const home = std::getenv("HOME"); home && std::string_view(home).size() > 1) {
    replaceAll(text, home, "~");
  }
  constexpr std::string_view ends = " \n=:,;()<>\"";
  for (auto at = text.find('@'); at != text.npos; at = text.find('@')) {
    const auto begin = text.find_last_of(ends, at) + 1;
    text.replace(begin, text.find_first_of(ends, at) - begin, "(e-mail)");
  }
  return text;
}

}  // namespace

ReportFile::ReportFile(const std::filesystem::path& path)
    : path_(path), file_(std::fopen(path.c_str(), "we"), std::fclose) {
  if (!file_) fail();
}

void ReportFile::fail() const {
  throw std::system_error(errno, std::generic_category(), "cannot write to " + path_.native());
}

void ReportFile::write(const std::string& lines, const Examination& examination) {
  const auto text =
      fmt::format("pellix {} doctor, {}\n{}\n\n{}", PELLIX_VERSION, timeText(std::time(nullptr)),
                  systemName(), withoutPrivateParts(lines, examination));
  std::fputs(text.c_str(), file_.get());
  if (std::fclose(file_.release()) == 0) return;
  fail();
}

}  // namespace PellixApp
