#include "Platform/MacOS/Adapters.h"
#include "Platform/MacOS/NativeText.h"
#include "Platform/MacOS/PropertyListBridge.h"

#include <copyfile.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <span>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#import <Carbon/Carbon.h>
#import <Foundation/Foundation.h>

namespace vlm::native {

namespace {

namespace fs = std::filesystem;

// --- Texts and data ---

NSData* nativeData(const plist::Data& data) { return [NSData dataWithBytes:data.data() length:data.size()]; }

/// Nil when nothing can be read there.
NSData* contentOf(const std::string& path) {
  NSURL* url = fileURL(path);
  return url == nil ? nil : [NSData dataWithContentsOfURL:url];
}

std::optional<std::string> pathOf(NSURL* url) { return textFromCF((__bridge CFStringRef)url.path); }

/// An XML property list; nil, with the reason, for what cannot be one. Null is none.
NSData* composed(CFTypeRef propertyList, std::string& reason) {
  NSError* error = nil;
  NSData* content = propertyList == nullptr
                        ? nil
                        : [NSPropertyListSerialization dataWithPropertyList:(__bridge id)propertyList
                                                                     format:NSPropertyListXMLFormat_v1_0
                                                                    options:0
                                                                      error:&error];
  if (content == nil) {
    reason = textFromCF((__bridge CFStringRef)error.localizedDescription).value_or("it cannot be a property list");
  }
  return content;
}

// --- Files that are there whole or not at all ---

constexpr mode_t kModeOfNewFile = 0600, kModeReadableByAll = 0644;
constexpr mode_t kAllModeBits = 07777;

/// What an unfinished file adds to the name of the one that it shall become; six characters of mkstemp's follow.
constexpr std::string_view kUnfinished = ".unfinished-";
constexpr std::size_t kRandomCharacters = 6;

mode_t modeOf(const std::string& path, mode_t ifNew) {
  struct stat status = {};
  return stat(path.c_str(), &status) == 0 ? status.st_mode & kAllModeBits : ifNew;
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

std::string folderOf(const std::string& path) { return fs::path(path).parent_path().string(); }

class Descriptor {
 public:
  explicit Descriptor(int number) : number_(number) {}
  ~Descriptor() {
    if (number_ >= 0) close(number_);
  }
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
  explicit UnfinishedFile(std::string target)
      : target_(std::move(target)), folder_(open(folderOf(target_).c_str(), O_RDONLY | O_CLOEXEC)) {}
  ~UnfinishedFile() {
    if (file_.isOpen() && !hasTakenPlace_) unlink(path_.c_str());
  }
  UnfinishedFile(const UnfinishedFile&) = delete;
  UnfinishedFile& operator=(const UnfinishedFile&) = delete;

  bool create() {
    if (!folder_.isOpen()) return false;
    do {
      path_ = target_ + std::string(kUnfinished) + std::string(kRandomCharacters, 'X');
      file_ = Descriptor(mkostemp(path_.data(), O_CLOEXEC));
      if (!file_.isOpen()) return false;
      // A disk that knows no locks gives none to those who look for stray files either.
      flock(file_.number(), LOCK_EX);
      // Between its making and its locking another process can have taken it for a stray one.
    } while (!stands(file_, path_));
    return true;
  }

  bool write(std::span<const std::uint8_t> content) {
    while (!content.empty()) {
      const ssize_t count = ::write(file_.number(), content.data(), content.size());
      if (count < 0 && errno == EINTR) continue;
      if (count < 0) return false;
      content = content.subspan(static_cast<std::size_t>(count));
    }
    return true;
  }

  bool copyBytesOf(const Descriptor& file) {
    return fcopyfile(file.number(), file_.number(), nullptr, COPYFILE_DATA) == 0;
  }

  bool setMode(mode_t mode) { return fchmod(file_.number(), mode) == 0; }

  /// As far as the disk can: a plain fsync leaves the bytes in the drive's own memory.
  bool flush() { return fcntl(file_.number(), F_FULLFSYNC) == 0 || fsync(file_.number()) == 0; }

  bool replaceTarget() { return takeTarget(0); }
  /// Fails with EEXIST when something is there.
  bool takeFreeTarget() { return takeTarget(RENAME_EXCL); }

 private:
  bool takeTarget(unsigned int options) {
    const int error = options == 0 ? std::rename(path_.c_str(), target_.c_str())
                                   : renamex_np(path_.c_str(), target_.c_str(), options);
    if (error != 0) return false;
    hasTakenPlace_ = true;
    // So that the new name outlives a failure of the power too. Where that cannot be had the new file stands all the
    // same, and whoever asked for it must not make another one.
    fsync(folder_.number());
    return true;
  }

  std::string target_;
  Descriptor folder_;
  std::string path_;
  Descriptor file_{-1};
  bool hasTakenPlace_ = false;
};

std::optional<std::string> reasonUnless(bool isDone) {
  if (isDone) return std::nullopt;
  return std::strerror(errno);
}

std::optional<std::string> replaceFile(const std::string& path, NSData* content) {
  const std::string target = realPathOf(path);
  UnfinishedFile file(target);
  return reasonUnless(file.create() && file.write({static_cast<const std::uint8_t*>(content.bytes), content.length}) &&
                      file.setMode(modeOf(target, kModeOfNewFile)) && file.flush() && file.replaceTarget());
}

std::optional<std::string> copyToFreePlace(const std::string& from, const std::string& to) {
  const Descriptor source(open(from.c_str(), O_RDONLY | O_CLOEXEC));
  UnfinishedFile file(to);
  return reasonUnless(source.isOpen() && file.create() && file.copyBytesOf(source) &&
                      file.setMode(modeOf(from, kModeOfNewFile)) && file.flush() && file.takeFreeTarget());
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

// --- Writing as an administrator ---

/// Nothing else is ever written as an administrator.
constexpr std::array<std::string_view, 3> kOverrideFolders = {
    "/Library/Displays/Contents/Resources/Overrides/",
    "/System/Library/Displays/Contents/Resources/Overrides/",
    "/System/Library/Displays/Overrides/",
};

/// A command line holds a mebibyte (ARG_MAX); real files have some ten kilobytes, and base64 makes four bytes of three.
constexpr NSUInteger kLargestOverrideFile = 128UL << 10;

/// Of the characters that override files and their folders have in their names. None of them means anything to a path
/// or to the shell.
bool isOverrideName(std::string_view name) {
  constexpr std::string_view kCharacters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-";
  return !name.empty() && name.find_first_not_of(kCharacters) == std::string_view::npos;
}

/// In a folder of an override folder, both plainly named.
bool isOverrideFile(std::string_view path) {
  const auto* const found = std::find_if(kOverrideFolders.begin(), kOverrideFolders.end(),
                                         [&](std::string_view folder) { return path.starts_with(folder); });
  if (found == kOverrideFolders.end()) return false;
  const std::string_view name = path.substr(found->size());
  const std::size_t slash = name.find('/');
  return slash != std::string_view::npos && isOverrideName(name.substr(0, slash)) &&
         isOverrideName(name.substr(slash + 1));
}

/// The shell's steps, each only after the one before: the folder, an unfinished file beside the place, whole and
/// flushed, then its renaming. The content stands in the command itself, for root must not open a file that others can
/// exchange until then. All that varies is letters, digits and "-+/=", so nothing in it can end its quotes. A link in
/// the place is replaced and never followed.
std::string writingCommand(const std::string& path, NSData* content) {
  const std::string file = "'" + path + "'";
  const std::string base64 = [content base64EncodedStringWithOptions:0].UTF8String;
  char mode[8] = "";
  std::snprintf(mode, sizeof mode, "%03o", static_cast<unsigned>(modeOf(path, kModeReadableByAll) & 0777));
  return "umask 022 && /bin/mkdir -p '" + folderOf(path) + "' && new=$(/usr/bin/mktemp '" + path +
         std::string(kUnfinished) + "XXXXXX') && trap '/bin/rm -f \"$new\"' EXIT && printf %s '" + base64 +
         "' | /usr/bin/base64 -D >\"$new\" && [ $(/usr/bin/wc -c <\"$new\") -eq " + std::to_string(content.length) +
         " ] && /bin/chmod " + mode + " \"$new\" && /bin/sync && [ ! -d " + file + " ] && /bin/mv -f \"$new\" " + file;
}

/// Asks for an administrator, waits for the answer, and runs the command as root. The command goes to the script as a
/// parameter: the script's text is always the same. Answers the reason of a failure (that it was cancelled, what the
/// shell said), or nothing.
std::optional<std::string> runAsAdministrator(const std::string& command) {
  NSAppleScript* script = [[NSAppleScript alloc] initWithSource:@"on runcommand(shellCommand)\n"
                                                                @"do shell script shellCommand "
                                                                @"with administrator privileges\n"
                                                                @"end runcommand"];
  NSAppleEventDescriptor* parameters = [NSAppleEventDescriptor listDescriptor];
  [parameters insertDescriptor:[NSAppleEventDescriptor descriptorWithString:native(command)] atIndex:1];
  NSAppleEventDescriptor* call =
      [NSAppleEventDescriptor appleEventWithEventClass:kASAppleScriptSuite
                                               eventID:kASSubroutineEvent
                                      targetDescriptor:NSAppleEventDescriptor.currentProcessDescriptor
                                              returnID:kAutoGenerateReturnID
                                         transactionID:kAnyTransactionID];
  // A handler's name is in lower case here, however the script writes it.
  [call setParamDescriptor:[NSAppleEventDescriptor descriptorWithString:@"runcommand"] forKeyword:keyASSubroutineName];
  [call setParamDescriptor:parameters forKeyword:keyDirectObject];
  NSDictionary<NSString*, id>* error = nil;
  if ([script executeAppleEvent:call error:&error] != nil) return std::nullopt;
  NSString* message = error[NSAppleScriptErrorMessage];
  return textFromCF((__bridge CFStringRef)message).value_or("the script failed without a reason");
}

class NativeFiles final : public Files {
 public:
  std::optional<std::string> libraryDirectory(Domain domain) override {
    const NSSearchPathDomainMask mask = domain == Domain::user ? NSUserDomainMask : NSLocalDomainMask;
    return pathOf([NSFileManager.defaultManager URLsForDirectory:NSLibraryDirectory inDomains:mask].firstObject);
  }
  bool checkResourceIsReachable(const std::string& path) override {
    // The platform's method of this name does not say whether it follows a link; one to nothing counts as nothing here,
    // because that is what a save makes of it.
    return access(path.c_str(), F_OK) == 0;
  }
  std::optional<plist::Dictionary> dictionaryWithContentsOfURL(const std::string& path) override {
    auto value = propertyListWithContentsOfURL(path);
    if (!value || value->dictionary() == nullptr) return std::nullopt;
    return std::move(*value->dictionary());
  }
  std::optional<plist::Value> propertyListWithContentsOfURL(const std::string& path) override {
    NSData* content = contentOf(path);
    if (content == nil) return std::nullopt;
    id root = [NSPropertyListSerialization propertyListWithData:content
                                                        options:NSPropertyListImmutable
                                                         format:nil
                                                          error:nil];
    return valueFromCF((__bridge CFTypeRef)root);
  }
  std::optional<plist::Data> dataWithContentsOfURL(const std::string& path) override {
    return dataFromCF((__bridge CFDataRef)contentOf(path));
  }
  std::optional<plist::Data> CFURLCreateBookmarkDataFromAliasRecord(const plist::Data& aliasRecord) override {
    const ScopedCF<CFDataRef> bookmark(
        ::CFURLCreateBookmarkDataFromAliasRecord(kCFAllocatorDefault, (__bridge CFDataRef)nativeData(aliasRecord)));
    return dataFromCF(bookmark.get());
  }
  std::optional<std::string> URLByResolvingBookmarkData(const plist::Data& bookmark) override {
    // Displays wait for the answer, so nobody is asked for a password and no volume is fetched.
    return pathOf([NSURL
        URLByResolvingBookmarkData:nativeData(bookmark)
                           options:NSURLBookmarkResolutionWithoutUI | NSURLBookmarkResolutionWithoutMounting
                     relativeToURL:nil
               bookmarkDataIsStale:nil
                             error:nil]);
  }
  std::optional<std::string> writeToURLAtomically(const plist::Dictionary& dictionary,
                                                  const std::string& path) override {
    std::string reason;
    NSData* content = composed(makeCFDictionary(dictionary).get(), reason);
    return content == nil ? std::move(reason) : replaceFile(path, content);
  }
  std::optional<std::string> writeToURLAsAdministrator(const plist::Value& propertyList,
                                                       const std::string& path) override {
    if (!isOverrideFile(path)) return path + " is no place of an override file";
    std::string reason;
    NSData* content = composed(makeCFObject(propertyList).get(), reason);
    if (content == nil) return reason;
    if (content.length > kLargestOverrideFile) return std::strerror(EFBIG);
    return runAsAdministrator(writingCommand(path, content));
  }
  std::optional<std::string> copyItem(const std::string& from, const std::string& to) override {
    return copyToFreePlace(from, to);
  }
  void removeUnfinishedWrites(const std::string& path) override {
    removeUnfinishedBeside(path);
    const std::string target = realPathOf(path);
    if (target != path) removeUnfinishedBeside(target);
  }
};

}  // namespace

std::unique_ptr<Files> makeNativeFiles() { return std::make_unique<NativeFiles>(); }

}  // namespace vlm::native
