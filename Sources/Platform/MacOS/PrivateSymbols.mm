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
