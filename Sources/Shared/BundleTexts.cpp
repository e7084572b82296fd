#include "Shared/BundleTexts.h"

#include "Platform/Bundle.h"
#include "Platform/Process.h"

namespace vlm {

std::string GetBundleIndNSString(const std::string& table, std::int32_t index) {
  const std::string key = std::to_string(index);
  return GetBundleNSString(table, key, key);
}

std::string GetBundleNSString(const std::string& table, const std::string& key, const std::string& ifAbsent) {
  return os().bundle.localizedString(table, key).value_or(ifAbsent);
}

}  // namespace vlm
