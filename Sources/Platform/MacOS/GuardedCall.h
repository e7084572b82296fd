#pragma once

#include <exception>

#import <Foundation/Foundation.h>

namespace vlm::native {

/// Calls the daemon's code out of a callback of the platform. The frames above cannot unwind, so an exception (one of
/// Objective-C too) ends here, with a line in the log; what the call autoreleased is released at once.
template <class Function, class... Arguments>
void callGuarded(const Function& function, const Arguments&... arguments) noexcept {
  @autoreleasepool {
    try {
      function(arguments...);
    } catch (const std::exception& exception) {
      NSLog(@"A callback threw: %s", exception.what());
    } catch (NSException* exception) {
      NSLog(@"A callback threw: %@: %@", exception.name, exception.reason);
    } catch (...) {
      NSLog(@"A callback threw");
    }
  }
}

}  // namespace vlm::native
