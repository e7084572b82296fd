#include "Models/OverrideContent.h"

#include <algorithm>
#include <charconv>
#include <functional>
#include <string_view>

#include "Platform/Numbers.h"

namespace vlm {

namespace {

constexpr std::size_t kStandardModeLength = 16;

}  // namespace

std::optional<std::string> productNameIn(const plist::Dictionary& dictionary) {
  const plist::Value* const name = dictionary.find("DisplayProductName");
  if (name == nullptr) return std::nullopt;
  if (const std::string* const text = name->string()) return *text;
  const plist::Dictionary* const texts = name->dictionary();
  if (texts == nullptr) return std::nullopt;
  if (const auto english = texts->string("en_US")) return english;
  for (const plist::Entry& entry : *texts) {
    if (const std::string* const text = entry.value.string()) return *text;
  }
  return std::nullopt;
}

bool isUnfilled(const VLMOverrideResolution& resolution) {
  return resolution.resolutionType == VLMOverrideResolution::kCustomTiming && resolution.activeNx == 0 &&
         resolution.activeNy == 0;
}

std::size_t hashOfItem(const plist::Value& item) {
  if (const plist::Data* const data = item.data()) {
    return std::hash<std::string_view>()({reinterpret_cast<const char*>(data->data()), data->size()});
  }
  return std::hash<std::uint64_t>()(item.uInt64());
}

std::size_t hashOfKey(const std::string& key) { return std::hash<std::string>()("tovr " + key); }

bool isOurStandardMode(const plist::Value& record) {
  const plist::Data* const data = record.data();
  return data != nullptr && data->size() >= kStandardModeLength &&
         std::equal(kStandardModeMark.begin(), kStandardModeMark.end(), data->begin(),
                    [](char wanted, std::uint8_t byte) { return static_cast<std::uint8_t>(wanted) == byte; });
}

std::int16_t appleIDOfKey(const std::string& key) {
  std::int64_t number = 0;
  std::from_chars(key.data(), key.data() + key.size(), number);
  return truncateTo<std::int16_t>(number);
}

}  // namespace vlm
