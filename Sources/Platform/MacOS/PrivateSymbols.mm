#include "Platform/MacOS/PrivateSymbols.h"

#include <dlfcn.h>

namespace vlm::native {

namespace {

/// A framework or library, loaded for as long as the program runs.
class Library {
 public:
  explicit Library(const char* path) : handle_(dlopen(path, RTLD_LAZY | RTLD_LOCAL)) {}

  template <class Function>
  void lookUp(const char* name, Function*& function) const {
    if (handle_ != nullptr) function = reinterpret_cast<Function*>(dlsym(handle_, name));
  }

 private:
  void* handle_;
};

PrivateSymbols lookUpAll() {
  PrivateSymbols symbols;

  const Library coreGraphics("/System/Library/Frameworks/CoreGraphics.framework/CoreGraphics");
  coreGraphics.lookUp("CGSGetDisplayList", symbols.CGSGetDisplayList);
  coreGraphics.lookUp("CGSGetNumberOfDisplayModes", symbols.CGSGetNumberOfDisplayModes);
  coreGraphics.lookUp("CGSGetDisplayModeDescriptionOfLength", symbols.CGSGetDisplayModeDescriptionOfLength);
  coreGraphics.lookUp("CGSGetCurrentDisplayMode", symbols.CGSGetCurrentDisplayMode);
  coreGraphics.lookUp("CGSConfigureDisplayMode", symbols.CGSConfigureDisplayMode);
  coreGraphics.lookUp("CGSConfigureDisplayEnabled", symbols.CGSConfigureDisplayEnabled);
  coreGraphics.lookUp("CGSConfigureDisplayOrigin", symbols.CGSConfigureDisplayOrigin);
  coreGraphics.lookUp("CGDisplayUsesForceToGray", symbols.CGDisplayUsesForceToGray);
  coreGraphics.lookUp("CGDisplayForceToGray", symbols.CGDisplayForceToGray);

  const Library universalAccess("/System/Library/PrivateFrameworks/UniversalAccess.framework/UniversalAccess");
  universalAccess.lookUp("UAGrayscaleIsEnabled", symbols.UAGrayscaleIsEnabled);
  universalAccess.lookUp("UAGrayscaleSetEnabled", symbols.UAGrayscaleSetEnabled);

  // Exports what the frameworks within it export, HIServices among them.
  const Library applicationServices("/System/Library/Frameworks/ApplicationServices.framework/ApplicationServices");
  applicationServices.lookUp("CoreDockGetAutoHideEnabled", symbols.CoreDockGetAutoHideEnabled);
  applicationServices.lookUp("CoreDockSetAutoHideEnabled", symbols.CoreDockSetAutoHideEnabled);

  const Library skyLight("/System/Library/PrivateFrameworks/SkyLight.framework/SkyLight");
  skyLight.lookUp("SLSCopyDisplayUUID", symbols.SLSCopyDisplayUUID);
  skyLight.lookUp("SLSIsDisplayModeVRR", symbols.SLSIsDisplayModeVRR);
  skyLight.lookUp("SLSDisplaySupportsHDRMode", symbols.SLSDisplaySupportsHDRMode);
  skyLight.lookUp("SLSDisplayIsHDRModeEnabled", symbols.SLSDisplayIsHDRModeEnabled);
  skyLight.lookUp("SLSDisplaySetHDRModeEnabled", symbols.SLSDisplaySetHDRModeEnabled);
  skyLight.lookUp("SLSSetDisplayRotation", symbols.SLSSetDisplayRotation);
  skyLight.lookUp("SLSDisplayGetActivePresetIndex", symbols.SLSDisplayGetActivePresetIndex);
  skyLight.lookUp("SLSDisplaySetActivePresetIndex", symbols.SLSDisplaySetActivePresetIndex);

  const Library displayServices("/System/Library/PrivateFrameworks/DisplayServices.framework/DisplayServices");
  displayServices.lookUp("DisplayServicesCanChangeBrightness", symbols.DisplayServicesCanChangeBrightness);
  displayServices.lookUp("DisplayServicesGetBrightness", symbols.DisplayServicesGetBrightness);
  displayServices.lookUp("DisplayServicesSetBrightness", symbols.DisplayServicesSetBrightness);
  displayServices.lookUp("DisplayServicesRegisterForBrightnessChangeNotifications",
                         symbols.DisplayServicesRegisterForBrightnessChangeNotifications);
  displayServices.lookUp("DisplayServicesUnregisterForBrightnessChangeNotifications",
                         symbols.DisplayServicesUnregisterForBrightnessChangeNotifications);

  const Library coreDisplay("/System/Library/Frameworks/CoreDisplay.framework/CoreDisplay");
  coreDisplay.lookUp("CoreDisplay_Display_GetPresetCount", symbols.CoreDisplay_Display_GetPresetCount);
  coreDisplay.lookUp("CoreDisplay_Display_CopyPresetData", symbols.CoreDisplay_Display_CopyPresetData);

  const Library ioKit("/System/Library/Frameworks/IOKit.framework/IOKit");
  ioKit.lookUp("IOAVServiceCreateWithService", symbols.IOAVServiceCreateWithService);
  ioKit.lookUp("IOAVServiceWriteI2C", symbols.IOAVServiceWriteI2C);
  ioKit.lookUp("IOAVServiceReadI2C", symbols.IOAVServiceReadI2C);
  ioKit.lookUp("IOAVServiceCopyEDID", symbols.IOAVServiceCopyEDID);

  return symbols;
}

}  // namespace

const PrivateSymbols& privateSymbols() {
  static const PrivateSymbols symbols = lookUpAll();
  return symbols;
}

}  // namespace vlm::native
