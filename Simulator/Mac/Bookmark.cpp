#include "Simulator/Mac/Bookmark.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <filesystem>
#include <string_view>
#include <system_error>

#include "Platform/Numbers.h"

namespace vlm::sim {

namespace {

namespace fs = std::filesystem;

// A bookmark is this mark, the file's identity in three numbers of eight bytes with the low one first, and its path.
constexpr std::string_view kMark = "bookSIM1";
constexpr std::size_t kNumberSize = 8;

/// Somebody's whole home is not looked through for one file.
constexpr std::size_t kMostSearched = 20000;

/// What stays the same when a file is moved or renamed. A number alone would not do: a file system gives that of a
/// removed file to the next one.
struct FileIdentity {
  std::uint64_t device = 0, number = 0, born = 0;  ///< born: nanoseconds since 1970, 0 where the disk does not know
  bool isKnown() const { return number != 0; }
  friend bool operator==(const FileIdentity&, const FileIdentity&) = default;
};

std::optional<FileIdentity> identityOf(const std::string& path) {
  constexpr std::uint64_t kNanoseconds = 1'000'000'000;
  struct statx found = {};
  if (path.empty() || statx(AT_FDCWD, path.c_str(), 0, STATX_INO | STATX_BTIME, &found) != 0) return std::nullopt;
  FileIdentity identity{.device = std::uint64_t{found.stx_dev_major} << 32 | found.stx_dev_minor,
                        .number = found.stx_ino};
  if ((found.stx_mask & STATX_BTIME) != 0) {
    identity.born = static_cast<std::uint64_t>(found.stx_btime.tv_sec) * kNanoseconds + found.stx_btime.tv_nsec;
  }
  return identity;
}

void putNumber(plist::Data& data, std::uint64_t number) {
  for (std::size_t i = 0; i < kNumberSize; ++i) data.push_back(truncateTo<std::uint8_t>(number >> (8 * i)));
}

/// The place must have eight bytes.
std::uint64_t numberAt(const plist::Data& data, std::size_t at) {
  std::uint64_t number = 0;
  for (std::size_t i = kNumberSize; i-- > 0;) number = number << 8 | data[at + i];
  return number;
}

plist::Data composed(const FileIdentity& identity, std::string_view path) {
  plist::Data data(kMark.begin(), kMark.end());
  for (const std::uint64_t number : {identity.device, identity.number, identity.born}) putNumber(data, number);
  data.insert(data.end(), path.begin(), path.end());
  return data;
}

template <class Iterator>
std::optional<std::string> found(const FileIdentity& wanted, const std::string& folder) {
  std::error_code error;
  Iterator entry(folder, fs::directory_options::skip_permission_denied, error);
  for (std::size_t i = 0; !error && entry != Iterator() && i < kMostSearched; entry.increment(error), ++i) {
    if (!entry->is_symlink(error) && identityOf(entry->path().string()) == wanted) return entry->path().string();
  }
  return std::nullopt;
}

// --- Alias records: all numbers with the high byte first ---

constexpr std::size_t kSizeAt = 4, kVersionAt = 6, kAliasHeaderSize = 8;
/// Where the tagged items begin, behind the fixed part.
constexpr std::size_t kItemsAtInVersion2 = 150, kItemsAtInVersion3 = 58;
constexpr std::uint16_t kPathItem = 18, kMountPointItem = 19, kLastItem = 0xFFFF;

/// The place must have two bytes.
std::uint16_t wordAt(const plist::Data& record, std::size_t at) {
  return truncateTo<std::uint16_t>(record[at] << 8 | record[at + 1]);
}

/// Empty when there is none. An item is its tag, its length, and as many bytes, filled up to an even number.
std::string itemOf(const plist::Data& record, std::size_t itemsAt, std::uint16_t tag) {
  constexpr std::size_t kItemHeaderSize = 4;
  for (std::size_t at = itemsAt; at + kItemHeaderSize <= record.size();) {
    const std::uint16_t found = wordAt(record, at);
    const std::size_t size = wordAt(record, at + 2);
    at += kItemHeaderSize;
    if (found == kLastItem || size > record.size() - at) break;
    if (found == tag) return {record.begin() + std::ptrdiff_t(at), record.begin() + std::ptrdiff_t(at + size)};
    at += size + size % 2;
  }
  return {};
}

}  // namespace

std::optional<plist::Data> bookmarkOf(const std::string& path) {
  std::error_code error;
  const std::string whole = fs::absolute(path, error).lexically_normal().string();
  const auto identity = error ? std::nullopt : identityOf(whole);
  return identity ? std::optional(composed(*identity, whole)) : std::nullopt;
}

std::optional<plist::Data> bookmarkFromAliasRecord(const plist::Data& record) {
  if (record.size() < kAliasHeaderSize || wordAt(record, kSizeAt) != record.size()) return std::nullopt;
  const std::uint16_t version = wordAt(record, kVersionAt);
  if (version != 2 && version != 3) return std::nullopt;
  const std::size_t itemsAt = version == 2 ? kItemsAtInVersion2 : kItemsAtInVersion3;
  std::string path = itemOf(record, itemsAt, kPathItem);
  if (!path.empty() && path.front() != '/') path.insert(0, "/");
  // The path begins at its volume.
  const std::string mountPoint = itemOf(record, itemsAt, kMountPointItem);
  return composed({}, mountPoint == "/" || path.empty() ? path : mountPoint + path);
}

std::optional<std::string> pathOfBookmark(const plist::Data& bookmark, const std::string& searchedFolder) {
  constexpr std::size_t kPathAt = kMark.size() + 3 * kNumberSize;
  if (bookmark.size() < kPathAt || !std::equal(kMark.begin(), kMark.end(), bookmark.begin())) return std::nullopt;
  const FileIdentity wanted{.device = numberAt(bookmark, kMark.size()),
                            .number = numberAt(bookmark, kMark.size() + kNumberSize),
                            .born = numberAt(bookmark, kMark.size() + 2 * kNumberSize)};
  const std::string path(bookmark.begin() + std::ptrdiff_t{kPathAt}, bookmark.end());
  const auto there = identityOf(path);
  if (there && (!wanted.isKnown() || *there == wanted)) return path;
  if (wanted.isKnown()) {
    const std::string folder = fs::path(path).parent_path().string();
    if (auto moved = found<fs::directory_iterator>(wanted, folder)) return moved;
    if (auto moved = found<fs::recursive_directory_iterator>(wanted, searchedFolder)) return moved;
  }
  return there ? std::optional(path) : std::nullopt;
}

}  // namespace vlm::sim
