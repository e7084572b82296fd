#include "Simulator/Program/Json.h"

#include <nlohmann/json.hpp>

namespace vlm::sim {

namespace {

using nlohmann::json;

constexpr int kIndentation = 2;

std::string hexadecimal(const plist::Data& data) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string text;
  for (const std::uint8_t byte : data) {
    text += kDigits[byte >> 4U];
    text += kDigits[byte & 0xFU];
  }
  return text;
}

json jsonOf(const plist::Value& value) {
  using Kind = plist::Value::Kind;
  switch (value.kind()) {
    case Kind::boolean:
      return value.boolean();
    case Kind::integer:
      return value.sInt64();
    case Kind::unsignedInteger:
      return value.uInt64();
    case Kind::real:
      return value.real();
    case Kind::string:
      return *value.string();
    case Kind::data:
      return hexadecimal(*value.data());
    case Kind::date:
      return value.date()->secondsSinceReferenceDate;
    case Kind::array: {
      json array = json::array();
      for (const plist::Value& element : *value.array()) array.push_back(jsonOf(element));
      return array;
    }
    case Kind::dictionary: {
      json object = json::object();
      for (const plist::Entry& entry : *value.dictionary()) object[entry.key] = jsonOf(entry.value);
      return object;
    }
  }
  return {};
}

std::optional<plist::Value> valueOf(const json& text) {
  if (text.is_boolean()) return text.get<bool>();
  if (text.is_number_unsigned()) return text.get<std::uint64_t>();
  if (text.is_number_integer()) return text.get<std::int64_t>();
  if (text.is_number()) return text.get<double>();
  if (text.is_string()) return text.get<std::string>();
  if (text.is_array()) {
    plist::Array array;
    for (const json& element : text) {
      if (auto value = valueOf(element)) array.push_back(*std::move(value));
    }
    return array;
  }
  if (!text.is_object()) return std::nullopt;
  plist::Dictionary dictionary;
  for (const auto& [key, element] : text.items()) {
    if (auto value = valueOf(element)) dictionary.set(key, *std::move(value));
  }
  return dictionary;
}

}  // namespace

std::string jsonText(const plist::Value& value) {
  return jsonOf(value).dump(kIndentation, ' ', false, json::error_handler_t::replace);
}

std::optional<plist::Value> valueFromJson(std::string_view text) {
  const json parsed = json::parse(text, nullptr, false);
  return parsed.is_discarded() ? std::nullopt : valueOf(parsed);
}

}  // namespace vlm::sim
