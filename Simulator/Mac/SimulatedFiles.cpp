#include "Simulator/Mac/SimulatedFiles.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <utility>

#include "Simulator/Mac/AtomicFile.h"
#include "Simulator/Mac/Bookmark.h"
#include "Simulator/Mac/PropertyListFile.h"
#include "Simulator/Mac/Session.h"
#include "Simulator/Mac/SimulatedMac.h"
#include "Simulator/Mac/StandardModeTable.h"
#include "Simulator/Mac/SystemVersion.h"

namespace vlm::sim {

std::optional<std::string> SimulatedFiles::libraryDirectory(Domain domain) {
  if (!mac_.hasLibraryFolders) return std::nullopt;
  return (domain == Domain::user ? mac_.homeFolder() : mac_.localFolder()) + "/Library";
}

bool SimulatedFiles::isStandardModeTable(const std::string& path) const {
  return path == standardModeTablePath(mac_.machine().systemVersion) && access(mac_.hostPath(path).c_str(), F_OK) != 0;
}

bool SimulatedFiles::checkResourceIsReachable(const std::string& path) {
  return access(mac_.hostPath(path).c_str(), F_OK) == 0 || isStandardModeTable(path);
}

std::optional<plist::Dictionary> SimulatedFiles::dictionaryWithContentsOfURL(const std::string& path) {
  std::optional<plist::Value> value = propertyListWithContentsOfURL(path);
  if (!value || value->dictionary() == nullptr) return std::nullopt;
  return std::move(*value->dictionary());
}

std::optional<plist::Value> SimulatedFiles::propertyListWithContentsOfURL(const std::string& path) {
  if (isStandardModeTable(path)) return standardModeTable();
  return readPropertyList(mac_.hostPath(path)).value;
}

std::optional<plist::Data> SimulatedFiles::dataWithContentsOfURL(const std::string& path) {
  std::string reason;
  const auto content = readFile(mac_.hostPath(path), kLargestPropertyListFile, reason);
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
  auto failure = replaceFile(mac_.hostPath(path), composePropertyList(dictionary), mac_.diskFault);
  if (!failure) session_.record("writeToURLAtomically(" + mac_.shortPath(path) + ")");
  return failure;
}

std::optional<std::string> SimulatedFiles::writeToURLAsAdministrator(const plist::Value& propertyList,
                                                                     const std::string& path) {
  // System integrity protection does not ask who it is.
  const bool isProtected = path.starts_with("/System/") && isAtLeast(mac_.machine().systemVersion, 10, 11);
  if (isProtected) return std::strerror(EPERM);
  if (!mac_.administratorAllows || mac_.diskFault == DiskFault::readOnly) return std::strerror(EACCES);
  const std::string place = mac_.hostPath(path);
  std::error_code error;
  std::filesystem::create_directories(std::filesystem::path(place).parent_path(), error);
  if (error) return error.message();
  auto failure = replaceFile(place, composePropertyList(propertyList), mac_.diskFault, NewFile::readableByAll);
  if (!failure) session_.record("writeToURLAsAdministrator(" + mac_.shortPath(path) + ")");
  return failure;
}

std::optional<std::string> SimulatedFiles::copyItem(const std::string& from, const std::string& to) {
  auto failure = copyFile(mac_.hostPath(from), mac_.hostPath(to), mac_.diskFault);
  if (!failure) session_.record("copyItem(" + mac_.shortPath(from) + ", " + mac_.shortPath(to) + ")");
  return failure;
}

void SimulatedFiles::removeUnfinishedWrites(const std::string& path) {
  sim::removeUnfinishedWrites(mac_.hostPath(path));
}

}  // namespace vlm::sim
