#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/PropertyList.h"

/// Property lists as files: the simulated Mac's Core Foundation. Those of others are read through libplist.
namespace vlm::sim {

/// Larger files are refused; a settings file has a few hundred kilobytes.
constexpr std::size_t kLargestPropertyListFile = 256UL << 20;

/// How the files begin that composePropertyList writes.
constexpr std::string_view kPropertyListHead =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" \"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
    "<plist version=\"1.0\">\n";

/// Of a date: its year has four digits.
constexpr int kFirstDateYear = 1, kLastDateYear = 9999;

struct PropertyListResult {
  /// Absent when the file cannot be used.
  std::optional<plist::Value> value;
  /// Then, why.
  std::string reason;
};

/// Reads binary property lists, and XML ones in UTF-8, with or without a byte-order mark; UTF-16 and the old-style text
/// lists are refused. So is a file with a UID, a date some ten million years away or a key without a value: nothing is
/// left out of one that is read. Other dates beyond the years 1 to 9999 get the nearest of these years.
PropertyListResult parsePropertyList(const std::string& content);
PropertyListResult readPropertyList(const std::string& path);

/// An XML property list, the same text for the same value. A text is written up to the first NUL character in it, and
/// dates in whole seconds of the years 1 to 9999, as the format has them.
std::string composePropertyList(const plist::Value& value);
std::string composePropertyList(const plist::Dictionary& dictionary);

/// Reads what composePropertyList wrote, many times faster than libplist. Nothing for all else, and for dates, data and
/// numbers beyond the finite ones.
std::optional<plist::Value> readComposedPropertyList(std::string_view content);

/// A whole file. Absent when it cannot be read or has more than `largest` bytes; then `reason` says why.
std::optional<std::string> readFile(const std::string& path, std::size_t largest, std::string& reason);

}  // namespace vlm::sim
