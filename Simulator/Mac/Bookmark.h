#pragma once

#include <optional>
#include <string>

#include "Platform/PropertyList.h"

/// Bookmarks: data that finds a file again. Theirs is a layout of the simulated machine's own; a Mac's is not
/// published.
namespace vlm::sim {

/// Of a file that is there; absent when it is not.
std::optional<plist::Data> bookmarkOf(const std::string& path);

/// The bookmark of the file that an alias record names, from its tagged items for the path and for the volume's mount
/// point. Absent when the data is no alias record of version 2 or 3; one that names no path becomes a bookmark that
/// leads nowhere.
std::optional<plist::Data> bookmarkFromAliasRecord(const plist::Data& record);

/// Where the file is now: at its path still; else wherever in its old folder or below `searchedFolder` it was moved to;
/// else another file in its place, as left by programs that replace what they save. Absent when there is none of these,
/// or the data is no bookmark.
std::optional<std::string> pathOfBookmark(const plist::Data& bookmark, const std::string& searchedFolder);

}  // namespace vlm::sim
