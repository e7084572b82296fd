#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "Models/VLMOverrideResolution.h"
#include "Platform/PropertyList.h"

/// Keys of the platform's override files, and what their readers and writers share.
namespace vlm {

namespace OverrideKey {
constexpr const char* timings = "dspc";
constexpr const char* scaledSizes = "scale-resolutions";
constexpr const char* standardModes = "tovr";
constexpr const char* timingRange = "trng";
constexpr const char* defaultResolution = "default-resolution";
constexpr const char* pixelDimensions = "DisplayPixelDimensions";
constexpr const char* productName = "DisplayProductName";
constexpr const char* refreshRatePolicy = "display-refresh-rate-policy";
constexpr const char* edid = "IODisplayEDID";
/// Ours: what the file held when it was first touched.
constexpr const char* backup = "Velmoratix backup settings";
}  // namespace OverrideKey

/// Items of one key that are read; those behind are kept in the file as they are. Real files have some dozens.
constexpr std::size_t kMostOverrideItems = 4096;

/// What some versions put in front of a name; taken out wherever it stands in one.
inline constexpr std::string_view kOverrideNamePrefix = "Velmoratix4 - ";
/// "DisplayProductName" of an override file or of what the system tells of a display: a text, or one by language, of
/// which the English one is as good as any other. Absent when there is none.
std::optional<std::string> productNameIn(const plist::Dictionary& dictionary);

/// Nothing was read into it: a descriptor that is no timing.
bool isUnfilled(const VLMOverrideResolution& resolution);
/// A number by which an item of a list, or a key of a dictionary, is known again.
std::size_t hashOfItem(const plist::Value& item);
std::size_t hashOfKey(const std::string& key);

/// What a record of "tovr" that we write begins with.
inline constexpr std::string_view kStandardModeMark = "VLMT";
/// Whether a record of "tovr" is one that we write; those of others are none of our business.
bool isOurStandardMode(const plist::Value& record);
/// The mode number that a key of "tovr" names, in the low 16 bits.
std::int16_t appleIDOfKey(const std::string& key);

}  // namespace vlm
