#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Models/VLMMonitorInSet.h"
#include "Platform/PropertyList.h"

namespace vlm {

class VLMDisplay;
class VLMGlobals;

/// Pairs of identifiers [display that is shown, display that shows it], each pair once.
class ComplexMirroringSet {
 public:
  using Pair = std::pair<std::int64_t, std::int64_t>;

  /// False when the pair is there already.
  bool add(const Pair& pair);
  void clear() { pairs_.clear(); }
  bool empty() const { return pairs_.empty(); }
  std::vector<Pair>::const_iterator begin() const { return pairs_.begin(); }
  std::vector<Pair>::const_iterator end() const { return pairs_.end(); }
  /// Whether the pairs put every one of the displays into one mirror group.
  bool isSetCompleteWithMonitorArrays(const std::vector<std::shared_ptr<VLMDisplay>>& displays) const;

 private:
  std::vector<Pair> pairs_;
};

/// Aspects that a set may enforce of every display, and of the desk as a whole: an OR of these bits.
namespace DisplaySetOption {
constexpr std::uint32_t mode = 1U << 0, depth = 1U << 1, origin = 1U << 2, orientation = 1U << 3, activity = 1U << 4,
                        overscan = 1U << 5, underscan = 1U << 6, hdr = 1U << 7, colour = 1U << 8, mirroring = 1U << 9,
                        gray = 1U << 10;
constexpr std::uint32_t all = (1U << 11) - 1;
}  // namespace DisplaySetOption

/// A saved configuration of the displays. It records what was, and enforces only the aspects whose has-flag is set;
/// mode and depth are enforced unless they are kNoSetting.
class VLMDisplaySet {
 public:
  /// `menuOrder` of a set that has no place in the menus yet.
  static constexpr std::int64_t kNotYetPlaced = 32767;
  static constexpr std::int64_t kNoHotKey = -1;

  /// Records the state of all attached displays. The caller gives it its `uniqueID` and container.
  static std::shared_ptr<VLMDisplaySet> initWithDisplays(const std::vector<std::shared_ptr<VLMDisplay>>& displays,
                                                         const VLMGlobals& document);
  /// The same, enforcing these aspects alone (DisplaySetOption): mode and depth are left out unless they are among
  /// them.
  static std::shared_ptr<VLMDisplaySet> initWithDisplays(const std::vector<std::shared_ptr<VLMDisplay>>& displays,
                                                         std::uint32_t options, const VLMGlobals& document);
  /// What an application finds when it starts, to be put back when it quits: all of it is enforced, of each display
  /// what it can do. Named after the application.
  static std::shared_ptr<VLMDisplaySet> initForApplicSaving(const std::string& identifier,
                                                            const std::vector<std::shared_ptr<VLMDisplay>>& displays,
                                                            const VLMGlobals& document);
  /// One to keep a desktop's layout by: it enforces nothing but the arrangement and the modes that the layout goes
  /// with.
  static std::shared_ptr<VLMDisplaySet> initForDesktopSavingwithDisplays(
      const std::vector<std::shared_ptr<VLMDisplay>>& displays, std::int64_t uniqueID, const VLMGlobals& document);
  static std::shared_ptr<VLMDisplaySet> initAndDecodeReadableWith(const plist::Dictionary& dict);
  plist::Dictionary encodeReadable() const;
  /// Copies have monitors of their own, nobody refers to them, and the chain goes on from them. The first two are the
  /// same set, down to its identifier; a duplicate is a new one, without identifier, hot key and place in the menus.
  static std::shared_ptr<VLMDisplaySet> setWithSet(const VLMDisplaySet& set);
  std::shared_ptr<VLMDisplaySet> deepCopy() const { return setWithSet(*this); }
  std::shared_ptr<VLMDisplaySet> duplicate() const;
  ~VLMDisplaySet();
  VLMDisplaySet& operator=(const VLMDisplaySet&) = delete;

  std::optional<std::string> name;
  std::optional<std::int64_t> menuOrder;  ///< 1-based
  std::optional<std::int64_t> keyCode;    ///< hot key, see Shortcuts.h
  std::optional<std::int64_t> uniqueID;
  std::int64_t nbUsers = 0;  ///< rules that refer to it: start-up set, application sets, events, chains. Not stored
  std::vector<std::shared_ptr<VLMMonitorInSet>> monitorArray;
  std::optional<std::int64_t> chainedSetUID;  ///< while loading only
  bool isInMenu = false;
  bool inMirroring = false, hasMirroring = false;
  bool inGray = false, hasGray = false;
  bool hasIcon = false;
  std::optional<plist::Data> theScriptBookmark;
  ComplexMirroringSet complexMirroringSet;
  VLMGlobals* container = nullptr;
  std::optional<double> lastExecutedDate;  ///< seconds since 2001

  const std::shared_ptr<VLMDisplaySet>& chainedDisplaySet() const { return chainedDisplaySet_; }
  /// Counts in both sets. Chains may come back to where they began: whoever drops sets cuts their chains first.
  void setChainedDisplaySet(std::shared_ptr<VLMDisplaySet> set);

  std::shared_ptr<VLMMonitorInSet> monitorAtIndex(std::size_t index) const;
  std::shared_ptr<VLMMonitorInSet> monitorWithID(std::optional<std::int64_t> identifier) const;
  /// -1 when there is none.
  std::ptrdiff_t indexOfMonitorWithID(std::optional<std::int64_t> identifier) const;
  /// By name: negative, 0 or positive.
  int compare(const VLMDisplaySet& other) const;
  /// Whether the set makes displays show each other's picture.
  bool usesMirroring() const { return hasMirroring && (inMirroring || !complexMirroringSet.empty()); }
  /// Whether the set concerns a display that is not attached.
  bool usesUnattachedMonitorsWithPrefs(const VLMGlobals& document) const;
  /// Path of the attached script as it is found now; absent when there is none or it is gone.
  std::optional<std::string> getScriptBookMarkURL() const;
  /// The script file's name, with its extension.
  std::optional<std::string> scriptBookMarkName() const;
  /// Runs the attached script, when there is one.
  void executeScript() const;
  /// The set's title in a menu: its name and, with the flag kMenuNameWithString, `string` behind a tab. `width`
  /// receives the characters before the tab, by which a menu lines up what stands behind.
  std::string inMenuNameWithString(const std::string& string, std::uint32_t flags, std::size_t& width) const;
  static constexpr std::uint32_t kMenuNameWithString = 1;

 private:
  VLMDisplaySet() = default;
  VLMDisplaySet(const VLMDisplaySet&) = default;

  std::shared_ptr<VLMDisplaySet> chainedDisplaySet_;
};

using DisplaySets = std::vector<std::shared_ptr<VLMDisplaySet>>;

/// The first set with that identifier, or null.
std::shared_ptr<VLMDisplaySet> findSetByUniqueID(const DisplaySets& sets, std::optional<std::int64_t> uniqueID);

}  // namespace vlm
