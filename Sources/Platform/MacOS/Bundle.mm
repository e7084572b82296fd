#include "Platform/MacOS/Adapters.h"
#include "Platform/MacOS/NativeText.h"
#include "Platform/MacOS/PropertyListBridge.h"

#import <Foundation/Foundation.h>

namespace vlm::native {

namespace {

std::optional<std::string> textFrom(NSString* text) { return textFromCF((__bridge CFStringRef)text); }

/// What a table answers for a key that it lacks. Without such a text it answers the key, which may be a text too.
NSString* const kMissing = @"\x01 missing";

class NativeBundle final : public Bundle {
 public:
  std::optional<plist::Value> objectForInfoDictionaryKey(const std::string& key) override {
    NSString* name = native(key);
    if (name == nil) return std::nullopt;
    return valueFromCF((__bridge CFTypeRef)[NSBundle.mainBundle objectForInfoDictionaryKey:name]);
  }

  std::optional<plist::Dictionary> infoDictionaryOfBundleAt(const std::string& path) override {
    // A bundle object would be kept, and go on telling what stood there before an update.
    const ScopedCF<CFURLRef> url(CFURLCreateFromFileSystemRepresentation(
        kCFAllocatorDefault, reinterpret_cast<const UInt8*>(path.data()), static_cast<CFIndex>(path.size()), true));
    if (!url) return std::nullopt;
    const ScopedCF<CFDictionaryRef> information(CFBundleCopyInfoDictionaryInDirectory(url.get()));
    return dictionaryFromCF(information.get());
  }

  std::string bundlePath() override { return textFrom(NSBundle.mainBundle.bundlePath).value_or(""); }

  std::optional<std::string> localizedString(const std::string& table, const std::string& key) override {
    NSString* tableName = native(table);
    NSString* name = native(key);
    if (tableName == nil || name == nil) return std::nullopt;
    NSString* text = [NSBundle.mainBundle localizedStringForKey:name value:kMissing table:tableName];
    if ([text isEqualToString:kMissing]) return std::nullopt;
    return textFrom(text);
  }
};

}  // namespace

std::unique_ptr<Bundle> makeNativeBundle() { return std::make_unique<NativeBundle>(); }

}  // namespace vlm::native
