#pragma once

#include <concepts>
#include <string_view>
#include <type_traits>
#include <vector>

#include "Platform/Numbers.h"
#include "Platform/PropertyList.h"

namespace vlm {

/// One key of a record's dictionary in the settings file. A record keeps a table of these, which writing and reading
/// both walk; where the two differ, the row says so.
template <class Record>
struct ReadableField {
  std::string_view key;
  /// The key that is read.
  std::string_view readKey;
  plist::Value (*written)(const Record& record);
  void (*read)(Record& record, const plist::Dictionary& dict, const ReadableField& field);
  /// What a missing number reads as.
  double ifAbsent = 0;
};

namespace readable {

template <class Member>
struct MemberTypes;
template <class RecordType, class FieldType>
struct MemberTypes<FieldType RecordType::*> {
  using Record = RecordType;
  using Field = FieldType;
};
template <auto kMember>
using RecordOf = typename MemberTypes<decltype(kMember)>::Record;
template <auto kMember>
using FieldOf = typename MemberTypes<decltype(kMember)>::Field;

/// The same value in another width; only whole numbers have one. A wider one keeps the sign.
template <class To, class From>
To inWidth(From value) {
  if constexpr (std::integral<From> && sizeof(To) <= sizeof(From) && !std::same_as<To, From>) {
    return truncateTo<To>(value);
  } else {
    return static_cast<To>(value);
  }
}

template <auto kMember, class Width>
plist::Value written(const RecordOf<kMember>& record) {
  return inWidth<Width>(record.*kMember);
}

template <class Width>
Width numberIn(const plist::Dictionary& dict, std::string_view key, double ifAbsent) {
  if constexpr (std::same_as<Width, bool>) {
    return dict.boolean(key, ifAbsent != 0);
  } else if constexpr (std::floating_point<Width>) {
    return dict.real32(key, static_cast<Width>(ifAbsent));
  } else if constexpr (std::same_as<Width, std::uint32_t>) {
    return dict.uInt32(key, wholePartTo<Width>(ifAbsent));
  } else {
    return truncateTo<Width>(dict.sInt64(key, wholePartTo<Width>(ifAbsent)));
  }
}

template <auto kMember, class Width>
void read(RecordOf<kMember>& record, const plist::Dictionary& dict, const ReadableField<RecordOf<kMember>>& field) {
  record.*kMember = inWidth<FieldOf<kMember>>(numberIn<Width>(dict, field.readKey, field.ifAbsent));
}

/// A number or boolean that is written and read in the given widths, which may differ from the field's and from each
/// other.
template <auto kMember, class WrittenWidth = FieldOf<kMember>, class ReadWidth = WrittenWidth>
constexpr ReadableField<RecordOf<kMember>> field(std::string_view key, double ifAbsent = 0) {
  return {.key = key,
          .readKey = key,
          .written = written<kMember, WrittenWidth>,
          .read = read<kMember, ReadWidth>,
          .ifAbsent = ifAbsent};
}

}  // namespace readable

}  // namespace vlm
