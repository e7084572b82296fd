#include "Simulator/Program/Settings.h"

#include <algorithm>
#include <charconv>
#include <cstdio>

#include "Simulator/Program/Arguments.h"

namespace vlm::sim {

namespace {

const plist::Value* elementAt(const plist::Array& array, std::string_view text) {
  std::size_t index = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), index);
  if (error != std::errc() || end != text.data() + text.size() || index >= array.size()) return nullptr;
  return &array[index];
}

const plist::Value* childOf(const plist::Value& value, std::string_view key) {
  if (const plist::Dictionary* dictionary = value.dictionary()) return dictionary->find(key);
  return value.array() == nullptr ? nullptr : elementAt(*value.array(), key);
}

/// The child of that key; made, as nothing yet, where it may be made. Null where it may not.
plist::Value* placeIn(plist::Value& parent, std::string_view key, bool beginsList) {
  const plist::Value nothing = beginsList ? plist::Value(plist::Array()) : plist::Value(plist::Dictionary());
  if (plist::Array* const array = parent.array()) {
    if (key == std::to_string(array->size())) array->push_back(nothing);
    const plist::Value* const element = elementAt(*array, key);
    return element == nullptr ? nullptr : &(*array)[static_cast<std::size_t>(element - array->data())];
  }
  plist::Dictionary* const dictionary = parent.dictionary();
  if (dictionary == nullptr) return nullptr;
  if (!dictionary->contains(key)) dictionary->set(key, nothing);
  return dictionary->find(key);
}

constexpr std::string_view kDigits = "0123456789ABCDEF", kSmallDigits = "0123456789abcdef";
constexpr std::string_view kDataMark = "data:", kTextMark = "text:";

std::optional<plist::Data> bytesFrom(std::string_view digits) {
  if (digits.size() % 2 != 0) return std::nullopt;
  plist::Data bytes;
  for (std::size_t i = 0; i < digits.size(); ++i) {
    const std::size_t digit = std::min(kDigits.find(digits[i]), kSmallDigits.find(digits[i]));
    if (digit == std::string_view::npos) return std::nullopt;
    if (i % 2 == 0) bytes.push_back(0);
    bytes.back() = static_cast<std::uint8_t>(bytes.back() * 16U + digit);
  }
  return bytes;
}

std::optional<std::string> differenceInDictionaries(const plist::Dictionary& before, const plist::Dictionary& now,
                                                    const std::string& path) {
  for (const plist::Entry& entry : before) {
    const plist::Value* other = now.find(entry.key);
    if (other == nullptr) return path + "." + entry.key + " is gone";
    if (auto difference = firstDifference(entry.value, *other, path + "." + entry.key)) return difference;
  }
  for (const plist::Entry& entry : now) {
    if (!before.contains(entry.key)) return path + "." + entry.key + " is new";
  }
  return std::nullopt;
}

std::optional<std::string> differenceInArrays(const plist::Array& before, const plist::Array& now,
                                              const std::string& path) {
  if (before.size() != now.size()) {
    return path + " has " + std::to_string(now.size()) + " entries, " + std::to_string(before.size()) + " before";
  }
  for (std::size_t i = 0; i < before.size(); ++i) {
    if (auto difference = firstDifference(before[i], now[i], path + "." + std::to_string(i))) return difference;
  }
  return std::nullopt;
}

}  // namespace

const plist::Value* valueAt(const plist::Dictionary& root, std::string_view keyPath) {
  std::size_t dot = keyPath.find('.');
  const plist::Value* value = root.find(keyPath.substr(0, dot));
  while (value != nullptr && dot != std::string_view::npos) {
    keyPath.remove_prefix(dot + 1);
    dot = keyPath.find('.');
    value = childOf(*value, keyPath.substr(0, dot));
  }
  return value;
}

std::string plainText(const plist::Value& value) {
  using Kind = plist::Value::Kind;
  if (value.kind() == Kind::boolean) return value.boolean() ? "true" : "false";
  if (const std::string* text = value.string()) return *text;
  if (value.kind() == Kind::real) {
    char text[64];
    std::snprintf(text, sizeof text, "%.10g", value.real() + 0.0);  // no "-0"
    return text;
  }
  return plist::describe(value);
}

std::string wholeText(const plist::Value& value) {
  if (value.data() == nullptr) return plainText(value);
  std::string text(kDataMark);
  for (const std::uint8_t byte : *value.data()) text += {kDigits[byte >> 4U], kDigits[byte & 0xFU]};
  return text;
}

plist::Value valueFrom(const std::string& text) {
  if (text.starts_with(kTextMark)) return text.substr(kTextMark.size());
  if (text.starts_with(kDataMark)) {
    if (auto bytes = bytesFrom(std::string_view(text).substr(kDataMark.size()))) return *std::move(bytes);
  }
  if (text == "true" || text == "false") return text == "true";
  if (const auto number = parseInteger(text)) return *number;
  if (const auto real = parseReal(text)) return *real;
  return text;
}

bool setValueAt(plist::Value& root, std::string_view keyPath, const plist::Value& value) {
  const std::size_t dot = keyPath.find('.');
  const bool isLast = dot == std::string_view::npos;
  const std::string_view rest = isLast ? std::string_view() : keyPath.substr(dot + 1);
  plist::Value* const place = placeIn(root, keyPath.substr(0, dot), rest == "0" || rest.starts_with("0."));
  if (place == nullptr) return false;
  if (!isLast) return setValueAt(*place, rest, value);
  *place = value;
  return true;
}

std::optional<std::string> firstDifference(const plist::Value& before, const plist::Value& now,
                                           const std::string& path) {
  if (before.dictionary() != nullptr && now.dictionary() != nullptr) {
    return differenceInDictionaries(*before.dictionary(), *now.dictionary(), path);
  }
  if (before.array() != nullptr && now.array() != nullptr)
    return differenceInArrays(*before.array(), *now.array(), path);
  if (before == now) return std::nullopt;
  return path + " is " + plainText(now) + ", " + plainText(before) + " before";
}

}  // namespace vlm::sim
