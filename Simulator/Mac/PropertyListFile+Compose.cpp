#include <algorithm>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <string_view>
#include <type_traits>

#include "Platform/Numbers.h"
#include "Simulator/Mac/PropertyListFile.h"

/// Writing XML property lists. Not libplist's writer: that one needs a tree of its own first, into which each key is
/// put after a comparison with all others, and takes twice as long as all the rest of a save.
namespace vlm::sim {

namespace {

class Composer {
 public:
  explicit Composer(std::string& text) : text_(text) {}

  void add(const plist::Value& value) {
    switch (value.kind()) {
      case plist::Value::Kind::boolean:
        return line(value.boolean() ? "<true/>" : "<false/>");
      case plist::Value::Kind::integer:
        return element("<integer>", digits(value.sInt64()), "</integer>\n");
      case plist::Value::Kind::unsignedInteger:
        return element("<integer>", digits(value.uInt64()), "</integer>\n");
      case plist::Value::Kind::real:
        return element("<real>", digits(value.real()), "</real>\n");
      case plist::Value::Kind::string:
        return textElement("<string>", *value.string(), "</string>\n");
      case plist::Value::Kind::data:
        return add(*value.data());
      case plist::Value::Kind::date:
        return add(*value.date());
      case plist::Value::Kind::array:
        return add(*value.array());
      case plist::Value::Kind::dictionary:
        return add(*value.dictionary());
    }
  }

  void add(const plist::Dictionary& dictionary) {
    if (dictionary.empty()) return line("<dict/>");
    line("<dict>");
    ++depth_;
    for (const plist::Entry& entry : dictionary) {
      textElement("<key>", entry.key, "</key>\n");
      add(entry.value);
    }
    --depth_;
    line("</dict>");
  }

 private:
  void add(const plist::Array& array) {
    if (array.empty()) return line("<array/>");
    line("<array>");
    ++depth_;
    for (const plist::Value& value : array) add(value);
    --depth_;
    line("</array>");
  }

  /// Base 64 (RFC 4648) in lines that end at the 76th column, a tab taken for eight.
  void add(const plist::Data& data) {
    constexpr std::size_t kColumns = 76, kTab = 8, kWidestIndent = 8;
    const std::size_t bytesInLine = (kColumns - kTab * std::min(depth_, kWidestIndent)) / 4 * 3;
    line("<data>");
    for (std::size_t at = 0; at < data.size(); at += bytesInLine) {
      indent();
      const std::size_t end = std::min(at + bytesInLine, data.size());
      for (std::size_t i = at; i < end; i += 3) addTriple(data, i);
      text_ += '\n';
    }
    line("</data>");
  }

  /// Up to three bytes as four characters.
  void addTriple(const plist::Data& data, std::size_t at) {
    constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    const auto byte = [&](std::size_t i) { return i < data.size() ? std::uint32_t{data[i]} : 0U; };
    const std::uint32_t bits = byte(at) << 16 | byte(at + 1) << 8 | byte(at + 2);
    const std::size_t characters = std::min<std::size_t>(data.size() - at, 3) + 1;
    for (std::size_t i = 0; i < 4; ++i) text_ += i < characters ? kAlphabet[bits >> (18 - 6 * i) & 0x3f] : '=';
  }

  void add(const plist::Date& date) {
    using namespace std::chrono;
    constexpr sys_days kReferenceDay = year(2001) / 1 / 1;
    constexpr sys_seconds kFirst = sys_days(year(kFirstDateYear) / 1 / 1);
    constexpr sys_seconds kLast = sys_days(year(kLastDateYear + 1) / 1 / 1) - seconds(1);
    const auto inInt64 = wholePartTo<std::int64_t>(date.secondsSinceReferenceDate);
    const auto held = std::clamp(inInt64, (kFirst - kReferenceDay).count(), (kLast - kReferenceDay).count());
    const sys_seconds moment = kReferenceDay + seconds(held);
    const sys_days day = floor<days>(moment);
    const year_month_day calendar(day);
    const hh_mm_ss time(moment - day);
    char text[64];
    std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02dZ", static_cast<int>(calendar.year()),
                  static_cast<unsigned>(calendar.month()), static_cast<unsigned>(calendar.day()),
                  static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()),
                  static_cast<int>(time.seconds().count()));
    element("<date>", text, "</date>\n");
  }

  // --- Texts ---

  /// As many digits as it takes to read the same number back. Valid until the next call.
  template <class Number>
  std::string_view digits(Number number) {
    if constexpr (std::is_floating_point_v<Number>) {
      if (std::isnan(number)) return "nan";
      if (std::isinf(number)) return number > 0 ? "+infinity" : "-infinity";
    }
    const std::to_chars_result end = std::to_chars(digits_, digits_ + sizeof digits_, number);
    return {digits_, static_cast<std::size_t>(end.ptr - digits_)};
  }

  void indent() { text_.append(depth_, '\t'); }

  void line(std::string_view content) {
    indent();
    text_ += content;
    text_ += '\n';
  }

  void element(std::string_view begin, std::string_view content, std::string_view end) {
    indent();
    text_ += begin;
    text_ += content;
    text_ += end;
  }

  void textElement(std::string_view begin, std::string_view content, std::string_view end) {
    const auto isSpecial = [](char character) {
      return character == '<' || character == '>' || character == '&' || character == '\0';
    };
    indent();
    text_ += begin;
    while (true) {
      const auto special = std::find_if(content.begin(), content.end(), isSpecial);
      text_.append(content.begin(), special);
      if (special == content.end() || *special == '\0') break;
      text_ += *special == '<' ? "&lt;" : *special == '>' ? "&gt;" : "&amp;";
      content = {special + 1, content.end()};
    }
    text_ += end;
  }

  std::string& text_;
  std::size_t depth_ = 0;
  char digits_[32] = {};
};

template <class Content>
std::string composed(const Content& content) {
  std::string text(kPropertyListHead);
  Composer(text).add(content);
  return text += "</plist>\n";
}

}  // namespace

std::string composePropertyList(const plist::Value& value) { return composed(value); }

std::string composePropertyList(const plist::Dictionary& dictionary) { return composed(dictionary); }

}  // namespace vlm::sim
