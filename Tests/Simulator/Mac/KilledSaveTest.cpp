#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <random>

#include "Simulator/Mac/AtomicFile.h"
#include "Simulator/Mac/PropertyListFile.h"

/// Memory that the address sanitizer keeps back after it was freed would make each fork slower than the last.
extern "C" const char* __asan_default_options() { return "quarantine_size_mb=1"; }

/// Processes that are killed while they save.
namespace vlm::sim {
namespace {

namespace fs = std::filesystem;

/// Child processes that write one of two contents after the other into a file, for ever.
class KilledSave : public ::testing::Test {
 protected:
  using Writer = bool (*)(const std::string& path, const std::string& content);

  KilledSave() {
    // In memory where that can be had: a process that waits for a disk is not killed before the disk has answered.
    const fs::path memory = "/dev/shm";
    std::string pattern = ((fs::exists(memory) ? memory : fs::temp_directory_path()) / "killed-save-XXXXXX").string();
    folder_ = mkdtemp(pattern.data());
    path_ = (folder_ / "settings.plist").string();
    std::ofstream(path_) << contents_[0];
  }
  ~KilledSave() override { fs::remove_all(folder_); }

  pid_t startWriting(Writer writer, int times) const {
    const pid_t child = fork();
    if (child != 0) return child;
    bool isGood = true;
    for (int i = 1; isGood && i != times; ++i) isGood = writer(path_, contents_[static_cast<std::size_t>(i) % 2]);
    _exit(isGood ? 0 : 1);
  }

  /// Answers whether the file was whole after the kill.
  bool isWholeAfterKill(Writer writer) {
    const pid_t child = startWriting(writer, 0);
    std::uniform_int_distribution<useconds_t> instant(0, 1500);
    usleep(instant(random_));
    kill(child, SIGKILL);
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status)) << "the writer gave up";
    std::ifstream file(path_, std::ios::binary);
    file.read(found_.data(), static_cast<std::streamsize>(found_.size()));
    const std::string_view found(found_.data(), static_cast<std::size_t>(file.gcount()));
    return found == contents_[0] || found == contents_[1];
  }

  std::ptrdiff_t filesInFolder() const { return std::distance(fs::directory_iterator(folder_), {}); }

  static bool writeAtomically(const std::string& path, const std::string& content) {
    return !replaceFile(path, content);
  }
  static bool writeInPlace(const std::string& path, const std::string& content) {
    return static_cast<bool>(std::ofstream(path, std::ios::binary | std::ios::trunc) << content);
  }

  const std::array<std::string, 2> contents_{composePropertyList(plist::Dictionary{{"old", std::string(150'000, 'o')}}),
                                             composePropertyList(plist::Dictionary{{"new", std::string(90'000, 'n')}})};
  std::string found_ = std::string(contents_[0].size() + 1, ' ');
  fs::path folder_;
  std::string path_;
  std::minstd_rand random_{20};
};

TEST_F(KilledSave, LeavesTheOldFileOrTheNewOne) {
  constexpr int kKills = 2000;
  int strays = 0;
  for (int i = 0; i < kKills; ++i) {
    ASSERT_TRUE(isWholeAfterKill(writeAtomically)) << "kill " << i;
    if (filesInFolder() > 1) ++strays;
    removeUnfinishedWrites(path_);
    ASSERT_EQ(filesInFolder(), 1) << "kill " << i;
  }
  EXPECT_GT(strays, kKills / 20) << "hardly a kill came in the middle of a save";
}

TEST_F(KilledSave, TearsAFileThatIsWrittenInPlace) {
  bool isTorn = false;
  for (int i = 0; !isTorn && i < 2000; ++i) isTorn = !isWholeAfterKill(writeInPlace);
  EXPECT_TRUE(isTorn);
}

TEST_F(KilledSave, IsClearedAwayWithoutDisturbingThoseUnderWay) {
  const pid_t child = startWriting(writeAtomically, 300);
  int status = 0;
  while (waitpid(child, &status, WNOHANG) == 0) removeUnfinishedWrites(path_);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "a file was taken away from its writer";
  EXPECT_EQ(filesInFolder(), 1);

  for (const char* const others : {"settings.plist.backup", "settings.plist.unfinished-", "x.unfinished-abcdef"}) {
    std::ofstream(folder_ / others) << "somebody's";
  }
  for (const char* const strays : {"settings.plist.unfinished-abcdef", "settings.plist.unreadable.unfinished-abcdef"}) {
    std::ofstream(folder_ / strays) << "half";
  }
  removeUnfinishedWrites(path_);
  EXPECT_EQ(filesInFolder(), 4);
}

TEST_F(KilledSave, OrCopyThatFailsSaysWhyAndLeavesNothing) {
  const struct {
    DiskFault fault;
    const char* reason;
  } rows[] = {{DiskFault::full, "No space left on device"},
              {DiskFault::readOnly, "Permission denied"},
              {DiskFault::failingFlush, "Input/output error"},
              {DiskFault::failingRename, "Operation not permitted"}};
  const std::string copy = path_ + ".copy";
  for (const auto& row : rows) {
    EXPECT_EQ(replaceFile(path_, "new", row.fault), row.reason);
    EXPECT_EQ(copyFile(path_, copy, row.fault), row.reason);
    EXPECT_EQ(filesInFolder(), 1) << row.reason;
  }
  std::string reason;
  EXPECT_EQ(readFile(path_, kLargestPropertyListFile, reason), contents_[0]);
  EXPECT_EQ(copyFile(path_, copy), std::nullopt);
  EXPECT_EQ(readFile(copy, kLargestPropertyListFile, reason), contents_[0]);
  EXPECT_EQ(replaceFile(path_, "new"), std::nullopt);
  EXPECT_EQ(copyFile(path_, copy), "File exists");
  EXPECT_EQ(readFile(copy, kLargestPropertyListFile, reason), contents_[0]);
  EXPECT_EQ(filesInFolder(), 2);
}

}  // namespace
}  // namespace vlm::sim
