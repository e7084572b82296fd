#include "Platform/MacOS/Adapters.h"
#include "Platform/MacOS/GuardedCall.h"
#include "Platform/MacOS/PropertyListBridge.h"

#include <map>
#include <utility>

#import <CoreFoundation/CoreFoundation.h>
#import <IOKit/ps/IOPowerSources.h>

namespace vlm::native {

namespace {

using Callback = std::function<void()>;

void powerSourceChanged(void* context) { callGuarded(*static_cast<const Callback*>(context)); }

class NativePowerSources final : public PowerSources {
 public:
  ~NativePowerSources() override {
    // Takes them out of the run loop for good, whoever else still holds them.
    for (const auto& [number, source] : sources_) ::CFRunLoopSourceInvalidate(source.runLoopSource.get());
  }

  std::optional<std::string> IOPSGetProvidingPowerSourceType() override {
    const ScopedCF<CFTypeRef> snapshot(::IOPSCopyPowerSourcesInfo());
    if (!snapshot) return std::nullopt;
    // The text belongs to the platform.
    return textFromCF(::IOPSGetProvidingPowerSourceType(snapshot.get()));
  }

  PowerSourceRunLoopSource IOPSNotificationCreateRunLoopSource(Callback callback) override {
    const PowerSourceRunLoopSource number = ++lastSource_;
    Source& source = sources_[number];
    source.callback = std::move(callback);
    source.runLoopSource = ScopedCF(::IOPSNotificationCreateRunLoopSource(powerSourceChanged, &source.callback));
    if (source.runLoopSource) return number;
    sources_.erase(number);
    return 0;
  }
  void CFRunLoopAddSource(PowerSourceRunLoopSource source) override {
    const auto found = sources_.find(source);
    if (found == sources_.end()) return;
    ::CFRunLoopAddSource(CFRunLoopGetMain(), found->second.runLoopSource.get(), kCFRunLoopDefaultMode);
  }
  void CFRunLoopRemoveSource(PowerSourceRunLoopSource source) override {
    const auto found = sources_.find(source);
    if (found == sources_.end()) return;
    ::CFRunLoopRemoveSource(CFRunLoopGetMain(), found->second.runLoopSource.get(), kCFRunLoopDefaultMode);
  }

 private:
  struct Source {
    /// The platform keeps its address.
    Callback callback;
    ScopedCF<CFRunLoopSourceRef> runLoopSource;
  };

  PowerSourceRunLoopSource lastSource_ = 0;
  std::map<PowerSourceRunLoopSource, Source> sources_;
};

}  // namespace

std::unique_ptr<PowerSources> makeNativePowerSources() { return std::make_unique<NativePowerSources>(); }

}  // namespace vlm::native
