#include "Simulator/Mac/SimulatedFiles.h"

#include <unistd.h>

#include <utility>

#include "Simulator/Mac/AtomicFile.h"
#include "Simulator/Mac/Bookmark.h"
#include "Simulator/Mac/PropertyListFile.h"
#include "Simulator/Mac/Session.h"
#include "Simulator/Mac/SimulatedMac.h"

namespace vlm::sim {

std::optional<std::string> SimulatedFiles::libraryDirectory(Domain domain) {
  if (!mac_.hasLibraryFolders) return std::nullopt;
  return (domain == Domain::user ? mac_.homeFolder() : mac_.localFolder()) + "/Library";
}

bool SimulatedFiles::checkResourceIsReachable(const std::string& path) { return access(path.c_str(), F_OK) == 0; }

std::optional<plist::Dictionary> SimulatedFiles::dictionaryWithContentsOfURL(const std::string& path) {
  PropertyListResult result = readPropertyList(path);
  if (!result.value || result.value->dictionary() == nullptr) return std::nullopt;
  return std::move(*result.value->dictionary());
}

std::optional<plist::Data> SimulatedFiles::dataWithContentsOfURL(const std::string& path) {
  std::string reason;
  const auto content = readFile(path, kLargestPropertyListFile, reason);
  return content ? std::optional(plist::Data(content->begin(), content->end())) : std::nullopt;
}

std::optional<plist::Data> SimulatedFiles::CFURLCreateBookmarkDataFromAliasRecord(const plist::Data& aliasRecord) {
  return bookmarkFromAliasRecord(aliasRecord);
}

std::optional<std::string> SimulatedFiles::URLByResolvingBookmarkData(const plist::Data& bookmark) {
  return pathOfBookmark(bookmark, mac_.homeFolder());
}

std::optional<std::string> SimulatedFiles::writeToURLAtomically(const plist::Dictionary& dictionary,
                                                                const std::string& path) {
  auto failure = replaceFile(path, composePropertyList(dictionary), mac_.diskFault);
  if (!failure) session_.record("writeToURLAtomically(" + mac_.shortPath(path) + ")");
  return failure;
}

std::optional<std::string> SimulatedFiles::copyItem(const std::string& from, const std::string& to) {
  auto failure = copyFile(from, to, mac_.diskFault);
  if (!failure) session_.record("copyItem(" + mac_.shortPath(from) + ", " + mac_.shortPath(to) + ")");
  return failure;
}

void SimulatedFiles::removeUnfinishedWrites(const std::string& path) { sim::removeUnfinishedWrites(path); }

}  // namespace vlm::sim
