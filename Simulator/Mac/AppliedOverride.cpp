#include "Simulator/Mac/AppliedOverride.h"

#include <algorithm>
#include <charconv>
#include <string_view>
#include <utility>

#include "Simulator/Mac/EdidReading.h"
#include "Simulator/Mac/StandardTimings.h"
#include "Simulator/Mac/TimingLimits.h"

namespace vlm::sim {
namespace {

/// A file that has more of a kind is made to be a nuisance.
constexpr std::size_t kMostOfAKind = 500, kMostFindings = 100;
/// What scalers take.
constexpr std::uint32_t kLargestScaledSide = 16384;

std::uint32_t bigEndian(const plist::Data& data, std::size_t offset) {
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < 4; ++i) value = value << 8 | data[offset + i];
  return value;
}

std::string lengthFault(std::size_t length, std::size_t needed, const char* what) {
  return "has " + std::to_string(length) + " bytes, " + std::to_string(needed) + " make " + what;
}

class Application {
 public:
  Application(const plist::Data& edidBytes, const ParsedEdid& monitor, const plist::Dictionary& content)
      : monitor_(monitor), content_(content) {
    result_.edidBytes = edidBytes;
    result_.edid = monitor;
  }

  AppliedOverride apply() {
    result_.additions.shown = monitor_.limits;
    result_.range = driverLimits(monitor_);
    applyEdid();
    applyDescriptors();
    applyStandardModes();
    applyScaledSizes();
    applyRange();
    applyDefaultResolution();
    applyName();
    result_.additions.safe = result_.range;
    return std::move(result_);
  }

 private:
  void finding(const std::string& where, const std::string& what) {
    if (result_.findings.size() < kMostFindings) result_.findings.push_back(where + ": " + what);
  }

  /// The bytes of a key, when they are there and enough of them.
  const plist::Data* dataOf(const char* key, std::size_t length, const char* what) {
    const plist::Value* value = content_.find(key);
    if (value == nullptr) return nullptr;
    const plist::Data* data = value->data();
    if (data == nullptr) {
      finding(key, "is no data");
    } else if (data->size() < length) {
      finding(key, lengthFault(data->size(), length, what));
      data = nullptr;
    }
    return data;
  }

  const plist::Array& itemsOf(const char* key) {
    static const plist::Array none;
    const plist::Value* value = content_.find(key);
    if (value == nullptr) return none;
    if (value->array() == nullptr) {
      finding(key, "is no array");
      return none;
    }
    if (value->array()->size() > kMostOfAKind) finding(key, "has too many items, the first ones count");
    return *value->array();
  }

  /// A key's items, each with its place; `use` answers what is wrong with it, or nothing.
  template <typename Use>
  void forEachOf(const char* key, Use use) {
    const plist::Array& items = itemsOf(key);
    for (std::size_t i = 0; i < std::min(items.size(), kMostOfAKind); ++i) {
      const std::string fault = use(items[i]);
      if (!fault.empty()) finding(std::string(key) + "[" + std::to_string(i) + "]", fault);
    }
  }

  bool isMonitors(const Timing& timing) const {
    return std::ranges::any_of(monitor_.timings, [&](const Timing& own) { return isSameSignal(own, timing); });
  }

  void addTiming(Timing timing) {
    timing.source = Timing::Source::installed;
    timing.preferred = false;
    if (!isMonitors(timing)) result_.additions.timings.push_back(timing);
  }

  void applyEdid() {
    constexpr const char* kKey = "IODisplayEDID";
    const plist::Data* bytes = dataOf(kKey, edid::kBlockLength, "an EDID");
    if (bytes == nullptr) return;
    auto read = readEdid(*bytes);
    if (const auto* fault = std::get_if<std::string>(&read)) return finding(kKey, *fault);
    auto& installed = std::get<ParsedEdid>(read);
    for (const std::string& fault : installed.findings) finding(kKey, fault);
    installed.vendor = monitor_.vendor;
    installed.product = monitor_.product;
    installed.serial = monitor_.serial;
    installed.week = monitor_.week;
    installed.year = monitor_.year;
    installed.digital = monitor_.digital;
    for (Timing& timing : installed.timings) {
      if (!isMonitors(timing)) timing.source = Timing::Source::installed;
    }
    result_.range = driverLimits(installed);
    result_.edidBytes = *bytes;
    result_.edid = std::move(installed);
  }

  void applyDescriptors() {
    forEachOf("dspc", [&](const plist::Value& item) -> std::string {
      const plist::Data* data = item.data();
      if (data == nullptr) return "is no data";
      if (data->size() < edid::kDescriptorLength) {
        return lengthFault(data->size(), edid::kDescriptorLength, "a timing");
      }
      const Timing timing = edid::readDetailedTiming(edid::Bytes(*data).first<edid::kDescriptorLength>());
      // 01 01 in front is how unused descriptors are filled.
      const bool isUnused = (*data)[0] == 1 && (*data)[1] == 1;
      const bool hasPicture = timing.horizontalActive != 0 && timing.verticalActive != 0;
      if (timing.pixelClockHz == 0 || isUnused || !hasPicture) return "is no timing";
      addTiming(timing);
      return {};
    });
  }

  void applyStandardModes() {
    constexpr const char* kKey = "tovr";
    constexpr std::string_view kMark = "VLMT";
    const plist::Value* modes = content_.find(kKey);
    if (modes == nullptr) return;
    if (modes->dictionary() == nullptr) return finding(kKey, "is no dictionary");
    std::size_t count = 0;
    for (const auto& [key, value] : *modes->dictionary()) {
      const plist::Data* record = value.data();
      // Records of others mean something else.
      if (record == nullptr || record->size() < kMark.size() ||
          !std::equal(kMark.begin(), kMark.end(), record->begin())) {
        continue;
      }
      if (count++ == kMostOfAKind) return finding(kKey, "has too many items, the first ones count");
      std::uint32_t number = 0;
      std::from_chars(key.data(), key.data() + key.size(), number);
      const std::optional<Timing> timing = timingOfAppleNumber(number);
      if (timing) {
        addTiming(*timing);
      } else {
        finding(std::string(kKey) + "." + key, "is no standard mode");
      }
    }
  }

  void applyScaledSizes() {
    forEachOf("scale-resolutions", [&](const plist::Value& item) -> std::string {
      ModeAdditions::ScaledSize size;
      if (const plist::Data* data = item.data()) {
        if (data->size() < 8) return lengthFault(data->size(), 8, "a size");
        size.width = bigEndian(*data, 0);
        size.height = bigEndian(*data, 4);
        constexpr std::uint32_t kHiDPI = 0x00200000;
        size.hiDPI = data->size() >= 16 && (bigEndian(*data, 12) & kHiDPI) != 0;
      } else if (item.isNumber()) {
        const auto number = static_cast<std::uint32_t>(item.uInt64() & 0xffffffff);
        size.width = number & 0xffff;
        size.height = number >> 16;
      } else {
        return "is neither data nor a number";
      }
      if (size.height == 0) size.height = static_cast<std::uint32_t>(std::uint64_t{size.width} * 3 / 4);
      const bool isUsable =
          size.width >= 2 && size.height >= 2 && size.width <= kLargestScaledSide && size.height <= kLargestScaledSide;
      if (!isUsable) return std::to_string(size.width) + "x" + std::to_string(size.height) + " is no size";
      result_.additions.scaledSizes.push_back(size);
      return {};
    });
  }

  void applyRange() {
    const plist::Data* record = dataOf("trng", kTimingRangeLength, "a timing range");
    if (record == nullptr) return;
    result_.additions.offered = *readTimingRange(*record);
    result_.range = overlaid(result_.additions.offered, result_.range);
  }

  void applyDefaultResolution() {
    const plist::Data* record = dataOf("default-resolution", 12, "a resolution");
    if (record == nullptr) return;
    result_.additions.defaultResolution = {
        .width = bigEndian(*record, 0), .height = bigEndian(*record, 4), .refreshHz = bigEndian(*record, 8) / 65536.0};
  }

  void applyName() {
    constexpr const char* kKey = "DisplayProductName";
    const plist::Value* name = content_.find(kKey);
    if (name == nullptr) return;
    const plist::Dictionary* texts = name->dictionary();
    const bool isByLanguage =
        texts != nullptr && !texts->empty() &&
        std::all_of(texts->begin(), texts->end(), [](const auto& entry) { return entry.value.string() != nullptr; });
    if (name->string() == nullptr && !isByLanguage) return finding(kKey, "is neither a text nor texts by language");
    result_.productName = *name;
  }

  const ParsedEdid& monitor_;
  const plist::Dictionary& content_;
  AppliedOverride result_;
};

}  // namespace

AppliedOverride applyOverride(const plist::Data& edidBytes, const ParsedEdid& monitor,
                              const plist::Dictionary& content) {
  return Application(edidBytes, monitor, content).apply();
}

}  // namespace vlm::sim
