#include "Simulator/Program/Settings.h"

#include <charconv>
#include <cstdio>

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
    std::snprintf(text, sizeof text, "%.10g", value.real());
    return text;
  }
  return plist::describe(value);
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
