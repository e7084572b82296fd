#include "Simulator/Program/Paths.h"

#include <optional>
#include <system_error>

#include "Simulator/Mac/SimulatedMac.h"
#include "Simulator/Program/DisplayTexts.h"

namespace vlm::sim {

namespace {

namespace fs = std::filesystem;

/// What stands behind "~/"; absent when the text does not begin there.
std::optional<std::string> belowHome(const std::string& text) {
  return text.starts_with("~/") ? std::optional(text.substr(2)) : std::nullopt;
}

}  // namespace

PathRead readPath(const SimulatedMac& mac, const std::string& text) {
  if (const auto below = belowHome(text)) return fs::path(mac.homeFolder() + "/" + *below);
  std::error_code error;
  const fs::path whole = fs::absolute(text, error);
  if (text.empty() || error) return quoted(text) + " is no path";
  return whole.lexically_normal();
}

PathRead readProfilePath(const SimulatedMac& mac, const std::string& text) {
  const bool isMachines = text.starts_with("/Library/ColorSync/") || text.starts_with("/System/Library/ColorSync/");
  return isMachines ? PathRead(fs::path(mac.localFolderOfProfiles() + text)) : readPath(mac, text);
}

PathRead readPathAtHome(const SimulatedMac& mac, const std::string& text) {
  const fs::path relative = fs::path(belowHome(text).value_or("")).lexically_normal();
  const bool leads = !relative.empty() && !relative.is_absolute() && relative.has_filename();
  if (!leads || *relative.begin() == "..") return quoted(text) + " is no path such as ~/Scripts/lights.scpt";
  return fs::path(mac.homeFolder()) / relative;
}

}  // namespace vlm::sim
