#include <gtest/gtest.h>

#include "Simulator/Mac/PropertyListFile.h"
#include "Simulator/Program/Completion.h"
#include "Simulator/Program/Documents.h"
#include "Tests/Simulator/Program/ProgramFixture.h"

namespace vlm::sim {
namespace {

TEST(ProgramDocuments, AreKeptAsTheProgramPrintsThem) {
  const std::pair<const char*, const char*> kept[] = {{"man", "docs/man/velmoratix-simulator.1"},
                                                      {"bash", "scripts/completions/velmoratix-simulator.bash"},
                                                      {"zsh", "scripts/completions/_velmoratix-simulator"},
                                                      {"fish", "scripts/completions/velmoratix-simulator.fish"}};
  for (const auto& [kind, path] : kept) {
    std::string reason;
    const auto file = readFile(std::string(VELMORATIX_SOURCE_FOLDER) + "/" + path, 1 << 20, reason);
    EXPECT_EQ(file.value_or(reason), documentOf(kind)) << path << ": renew it with scripts/print-documents.sh";
  }
}

TEST(Completion, OffersWhatMayStandThere) {
  using Words = std::vector<std::string>;
  struct Row {
    const char* line;
    Words words;
  };
  const Row rows[] = {
      {"unpl", {"unplug"}},
      {"unplug ", {"Built-in", "Left", "Right"}},
      {"unplug r", {"Right"}},
      {"unplug Right ", {}},
      {"show s", {"sets", "settings"}},
      {"show modes Left --", {"--json"}},
      {"show modes --json L", {"Left"}},
      {"mode Left 2560", {"2560x1440@60"}},
      {"expect display Left o", {"off", "on", "overscan"}},
      {"expect set \"as", {"As found at first start"}},
      {"expect set \"As found at first start\" mark d", {"dash", "diamond"}},
      {"expect setting displaySetsArray.0.na", {"displaySetsArray.0.name"}},
      {"help exp", {"explain", "expect"}},
      {"unplug \"Le\"", {"Left"}},
      {R"(say "a \" b" "un)", {}},
      {"nonsense ", {}},
  };
  Desk desk;
  for (const Row& row : rows) {
    Words words = row.words;
    std::sort(words.begin(), words.end());
    EXPECT_EQ(completionsOf(desk.simulator, typedLine(row.line)), words) << row.line;
  }
}

TEST(Completion, ReplacesTheWordFromItsQuoteOn) {
  struct Row {
    const char* line;
    const char* becomes;
  };
  const Row rows[] = {
      {"explain as", "explain \"As found at first start\" "},
      {"explain \"as f", "explain \"As found at first start\" "},
      {"unplug \"le", "unplug \"Left\" "},
      {"unplug Bü", "unplug \"Büro "},
      {"unplug \"Bü", "unplug \"Büro "},
      {"unplug bÜr", "unplug bÜr"},
      {"unplug ", "unplug "},
  };
  Desk desk;
  desk.simulator.mac().display("Right").description.name = "Büro é";
  desk.simulator.mac().display("Built-in").description.name = "Büro è";
  for (const Row& row : rows) {
    const Completed completed = completedWord(desk.simulator, row.line);
    EXPECT_EQ(std::string(row.line).substr(0, completed.from) + completed.word, row.becomes) << row.line;
  }
}

}  // namespace
}  // namespace vlm::sim
