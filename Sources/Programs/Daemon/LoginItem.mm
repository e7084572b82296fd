#include "Programs/Daemon/LoginItem.h"

#include <cstdio>

#include <dlfcn.h>

#import <Foundation/Foundation.h>

/// What is used of the class SMAppService (ServiceManagement, SMAppService.h), which came with macOS 13. It is looked
/// up by name, so that the program also starts, and is built, where it is missing.
@protocol VLMAppService <NSObject>
/// The service that starts the calling application with the session.
@property(class, nonatomic, readonly) id<VLMAppService> mainAppService;
- (BOOL)registerAndReturnError:(NSError**)error;
- (BOOL)unregisterAndReturnError:(NSError**)error;
@end

namespace vlm::native {

namespace {

int fail(const char* reason) {
  std::fprintf(stderr, "Velmoratix Daemon: %s\n", reason);
  return 1;
}

int changeLoginItem(bool isWanted) {
  dlopen("/System/Library/Frameworks/ServiceManagement.framework/ServiceManagement", RTLD_LAZY | RTLD_LOCAL);
  const Class<VLMAppService> appService = NSClassFromString(@"SMAppService");
  if (appService == Nil) return fail("this system has no login items of its own (macOS 13); install the launch agent");
  const id<VLMAppService> service = [appService mainAppService];
  NSError* error = nil;
  const BOOL done = isWanted ? [service registerAndReturnError:&error] : [service unregisterAndReturnError:&error];
  if (done) {
    std::puts(isWanted ? "The daemon starts with the session from now on."
                       : "The daemon no longer starts with the session.");
    return 0;
  }
  return fail(error != nil ? error.localizedDescription.UTF8String : "the system did not say why it refused");
}

}  // namespace

std::optional<int> answerLoginItemRequest(std::string_view argument) {
  if (argument == kRegisterLoginItem) return changeLoginItem(true);
  if (argument == kUnregisterLoginItem) return changeLoginItem(false);
  return std::nullopt;
}

}  // namespace vlm::native
