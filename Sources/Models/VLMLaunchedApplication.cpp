#include "Models/VLMLaunchedApplication.h"

namespace vlm {

std::shared_ptr<VLMLaunchedApplication> VLMLaunchedApplication::init() {
  return std::shared_ptr<VLMLaunchedApplication>(new VLMLaunchedApplication);
}

std::shared_ptr<VLMLaunchedApplication> VLMLaunchedApplication::initAndDecodeReadableWith(
    const plist::Dictionary& dict) {
  auto application = init();
  application->pid = dict.sInt32("pid");
  application->soundLevel = dict.real32("soundLevel", -1);
  application->isAutoHidden = dict.boolean("isAutoHidden");
  application->restoreAtQuit = dict.boolean("restoreAtQuit");
  application->usesDiscreteGPU = dict.boolean("usesDiscreteGPU");
  if (const plist::Dictionary* const set = dict.dictionary("activeSetAtLaunch")) {
    application->activeSetAtLaunch = VLMDisplaySet::initAndDecodeReadableWith(*set);
  }
  return application;
}

plist::Dictionary VLMLaunchedApplication::encodeReadable() const {
  plist::Dictionary dict{{"pid", pid},
                         {"soundLevel", soundLevel},
                         {"isAutoHidden", isAutoHidden},
                         {"restoreAtQuit", restoreAtQuit},
                         {"usesDiscreteGPU", usesDiscreteGPU}};
  if (activeSetAtLaunch) dict.set("activeSetAtLaunch", activeSetAtLaunch->encodeReadable());
  return dict;
}

}  // namespace vlm
