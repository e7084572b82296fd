#include "Simulator/Mac/AtomicFile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "Simulator/Mac/PropertyListFile.h"

namespace vlm::sim {

namespace {

namespace fs = std::filesystem;

constexpr mode_t kModeOfNewFile = 0600, kModeReadableByAll = 0644;
constexpr mode_t kAllModeBits = 07777;

/// What an unfinished file adds to the name of the one that it shall become; six characters of mkstemp's follow.
constexpr std::string_view kUnfinished = ".unfinished-";
constexpr std::size_t kRandomCharacters = 6;

mode_t modeOf(const std::string& path, NewFile newFile = NewFile::ownersAlone) {
  struct stat status = {};
  if (stat(path.c_str(), &status) == 0) return status.st_mode & kAllModeBits;
  return newFile == NewFile::readableByAll ? kModeReadableByAll : kModeOfNewFile;
}

/// The path without symbolic links; as it is when nothing is there. Of a link to nothing, where it leads: a file in the
/// link's own place would hide the one that comes back with its volume.
std::string realPathOf(const std::string& path) {
  std::error_code error;
  const fs::path real = fs::canonical(path, error);
  if (!error) return real.string();
  const fs::path linked = fs::read_symlink(path, error);
  return error ? path : (fs::path(path).parent_path() / linked).string();
}

std::string folderOf(const std::string& path) {
  const fs::path folder = fs::path(path).parent_path();
  return folder.empty() ? "." : folder.string();
}

class Descriptor {
 public:
  explicit Descriptor(int number) : number_(number) {}
  ~Descriptor() {
    if (number_ >= 0) close(number_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(number_, other.number_);
    return *this;
  }

  bool isOpen() const { return number_ >= 0; }
  int number() const { return number_; }

 private:
  int number_;
};

/// Whether the open file still stands under that path.
bool stands(const Descriptor& file, const std::string& path) {
  struct stat open = {}, there = {};
  return fstat(file.number(), &open) == 0 && lstat(path.c_str(), &there) == 0 && open.st_ino == there.st_ino &&
         open.st_dev == there.st_dev;
}

/// A new file next to the one that it shall become; goes away again unless it has taken the place. Locked as long as
/// its writer lives: a lock that can be had is how a stray one is told. Every step answers whether it worked, and
/// leaves the reason in errno.
class UnfinishedFile {
 public:
  UnfinishedFile(std::string target, DiskFault fault)
      : target_(std::move(target)), fault_(fault), folder_(open(folderOf(target_).c_str(), O_RDONLY | O_CLOEXEC)) {}
  ~UnfinishedFile() {
    if (file_.isOpen() && !hasTakenPlace_) unlink(path_.c_str());
  }
  UnfinishedFile(const UnfinishedFile&) = delete;
  UnfinishedFile& operator=(const UnfinishedFile&) = delete;

  bool create() {
    if (!folder_.isOpen()) return false;
    if (fault_ == DiskFault::readOnly) return fail(EACCES);
    do {
      path_ = target_ + std::string(kUnfinished) + std::string(kRandomCharacters, 'X');
      file_ = Descriptor(mkostemp(path_.data(), O_CLOEXEC));
      if (!file_.isOpen() || flock(file_.number(), LOCK_EX) != 0) return false;
      // Between its making and its locking another process can have taken it for a stray one.
    } while (!stands(file_, path_));
    return true;
  }

  bool write(std::string_view content) {
    const bool isFull = fault_ == DiskFault::full;
    if (isFull) content = content.substr(0, content.size() / 2);
    while (!content.empty()) {
      const ssize_t count = ::write(file_.number(), content.data(), content.size());
      if (count < 0 && errno == EINTR) continue;
      if (count < 0) return false;
      content.remove_prefix(static_cast<std::size_t>(count));
    }
    return !isFull || fail(ENOSPC);
  }

  bool setMode(mode_t mode) { return fchmod(file_.number(), mode) == 0; }

  bool flush() {
    if (fault_ == DiskFault::failingFlush) return fail(EIO);
    return fsync(file_.number()) == 0;
  }

  bool replaceTarget() {
    if (fault_ == DiskFault::failingRename) return fail(EPERM);
    if (std::rename(path_.c_str(), target_.c_str()) != 0) return false;
    hasTakenPlace_ = true;
    flushFolder();
    return true;
  }

  /// Fails with EEXIST when something is there.
  bool takeFreeTarget() {
    if (fault_ == DiskFault::failingRename) return fail(EPERM);
    // The name of the unfinished file goes with this object.
    if (link(path_.c_str(), target_.c_str()) != 0) return false;
    flushFolder();
    return true;
  }

 private:
  static bool fail(int reason) {
    errno = reason;
    return false;
  }

  /// So that the new name outlives a failure of the power too. Where that cannot be had the new file stands all the
  /// same, and whoever asked for it must not make another one.
  void flushFolder() { fsync(folder_.number()); }

  std::string target_;
  DiskFault fault_;
  Descriptor folder_;
  std::string path_;
  Descriptor file_{-1};
  bool hasTakenPlace_ = false;
};

std::optional<std::string> reasonUnless(bool isDone) {
  if (isDone) return std::nullopt;
  return std::strerror(errno);
}

/// Also those of the copies beside a file, which only add to its name.
bool isUnfinishedOf(std::string_view name, std::string_view target) {
  if (name.size() < target.size() + kUnfinished.size() + kRandomCharacters || !name.starts_with(target)) return false;
  name.remove_suffix(kRandomCharacters);
  return name.substr(target.size()).starts_with('.') && name.ends_with(kUnfinished);
}

void removeUnlessLocked(const std::string& path) {
  const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
  if (!file.isOpen() || flock(file.number(), LOCK_EX | LOCK_NB) != 0) return;
  if (stands(file, path)) unlink(path.c_str());
}

void removeUnfinishedBeside(const std::string& path) {
  const std::string name = fs::path(path).filename().string();
  std::error_code error;
  std::vector<std::string> unfinished;
  for (fs::directory_iterator entry(folderOf(path), error), end; !error && entry != end; entry.increment(error)) {
    if (isUnfinishedOf(entry->path().filename().string(), name)) unfinished.push_back(entry->path().string());
  }
  for (const std::string& file : unfinished) removeUnlessLocked(file);
}

}  // namespace

std::optional<std::string> replaceFile(const std::string& path, const std::string& content, DiskFault fault,
                                       NewFile newFile) {
  const std::string target = realPathOf(path);
  UnfinishedFile file(target, fault);
  return reasonUnless(file.create() && file.write(content) && file.setMode(modeOf(target, newFile)) && file.flush() &&
                      file.replaceTarget());
}

std::optional<std::string> copyFile(const std::string& from, const std::string& to, DiskFault fault) {
  std::string reason;
  const auto content = readFile(from, kLargestPropertyListFile, reason);
  if (!content) return reason;
  UnfinishedFile file(to, fault);
  return reasonUnless(file.create() && file.write(*content) && file.setMode(modeOf(from)) && file.flush() &&
                      file.takeFreeTarget());
}

void removeUnfinishedWrites(const std::string& path) {
  removeUnfinishedBeside(path);
  const std::string target = realPathOf(path);
  if (target != path) removeUnfinishedBeside(target);
}

}  // namespace vlm::sim
