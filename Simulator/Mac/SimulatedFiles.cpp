#include "Simulator/Mac/SimulatedFiles.h"

#include <unistd.h>

#include <utility>

#include "Simulator/Mac/AtomicFile.h"
#include "Simulator/Mac/PropertyListFile.h"
#include "Simulator/Mac/Session.h"
#include "Simulator/Mac/SimulatedMac.h"

namespace vlm::sim {

std::optional<std::string> SimulatedFiles::libraryDirectory(Domain domain) {
  return (domain == Domain::user ? mac_.homeFolder() : mac_.localFolder()) + "/Library";
}

bool SimulatedFiles::checkResourceIsReachable(const std::string& path) { return access(path.c_str(), F_OK) == 0; }

std::optional<plist::Dictionary> SimulatedFiles::dictionaryWithContentsOfURL(const std::string& path) {
  PropertyListResult result = readPropertyList(path);
  if (!result.value || result.value->dictionary() == nullptr) return std::nullopt;
  return std::move(*result.value->dictionary());
}

std::optional<std::string> SimulatedFiles::writeToURLAtomically(const plist::Dictionary& dictionary,
                                                                const std::string& path) {
  if (mac_.fileWriteFailure) return mac_.fileWriteFailure;
  auto failure = replaceFile(path, composePropertyList(dictionary));
  if (!failure) session_.record("writeToURLAtomically(" + mac_.shortPath(path) + ")");
  return failure;
}

}  // namespace vlm::sim
