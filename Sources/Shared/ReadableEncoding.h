#pragma once

#include <memory>
#include <string>
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

/// The records under the decimal text of their identity number, `keyOf(record)`, laid over `dict`. Of records with the
/// same identity the last one stays. Entries of `dict` whose identity is not among the records stay: this is how the
/// settings of displays that are not attached survive.
template <class Record, class KeyOf>
plist::Dictionary encodeReadableInDict(const std::vector<std::shared_ptr<Record>>& records, plist::Dictionary dict,
                                       KeyOf keyOf) {
  for (const auto& record : records) dict.set(std::to_string(keyOf(*record)), record->encodeReadable());
  return dict;
}

}  // namespace vlm
