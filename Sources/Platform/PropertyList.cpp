#include "Platform/PropertyList.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "Platform/NumberText.h"
#include "Platform/Numbers.h"

namespace vlm::plist {

namespace {

bool comesBefore(const Entry& entry, std::string_view key) { return entry.key < key; }

bool ascends(const std::vector<Entry>& entries) {
  return std::adjacent_find(entries.begin(), entries.end(),
                            [](const Entry& a, const Entry& b) { return !(a.key < b.key); }) == entries.end();
}

/// A cast of a number beyond the 32-bit range is undefined.
float narrowed(double number) {
  constexpr double kLargest = std::numeric_limits<float>::max();
  if (number > kLargest) return std::numeric_limits<float>::infinity();
  if (number < -kLargest) return -std::numeric_limits<float>::infinity();
  return static_cast<float>(number);
}

}  // namespace

// --- Dictionary ---

Dictionary::Dictionary(std::vector<Entry> entries) : entries_(std::move(entries)) {
  if (ascends(entries_)) return;
  std::stable_sort(entries_.begin(), entries_.end(), [](const Entry& a, const Entry& b) { return a.key < b.key; });
  // Of equal keys the last stays: seen from the end it is the first, and what `unique` keeps gathers at the end.
  const auto kept = std::unique(entries_.rbegin(), entries_.rend(),
                                [](const Entry& later, const Entry& earlier) { return later.key == earlier.key; });
  entries_.erase(entries_.begin(), kept.base());
}

Dictionary::Dictionary(std::initializer_list<Entry> entries) : Dictionary(std::vector<Entry>(entries)) {}

std::size_t Dictionary::count() const { return entries_.size(); }
bool Dictionary::empty() const { return entries_.empty(); }
std::vector<Entry>::const_iterator Dictionary::begin() const { return entries_.begin(); }
std::vector<Entry>::const_iterator Dictionary::end() const { return entries_.end(); }
void Dictionary::reserve(std::size_t count) { entries_.reserve(count); }

const Value* Dictionary::find(std::string_view key) const {
  const auto place = std::lower_bound(entries_.begin(), entries_.end(), key, comesBefore);
  return place != entries_.end() && place->key == key ? &place->value : nullptr;
}

Value* Dictionary::find(std::string_view key) { return const_cast<Value*>(std::as_const(*this).find(key)); }

bool Dictionary::contains(std::string_view key) const { return find(key) != nullptr; }

void Dictionary::set(std::string_view key, Value value) {
  if (entries_.empty() || entries_.back().key < key) {
    entries_.push_back({std::string(key), std::move(value)});
    return;
  }
  const auto place = std::lower_bound(entries_.begin(), entries_.end(), key, comesBefore);
  if (place->key == key) {
    place->value = std::move(value);
  } else {
    entries_.insert(place, {std::string(key), std::move(value)});
  }
}

void Dictionary::remove(std::string_view key) {
  const auto place = std::lower_bound(entries_.begin(), entries_.end(), key, comesBefore);
  if (place != entries_.end() && place->key == key) entries_.erase(place);
}

bool Dictionary::boolean(std::string_view key, bool ifAbsent) const {
  const Value* value = find(key);
  return value == nullptr ? ifAbsent : value->boolean(ifAbsent);
}

std::int64_t Dictionary::sInt64(std::string_view key, std::int64_t ifAbsent) const {
  return number(key).value_or(ifAbsent);
}

std::uint64_t Dictionary::uInt64(std::string_view key, std::uint64_t ifAbsent) const {
  const Value* value = find(key);
  return value == nullptr ? ifAbsent : value->uInt64(ifAbsent);
}

std::int32_t Dictionary::sInt32(std::string_view key, std::int32_t ifAbsent) const {
  return truncateTo<std::int32_t>(sInt64(key, ifAbsent));
}

std::uint32_t Dictionary::uInt32(std::string_view key, std::uint32_t ifAbsent) const {
  return truncateTo<std::uint32_t>(uInt64(key, ifAbsent));
}

std::int16_t Dictionary::sInt16(std::string_view key, std::int16_t ifAbsent) const {
  return truncateTo<std::int16_t>(sInt64(key, ifAbsent));
}

double Dictionary::real(std::string_view key, double ifAbsent) const {
  const Value* value = find(key);
  return value == nullptr ? ifAbsent : value->real(ifAbsent);
}

float Dictionary::real32(std::string_view key, float ifAbsent) const {
  return narrowed(real(key, static_cast<double>(ifAbsent)));
}

std::optional<std::int64_t> Dictionary::number(std::string_view key) const {
  const Value* value = find(key);
  if (value == nullptr || !value->isNumber()) return std::nullopt;
  return value->sInt64();
}

std::optional<std::string> Dictionary::string(std::string_view key) const {
  const Value* value = find(key);
  if (value == nullptr || value->string() == nullptr) return std::nullopt;
  return *value->string();
}

const Data* Dictionary::data(std::string_view key) const {
  const Value* value = find(key);
  return value == nullptr ? nullptr : value->data();
}

const Array* Dictionary::array(std::string_view key) const {
  const Value* value = find(key);
  return value == nullptr ? nullptr : value->array();
}

const Dictionary* Dictionary::dictionary(std::string_view key) const {
  const Value* value = find(key);
  return value == nullptr ? nullptr : value->dictionary();
}

bool operator==(const Dictionary& a, const Dictionary& b) { return a.entries_ == b.entries_; }

// --- Value ---

Value::Value(unsigned long long value) {
  if (value > static_cast<unsigned long long>(std::numeric_limits<std::int64_t>::max())) {
    content_ = static_cast<std::uint64_t>(value);
  } else {
    content_ = static_cast<std::int64_t>(value);
  }
}

bool Value::nests() const {
  if (const Array* const own = array()) return std::any_of(own->begin(), own->end(), isFilled);
  const Dictionary* const own = dictionary();
  return own != nullptr &&
         std::any_of(own->begin(), own->end(), [](const Entry& entry) { return isFilled(entry.value); });
}

void Value::takeApart() {
  std::vector<Value> apart;
  const auto takeFrom = [&apart](Value& container) {
    if (Array* const array = container.array()) {
      for (Value& child : *array) {
        if (child.nests()) apart.push_back(std::move(child));
      }
    } else if (Dictionary* const dictionary = container.dictionary()) {
      for (Entry& entry : dictionary->entries_) {
        if (entry.value.nests()) apart.push_back(std::move(entry.value));
      }
    }
  };
  takeFrom(*this);
  while (!apart.empty()) {
    Value last = std::move(apart.back());
    apart.pop_back();
    takeFrom(last);
  }
}

bool Value::isNumber() const { return content_.index() <= static_cast<std::size_t>(Kind::real); }

bool Value::boolean(bool ifNoNumber) const {
  // Half is true, though its whole part is 0.
  if (const double* number = std::get_if<double>(&content_)) return *number != 0 && !std::isnan(*number);
  return isNumber() ? sInt64() != 0 : ifNoNumber;
}

std::int64_t Value::sInt64(std::int64_t ifNoNumber) const {
  switch (kind()) {
    case Kind::boolean:
      return std::get<bool>(content_) ? 1 : 0;
    case Kind::integer:
      return std::get<std::int64_t>(content_);
    case Kind::unsignedInteger:
      return truncateTo<std::int64_t>(std::get<std::uint64_t>(content_));
    case Kind::real:
      return wholePartTo<std::int64_t>(std::get<double>(content_));
    default:
      return ifNoNumber;
  }
}

std::uint64_t Value::uInt64(std::uint64_t ifNoNumber) const {
  if (!isNumber()) return ifNoNumber;
  const double* number = std::get_if<double>(&content_);
  // A negative real wraps around as the integer of its value does.
  if (number != nullptr && *number > 0) return wholePartTo<std::uint64_t>(*number);
  return truncateTo<std::uint64_t>(sInt64());
}

double Value::real(double ifNoNumber) const {
  switch (kind()) {
    case Kind::unsignedInteger:
      return static_cast<double>(std::get<std::uint64_t>(content_));
    case Kind::real:
      return std::get<double>(content_);
    default:
      return isNumber() ? static_cast<double>(sInt64()) : ifNoNumber;
  }
}

// An unsigned integer is kept only above the signed range, so equal numbers are always of the same kind.
bool operator==(const Value& a, const Value& b) { return a.content_ == b.content_; }

// --- Texts ---

namespace {

constexpr int kDeepestDescribed = 32;
constexpr std::size_t kMostBytesDescribed = 16;
constexpr std::string_view kLeftOut = "…";

void appendHex(std::string& text, std::uint8_t byte) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  text += kDigits[byte >> 4];
  text += kDigits[byte & 0xF];
}

void append(std::string& text, const std::string& content) {
  text += '"';
  for (const char c : content) {
    if (c == '"' || c == '\\') text += '\\';
    if (c == '\n') {
      text += "\\n";
    } else {
      text += c;
    }
  }
  text += '"';
}

void append(std::string& text, const Data& data) {
  text += '<';
  for (std::size_t i = 0; i < std::min(data.size(), kMostBytesDescribed); ++i) appendHex(text, data[i]);
  if (data.size() > kMostBytesDescribed) text += kLeftOut;
  text += '>';
}

void append(std::string& text, const Value& value, int depth);

void append(std::string& text, const Array& array, int depth) {
  text += '(';
  for (std::size_t i = 0; i < array.size(); ++i) {
    if (i != 0) text += ", ";
    append(text, array[i], depth);
  }
  text += ')';
}

void append(std::string& text, const Dictionary& dictionary, int depth) {
  text += '{';
  bool first = true;
  for (const auto& [key, value] : dictionary) {
    if (!std::exchange(first, false)) text += "; ";
    text += key;
    text += " = ";
    append(text, value, depth);
  }
  text += '}';
}

/// `depth`: how many containers stand around the value.
void append(std::string& text, const Value& value, int depth) {
  switch (value.kind()) {
    case Value::Kind::boolean:
      text += value.boolean() ? "true" : "false";
      break;
    case Value::Kind::integer:
      text += std::to_string(value.sInt64());
      break;
    case Value::Kind::unsignedInteger:
      text += std::to_string(value.uInt64());
      break;
    case Value::Kind::real:
      text += shortestText(value.real());
      break;
    case Value::Kind::string:
      append(text, *value.string());
      break;
    case Value::Kind::data:
      append(text, *value.data());
      break;
    case Value::Kind::date:
      text += "<date " + shortestText(value.date()->secondsSinceReferenceDate) + ">";
      break;
    case Value::Kind::array:
    case Value::Kind::dictionary:
      if (depth >= kDeepestDescribed) {
        text += kLeftOut;
      } else if (value.array() != nullptr) {
        append(text, *value.array(), depth + 1);
      } else {
        append(text, *value.dictionary(), depth + 1);
      }
      break;
  }
}

}  // namespace

std::string describe(const Value& value) {
  std::string text;
  append(text, value, 0);
  return text;
}

std::string describe(const Dictionary& dictionary) {
  std::string text;
  append(text, dictionary, 1);
  return text;
}

}  // namespace vlm::plist
