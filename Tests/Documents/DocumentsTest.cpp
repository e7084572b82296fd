#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>

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

  std::string sources;
  for (const auto& file : std::filesystem::recursive_directory_iterator(kRepository / "Sources")) {
    if (file.path().extension() == ".cpp") sources += textOf(file.path());
  }
  EXPECT_EQ(documented("messages.md", "## Announcements", "### Its own posts"),
            found(sources, R"re((?:postDaemonNotification|Script_SendSimpleNotification)\(\s*"(\w+)")re"));
}

}  // namespace
}  // namespace vlm
