#include <algorithm>
#include <array>
#include <string_view>

#include "Models/VLMDisplaySet.h"
#include "Platform/AppleEvents.h"
#include "Platform/Files.h"
#include "Platform/Process.h"
#include "Platform/Workspace.h"
#include "Shared/Log.h"

namespace vlm {

namespace {

/// Files that the script system itself runs; whatever else is attached opens as if its user had clicked it.
constexpr std::array<std::string_view, 3> kScriptExtensions{".scpt", ".scptd", ".applescript"};

bool isAppleScript(std::string_view path) {
  return std::any_of(kScriptExtensions.begin(), kScriptExtensions.end(),
                     [&](std::string_view extension) { return path.ends_with(extension); });
}

}  // namespace

std::optional<std::string> VLMDisplaySet::getScriptBookMarkURL() const {
  return theScriptBookmark ? os().files.URLByResolvingBookmarkData(*theScriptBookmark) : std::nullopt;
}

std::optional<std::string> VLMDisplaySet::scriptBookMarkName() const {
  const auto path = getScriptBookMarkURL();
  if (!path) return std::nullopt;
  return path->substr(path->find_last_of('/') + 1);
}

void VLMDisplaySet::executeScript() const {
  if (!theScriptBookmark) return;
  const auto path = getScriptBookMarkURL();
  const bool hasRun =
      path && (isAppleScript(*path) ? os().appleEvents.executeAppleScriptAtURL(*path) : os().workspace.openFile(*path));
  if (!hasRun) VLMLog("[Velmoratix4] Script %@ of Display Set %@ could not be run", path, name);
}

}  // namespace vlm
