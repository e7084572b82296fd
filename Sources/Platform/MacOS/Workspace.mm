#include "Platform/MacOS/Adapters.h"
#include "Platform/MacOS/NativeText.h"
#include "Platform/MacOS/PropertyListBridge.h"

#import <AppKit/AppKit.h>
#import <CoreServices/CoreServices.h>

namespace vlm::native {

namespace {

NSArray<NSString*>* nativeTexts(const std::vector<std::string>& texts) {
  NSMutableArray<NSString*>* array = [NSMutableArray array];
  for (const std::string& text : texts) {
    if (NSString* object = native(text)) [array addObject:object];
  }
  return array;
}

std::string textOrNone(NSString* text) { return textFromCF((__bridge CFStringRef)text).value_or(std::string()); }

RunningApplication description(NSRunningApplication* application) {
  return {.processIdentifier = application.processIdentifier,
          .bundleIdentifier = textOrNone(application.bundleIdentifier),
          .localizedName = textOrNone(application.localizedName),
          .bundlePath = textOrNone(application.bundleURL.path),
          .activationPolicy = static_cast<ActivationPolicy>(application.activationPolicy)};
}

std::optional<RunningApplication> descriptionIfThere(NSRunningApplication* application) {
  if (application == nil) return std::nullopt;
  return description(application);
}

std::vector<RunningApplication> descriptions(NSArray<NSRunningApplication*>* applications) {
  std::vector<RunningApplication> list;
  for (NSRunningApplication* application in applications) list.push_back(description(application));
  return list;
}

/// Nil when there is no such application; then every call below answers "no".
NSRunningApplication* applicationOf(std::int32_t processIdentifier) {
  return [NSRunningApplication runningApplicationWithProcessIdentifier:processIdentifier];
}

class NativeWorkspace final : public Workspace {
 public:
  std::int32_t processIdentifier() override { return NSProcessInfo.processInfo.processIdentifier; }
  std::vector<RunningApplication> runningApplicationsWithBundleIdentifier(const std::string& identifier) override {
    NSString* text = native(identifier);
    if (text == nil) return {};
    return descriptions([NSRunningApplication runningApplicationsWithBundleIdentifier:text]);
  }
  bool forceTerminate(std::int32_t processIdentifier) override {
    return [applicationOf(processIdentifier) forceTerminate];
  }
  std::optional<RunningApplication> runningApplicationWithProcessIdentifier(std::int32_t processIdentifier) override {
    return descriptionIfThere(applicationOf(processIdentifier));
  }
  std::vector<RunningApplication> runningApplications() override {
    return descriptions(NSWorkspace.sharedWorkspace.runningApplications);
  }
  std::optional<RunningApplication> frontmostApplication() override {
    return descriptionIfThere(NSWorkspace.sharedWorkspace.frontmostApplication);
  }
  bool hide(std::int32_t processIdentifier) override {
    NSRunningApplication* application = applicationOf(processIdentifier);
    // Hiding a hidden one counts as done to the platform.
    return !application.hidden && [application hide];
  }
  bool activateWithOptions(std::int32_t processIdentifier, std::uint32_t options) override {
    return [applicationOf(processIdentifier) activateWithOptions:options];
  }

  bool openFile(const std::string& path) override {
    NSString* text = native(path);
    return text != nil && [NSWorkspace.sharedWorkspace openFile:text];
  }
  bool openURL(const std::string& url) override {
    NSString* text = native(url);
    NSURL* location = text == nil ? nil : [NSURL URLWithString:text];
    return location != nil && [NSWorkspace.sharedWorkspace openURL:location];
  }
  void openApplicationAtURL(const std::string& path, const std::vector<std::string>& arguments) override {
    NSURL* url = fileURL(path);
    if (url == nil) return;
    NSWorkspaceOpenConfiguration* configuration = [NSWorkspaceOpenConfiguration configuration];
    configuration.arguments = nativeTexts(arguments);
    [NSWorkspace.sharedWorkspace openApplicationAtURL:url configuration:configuration completionHandler:nil];
  }
  bool launchApplicationAtURL(const std::string& path, std::uint32_t options,
                              const std::vector<std::string>& arguments) override {
    NSURL* url = fileURL(path);
    if (url == nil) return false;
    return [NSWorkspace.sharedWorkspace
               launchApplicationAtURL:url
                              options:options
                        configuration:@{NSWorkspaceLaunchConfigurationArguments : nativeTexts(arguments)}
                                error:nil] != nil;
  }

  std::int32_t LSFindApplicationForInfo(std::uint32_t creator, const std::optional<std::string>& bundleIdentifier,
                                        const std::optional<std::string>& name, std::string& path) override {
    const auto identifierText = bundleIdentifier ? makeCFString(*bundleIdentifier) : ScopedCF<CFStringRef>();
    const auto nameText = name ? makeCFString(*name) : ScopedCF<CFStringRef>();
    ScopedCF<CFURLRef> url;
    const OSStatus error =
        ::LSFindApplicationForInfo(creator, identifierText.get(), nameText.get(), nullptr, url.receive());
    if (error == noErr) path = textOrNone(((__bridge NSURL*)url.get()).path);
    return error;
  }
  std::int32_t LSOpenFromURLSpec(const std::string& path, std::uint32_t launchFlags, std::uint32_t code) override {
    // Owned here: what stands in a C record alone is not kept alive until the call.
    const ScopedCF<CFURLRef> url(static_cast<CFURLRef>(CFBridgingRetain(fileURL(path))));
    if (!url) return fnfErr;
    NSAppleEventDescriptor* parameter = [NSAppleEventDescriptor descriptorWithTypeCode:code];
    const LSLaunchURLSpec launch = {.appURL = url.get(),
                                    .itemURLs = nullptr,
                                    .passThruParams = parameter.aeDesc,
                                    .launchFlags = launchFlags,
                                    .asyncRefCon = nullptr};
    return ::LSOpenFromURLSpec(&launch, nullptr);
  }
};

}  // namespace

std::unique_ptr<Workspace> makeNativeWorkspace() { return std::make_unique<NativeWorkspace>(); }

}  // namespace vlm::native
