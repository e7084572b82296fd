#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <limits>
#include <random>
#include <sstream>

#include "Platform/Files.h"
#include "Platform/Preferences.h"
#include "Simulator/Mac/PropertyListFile.h"
#include "Simulator/Mac/PropertyListGuard.h"
#include "Tests/Support/TestProcess.h"

namespace vlm::sim {
namespace {

using plist::Array;
using plist::Data;
using plist::Dictionary;

void put(const std::string& path, const std::string& content) { std::ofstream(path, std::ios::binary) << content; }

std::string repeated(const std::string& text, std::size_t count) {
  std::string all;
  for (std::size_t i = 0; i < count; ++i) all += text;
  return all;
}

/// A binary property list of these objects; references and offsets have two bytes.
std::string binaryPropertyList(const std::vector<std::string>& objects, std::size_t root = 0) {
  const auto bigEndian = [](std::size_t number, int length) {
    std::string bytes;
    for (int shift = (length - 1) * 8; shift >= 0; shift -= 8) bytes += static_cast<char>(number >> shift & 0xff);
    return bytes;
  };
  std::string file = "bplist00";
  std::string table;
  for (const std::string& object : objects) {
    table += bigEndian(file.size(), 2);
    file += object;
  }
  const std::size_t tableAt = file.size();
  return file + table + std::string(6, '\0') + "\2\2" + bigEndian(objects.size(), 8) + bigEndian(root, 8) +
         bigEndian(tableAt, 8);
}

Dictionary everyKind() {
  return {{"true", true},
          {"false", false},
          {"minus", -1},
          {"least", std::numeric_limits<std::int64_t>::min()},
          {"most", std::numeric_limits<std::int64_t>::max()},
          {"above", std::numeric_limits<std::uint64_t>::max()},
          {"just above", std::uint64_t{1} << 63},
          {"third", 1.0 / 3},
          {"tiny", 5e-324},
          {"huge", -1.7976931348623157e308},
          {"infinite", std::numeric_limits<double>::infinity()},
          {"text", "<Grüße> & \"]]>\"\n\t "},
          {"no text", ""},
          {"", "no key"},
          {"a<b>&c", "odd key"},
          {"date", plist::Date{.secondsSinceReferenceDate = 788'918'400}},
          {"no data", Data{}},
          {"no array", Array{}},
          {"no dictionary", Dictionary{}},
          {"nested", Array{Array{Dictionary{{"a", Array{1, "x", Data{0, 255}}}}}, Dictionary{{"b", true}}}}};
}

TEST(PropertyListFile, GivesBackEveryKindOfValue) {
  const std::string text = composePropertyList(everyKind());
  EXPECT_EQ(parsePropertyList(text).value, plist::Value(everyKind()));
  EXPECT_EQ(composePropertyList(everyKind()), text);
  EXPECT_NE(text.find("<integer>18446744073709551615</integer>"), std::string::npos);
  EXPECT_NE(text.find("<integer>-1</integer>"), std::string::npos);

  const auto notANumber = parsePropertyList(composePropertyList(std::nan("")));
  EXPECT_TRUE(notANumber.value && std::isnan(notANumber.value->real()));
}

TEST(PropertyListFile, GivesBackDataOfEveryLengthAtEveryDepth) {
  for (std::size_t length = 0; length < 200; ++length) {
    plist::Value value = Data(length, static_cast<std::uint8_t>(length));
    for (std::size_t depth = 0; depth < length % 11; ++depth) value = Array{value};
    EXPECT_EQ(parsePropertyList(composePropertyList(value)).value, value) << length;
  }
}

TEST(PropertyListFile, ReadsBinaryOnes) {
  const std::string file = binaryPropertyList({std::string("\xd3\0\1\0\2\0\3\0\4\0\5\0\6", 13),
                                               "\x51"
                                               "a",
                                               "\x51"
                                               "b",
                                               "\x51"
                                               "c",
                                               "\x13\xff\xff\xff\xff\xff\xff\xff\xff",
                                               std::string("\x14\0\0\0\0\0\0\0\0\xff\xff\xff\xff\xff\xff\xff\xff", 17),
                                               std::string("\xa2\0\1\0\4", 5)});
  const Dictionary expected{{"a", -1}, {"b", std::numeric_limits<std::uint64_t>::max()}, {"c", Array{"a", -1}}};
  EXPECT_EQ(parsePropertyList(file).value, plist::Value(expected));
}

TEST(PropertyListFile, RefusesWhatLibplistCannotBear) {
  const std::string deepBinary = [] {
    std::vector<std::string> objects;
    for (std::size_t i = 1; i < 5000; ++i) {
      objects.push_back({'\xa1', static_cast<char>(i >> 8), static_cast<char>(i & 0xff)});
    }
    objects.emplace_back("\x09");
    return binaryPropertyList(objects);
  }();
  const std::string doubling = [] {
    std::vector<std::string> objects;
    for (char i = 1; i < 60; ++i) objects.push_back({'\xa2', 0, i, 0, i});
    objects.emplace_back("\x09");
    return binaryPropertyList(objects);
  }();
  const struct {
    const char* name;
    std::string content;
  } rows[] = {
      {.name = "deep arrays", .content = repeated("<array>", 1'000'000)},
      {.name = "deep dictionaries", .content = "<plist>" + repeated("<dict><key>a</key>", 100'000)},
      {.name = "closing tags in comments", .content = repeated("<array><!--</array>-->", 100'000)},
      {.name = "closing tags in CDATA", .content = repeated("<array><string><![CDATA[</array>]]></string>", 100'000)},
      {.name = "closing tags in attributes", .content = repeated("<array a=\"</array>\">", 100'000)},
      {.name = "closing tags in instructions", .content = repeated("<array><?</array>?>", 100'000)},
      {.name = "comments begun in attributes", .content = "<plist a=\"<!--\">" + repeated("<array>", 1000) + "-->"},
      {.name = "comments begun in the document type",
       .content = "<!DOCTYPE a [<!--]><plist>" + repeated("<array>", 1000) + "-->"},
      {.name = "instructions that end in a text", .content = "<?a \"?><!--\"?>" + repeated("<array>", 1000) + "-->"},
      {.name = "deep binary", .content = deepBinary},
      {.name = "binary that doubles at every level", .content = doubling},
      {.name = "binary that contains itself", .content = binaryPropertyList({std::string("\xa1\0\0", 3)})},
      {.name = "key with a NUL character",
       .content = binaryPropertyList({std::string("\xd1\0\1\0\2", 5), std::string("\x62\0a\0\0", 5), "\x09"})},
      {.name = "reference beyond the table", .content = binaryPropertyList({std::string("\xa1\0\7", 3)})},
      {.name = "length beyond the file", .content = binaryPropertyList({"\x5f\x13\x7f\xff\xff\xff\xff\xff\xff\xff"})},
  };
  for (const auto& row : rows) {
    EXPECT_TRUE(dangerInPropertyList(row.content)) << row.name;
    EXPECT_FALSE(parsePropertyList(row.content).value) << row.name;
  }
}

TEST(PropertyListFile, GivesBackDatesOfEveryYear) {
  const struct {
    const char* name;
    double seconds;
  } rows[] = {
      {.name = "2069-01-19T03:14:07Z", .seconds = 2147483647},
      {.name = "2069-01-19T03:14:08Z", .seconds = 2147483648},
      {.name = "4001-01-01T00:00:00Z", .seconds = 63113904000},
      {.name = "9999-12-31T23:59:59Z", .seconds = 252423993599},
      {.name = "1969-12-31T23:59:59Z", .seconds = -978307201},
      {.name = "1600-02-29T12:00:00Z", .seconds = -12649262400},
  };
  for (const auto& row : rows) {
    const plist::Value date(plist::Date{.secondsSinceReferenceDate = row.seconds});
    EXPECT_EQ(parsePropertyList(std::string("<plist><date>") + row.name + "</date></plist>").value, date) << row.name;
    EXPECT_NE(composePropertyList(date).find(row.name), std::string::npos) << composePropertyList(date);
  }
  for (const double past : {252423993600.0, 1e300, std::numeric_limits<double>::infinity()}) {
    const plist::Value date(plist::Date{.secondsSinceReferenceDate = past});
    EXPECT_NE(composePropertyList(date).find("<date>9999-12-31T23:59:59Z"), std::string::npos) << past;
  }
  const plist::Value first(plist::Date{.secondsSinceReferenceDate = -63113904000});
  EXPECT_EQ(parsePropertyList(composePropertyList(plist::Date{.secondsSinceReferenceDate = -1e300})).value, first);
}

TEST(PropertyListFile, RefusesWhatItWouldHaveToLeaveOut) {
  const auto pairWith = [](const std::string& object) {
    return binaryPropertyList({std::string("\xa2\0\1\0\2", 5), object, "\x09"});
  };
  const auto xmlWith = [](const std::string& entries) { return "<plist><dict>" + entries + "</dict></plist>"; };
  ASSERT_TRUE(parsePropertyList(pairWith("\x08")).value);
  const struct {
    const char* name;
    std::string content;
  } rows[] = {
      {.name = "UID", .content = pairWith("\x80\1")},
      {.name = "date too far", .content = pairWith(std::string("\x33\x7e\0\0\0\0\0\0\0", 9))},
      {.name = "last key alone", .content = xmlWith("<key>a</key><true/><key>b</key><!-- <true/> -->")},
      {.name = "key for a value", .content = xmlWith("<key>a</key><key>b</key>")},
      {.name = "empty key for a value", .content = xmlWith("<key>a</key><key/>")},
      {.name = "key alone inside", .content = xmlWith("<key>a</key><dict><key>b</key></dict>")},
  };
  for (const auto& row : rows) EXPECT_FALSE(parsePropertyList(row.content).value) << row.name;
}

TEST(PropertyListFile, SurvivesDamagedFiles) {
  std::mt19937 random(1);  // the same damage every time
  std::string xml = composePropertyList(everyKind());
  const std::string binary = binaryPropertyList({std::string("\xd2\0\1\0\2\0\3\0\4", 9),
                                                 "\x51"
                                                 "a",
                                                 "\x51"
                                                 "b",
                                                 std::string("\xa2\0\1\0\5", 5),
                                                 "\x44"
                                                 "abcd",
                                                 std::string("\x33\0\0\0\0\0\0\0\0", 9)});
  for (const std::string& whole : {xml, binary}) {
    for (int i = 0; i < 4000; ++i) {
      std::string damaged = whole;
      for (int change = 0; change <= i % 4; ++change) {
        damaged[random() % damaged.size()] = i % 2 == 0 ? static_cast<char>(random()) : whole[random() % whole.size()];
      }
      if (i % 5 == 0) damaged.resize(random() % damaged.size());
      parsePropertyList(damaged);
    }
  }
}

TEST(Files, AnswersNothingForWhatIsNoDictionary) {
  TestProcess process;
  const std::string path = process.mac().homeFolder() + "/some.plist";
  EXPECT_FALSE(os().files.checkResourceIsReachable(path));
  EXPECT_FALSE(os().files.dictionaryWithContentsOfURL(path));
  for (const std::string& content :
       {std::string(), std::string("garbage"), std::string(100, '\0'), composePropertyList(Array{1}),
        std::string("<plist><dict>"), std::string("bplist00")}) {
    put(path, content);
    EXPECT_FALSE(os().files.dictionaryWithContentsOfURL(path)) << content;
  }
  EXPECT_TRUE(os().files.checkResourceIsReachable(path));
  EXPECT_FALSE(os().files.dictionaryWithContentsOfURL(process.mac().homeFolder()));
}

TEST(Files, WritesIntoTheUsersLibraryAndLeavesNoOtherFile) {
  TestProcess process;
  const std::string folder = *os().files.libraryDirectory(Files::Domain::user) + "/Preferences";
  EXPECT_EQ(folder, process.mac().homeFolder() + "/Library/Preferences");
  EXPECT_NE(os().files.libraryDirectory(Files::Domain::local), os().files.libraryDirectory(Files::Domain::user));
  const std::string path = folder + "/a.plist";
  for (const char* const name : {"first", "second"}) {
    EXPECT_EQ(os().files.writeToURLAtomically({{"name", name}}, path), std::nullopt);
    EXPECT_EQ(os().files.dictionaryWithContentsOfURL(path), (Dictionary{{"name", name}}));
  }
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder), {}), 1);
  EXPECT_EQ(process.newJournalLines(),
            std::vector<std::string>(2, "daemon: writeToURLAtomically(~/Library/Preferences/a.plist)"));
}

TEST(Files, AWrittenFileKeepsItsModeAndTheLinkThatLeadsToIt) {
  namespace fs = std::filesystem;
  TestProcess process;
  const fs::path folder = process.mac().homeFolder(), file = folder / "elsewhere" / "a.plist",
                 link = folder / "a.plist";
  fs::create_directory(file.parent_path());
  fs::create_symlink("elsewhere/a.plist", link);
  const auto modeOf = [](const fs::path& path) { return static_cast<unsigned>(fs::status(path).permissions()); };

  EXPECT_EQ(os().files.writeToURLAtomically({{"a", 1}}, file), std::nullopt);
  EXPECT_EQ(modeOf(file), 0600U);
  for (const unsigned mode : {0644U, 0640U}) {
    fs::permissions(file, static_cast<fs::perms>(mode));
    EXPECT_EQ(os().files.writeToURLAtomically({{"a", mode}}, link), std::nullopt);
    EXPECT_EQ(modeOf(file), mode);
    EXPECT_EQ(os().files.dictionaryWithContentsOfURL(file), (Dictionary{{"a", mode}}));
  }
  EXPECT_TRUE(fs::is_symlink(link));
  EXPECT_EQ(std::distance(fs::directory_iterator(file.parent_path()), {}), 1);

  fs::remove(file);
  EXPECT_EQ(os().files.writeToURLAtomically({{"a", 2}}, link), std::nullopt);
  EXPECT_EQ(os().files.dictionaryWithContentsOfURL(link), (Dictionary{{"a", 2}}));
  EXPECT_TRUE(fs::is_symlink(link));
}

TEST(Files, AFailedWriteSaysWhyAndChangesNothing) {
  TestProcess process;
  const std::string folder = process.mac().homeFolder() + "/folder";
  const std::string path = folder + "/a.plist";
  EXPECT_EQ(os().files.writeToURLAtomically({}, path), "No such file or directory");
  std::filesystem::create_directories(path + "/not empty");  // what cannot be replaced by a file
  EXPECT_EQ(os().files.writeToURLAtomically({}, path), "Is a directory");
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder), {}), 1);
}

TEST(Preferences, OthersSeeAChangeOnceItIsSynchronised) {
  TestProcess process;
  Preferences& own = os().preferences;
  Session& session =
      process.mac().addSession({.bundleIdentifier = "b", .name = "other", .bundlePath = "", .version = ""});
  Preferences& others = session.ports().preferences;
  const std::string domain = "org.example/odd";

  own.CFPreferencesSetValue("a", plist::Value(1), domain);
  own.CFPreferencesSetValue("b", plist::Value("x"), domain);
  EXPECT_EQ(own.CFPreferencesCopyValue("a", domain), plist::Value(1));
  EXPECT_EQ(others.CFPreferencesCopyValue("a", domain), std::nullopt);
  EXPECT_TRUE(own.CFPreferencesSynchronize(domain));
  EXPECT_EQ(others.CFPreferencesCopyValue("a", domain), plist::Value(1));

  others.CFPreferencesSetValue("a", std::nullopt, domain);
  EXPECT_TRUE(others.CFPreferencesSynchronize(domain));
  EXPECT_EQ(own.CFPreferencesCopyValue("a", domain), std::nullopt);
  const std::string path = process.mac().homeFolder() + "/Library/Preferences/org.example:odd.plist";
  EXPECT_EQ(os().files.dictionaryWithContentsOfURL(path), (Dictionary{{"b", "x"}}));
}

void append(Data& record, std::uint16_t tag, const std::string& text) {
  for (const std::size_t word : {std::size_t{tag}, text.size()}) {
    record.insert(record.end(), {std::uint8_t(word >> 8), std::uint8_t(word & 0xFF)});
  }
  record.insert(record.end(), text.begin(), text.end());
  if (text.size() % 2 != 0) record.push_back(0);
}

/// An alias record with a file's name (which does not matter), its path, and where its volume is mounted.
Data aliasRecord(std::uint8_t version, const std::string& path, const std::string& mountPoint) {
  Data record(version == 2 ? 150 : 58);
  append(record, 14, "odd");
  append(record, 18, path);
  append(record, 19, mountPoint);
  append(record, 0xFFFF, "");
  record[4] = std::uint8_t(record.size() >> 8);
  record[5] = std::uint8_t(record.size() & 0xFF);
  record[7] = version;
  return record;
}

TEST(Bookmarks, LeadWhereAnAliasRecordSays) {
  TestProcess process;
  const std::string folder = process.mac().homeFolder();
  const std::string path = folder + "/a";
  put(path, "a");
  const auto resolved = [](const Data& record) {
    const auto bookmark = os().files.CFURLCreateBookmarkDataFromAliasRecord(record);
    return bookmark ? os().files.URLByResolvingBookmarkData(*bookmark) : std::nullopt;
  };
  for (const std::uint8_t version : {std::uint8_t{2}, std::uint8_t{3}}) {
    EXPECT_EQ(resolved(aliasRecord(version, path.substr(1), "/")), path);
    EXPECT_EQ(resolved(aliasRecord(version, "a", folder)), path);
    EXPECT_EQ(resolved(aliasRecord(version, "b", folder)), std::nullopt);
    for (Data cut = aliasRecord(version, "a", folder); cut.size() > 8;) {
      cut.pop_back();
      cut[4] = std::uint8_t(cut.size() >> 8), cut[5] = std::uint8_t(cut.size() & 0xFF);
      const auto found = resolved(cut);
      EXPECT_TRUE(!found || found == path) << cut.size() << ": " << *found;
    }
  }
  EXPECT_EQ(resolved(aliasRecord(4, "a", folder)), std::nullopt);
}

}  // namespace
}  // namespace vlm::sim
