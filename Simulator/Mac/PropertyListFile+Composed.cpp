#include <charconv>
#include <cstdint>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "Simulator/Mac/PropertyListFile.h"
#include "Simulator/Mac/PropertyListGuard.h"

/// The short way back for what this machine itself has written, which nearly all of its files are. Whatever looks any
/// different ends it, and the file takes the long way through libplist: so this reader never has to decide what a file
/// means that somebody else wrote.
namespace vlm::sim {

namespace {

class ComposedReader {
 public:
  explicit ComposedReader(std::string_view content) : rest_(content) {}

  std::optional<plist::Value> read() {
    plist::Value value(false);
    if (!take(kPropertyListHead) || !readValue(value, 0) || !takeTag("</plist>")) return std::nullopt;
    skipBlanks();
    return rest_.empty() ? std::optional(std::move(value)) : std::nullopt;
  }

 private:
  bool take(std::string_view text) {
    if (!rest_.starts_with(text)) return false;
    rest_.remove_prefix(text.size());
    return true;
  }
  void skipBlanks() {
    while (!rest_.empty() && (rest_.front() == '\t' || rest_.front() == '\n')) rest_.remove_prefix(1);
  }
  bool takeTag(std::string_view tag) {
    skipBlanks();
    return take(tag);
  }

  /// Up to the next tag.
  std::string_view content() {
    const std::string_view found = rest_.substr(0, rest_.find('<'));
    rest_.remove_prefix(found.size());
    return found;
  }

  bool readValue(plist::Value& value, std::size_t depth) {
    skipBlanks();
    switch (rest_.size() > 1 ? rest_[1] : '\0') {
      case 'i':
        return take("<integer>") && readInteger(value) && take("</integer>");
      case 't':
        return take("<true/>") && assign(value, true);
      case 'f':
        return take("<false/>") && assign(value, false);
      case 's':
        return take("<string>") && readString(value) && take("</string>");
      case 'r':
        return take("<real>") && readNumber<double>(value) && take("</real>");
      case 'd':
        if (take("<dict/>")) return assign(value, plist::Dictionary());
        return take("<dict>") && depth < kDeepestPropertyList && readDictionary(value, depth + 1);
      case 'a':
        if (take("<array/>")) return assign(value, plist::Array());
        return take("<array>") && depth < kDeepestPropertyList && readArray(value, depth + 1);
      default:
        return false;
    }
  }

  static bool assign(plist::Value& value, plist::Value read) {
    value = std::move(read);
    return true;
  }

  template <class Number>
  bool readNumber(plist::Value& value) {
    Number number = 0;
    const auto [end, error] = std::from_chars(rest_.data(), rest_.data() + rest_.size(), number);
    if (error != std::errc()) return false;
    rest_.remove_prefix(static_cast<std::size_t>(end - rest_.data()));
    return assign(value, number);
  }

  bool readInteger(plist::Value& value) {
    // A number that begins so is octal to libplist.
    if (rest_.starts_with('0') && !rest_.starts_with("0<")) return false;
    if (rest_.starts_with("-0")) return false;
    return readNumber<std::int64_t>(value) || readNumber<std::uint64_t>(value);
  }

  bool readString(plist::Value& value) {
    std::string text;
    return readText(text) && assign(value, std::move(text));
  }

  bool readText(std::string& text) {
    std::string_view raw = content();
    for (std::size_t at = 0; (at = raw.find('&')) != std::string_view::npos;) {
      text += raw.substr(0, at);
      raw.remove_prefix(at);
      const auto takeSign = [&](std::string_view name, char sign) {
        if (!raw.starts_with(name)) return false;
        raw.remove_prefix(name.size());
        text += sign;
        return true;
      };
      if (!takeSign("&lt;", '<') && !takeSign("&gt;", '>') && !takeSign("&amp;", '&')) return false;
    }
    text += raw;
    return true;
  }

  bool readDictionary(plist::Value& value, std::size_t depth) {
    std::vector<plist::Entry> entries;
    entries.reserve(entriesInLast_);
    while (!takeTag("</dict>")) {
      plist::Entry& entry = entries.emplace_back(plist::Entry{.key = {}, .value = false});
      if (!take("<key>") || !readText(entry.key) || !take("</key>") || !readValue(entry.value, depth)) return false;
    }
    entriesInLast_ = entries.size();
    return assign(value, plist::Dictionary(std::move(entries)));
  }

  bool readArray(plist::Value& value, std::size_t depth) {
    plist::Array array;
    while (!takeTag("</array>")) {
      if (!readValue(array.emplace_back(false), depth)) return false;
    }
    return assign(value, std::move(array));
  }

  std::string_view rest_;
  std::size_t entriesInLast_ = 0;  ///< dictionary read; the next one is probably alike
};

}  // namespace

std::optional<plist::Value> readComposedPropertyList(std::string_view content) {
  if (content.find('\0') != std::string_view::npos) return std::nullopt;
  return ComposedReader(content).read();
}

}  // namespace vlm::sim
