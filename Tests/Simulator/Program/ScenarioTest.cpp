#include "Simulator/Program/Scenario.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "Tests/Simulator/Program/ProgramFixture.h"

namespace vlm::sim {
namespace {

using Words = std::vector<std::string>;

TEST(Scenario, SplitsLinesIntoWords) {
  struct Row {
    const char* line;
    std::variant<Words, std::string> words;
  };
  const Row rows[] = {
      {"", Words{}},
      {"  \t ", Words{}},
      {"# a comment", Words{}},
      {"  advance   2 ", Words{"advance", "2"}},
      {"advance 2 # two ticks", Words{"advance", "2"}},
      {"mode Left#2 1x1", Words{"mode", "Left#2", "1x1"}},
      {"say \"two  blanks # no comment\"", Words{"say", "two  blanks # no comment"}},
      {R"(say "a \"quoted\" word and a \\ and a \n")", Words{"say", R"(a "quoted" word and a \ and a \n)"}},
      {"say be\"fore and be\"hind", Words{"say", "before and behind"}},
      {"say \"\"", Words{"say", ""}},
      {"say \"open", std::string("a quote stands open")},
      {R"(say "open\")", std::string("a quote stands open")},
  };
  for (const Row& row : rows) EXPECT_EQ(splitWords(row.line), row.words) << row.line;
}

TEST(Scenario, ReadsBackEveryTextThatItWritesAsOneWord) {
  for (const std::string text : {"Left", "", "two words", R"(27" \ "wide")", R"(ends in \)", "# not a comment"}) {
    EXPECT_EQ(splitWords("mode " + asWord(text)), (std::variant<Words, std::string>(Words{"mode", text}))) << text;
  }
}

class ScenarioFile : public testing::Test {
 protected:
  std::string path_ =
      testing::TempDir() + "velmoratix-" + testing::UnitTest::GetInstance()->current_test_info()->name();

  void write(const std::string& text) { std::ofstream(path_, std::ios::binary) << text; }
  void TearDown() override { std::filesystem::remove(path_); }
};

TEST_F(ScenarioFile, NamesItsMachineInTheFirstLineOnly) {
  write("\xEF\xBB\xBF# machine: three-identical\r\nadvance 1\r\n\nquit");
  const auto read = readScenario(path_);
  ASSERT_TRUE(std::holds_alternative<Scenario>(read));
  const auto& scenario = std::get<Scenario>(read);
  EXPECT_EQ(scenario.lines, (Words{"# machine: three-identical", "advance 1", "", "quit"}));
  EXPECT_EQ(scenario.machine(), "three-identical");
  EXPECT_EQ((Scenario{.name = "x", .lines = {"advance 1", "# machine: three-identical"}}.machine()), std::nullopt);
}

TEST_F(ScenarioFile, RefusesWhatIsTooLargeOrNotThere) {
  EXPECT_EQ(std::get<std::string>(readScenario(path_)), path_ + ": cannot be opened");
  write(std::string(kLargestScenario, '#'));
  EXPECT_TRUE(std::holds_alternative<Scenario>(readScenario(path_)));
  write(std::string(kLargestScenario + 1, '#'));
  EXPECT_EQ(std::get<std::string>(readScenario(path_)), path_ + ": is longer than 1048576 bytes");
  EXPECT_EQ(std::get<std::string>(readScenario(testing::TempDir())), testing::TempDir() + ": cannot be read");
}

TEST(Scenario, RefusesEveryWrongLineBeforeAnythingIsPlayed) {
  Desk desk;
  const Outcome outcome = desk.play({"#Machine:", "say hello", "", "advance", "# machine: desktop-single"});
  EXPECT_EQ(outcome.status, Outcome::Status::refused);
  EXPECT_EQ(outcome.reason,
            "test.scenario:1: behind \"machine:\" stands a machine's name or file\n"
            "test.scenario:4: too few arguments: advance SECONDS\n"
            "test.scenario:5: the machine is chosen in the first line, or by --machine");
  EXPECT_EQ(desk.data.str(), "");
}

TEST(Scenario, EndsAtTheFirstLineThatDoesNotHold) {
  Desk desk;
  const Outcome outcome = desk.play({"say before", "expect running 2", "say behind"});
  EXPECT_EQ(outcome.status, Outcome::Status::notHeld);
  EXPECT_EQ(outcome.reason, "test.scenario:2: expect running 2: there is 1 copy of the daemon");
  EXPECT_EQ(desk.data.str(), "\nbefore\n");
}

}  // namespace
}  // namespace vlm::sim
