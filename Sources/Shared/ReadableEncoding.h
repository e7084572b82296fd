#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Platform/PropertyList.h"

/// Lists of records as property lists. A record encodes itself with `encodeReadable()`.
namespace vlm {

template <class Record>
plist::Array encodeReadable(const std::vector<std::shared_ptr<Record>>& records) {
  plist::Array array;
  array.reserve(records.size());
  for (const auto& record : records) array.emplace_back(record->encodeReadable());
  return array;
}

/// The entries of `kept` (may be null) and those of `added`, in any order. Of equal keys the last added stays.
plist::Dictionary mergedEntries(const plist::Dictionary* kept, std::vector<plist::Entry> added);

/// The records under the decimal text of their identity number, `keyOf(record)`, laid over `dict` (null: nothing). Of
/// records with the same identity the last one stays. Entries of `dict` whose identity is not among the records stay:
/// this is how the settings of displays that are not attached survive.
template <class Record, class KeyOf>
plist::Dictionary encodeReadableInDict(const std::vector<std::shared_ptr<Record>>& records,
                                       const plist::Dictionary* dict, KeyOf keyOf) {
  std::vector<plist::Entry> encoded;
  encoded.reserve(records.size());
  for (const auto& record : records) encoded.push_back({std::to_string(keyOf(*record)), record->encodeReadable()});
  return mergedEntries(dict, std::move(encoded));
}

}  // namespace vlm
