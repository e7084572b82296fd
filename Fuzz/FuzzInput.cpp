#include "Fuzz/FuzzInput.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdio>
#include <cstdlib>
#include <limits>

#include "Platform/Numbers.h"
#include "Simulator/Mac/PropertyListFile.h"

namespace vlm::fuzz {

namespace {

/// Names no word: the text itself follows.
constexpr std::uint8_t kOwnText = 255;
constexpr int kDeepest = 10;
constexpr std::size_t kMostItems = 24, kLongestText = 40, kLongestData = 600;

constexpr std::array<std::int64_t, 16> kOddIntegers{-1,
                                                    127,
                                                    255,
                                                    256,
                                                    32767,
                                                    32768,
                                                    65535,
                                                    65536,
                                                    2147483647,
                                                    2147483648,
                                                    4294967295,
                                                    4294967296,
                                                    -32768,
                                                    -2147483648,
                                                    std::numeric_limits<std::int64_t>::max(),
                                                    std::numeric_limits<std::int64_t>::min()};
constexpr std::array<double, 12> kOddReals{0.5,
                                           -0.0,
                                           59.94,
                                           1e9,
                                           -1e9,
                                           1e19,
                                           1e300,
                                           -1e300,
                                           5e-324,
                                           std::numeric_limits<double>::infinity(),
                                           -std::numeric_limits<double>::infinity(),
                                           std::numeric_limits<double>::quiet_NaN()};

/// Reads the form that has no wrong inputs: a byte for the kind, and then the content.
class Reader {
 public:
  Reader(Bytes bytes, std::span<const std::string_view> words) : input_(bytes), words_(words) {}

  plist::Value value(int depth) {
    switch (input_.below(15)) {
      case 0:
        return input_.below(2) != 0;
      case 1:
        return static_cast<int>(static_cast<std::int8_t>(input_.byte()));
      case 2:
        return static_cast<int>(input_.number(2));
      case 3:
        return std::bit_cast<std::int64_t>(input_.number(8));
      case 4:
        return input_.number(8);
      case 5:
        return kOddIntegers[input_.below(kOddIntegers.size())];
      case 6:
        return std::bit_cast<double>(input_.number(8));
      case 7:
        return static_cast<double>(input_.number(3)) / 256;
      case 8:
        return kOddReals[input_.below(kOddReals.size())];
      case 9:
        return word();
      case 10:
        return data(input_.byte());
      case 13:
        return data(input_.number(2) % (kLongestData + 1));
      case 11:
        return plist::Date{.secondsSinceReferenceDate = std::bit_cast<double>(input_.number(8))};
      case 12:
        return array(depth);
      default:
        return dictionary(depth);
    }
  }

  plist::Dictionary dictionary(int depth) {
    plist::Dictionary result;
    const std::size_t count = items(depth);
    for (std::size_t i = 0; i < count; ++i) {
      const std::string key = word();
      result.set(key, value(depth + 1));
    }
    return result;
  }

 private:
  /// None below the deepest level or when nothing is left to fill them with.
  std::size_t items(int depth) {
    const std::size_t count = input_.below(kMostItems + 1);
    return depth >= kDeepest || input_.atEnd() ? 0 : count;
  }

  std::string word() {
    const std::uint8_t which = input_.byte();
    if (which == kOwnText || words_.empty()) return input_.text(input_.below(kLongestText + 1));
    return std::string(words_[which % words_.size()]);
  }

  plist::Value data(std::size_t length) {
    const Bytes bytes = input_.take(length);
    return plist::Data(bytes.begin(), bytes.end());
  }

  plist::Value array(int depth) {
    plist::Array result;
    const std::size_t count = items(depth);
    for (std::size_t i = 0; i < count; ++i) result.push_back(value(depth + 1));
    return result;
  }

  Input input_;
  std::span<const std::string_view> words_;
};

bool isSame(const plist::Dictionary& a, const plist::Dictionary& b) {
  return a.count() == b.count() && std::equal(a.begin(), a.end(), b.begin(), [](const auto& one, const auto& other) {
           return one.key == other.key && fuzz::isSame(one.value, other.value);
         });
}

}  // namespace

std::uint8_t Input::byte() {
  if (bytes_.empty()) return 0;
  const std::uint8_t first = bytes_.front();
  bytes_ = bytes_.subspan(1);
  return first;
}

std::uint64_t Input::number(std::size_t bytes) {
  std::uint64_t result = 0;
  for (std::size_t i = 0; i < bytes; ++i) result |= static_cast<std::uint64_t>(byte()) << 8 * i;
  return result;
}

Bytes Input::take(std::size_t count) {
  const Bytes taken = bytes_.first(std::min(count, bytes_.size()));
  bytes_ = bytes_.subspan(taken.size());
  return taken;
}

std::string Input::text(std::size_t count) {
  const Bytes taken = take(count);
  return {taken.begin(), taken.end()};
}

std::optional<plist::Value> propertyListIn(Bytes bytes, std::span<const std::string_view> words) {
  const std::string beginning(bytes.begin(), bytes.begin() + std::min<std::ptrdiff_t>(std::ssize(bytes), 6));
  if (beginning.starts_with('<') || beginning == "bplist") {
    return sim::parsePropertyList(std::string(bytes.begin(), bytes.end())).value;
  }
  return Reader(bytes, words).value(0);
}

bool isSame(const plist::Value& a, const plist::Value& b) {
  if (a.kind() != b.kind()) return a == b;
  switch (a.kind()) {
    case plist::Value::Kind::real:
      return std::bit_cast<std::uint64_t>(a.real()) == std::bit_cast<std::uint64_t>(b.real());
    case plist::Value::Kind::date:
      return std::bit_cast<std::uint64_t>(a.date()->secondsSinceReferenceDate) ==
             std::bit_cast<std::uint64_t>(b.date()->secondsSinceReferenceDate);
    case plist::Value::Kind::array:
      return std::equal(a.array()->begin(), a.array()->end(), b.array()->begin(), b.array()->end(),
                        [](const auto& one, const auto& other) { return isSame(one, other); });
    case plist::Value::Kind::dictionary:
      return isSame(*a.dictionary(), *b.dictionary());
    default:
      return a == b;
  }
}

void check(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "does not hold: %s\n", what);
  std::abort();
}

void checkSame(const plist::Value& a, const plist::Value& b, const char* what) {
  if (isSame(a, b)) return;
  std::fprintf(stderr, "%s\n%s\n", sim::composePropertyList(a).c_str(), sim::composePropertyList(b).c_str());
  check(false, what);
}

}  // namespace vlm::fuzz
