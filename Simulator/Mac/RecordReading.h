#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "Platform/PropertyList.h"
#include "Simulator/Mac/JournalText.h"

/// Reading dictionaries of a machine file into records by a table of keys: one row says a key, what it means, and how
/// its value is taken over.
namespace vlm::sim {

/// What is wrong with a value. Every level that it is handed up through puts its own place in front.
struct ValueFault {
  // Implicit on purpose: the readers return reasons.
  // NOLINTBEGIN(google-explicit-constructor)
  ValueFault(std::string why) : reason(std::move(why)) {}
  ValueFault(const char* why) : reason(why) {}
  // NOLINTEND(google-explicit-constructor)

  std::string place;             ///< ": displays[1] (Left)"
  std::string reason;            ///< "is no text", later `key "name" is no text`
  bool namesItsSubject = false;  ///< whether the reason is a sentence already
};
using Problem = std::optional<ValueFault>;

inline ValueFault atKey(const std::string& key, ValueFault fault) {
  if (fault.namesItsSubject) {
    fault.place = ": " + key + fault.place;
  } else {
    fault.reason = "key \"" + key + "\" " + fault.reason;
    fault.namesItsSubject = true;
  }
  return fault;
}

inline ValueFault atIndex(std::size_t index, ValueFault fault) {
  fault.place = "[" + std::to_string(index) + "]" + fault.place;
  if (!fault.namesItsSubject) fault.reason = "it " + fault.reason;
  fault.namesItsSubject = true;
  return fault;
}

template <class Record>
struct RecordKey {
  const char* name;
  Problem (*read)(Record& record, const plist::Value& value);
};

/// Reads every key of the dictionary. A key that the table does not have is a problem.
template <class Record>
Problem readRecord(std::span<const RecordKey<Record>> keys, const plist::Value& value, Record& record) {
  const plist::Dictionary* const dictionary = value.dictionary();
  if (dictionary == nullptr) return "is no dictionary";
  for (const plist::Entry& entry : *dictionary) {
    const RecordKey<Record>* known = nullptr;
    for (const RecordKey<Record>& key : keys) {
      if (entry.key == key.name) known = &key;
    }
    if (known == nullptr) return atKey(entry.key, "is not known");
    if (Problem problem = known->read(record, entry.value)) return atKey(entry.key, std::move(*problem));
  }
  return std::nullopt;
}

/// Reads an array of dictionaries, or of whatever `readOne` takes.
template <class Record, class ReadOne>
Problem readRecords(const plist::Value& value, std::vector<Record>& records, const ReadOne& readOne) {
  const plist::Array* const array = value.array();
  if (array == nullptr) return "is no array";
  records.clear();
  for (std::size_t i = 0; i < array->size(); ++i) {
    Record record{};
    if (Problem problem = readOne((*array)[i], record)) return atIndex(i, std::move(*problem));
    records.push_back(std::move(record));
  }
  return std::nullopt;
}

// --- One value ---

inline Problem take(const plist::Value& value, std::string& target) {
  if (value.string() == nullptr) return "is no text";
  target = *value.string();
  return std::nullopt;
}

inline Problem take(const plist::Value& value, plist::Data& target) {
  if (value.data() == nullptr) return "is no data";
  target = *value.data();
  return std::nullopt;
}

inline Problem take(const plist::Value& value, bool& target) {
  if (value.kind() != plist::Value::Kind::boolean) return "is neither true nor false";
  target = value.boolean();
  return std::nullopt;
}

inline ValueFault beyond(const std::string& number, const std::string& lowest, const std::string& highest) {
  return "is " + number + ", beyond " + lowest + " to " + highest;
}

template <std::integral Number>
Problem take(const plist::Value& value, Number& target) {
  const bool isHuge = value.kind() == plist::Value::Kind::unsignedInteger;
  if (!isHuge && value.kind() != plist::Value::Kind::integer) return "is no whole number";
  const std::int64_t number = value.sInt64();
  if (isHuge ? !std::in_range<Number>(value.uInt64()) : !std::in_range<Number>(number)) {
    return beyond(isHuge ? std::to_string(value.uInt64()) : std::to_string(number),
                  std::to_string(std::numeric_limits<Number>::min()),
                  std::to_string(std::numeric_limits<Number>::max()));
  }
  target = isHuge ? static_cast<Number>(value.uInt64()) : static_cast<Number>(number);
  return std::nullopt;
}

template <std::floating_point Number>
Problem take(const plist::Value& value, Number& target) {
  if (!value.isNumber() || value.kind() == plist::Value::Kind::boolean) return "is no number";
  target = static_cast<Number>(value.real());
  return std::nullopt;
}

/// A number from `lowest` to `highest`.
template <class Number>
Problem takeWithin(const plist::Value& value, Number& target, Number lowest, Number highest) {
  if (Problem problem = take(value, target)) return problem;
  if (target >= lowest && target <= highest) return std::nullopt;
  return beyond(numberText(static_cast<double>(target)), numberText(static_cast<double>(lowest)),
                numberText(static_cast<double>(highest)));
}

template <class Content>
Problem take(const plist::Value& value, std::optional<Content>& target) {
  return take(value, target.emplace());
}

template <class Content>
Problem take(const plist::Value& value, std::vector<Content>& target) {
  return readRecords(value, target, [](const plist::Value& one, Content& content) { return take(one, content); });
}

/// The row of a key that is one field.
template <auto kField, class Record>
Problem field(Record& record, const plist::Value& value) {
  return take(value, record.*kField);
}

}  // namespace vlm::sim
