#include "Shared/VirtualDisplays.h"

#include "Platform/Input.h"
#include "Platform/Process.h"

namespace vlm {

bool Common_CGIsVirtual(CGDirectDisplayID display) {
  return os().quartz.CGDisplayVendorNumber(display) == fourCharCode("unkn") &&
         os().quartz.CGDisplayModelNumber(display) == fourCharCode("virt");
}

bool Common_CGIsVirtualOrIPad(CGDirectDisplayID display) {
  const std::uint32_t model = os().quartz.CGDisplayModelNumber(display);
  const bool isSent = model == fourCharCode("airp") || model == fourCharCode("iPad");
  return (isSent && os().quartz.CGDisplayVendorNumber(display) == fourCharCode("aapl")) || Common_CGIsVirtual(display);
}

bool Common_CGIsInVirtualMachine(CGDirectDisplayID display) {
  return os().quartz.CGDisplayVendorNumber(display) == 0 && os().quartz.CGDisplayModelNumber(display) == 0 &&
         os().quartz.CGDisplaySerialNumber(display) == 0x12345678;
}

}  // namespace vlm
