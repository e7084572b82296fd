#include "Platform/MacOS/Adapters.h"
#include "Platform/MacOS/PropertyListBridge.h"

#import <CoreFoundation/CoreFoundation.h>

namespace vlm::native {

namespace {

class NativePreferences final : public Preferences {
 public:
  std::optional<plist::Value> CFPreferencesCopyValue(const std::string& key,
                                                     const std::string& applicationID) override {
    const auto name = makeCFString(key);
    const auto domain = makeCFString(applicationID);
    if (!name || !domain) return std::nullopt;
    const ScopedCF<CFPropertyListRef> value(
        ::CFPreferencesCopyValue(name.get(), domain.get(), kCFPreferencesCurrentUser, kCFPreferencesAnyHost));
    return valueFromCF(value.get());
  }

  void CFPreferencesSetValue(const std::string& key, const std::optional<plist::Value>& value,
                             const std::string& applicationID) override {
    const auto name = makeCFString(key);
    const auto domain = makeCFString(applicationID);
    if (!name || !domain) return;
    const auto object = value ? makeCFObject(*value) : ScopedCF<CFTypeRef>();
    // Null removes the key; a value that cannot be stored must not.
    if (value && !object) return;
    ::CFPreferencesSetValue(name.get(), object.get(), domain.get(), kCFPreferencesCurrentUser, kCFPreferencesAnyHost);
  }

  bool CFPreferencesSynchronize(const std::string& applicationID) override {
    const auto domain = makeCFString(applicationID);
    return domain && ::CFPreferencesSynchronize(domain.get(), kCFPreferencesCurrentUser, kCFPreferencesAnyHost) != 0;
  }
};

}  // namespace

std::unique_ptr<Preferences> makeNativePreferences() { return std::make_unique<NativePreferences>(); }

}  // namespace vlm::native
