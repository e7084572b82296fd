#pragma once

#include <cstdint>
#include <memory>

#include "Platform/Numbers.h"

namespace vlm {

/// Where an override record was found: bits of `status`, OR-ed when records are merged.
constexpr std::int16_t kOverrideFoundInSettings = 1;
constexpr std::int16_t kOverrideFoundInOverrideFile = 2;
constexpr std::int16_t kOverrideFoundInSystem = 4;

/// What the single values of an override file share: whether they shall be in it, where they were found, and what they
/// were then. `Record` derives from this and names, in `kFill` and `kIsEqual`, its member functions that copy another
/// record's values with its `shouldOverride`, and that compare the values with those of a record that may be null.
template <class Record>
class OverrideRecord {
 public:
  /// Its key shall be in the override file; when not, the key is taken out.
  bool shouldOverride = false;
  std::int16_t status = 0;
  /// The record as it was read; none for one of the settings file. Editing leaves it alone.
  std::shared_ptr<Record> original;

  /// Sets `original` to a copy of the record given.
  void copyBackupWith(const Record& other) {
    auto copy = std::make_shared<Record>();
    ((*copy).*Record::kFill)(other);
    copy->status = other.status;
    original = std::move(copy);
  }

  /// Whether the override file must be written for it: it shall go in or out, or it is in with other values.
  bool isModified() const {
    const bool didOverride = original != nullptr && original->shouldOverride;
    return shouldOverride != didOverride || (shouldOverride && !(record().*Record::kIsEqual)(original.get()));
  }

 private:
  const Record& record() const { return static_cast<const Record&>(*this); }
};

/// Takes a record that was read over into a display's. A record that the user saved (from the settings file) wins over
/// what files and system say; those never replace one that is there.
template <class Record>
void mergeOverrideRecord(std::shared_ptr<Record>& kept, const std::shared_ptr<Record>& given) {
  if (kept == nullptr) {
    kept = given;
    return;
  }
  if (given == nullptr) return;
  if (((*kept).*Record::kIsEqual)(given.get())) {
    kept->status = truncateTo<std::int16_t>(kept->status | given->status);
    if (kept->original == nullptr) kept->original = given->original;
    return;
  }
  if (given->status == kOverrideFoundInSettings) kept = given;
}

}  // namespace vlm
