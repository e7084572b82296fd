#include "Simulator/Mac/AtomicFile.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace vlm::sim {

namespace {

constexpr mode_t kModeOfNewFile = 0600;

mode_t modeOf(const std::string& path) {
  struct stat status = {};
  constexpr mode_t kAllModeBits = 07777;
  return stat(path.c_str(), &status) == 0 ? status.st_mode & kAllModeBits : kModeOfNewFile;
}

/// The path without symbolic links; as it is when nothing is there.
std::string realPathOf(const std::string& path) {
  char* const resolved = realpath(path.c_str(), nullptr);
  if (resolved == nullptr) return path;
  std::string real = resolved;
  std::free(resolved);
  return real;
}

/// A new file next to the one that it shall replace; goes away again unless it has taken the place.
class TemporaryFile {
 public:
  explicit TemporaryFile(const std::string& target)
      : path_(target + ".XXXXXX"), descriptor_(mkstemp(path_.data())), exists_(descriptor_ >= 0) {}
  ~TemporaryFile() {
    if (descriptor_ >= 0) close(descriptor_);
    if (exists_) unlink(path_.c_str());
  }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  bool isOpen() const { return descriptor_ >= 0; }

  bool write(const std::string& content) {
    std::size_t written = 0;
    while (written < content.size()) {
      const ssize_t count = ::write(descriptor_, content.data() + written, content.size() - written);
      if (count < 0 && errno == EINTR) continue;
      if (count < 0) return false;
      written += static_cast<std::size_t>(count);
    }
    return true;
  }
  bool setMode(mode_t mode) { return fchmod(descriptor_, mode) == 0; }
  bool flush() { return fsync(descriptor_) == 0; }
  bool closeFile() {
    const int descriptor = descriptor_;
    descriptor_ = -1;
    return close(descriptor) == 0;
  }
  bool replace(const std::string& target) {
    if (std::rename(path_.c_str(), target.c_str()) != 0) return false;
    exists_ = false;
    return true;
  }

 private:
  std::string path_;
  int descriptor_;
  bool exists_;
};

}  // namespace

std::optional<std::string> replaceFile(const std::string& path, const std::string& content) {
  const std::string target = realPathOf(path);
  TemporaryFile file(target);
  const bool isDone = file.isOpen() && file.write(content) && file.setMode(modeOf(target)) && file.flush() &&
                      file.closeFile() && file.replace(target);
  if (isDone) return std::nullopt;
  return std::strerror(errno);
}

}  // namespace vlm::sim
