#include "Platform/MacOS/Adapters.h"
#include "Platform/MacOS/GuardedCall.h"
#include "Platform/MacOS/PropertyListBridge.h"

#import <ColorSync/ColorSync.h>
#import <Foundation/Foundation.h>

// There since 11, although its header says that it has been for longer; weak, so that the program starts without it.
extern "C" void ColorSyncIterateInstalledProfilesWithOptions(ColorSyncProfileIterateCallback, uint32_t*, void*,
                                                             CFDictionaryRef, CFErrorRef*) __attribute__((weak_import));

namespace vlm::native {

namespace {

// The platform's names of keys are variables, and what stands in most of them is written nowhere; so the port's names
// are exchanged for them one by one.

::ColorSyncProfileRef native(const ColorSyncProfile& profile) {
  return static_cast<::ColorSyncProfileRef>(profile.raw());
}

NSString* key(CFStringRef name) { return (__bridge NSString*)name; }

/// Empty when the text is no UUID.
ScopedCF<CFUUIDRef> makeUUID(const std::string& text) {
  const auto string = makeCFString(text);
  return ScopedCF<CFUUIDRef>(string ? CFUUIDCreateFromString(kCFAllocatorDefault, string.get()) : nullptr);
}

/// Nil when the text is no URL.
NSURL* makeURL(const std::string& text) {
  const auto string = makeCFString(text);
  return string ? [NSURL URLWithString:(__bridge NSString*)string.get()] : nil;
}

std::optional<std::string> textFromObject(id object) {
  return [object isKindOfClass:NSString.class] ? textFromCF((__bridge CFStringRef)object) : std::nullopt;
}

/// Absent for anything else than a URL: a null object stands where there is no profile.
std::optional<std::string> locationFromObject(id object) {
  return [object isKindOfClass:NSURL.class] ? textFromObject([(NSURL*)object absoluteString]) : std::nullopt;
}

/// Nil for anything else than a dictionary.
NSDictionary* dictionaryFromObject(id object) { return [object isKindOfClass:NSDictionary.class] ? object : nil; }

std::optional<std::string> portableIdentifier(id identifier) {
  if ([identifier isEqual:key(::kColorSyncDeviceDefaultProfileID)]) return kColorSyncDeviceDefaultProfileID;
  return textFromObject(identifier);
}

NSString* nativeIdentifier(const std::string& identifier) {
  if (identifier == kColorSyncDeviceDefaultProfileID) return key(::kColorSyncDeviceDefaultProfileID);
  return CFBridgingRelease(makeCFString(identifier).release());
}

/// Of profile identifiers to locations.
plist::Dictionary portableCustomProfiles(NSDictionary* profiles) {
  plist::Dictionary portable;
  for (const id native in profiles) {
    const auto identifier = portableIdentifier(native);
    const auto location = locationFromObject(profiles[native]);
    if (identifier && location) portable.set(*identifier, *location);
  }
  return portable;
}

/// Of profile identifiers to dictionaries that hold a location, and the identifier in use.
plist::Dictionary portableFactoryProfiles(NSDictionary* profiles) {
  plist::Dictionary portable;
  for (const id native in profiles) {
    const auto identifier = portableIdentifier(native);
    if (!identifier) continue;
    if (const auto text = textFromObject(profiles[native])) portable.set(*identifier, *text);
    if (NSDictionary* const profile = dictionaryFromObject(profiles[native])) {
      const auto location = locationFromObject(profile[key(::kColorSyncDeviceProfileURL)]);
      portable.set(*identifier,
                   location ? plist::Dictionary{{kColorSyncDeviceProfileURL, *location}} : plist::Dictionary());
    }
  }
  return portable;
}

bool profileFound(CFDictionaryRef profileInfo, void* userInfo) {
  bool goesOn = false;  // nor does it after an exception
  callGuarded([&] {
    NSDictionary* const native = (__bridge NSDictionary*)profileInfo;
    plist::Dictionary information;
    if (const auto location = locationFromObject(native[key(::kColorSyncProfileURL)])) {
      information.set(kColorSyncProfileURL, *location);
    }
    goesOn = (*static_cast<const ColorSync::ProfileIterator*>(userInfo))(information);
  });
  return goesOn;
}

/// As the iterations hand it through, to `profileFound`.
void* userInfoFor(const ColorSync::ProfileIterator& callback) {
  return const_cast<ColorSync::ProfileIterator*>(&callback);
}

class NativeColorSync final : public ColorSync {
 public:
  std::optional<std::string> CGDisplayCreateUUIDFromDisplayID(CGDirectDisplayID display) override {
    const ScopedCF<CFUUIDRef> uuid(::CGDisplayCreateUUIDFromDisplayID(display));
    if (!uuid) return std::nullopt;
    const ScopedCF<CFStringRef> text(CFUUIDCreateString(kCFAllocatorDefault, uuid.get()));
    return textFromCF(text.get());
  }

  std::optional<plist::Dictionary> ColorSyncDeviceCopyDeviceInfo(const std::string& deviceClass,
                                                                 const std::string& deviceID) override {
    const auto className = makeCFString(deviceClass);
    const auto uuid = makeUUID(deviceID);
    if (!className || !uuid) return std::nullopt;
    NSDictionary* const native = CFBridgingRelease(::ColorSyncDeviceCopyDeviceInfo(className.get(), uuid.get()));
    if (native == nil) return std::nullopt;

    plist::Dictionary information;
    if (NSDictionary* const custom = dictionaryFromObject(native[key(::kColorSyncCustomProfiles)])) {
      information.set(kColorSyncCustomProfiles, portableCustomProfiles(custom));
    }
    if (NSDictionary* const factory = dictionaryFromObject(native[key(::kColorSyncFactoryProfiles)])) {
      information.set(kColorSyncFactoryProfiles, portableFactoryProfiles(factory));
    }
    return information;
  }
  bool ColorSyncDeviceSetCustomProfiles(const std::string& deviceClass, const std::string& deviceID,
                                        const plist::Dictionary& profiles) override {
    const auto className = makeCFString(deviceClass);
    const auto uuid = makeUUID(deviceID);
    if (!className || !uuid) return false;
    NSMutableDictionary* const native = [NSMutableDictionary dictionary];
    for (const plist::Entry& entry : profiles) {
      NSString* const identifier = nativeIdentifier(entry.key);
      NSURL* const location = entry.value.string() != nullptr ? makeURL(*entry.value.string()) : nil;
      if (identifier == nil || location == nil) return false;
      native[identifier] = location;
    }
    return ::ColorSyncDeviceSetCustomProfiles(className.get(), uuid.get(), (__bridge CFDictionaryRef)native);
  }

  void ColorSyncIterateInstalledProfiles(const ProfileIterator& callback) override {
    ::ColorSyncIterateInstalledProfiles(profileFound, nullptr, userInfoFor(callback), nullptr);
  }
  void ColorSyncIterateInstalledProfilesWithOptions(const ProfileIterator& callback,
                                                    const plist::Dictionary& options) override {
    if (@available(macOS 11, *)) {
      NSDictionary* const native =
          @{key(::kColorSyncWaitForCacheReply) : @(options.boolean(kColorSyncWaitForCacheReply))};
      ::ColorSyncIterateInstalledProfilesWithOptions(profileFound, nullptr, userInfoFor(callback),
                                                     (__bridge CFDictionaryRef)native, nullptr);
    }
  }

  std::optional<ColorSyncProfile> ColorSyncProfileCreateWithURL(const std::string& url) override {
    NSURL* const location = makeURL(url);
    if (location == nil) return std::nullopt;
    const ::ColorSyncProfileRef profile = ::ColorSyncProfileCreateWithURL((__bridge CFURLRef)location, nullptr);
    if (profile == nullptr) return std::nullopt;
    return ColorSyncProfile(*this, const_cast<::ColorSyncMutableProfileRef>(profile));
  }
  std::optional<std::string> ColorSyncProfileCopyDescriptionString(const ColorSyncProfile& profile) override {
    const ScopedCF<CFStringRef> description(::ColorSyncProfileCopyDescriptionString(native(profile)));
    return textFromCF(description.get());
  }
  std::optional<std::string> ColorSyncProfileGetURL(const ColorSyncProfile& profile) override {
    return locationFromObject((__bridge id)::ColorSyncProfileGetURL(native(profile), nullptr));
  }
  std::optional<plist::Data> ColorSyncProfileCopyHeader(const ColorSyncProfile& profile) override {
    const ScopedCF<CFDataRef> header(::ColorSyncProfileCopyHeader(native(profile)));
    return dataFromCF(header.get());
  }
  std::optional<plist::Data> ColorSyncProfileCopyTag(const ColorSyncProfile& profile,
                                                     const std::string& signature) override {
    const auto name = makeCFString(signature);
    if (!name) return std::nullopt;
    const ScopedCF<CFDataRef> tag(::ColorSyncProfileCopyTag(native(profile), name.get()));
    return dataFromCF(tag.get());
  }
  void ColorSyncProfileRelease(void* raw) override { CFRelease(raw); }
};

}  // namespace

std::unique_ptr<ColorSync> makeNativeColorSync() { return std::make_unique<NativeColorSync>(); }

}  // namespace vlm::native
