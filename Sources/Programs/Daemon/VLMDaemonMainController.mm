#include "Daemon/Controllers/DaemonMain.h"
#include "Platform/MacOS/NativeApplication.h"

/// The principal class of the bundle.
@interface VLMDaemonMainController : VLMNativeApplication
@end

@implementation VLMDaemonMainController

+ (vlm::ApplicationClass)portableClass {
  return vlm::applicationClassNamed("VLMDaemonMainController").value_or(vlm::ApplicationClass());
}

@end
