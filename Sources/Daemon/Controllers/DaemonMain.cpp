#include "Daemon/Controllers/DaemonMain.h"

#include "Daemon/Controllers/VLMDaemonMainController.h"
#include "Platform/Bundle.h"
#include "Platform/Process.h"
#include "Shared/SystemVersion.h"

namespace vlm {

namespace {

std::optional<ApplicationClass> principalClass() {
  const auto name = os().bundle.objectForInfoDictionaryKey("NSPrincipalClass");
  if (!name || name->string() == nullptr) return std::nullopt;
  return os().application.NSClassFromString(*name->string());
}

}  // namespace

int VLMDaemonMain() {
  // Only a native copy may drive the displays: a translated one leaves without a word.
  if (Common_AmIRunningRosetta2()) return 0;
  // Without a class of its own the program is a plain application that does nothing.
  os().application.sharedApplication(principalClass());
  os().application.run([] { os().application.releaseSharedApplication(); });
  return 0;
}

std::optional<ApplicationClass> applicationClassNamed(const std::string& name) {
  if (name != "VLMDaemonMainController") return std::nullopt;
  return [] { return VLMDaemonMainController::init(); };
}

}  // namespace vlm
