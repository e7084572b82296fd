#pragma once

#include <optional>
#include <string>

/// Files that are there whole or not at all. Everything answers the reason of a failure, or nothing.
namespace vlm::sim {

/// What a disk can be told to refuse. The steps before are really done, so that what they left must go again.
enum class DiskFault { none, full, readOnly, failingFlush, failingRename };

/// Who may read a file that was not there before: its owner alone, as preference files are, or everybody.
enum class NewFile { ownersAlone, readableByAll };

/// Replaces a file's content: whoever reads meanwhile, or after a crash, sees the old file or the new one, whole.
/// The file keeps its mode; `newFile` is for one that was not there. A symbolic link stays and the file that it leads
/// to is replaced; one that leads nowhere becomes the file. After a failure the old file stands as it was, and no other
/// is left behind. When the process is killed meanwhile, an unfinished file stays next to it.
std::optional<std::string> replaceFile(const std::string& path, const std::string& content,
                                       DiskFault fault = DiskFault::none, NewFile newFile = NewFile::ownersAlone);

/// Copies a file's bytes and mode to a place where nothing is yet; a taken one is a failure. All or nothing, like
/// above.
std::optional<std::string> copyFile(const std::string& from, const std::string& to, DiskFault fault = DiskFault::none);

/// Removes the unfinished files beside this one whose writers have ended; those under way, here or in another process,
/// stay.
void removeUnfinishedWrites(const std::string& path);

}  // namespace vlm::sim
