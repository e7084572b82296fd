#include "Models/VLMGlobals.h"
#include "Shared/SystemVersion.h"

/// The folders in which the platform looks for override files.
namespace vlm {

namespace {

constexpr const char* kSystemDirectory = "/System/Library/Displays/Contents/Resources/Overrides";
constexpr const char* kOldSystemDirectory = "/System/Library/Displays/Overrides";
constexpr const char* kLibraryDirectory = "/Library/Displays/Contents/Resources/Overrides";
/// From here on the platform reads the directory below /Library; until here the older one of the system.
constexpr std::int32_t kLibraryDirectorySince = systemVersionOf(10, 15, 2);
constexpr std::int32_t kOldDirectoryBefore = systemVersionOf(10, 11);

bool readsLibraryDirectory(bool includingLibDir) {
  return includingLibDir && systemVersion() >= kLibraryDirectorySince;
}

}  // namespace

std::vector<std::string> VLMGlobals::overridesPathsForReadingIncludingLibDir(bool includingLibDir) {
  if (readsLibraryDirectory(includingLibDir)) return {kSystemDirectory, kLibraryDirectory};
  return {systemVersion() < kOldDirectoryBefore ? kOldSystemDirectory : kSystemDirectory};
}

std::string VLMGlobals::overridesPathForSavingIncludingLibDir(bool includingLibDir) {
  // The one that wins when both hold a file.
  return overridesPathsForReadingIncludingLibDir(includingLibDir).back();
}

}  // namespace vlm
