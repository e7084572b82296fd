#include "Simulator/Mac/PropertyListFile.h"

#include <plist/plist.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "Simulator/Mac/PropertyListGuard.h"

namespace vlm::sim {

namespace {

struct FreeNode {
  void operator()(void* node) const { plist_free(node); }
};
using Node = std::unique_ptr<void, FreeNode>;

struct FreeMemory {
  void operator()(void* memory) const { std::free(memory); }
};
template <class T>
using Memory = std::unique_ptr<T, FreeMemory>;

constexpr std::chrono::sys_days kReferenceDay = std::chrono::year(2001) / 1 / 1;

/// Nothing when what no property list of ours holds stands anywhere in it: left out it would be lost with the next
/// save. The depth is limited by the guard.
std::optional<plist::Value> valueOf(plist_t node);

/// libplist keeps a sign beside the 64 bits and does not tell it; but a node made from the same bits is equal to a
/// signed one alone.
plist::Value integerOf(plist_t node) {
  std::uint64_t bits = 0;
  plist_get_uint_val(node, &bits);
  if (bits <= static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) return bits;
  const Node asSigned(plist_new_uint(bits));
  if (plist_compare_node_value(node, asSigned.get()) != 0) return static_cast<std::int64_t>(bits);
  return bits;
}

/// From the text that libplist would write. Nothing when it knows no text for the date.
std::optional<plist::Value> dateFromTextOf(plist_t node) {
  char* rawText = nullptr;
  std::uint32_t length = 0;
  plist_to_xml(node, &rawText, &length);
  const Memory<char> text(rawText);
  const char* const element = text == nullptr ? nullptr : std::strstr(text.get(), "<date>");
  int year = 0;
  unsigned month = 0, day = 0;
  std::int64_t hours = 0, minutes = 0, seconds = 0;
  if (element == nullptr || std::sscanf(element, "<date>%d-%u-%uT%" SCNd64 ":%" SCNd64 ":%" SCNd64, &year, &month, &day,
                                        &hours, &minutes, &seconds) != 6) {
    return std::nullopt;
  }
  const std::chrono::year heldYear(std::clamp(year, kFirstDateYear, kLastDateYear));
  const auto days = std::chrono::sys_days(heldYear / std::chrono::month(month) / std::chrono::day(day)) - kReferenceDay;
  const auto sinceThen =
      days + std::chrono::hours(hours) + std::chrono::minutes(minutes) + std::chrono::seconds(seconds);
  return plist::Date{.secondsSinceReferenceDate = static_cast<double>(sinceThen.count())};
}

std::optional<plist::Value> dateOf(plist_t node) {
  using Limits = std::numeric_limits<std::int32_t>;
  std::int32_t seconds = 0;
  std::int32_t microseconds = 0;
  plist_get_date_val(node, &seconds, &microseconds);
  // What libplist answers for seconds that have more than 32 bits, which the node itself can have.
  if (seconds == Limits::min() || seconds == Limits::max()) return dateFromTextOf(node);
  return plist::Date{.secondsSinceReferenceDate = seconds + microseconds / 1e6};
}

plist::Value dataOf(plist_t node) {
  std::uint64_t length = 0;
  const auto* const bytes = reinterpret_cast<const std::uint8_t*>(plist_get_data_ptr(node, &length));
  return bytes == nullptr ? plist::Data{} : plist::Data(bytes, bytes + length);
}

plist::Value stringOf(plist_t node) {
  std::uint64_t length = 0;
  const char* const text = plist_get_string_ptr(node, &length);
  return text == nullptr ? std::string() : std::string(text, length);
}

std::optional<plist::Value> arrayOf(plist_t node) {
  plist::Array array;
  array.reserve(plist_array_get_size(node));
  plist_array_iter position = nullptr;
  plist_array_new_iter(node, &position);
  const Memory<void> owner(position);
  plist_t item = nullptr;
  for (plist_array_next_item(node, position, &item); item != nullptr; plist_array_next_item(node, position, &item)) {
    auto value = valueOf(item);
    if (!value) return std::nullopt;
    array.push_back(std::move(*value));
  }
  return array;
}

std::optional<plist::Value> dictionaryOf(plist_t node) {
  std::vector<plist::Entry> entries;
  entries.reserve(plist_dict_get_size(node));
  plist_dict_iter position = nullptr;
  plist_dict_new_iter(node, &position);
  const Memory<void> owner(position);
  while (true) {
    char* rawKey = nullptr;
    plist_t item = nullptr;
    plist_dict_next_item(node, position, &rawKey, &item);
    const Memory<char> key(rawKey);
    if (key == nullptr || item == nullptr) break;
    auto value = valueOf(item);
    if (!value) return std::nullopt;
    entries.push_back({.key = key.get(), .value = std::move(*value)});
  }
  return plist::Dictionary(std::move(entries));
}

std::optional<plist::Value> valueOf(plist_t node) {
  switch (plist_get_node_type(node)) {
    case PLIST_BOOLEAN: {
      std::uint8_t boolean = 0;
      plist_get_bool_val(node, &boolean);
      return boolean != 0;
    }
    case PLIST_UINT:
      return integerOf(node);
    case PLIST_REAL: {
      double real = 0;
      plist_get_real_val(node, &real);
      return real;
    }
    case PLIST_STRING:
      return stringOf(node);
    case PLIST_DATA:
      return dataOf(node);
    case PLIST_DATE:
      return dateOf(node);
    case PLIST_ARRAY:
      return arrayOf(node);
    case PLIST_DICT:
      return dictionaryOf(node);
    default:
      return std::nullopt;
  }
}

/// Of UTF-8; some editors put it in front. libplist does not know it.
constexpr std::string_view kByteOrderMark = "\xef\xbb\xbf";

PropertyListResult refused(std::string reason) {
  PropertyListResult result;
  result.reason = std::move(reason);
  return result;
}

}  // namespace

PropertyListResult parsePropertyList(const std::string& content) {
  if (content.size() > kLargestPropertyListFile) return refused("it is too large");
  std::string_view list = content;
  if (list.starts_with(kByteOrderMark)) list.remove_prefix(kByteOrderMark.size());
  if (auto composed = readComposedPropertyList(list)) return {.value = std::move(composed), .reason = {}};
  if (auto danger = dangerInPropertyList(list)) return refused(std::move(*danger));
  plist_t raw = nullptr;
  plist_from_memory(list.data(), static_cast<std::uint32_t>(list.size()), &raw);
  const Node root(raw);
  if (root == nullptr) return refused("it is no property list");
  PropertyListResult result;
  result.value = valueOf(root.get());
  if (!result.value) result.reason = "it holds something of an unknown kind";
  return result;
}

PropertyListResult readPropertyList(const std::string& path) {
  std::string reason;
  const std::optional<std::string> content = readFile(path, kLargestPropertyListFile, reason);
  if (!content) return refused(std::move(reason));
  return parsePropertyList(*content);
}

std::optional<std::string> readFile(const std::string& path, std::size_t largest, std::string& reason) {
  struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };
  const std::unique_ptr<std::FILE, CloseFile> file(std::fopen(path.c_str(), "rb"));
  if (file == nullptr) {
    reason = std::strerror(errno);
    return std::nullopt;
  }
  std::string content;
  char chunk[1 << 16];
  while (content.size() <= largest) {
    const std::size_t read = std::fread(chunk, 1, sizeof chunk, file.get());
    if (read == 0) break;
    content.append(chunk, read);
  }
  if (std::ferror(file.get()) != 0) {
    reason = std::strerror(errno);
    return std::nullopt;
  }
  if (content.size() > largest) {
    reason = "it has more than " + std::to_string(largest) + " bytes";
    return std::nullopt;
  }
  return content;
}

}  // namespace vlm::sim
