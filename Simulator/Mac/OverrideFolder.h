#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Platform/PropertyList.h"
#include "Platform/System.h"
#include "Simulator/Mac/Edid.h"

namespace vlm::sim {

/// An override file that is in force for a display.
struct OverrideFile {
  std::string path;           ///< as the machine has it: "/Library/Displays/…"
  plist::Dictionary content;  ///< of an array file, the entry that matches the display
  friend bool operator==(const OverrideFile&, const OverrideFile&) = default;
};

/// A machine without a disk.
inline constexpr const char* kNoFolders = "";

/// The override files on a machine's disk, found and read as its system does when a display is connected.
class OverrideFolder {
 public:
  /// `root`: of the machine's own folders, on the host; empty: it has none.
  OverrideFolder(std::string root, const OperatingSystemVersion& version);

  /// The file for a monitor, by its vendor and product, or by the year and week of its making. A file that cannot be
  /// read is none, and one whose entries do not match the monitor's signal changes nothing.
  std::optional<OverrideFile> find(const ParsedEdid& monitor) const;

  /// The directories in which the system looks, in that order.
  const std::vector<std::string>& directories() const { return directories_; }
  const std::string& root() const { return root_; }
  /// The machine works on in another root: what is in these directories is copied there.
  void moveTo(const std::string& root);

 private:
  std::string root_;
  std::vector<std::string> directories_;
};

}  // namespace vlm::sim
