#pragma once

#include "Platform/Application.h"

#import <AppKit/AppKit.h>

/// The Objective-C face of a portable application object, and its own delegate. A program has a subclass of it, which
/// its Info.plist names under NSPrincipalClass.
@interface VLMNativeApplication : NSApplication <NSApplicationDelegate>

/// Makes the portable object behind the face. For the subclass; without one there is none.
+ (vlm::ApplicationClass)portableClass;

/// What the delegate's messages go on to; null is nobody. Not owned.
@property(nonatomic, assign) vlm::ApplicationObject* portableDelegate;

@end
