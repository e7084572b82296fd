#pragma once

#include <optional>
#include <string>

#include "Platform/PropertyList.h"

namespace vlm {

/// Folders and property-list files. Paths are absolute, UTF-8, without a trailing slash.
class Files {
 public:
  enum class Domain { user, local };

  virtual ~Files() = default;

  /// The Library folder of a domain (NSLibraryDirectory); absent when there is none.
  virtual std::optional<std::string> libraryDirectory(Domain domain) = 0;
  virtual bool checkResourceIsReachable(const std::string& path) = 0;
  /// A property-list file whose root is a dictionary; absent for anything else, a missing file too.
  virtual std::optional<plist::Dictionary> dictionaryWithContentsOfURL(const std::string& path) = 0;
  /// The same with any root.
  virtual std::optional<plist::Value> propertyListWithContentsOfURL(const std::string& path) = 0;
  /// A file's bytes; absent when it cannot be read.
  virtual std::optional<plist::Data> dataWithContentsOfURL(const std::string& path) = 0;
  /// A bookmark for the file that an alias record of an older system names (CFURLCreateBookmarkDataFromAliasRecord);
  /// absent when the data is no alias record.
  virtual std::optional<plist::Data> CFURLCreateBookmarkDataFromAliasRecord(const plist::Data& aliasRecord) = 0;
  /// The path that a bookmark leads to now, also when the file was moved since; absent when it leads nowhere.
  virtual std::optional<std::string> URLByResolvingBookmarkData(const plist::Data& bookmark) = 0;
  /// Writes an XML property list, or nothing at all: whoever reads meanwhile sees the old file or the new one, whole.
  /// Makes no folders. Answers the reason of a failure ("No space left on device"), or nothing.
  virtual std::optional<std::string> writeToURLAtomically(const plist::Dictionary& dictionary,
                                                          const std::string& path) = 0;
  /// The same with any root, in a place that needs an administrator (the override directories), with the folder that it
  /// stands in. The reason also says when nobody may write there ("Operation not permitted").
  virtual std::optional<std::string> writeToURLAsAdministrator(const plist::Value& propertyList,
                                                               const std::string& path) = 0;
  /// Copies a file byte for byte to a place where nothing is yet: a taken place is a failure. Answers the reason of a
  /// failure, which leaves nothing at the new place, or nothing.
  virtual std::optional<std::string> copyItem(const std::string& from, const std::string& to) = 0;
  /// Removes what atomic writes to this path left beside it when their process was killed. Those under way in another
  /// process stay.
  virtual void removeUnfinishedWrites(const std::string& path) = 0;
};

}  // namespace vlm
