#include <gtest/gtest.h>

#include "Simulator/Mac/PropertyListFile.h"
#include "Simulator/Program/Json.h"
#include "Tests/Simulator/Program/ProgramFixture.h"

namespace vlm::sim {
namespace {

TEST(OverrideCommands, RefuseWithTheArgumentAndTheReason) {
  struct Row {
    const char* line;
    const char* reason;
  };
  const Row rows[] = {
      {"override add Left 1600@60 cvt", "\"1600@60\" is no resolution"},
      {"override add Left 1600x900i60 cvt", "is no resolution"},
      {"override add Left 1600x900 cvt", "needs a rate"},
      {"override add Left 1600x900@0 cvt", "above 0 Hz and at most 1000 Hz"},
      {"override add Left 70000x900@60 cvt", "is beyond the 65536 pixels"},
      {"override add Left 3x900@60 cvt", "3 is too narrow: the display counts in characters of 8 pixels"},
      {"override add Left 32x32@60 gtf", "horizontal front porch would be -8 pixels"},
      {"override add Left 60000x60000@900 cvt", "a pixel clock of"},
      {"override add Left 1600x900@60 vesa", "\"vesa\" is none of gtf, cvt"},
      {"override add Left 1601x901@61 standard", "nothing of that size"},
      {"override add Left 1280x1024@61 standard", "that size at 60.02 Hz, 75.02 Hz"},
      {"override add Left 1280x720i scaled", "never interlaced"},
      {"override add Left 63x64 scaled", "a side has 64 to 16384 pixels"},
      {"override remove Left 1600x900@60", "\"Left\" has no custom resolution \"1600x900@60\""},
      {"override remove Left some", "neither all nor a resolution"},
      {"override range Left 30-81", "three of them, as in"},
      {"override range Left 81-30 56-76 25-170", "\"81-30\": the lower number comes first"},
      {"override range Left 30-81 56-76.5 25-170", "in whole Hz"},
      {"override range Left 30-10001 56-76 25-170", "a line rate is at most 10000 kHz"},
      {"override range Left 0-0 0-0 0-0", "says nothing"},
      {"override default Left 1920x1080", "a resolution with a rate"},
      {"override pixels Left 1920x1080@60", "a size such as"},
      {"override name Left \"\"", "a name has characters"},
      {"override import Left off --own-identity", "behind the file stands"},
      {"override import Left --own-identity", "in front of --own-identity"},
      {"override import Left ~/none.bin", "~/none.bin: "},
      {"override file Left \"\" Desk", "the key path is empty"},
      {"override cut Left 10", "DisplayProductID-"},
      {"edid Left year", "behind year stands a number"},
      {"override policy Left yes", "neither on nor off"},
      {"edid Left --raw", "behind --raw stands a file"},
      {"expect override Left name", "stands a value"},
      {"expect override Left policy yes", "which is on or off"},
      {"expect override Left colour on", "none of name, range, default, pixels, policy, import"},
      {"override show Nobody", "Nobody"},
  };
  Desk desk;
  for (const Row& row : rows) {
    const Outcome outcome = desk.play({row.line});
    EXPECT_EQ(outcome.status, Outcome::Status::refused) << row.line;
    EXPECT_NE(outcome.reason.find(row.reason), std::string::npos) << outcome.reason;
  }
  // None of them has left anything behind.
  EXPECT_TRUE(desk.play({"expect override Left range off", "expect override Left default off"}).held());
}

TEST(OverrideCommands, PrintWhatSpeaksAgainstATimingBelowIt) {
  Desk desk;
  const Outcome outcome = desk.play(
      {"override range Left 30-60 50-76 25-170", "override add Left 2560x1440@75 cvt-rb", "override show Left"});
  ASSERT_TRUE(outcome.held()) << outcome.reason;
  const std::string text = desk.data.str();
  const std::size_t entry = text.rfind("2560 × 1440");
  EXPECT_NE(text.find("! pixel clock", entry), std::string::npos) << text;
  EXPECT_LT(text.find("! pixel clock", entry), text.find("RECORD", entry)) << text;
}

TEST(OverrideCommands, SayWhatTheyHaveDone) {
  Desk desk;
  const Outcome outcome =
      desk.play({"override write Left", "override add Left 1366x769i@50 cvt", "override add Left 640x480@75 gtf",
                 "administrator on", "override write Left", "override write Left", "override restore Left"});
  ASSERT_TRUE(outcome.held()) << outcome.reason;
  const std::string text = desk.data.str();
  std::size_t at = 0;
  for (const char* said :
       {"nothing to be written: nothing is overridden", "1366 is cut to 1360", "769 lines become 770",
        "added: custom 640 × 480, 75", "written: /Library/Displays", "the file has all of it", "as it was found"}) {
    at = text.find(said, at);
    EXPECT_NE(at, std::string::npos) << said << " in " << text;
  }
}

TEST(EdidCommand, ShowsAndSavesWhatTheDaemonReads) {
  Desk desk;
  ASSERT_TRUE(desk.play({"edid Left --json", "edid Left --raw ~/left.bin"}).held());
  const auto view = valueFromJson(desk.data.str());
  ASSERT_TRUE(view) << desk.data.str();
  EXPECT_EQ(view->dictionary()->string("name"), "Left");
  const auto& timing = *view->dictionary()->array("timings")->front().dictionary();
  EXPECT_TRUE(timing.boolean("preferred"));
  EXPECT_EQ(timing.sInt64("width"), 2560);
  EXPECT_TRUE(view->dictionary()->array("findings")->empty());
  std::string reason;
  const auto file = readFile(desk.simulator.mac().homeFolder() + "/left.bin", kLongestEdid, reason);
  const plist::Data& edid = desk.simulator.mac().display("Left").description.edid;
  EXPECT_EQ(file, std::string(edid.begin(), edid.end()));
}

}  // namespace
}  // namespace vlm::sim
