#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>

#include "Simulator/Program/Run.h"
#include "Tests/Simulator/Program/ProgramFixture.h"
#include "Tests/Support/DaemonOnMac.h"

namespace vlm {
namespace {

using Names = std::set<std::string>;
const std::filesystem::path kRepository = VELMORATIX_SOURCE_FOLDER;

std::string textOf(const std::filesystem::path& path) {
  std::ostringstream text;
  text << std::ifstream(path).rdbuf();
  return text.str();
}

/// The first group of every match.
Names found(const std::string& text, const char* pattern) {
  const std::regex expression(pattern);
  return Names(std::sregex_token_iterator(text.begin(), text.end(), expression, 1), {});
}

/// What the tables between two texts of a document have in backticks in their first column.
Names documented(const std::string& document, const std::string& from, const std::string& to) {
  const std::string text = textOf(kRepository / "docs" / document);
  const std::size_t begin = text.find(from);
  Names names;
  for (const std::string& cell : found(text.substr(begin, text.find(to, begin) - begin), R"(\n\|([^|]*)\|)")) {
    names.merge(found(cell, "`([^`]+)`"));
  }
  return names;
}

TEST(Documents, NameTheKeysOfTheSettingsFile) {
  test::DaemonOnMac on(sim::machineNamed("laptop-and-two"));
  on.launch();
  const Names known = documented("settings-file.md", "## Top level", "## Numbers");
  // But for those of "allDisplays", which are numbers.
  for (const std::string& key : found(textOf(on.settingsPath()), R"(<key>([^<]*[^<0-9][^<]*)</key>)")) {
    EXPECT_TRUE(known.contains(key)) << key;
  }
}

TEST(Documents, NameTheMessages) {
  test::DaemonOnMac on(sim::machineNamed("laptop-and-two"));
  on.launch();
  std::string journal;
  for (const std::string& line : on.mac.journal().lines()) journal += line + "\n";
  EXPECT_EQ(documented("messages.md", "## Commands", "### What is ignored"),
            found(journal, R"re(addObserver\(distributed, org\.kelvane\.velmoratix\.daemon, "(\w+)")re"));

  EXPECT_EQ(documented("messages.md", "## Announcements", "### Its own posts"),
            Names(sim::kAnnouncements.begin(), sim::kAnnouncements.end()));
  std::string sources;
  for (const auto& file : std::filesystem::recursive_directory_iterator(kRepository / "Sources")) {
    if (file.path().extension() == ".cpp") sources += textOf(file.path());
  }
  EXPECT_EQ(documented("messages.md", "## Announcements", "### Its own posts"),
            found(sources, R"re((?:postDaemonNotification|Script_SendSimpleNotification)\(\s*"(\w+)")re"));
}

TEST(Documents, HaveAnExampleThatRunsAsItStands) {
  const std::string document = textOf(kRepository / "docs/machines-and-scenarios.md");
  const auto block = [&](const std::string& beginning) {
    const std::size_t begin = document.find("\n" + beginning) + 1;
    return document.substr(begin, document.find("```", begin) - begin);
  };
  std::string folder = (std::filesystem::temp_directory_path() / "velmoratix-example-XXXXXX").string();
  ASSERT_NE(mkdtemp(folder.data()), nullptr);
  std::ofstream(folder + "/my-desk.plist") << block("<?xml");
  std::ofstream(folder + "/my-story.scenario") << block("# machine: my-desk.plist");
  std::ostringstream data, diagnostics;
  sim::Output output{.data = data, .diagnostics = diagnostics};
  EXPECT_EQ(sim::runSimulator({.script = folder + "/my-story.scenario"}, output), 0) << diagnostics.str();
  EXPECT_NE(data.str().find("Wide"), std::string::npos) << data.str();
  std::filesystem::remove_all(folder);
}

}  // namespace
}  // namespace vlm
