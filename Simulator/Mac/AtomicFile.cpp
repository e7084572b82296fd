#include "Simulator/Mac/AtomicFile.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace vlm::sim {

namespace {

/// As the user's own preference files have it.
constexpr mode_t kPermissions = 0644;

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
  bool setPermissions() { return fchmod(descriptor_, kPermissions) == 0; }
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
  TemporaryFile file(path);
  const bool isDone = file.isOpen() && file.write(content) && file.setPermissions() && file.flush() &&
                      file.closeFile() && file.replace(path);
  if (isDone) return std::nullopt;
  return std::strerror(errno);
}

}  // namespace vlm::sim
