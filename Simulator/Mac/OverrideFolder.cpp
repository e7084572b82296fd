#include "Simulator/Mac/OverrideFolder.h"

#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <system_error>

#include "Simulator/Mac/PropertyListFile.h"
#include "Simulator/Mac/SystemVersion.h"

namespace vlm::sim {
namespace {

namespace fs = std::filesystem;

/// Two EDIDs of all their blocks and some hundred modes are not half of it.
constexpr std::size_t kLargestOverrideFile = 1UL << 20;

std::vector<std::string> directoriesOf(const OperatingSystemVersion& version) {
  const std::string ofSystem = "/System/Library/Displays/Contents/Resources/Overrides";
  if (isAtLeast(version, 10, 15, 2)) return {"/Library/Displays/Contents/Resources/Overrides", ofSystem};
  if (isAtLeast(version, 10, 11)) return {ofSystem};
  return {"/System/Library/Displays/Overrides"};
}

std::vector<std::string> namesFor(const ParsedEdid& monitor) {
  char folder[40], name[80];
  std::snprintf(folder, sizeof folder, "/DisplayVendorID-%x", monitor.vendor);
  std::snprintf(name, sizeof name, "/DisplayProductID-%x", monitor.product);
  std::vector<std::string> names{std::string(folder) + name};
  if (monitor.year == 0 || monitor.week == 0) return names;
  std::snprintf(name, sizeof name, "/DisplayYearManufacture-%u-DisplayWeekManufacture-%u", monitor.year, monitor.week);
  names.push_back(std::string(folder) + name);
  return names;
}

/// The alternative for this kind of signal: the first that does not ask for the other kind. One that does not say what
/// it is for ends the search.
const plist::Dictionary* matchingEntry(const plist::Array& alternatives, bool digital) {
  for (const plist::Value& alternative : alternatives) {
    const plist::Dictionary* entry = alternative.dictionary();
    if (entry == nullptr) continue;
    const plist::Dictionary* matching = entry->dictionary("IODisplayOverrideMatching");
    if (matching == nullptr) return nullptr;
    if (matching->boolean("IODisplayIsDigital", digital) == digital) return entry;
  }
  return nullptr;
}

std::optional<plist::Value> readOverride(const std::string& path) {
  std::string reason;
  const auto text = readFile(path, kLargestOverrideFile, reason);
  if (!text) return std::nullopt;
  std::optional<plist::Value> value = parsePropertyList(*text).value;
  const bool isOverride = value && (value->dictionary() != nullptr || value->array() != nullptr);
  return isOverride ? value : std::nullopt;
}

/// What cannot be copied could not be read either.
void copyFiles(const fs::path& from, const fs::path& to) {
  std::error_code ignored;
  for (const auto& folder : fs::directory_iterator(from, ignored)) {
    if (!folder.is_directory(ignored)) continue;
    fs::create_directories(to / folder.path().filename(), ignored);
    for (const auto& file : fs::directory_iterator(folder.path(), ignored)) {
      if (!file.is_regular_file(ignored)) continue;
      fs::copy_file(file.path(), to / folder.path().filename() / file.path().filename(), ignored);
    }
  }
}

}  // namespace

OverrideFolder::OverrideFolder(std::string root, const OperatingSystemVersion& version)
    : root_(std::move(root)), directories_(directoriesOf(version)) {}

std::optional<OverrideFile> OverrideFolder::find(const ParsedEdid& monitor) const {
  if (root_ == kNoFolders) return std::nullopt;  // else it would be the host's own disk
  for (const std::string& directory : directories_) {
    // Most machines have none: then this is all that connecting a display costs.
    if (access((root_ + directory).c_str(), F_OK) != 0) continue;
    for (const std::string& name : namesFor(monitor)) {
      const std::optional<plist::Value> content = readOverride(root_ + directory + name);
      if (!content) continue;
      const plist::Dictionary* entry =
          content->array() != nullptr ? matchingEntry(*content->array(), monitor.digital) : content->dictionary();
      if (entry == nullptr) return std::nullopt;
      return OverrideFile{.path = directory + name, .content = *entry};
    }
  }
  return std::nullopt;
}

void OverrideFolder::moveTo(const std::string& root) {
  for (const std::string& directory : directories_) {
    if (access((root_ + directory).c_str(), F_OK) == 0) copyFiles(root_ + directory, root + directory);
  }
  root_ = root;
}

}  // namespace vlm::sim
