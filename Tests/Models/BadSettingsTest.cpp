#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <limits>

#include "Simulator/Mac/PropertyListFile.h"
#include "Tests/Support/DaemonOnMac.h"

/// Settings files that are damaged: as files, and value by value.
namespace vlm {
namespace {

using plist::Array;
using plist::Dictionary;
using plist::Value;

constexpr int kEverything = 0x3FFF;

std::string contentOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// The file of a daemon that has run, with a second display set.
const std::string& realFile() {
  static const std::string kFile = [] {
    const auto machine = sim::readMachine(std::string(VELMORATIX_MACHINES_FOLDER) + "/laptop-and-two.plist");
    test::DaemonOnMac on(std::get<sim::MachineDescription>(machine));
    on.launch();
    on.mac.advance(2);
    Dictionary settings = on.settings();
    Array sets = *settings.array("displaySetsArray");
    Dictionary second = *sets.front().dictionary();
    second.set("uniqueID", 2);
    sets.push_back(second);
    settings.set("displaySetsArray", sets);
    settings.set("startupSet", 2);
    settings.set("eventsArray", Array{Dictionary{{"a", 1}}});
    settings.set("someoneElses", "x");
    return sim::composePropertyList(settings);
  }();
  return kFile;
}

Dictionary parsed(const std::string& file) { return *sim::parsePropertyList(file).value->dictionary(); }

// --- Files ---

TEST(BadSettings, CutOffAnywhereAreNeverTakenForWholeOnes) {
  const std::string& whole = realFile();
  const Value complete = parsed(whole);
  // Every byte of what is special, and samples of what repeats itself a thousand times.
  constexpr std::size_t kDense = 60, kStep = 1999;
  for (std::size_t length = 0; length < whole.size();
       length += length < kDense || length + kStep + kDense > whole.size() ? 1 : kStep) {
    const auto result = sim::parsePropertyList(whole.substr(0, length));
    EXPECT_TRUE(!result.value || *result.value == complete) << length << " of " << whole.size();
  }
}

TEST(BadSettings, AreKeptBesideTheNewOnesOnce) {
  const std::string whole = realFile();
  const std::string contents[] = {"",
                                  "<",
                                  "garbage",
                                  whole.substr(0, whole.size() / 2),
                                  whole.substr(0, 100),
                                  sim::composePropertyList(Array{parsed(whole)})};
  for (const std::string& content : contents) {
    SCOPED_TRACE(content.substr(0, 20));
    test::DaemonOnMac on(test::laptopWith({"Left"}));
    const std::string first = on.settingsPath() + ".unreadable";
    std::ofstream(first) << "an earlier one";
    std::ofstream(on.settingsPath()) << content;
    on.launch();
    ASSERT_EQ(on.mac.setMode("Left", 1280, 720), std::nullopt);
    on.mac.advance(3);
    EXPECT_EQ(contentOf(first), "an earlier one");
    EXPECT_EQ(contentOf(first + "-2"), content);
    EXPECT_FALSE(std::filesystem::exists(first + "-3"));
    EXPECT_EQ(std::count_if(on.mac.log.begin(), on.mac.log.end(),
                            [](const std::string& line) { return line.find("kept as") != line.npos; }),
              1);
    const Dictionary written = on.settings();
    EXPECT_EQ(written.dictionary("allDisplays")->count(), 2U);
    EXPECT_EQ(written.array("displaySetsArray")->size(), 1U);
  }
}

TEST(BadSettings, OfTheWholeMachineAreNeitherCopiedNorReplaced) {
  test::DaemonOnMac on(test::laptopWith({"Left"}));
  const std::filesystem::path folder = on.mac.localFolder() + "/Library/Preferences";
  const std::string file = folder / std::filesystem::path(on.settingsPath()).filename();
  std::ofstream(file) << "damaged";
  on.launch();
  EXPECT_EQ(contentOf(file), "damaged");
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder), {}), 1);
  EXPECT_EQ(on.settings().array("displaySetsArray")->size(), 1U);
}

// --- Values ---

const Value kReplacements[] = {true,
                               std::numeric_limits<std::int64_t>::min(),
                               std::numeric_limits<double>::quiet_NaN(),
                               "text",
                               Array{1, "x", Dictionary{}},
                               Dictionary{{"a", 1}}};

/// Calls with every value in `value`, itself left out, and the path to it; what is done to the value there is undone.
void forEachValueIn(Value& value, const std::vector<std::string>& path,
                    const std::function<void(Value&, const std::vector<std::string>&)>& body) {
  const auto visit = [&](Value& child, const std::string& name) {
    std::vector<std::string> deeper = path;
    deeper.push_back(name);
    const Value kept = child;
    body(child, deeper);
    child = kept;
    forEachValueIn(child, deeper, body);
  };
  if (Array* const array = value.array()) {
    for (std::size_t i = 0; i < array->size(); ++i) visit((*array)[i], std::to_string(i));
  } else if (Dictionary* const dictionary = value.dictionary()) {
    const Dictionary keys = *dictionary;
    for (const auto& entry : keys) visit(*dictionary->find(entry.key), entry.key);
  }
}

/// The same file with one mode a list: the others have the same keys.
void shorten(Value& value) {
  if (Array* const array = value.array()) {
    if (array->size() > 3) array->resize(1, Value(0));
    for (Value& child : *array) shorten(child);
  } else if (Dictionary* const dictionary = value.dictionary()) {
    const Dictionary keys = *dictionary;
    for (const auto& entry : keys) shorten(*dictionary->find(entry.key));
  }
}

TEST(BadSettings, LoseADamagedValueAndNeverItsNeighbours) {
  Value file = parsed(realFile());
  shorten(file);
  file.dictionary()->find("allDisplays")->dictionary()->remove("1003");
  sim::SimulatedMac mac(test::laptopWith({}));
  mac.logEnabled = false;
  const Process::Scope scope(mac.addSession({.name = "daemon"}).process());
  VLMGlobals& document = VLMGlobals::sharedInstance();
  const auto loadedAndSaved = [&] {
    document.forget();
    document.decodeReadableWith(*file.dictionary(), kEverything);
    return document.encodeReadableInDict(file.dictionary(), kEverything);
  };
  const Dictionary intact = loadedAndSaved();
  const auto setWith = [](const Dictionary& settings, std::int64_t uniqueID) {
    const Array& sets = *settings.array("displaySetsArray");
    return std::find_if(sets.begin(), sets.end(), [&](const Value& set) {
             return set.dictionary()->number("uniqueID") == uniqueID;
           }) != sets.end();
  };
  int damages = 0;
  forEachValueIn(file, {}, [&](Value& value, const std::vector<std::string>& path) {
    const std::string& key = path.front();
    // What of the path leads to one record or set; all others stay.
    const std::string damaged = path.size() > 1 ? path[1] : "";
    const Value::Kind kind = value.kind();
    for (const Value& replacement : kReplacements) {
      if (kind == replacement.kind()) continue;
      value = replacement;
      const Dictionary result = loadedAndSaved();
      ++damages;
      for (const auto& entry : intact) {
        // A number that no set bears stands for no set, and then the key goes.
        const bool isNoSet =
            entry.key == "startupSet" && replacement.isNumber() && (key == "startupSet" || path.back() == "uniqueID");
        EXPECT_TRUE(isNoSet || result.contains(entry.key)) << entry.key << " by " << key;
      }
      for (const auto& [identifier, record] : *intact.dictionary("allDisplays")) {
        if (key == "volatileDisplays" || (key == "allDisplays" && (damaged.empty() || damaged == identifier))) continue;
        const Value* const kept = result.dictionary("allDisplays")->find(identifier);
        EXPECT_TRUE(kept != nullptr && *kept == record) << identifier << " by " << key << "." << damaged;
      }
      if (key == "displaySetsArray" && damaged.empty()) continue;
      EXPECT_TRUE(damaged == "0" || setWith(result, 1)) << "by " << key;
      EXPECT_TRUE(damaged == "1" || setWith(result, 2)) << "by " << key;
    }
  });
  EXPECT_GT(damages, 2000);
}

}  // namespace
}  // namespace vlm
