#include "Shared/SystemVersion.h"

#include "Platform/Numbers.h"
#include "Platform/Process.h"
#include "Platform/System.h"

namespace vlm {

namespace {

std::int32_t askForVersion() {
  const auto version = os().system.operatingSystemVersion();
  if (!version) return kSystem10_9;
  return truncateTo<std::int32_t>(version->majorVersion * 65536 + version->minorVersion * 256 + version->patchVersion);
}

struct RunningVersion {
  std::int32_t version = askForVersion();
};

struct Translation {
  bool isComputed = false;
  bool isTranslated = false;
};

}  // namespace

std::int32_t systemVersion() { return Process::current().state<RunningVersion>().version; }

bool Common_AmIRunningRosetta2() {
  auto& translation = Process::current().state<Translation>();
  if (!translation.isComputed) {
    translation.isTranslated = os().system.sysctlbyname("sysctl.proc_translated").value_or(0) != 0;
    translation.isComputed = true;
  }
  return translation.isTranslated;
}

}  // namespace vlm
