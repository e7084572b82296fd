#include "Shared/ReadableEncoding.h"

#include <algorithm>

namespace vlm {

plist::Dictionary mergedEntries(const plist::Dictionary* kept, std::vector<plist::Entry> added) {
  std::stable_sort(added.begin(), added.end(),
                   [](const plist::Entry& a, const plist::Entry& b) { return a.key < b.key; });
  if (kept == nullptr) return plist::Dictionary(std::move(added));
  // Both are sorted, so every entry is appended at the end; an entry that `added` replaces is never copied.
  plist::Dictionary merged;
  merged.reserve(kept->count() + added.size());
  auto next = added.begin();
  for (const auto& [key, value] : *kept) {
    for (; next != added.end() && next->key < key; ++next) merged.set(next->key, std::move(next->value));
    if (next == added.end() || next->key != key) merged.set(key, value);
  }
  for (; next != added.end(); ++next) merged.set(next->key, std::move(next->value));
  return merged;
}

}  // namespace vlm
