#include "Graphics/GSMux.h"

#include "Platform/IORegistry.h"
#include "Platform/Process.h"

namespace vlm {

bool GSMux::canSwitchGPU() {
  const IOObject services = os().registry.IOServiceGetMatchingServices("AppleGraphicsControl");
  return services && os().registry.IOIteratorNext(services);
}

}  // namespace vlm
