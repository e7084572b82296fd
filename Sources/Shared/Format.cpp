#include "Shared/Format.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "Platform/NumberText.h"
#include "Platform/Numbers.h"

namespace vlm {

FormatArgument::FormatArgument(const char* text) {
  if (text != nullptr) content_ = std::string(text);
}

FormatArgument::FormatArgument(const plist::Value& value)
    : content_(value.string() != nullptr ? *value.string() : plist::describe(value)) {}

FormatArgument::FormatArgument(const plist::Value* value) {
  if (value != nullptr) *this = FormatArgument(*value);
}

FormatArgument::FormatArgument(const plist::Dictionary* dictionary) {
  if (dictionary != nullptr) *this = FormatArgument(*dictionary);
}

namespace {

/// Widths and precisions beyond this are no layout but a mistake.
constexpr int kWidest = 512;

/// One conversion of a format: "%-08.3lX" and the like.
struct Conversion {
  bool leftAligned = false, plus = false, blank = false, alternate = false, zeros = false;
  int width = 0;
  std::optional<int> precision;
  /// Bits of an integer: 8, 16, 32 or 64.
  int bits = 32;
  /// 0 when the text ends before it.
  char kind = 0;
};

template <class... Visitors>
struct Overloaded : Visitors... {
  using Visitors::operator()...;
};
template <class... Visitors>
Overloaded(Visitors...) -> Overloaded<Visitors...>;

/// Reads a conversion from the text, which stands behind the per cent sign, and takes it off.
class ConversionReader {
 public:
  explicit ConversionReader(std::string_view& text) : text_(text) {}

  Conversion read() {
    Conversion conversion;
    while (readFlag(conversion)) {
    }
    conversion.width = readNumber();
    if (take('.')) conversion.precision = readNumber();
    conversion.bits = readLength();
    if (!text_.empty()) {
      conversion.kind = text_.front();
      text_.remove_prefix(1);
    }
    return conversion;
  }

 private:
  bool take(char c) {
    if (text_.empty() || text_.front() != c) return false;
    text_.remove_prefix(1);
    return true;
  }

  bool readFlag(Conversion& conversion) {
    if (take('-')) return conversion.leftAligned = true;
    if (take('+')) return conversion.plus = true;
    if (take(' ')) return conversion.blank = true;
    if (take('#')) return conversion.alternate = true;
    if (take('0')) return conversion.zeros = true;
    return false;
  }

  int readNumber() {
    int number = 0;
    while (!text_.empty() && text_.front() >= '0' && text_.front() <= '9') {
      number = std::min(number * 10 + (text_.front() - '0'), kWidest);
      text_.remove_prefix(1);
    }
    return number;
  }

  int readLength() {
    if (take('h')) return take('h') ? 8 : 16;
    if (take('l')) {
      take('l');
      return 64;
    }
    return take('q') || take('z') || take('j') || take('t') ? 64 : 32;
  }

  std::string_view& text_;
};

std::string padded(std::string body, const Conversion& conversion) {
  const auto width = static_cast<std::size_t>(conversion.width);
  if (body.size() >= width) return body;
  return conversion.leftAligned ? body.append(width - body.size(), ' ') : body.insert(0, width - body.size(), ' ');
}

/// `prefix` is the sign, or what tells the base; zeros go between it and the digits.
std::string paddedNumber(std::string_view prefix, std::string digits, bool mayFillWithZeros,
                         const Conversion& conversion) {
  const std::size_t length = prefix.size() + digits.size(), width = static_cast<std::size_t>(conversion.width);
  if (mayFillWithZeros && conversion.zeros && !conversion.leftAligned && length < width) {
    digits.insert(0, width - length, '0');
  }
  return padded(std::string(prefix) + digits, conversion);
}

std::string_view signOf(bool negative, const Conversion& conversion) {
  if (negative) return "-";
  if (conversion.plus) return "+";
  return conversion.blank ? " " : "";
}

std::string digitsOf(std::uint64_t number, unsigned base, bool capitals) {
  std::string digits;
  do {
    const auto digit = static_cast<char>(number % base);
    digits.insert(digits.begin(), static_cast<char>(digit < 10 ? '0' + digit : (capitals ? 'A' : 'a') + digit - 10));
    number /= base;
  } while (number != 0);
  return digits;
}

std::string integerText(std::string_view prefix, std::string digits, const Conversion& conversion) {
  const auto least = static_cast<std::size_t>(conversion.precision.value_or(1));
  if (digits.size() < least) digits.insert(0, least - digits.size(), '0');
  return paddedNumber(prefix, std::move(digits), !conversion.precision, conversion);
}

std::string signedText(std::uint64_t raw, const Conversion& conversion) {
  std::int64_t number = 0;
  switch (conversion.bits) {
    case 8:
      number = truncateTo<std::int8_t>(raw);
      break;
    case 16:
      number = truncateTo<std::int16_t>(raw);
      break;
    case 32:
      number = truncateTo<std::int32_t>(raw);
      break;
    default:
      number = truncateTo<std::int64_t>(raw);
  }
  const std::uint64_t amount = number < 0 ? 0 - truncateTo<std::uint64_t>(number) : truncateTo<std::uint64_t>(number);
  return integerText(signOf(number < 0, conversion), digitsOf(amount, 10, false), conversion);
}

std::string unsignedText(std::uint64_t raw, const Conversion& conversion) {
  const std::uint64_t number = conversion.bits == 64 ? raw : raw & ((std::uint64_t{1} << conversion.bits) - 1);
  const bool capitals = conversion.kind == 'X';
  const bool hexadecimal = capitals || conversion.kind == 'x';
  const unsigned base = hexadecimal ? 16 : conversion.kind == 'o' ? 8 : 10;
  const bool prefixed = hexadecimal && conversion.alternate && number != 0;
  const std::string_view prefix = !prefixed ? "" : capitals ? "0X" : "0x";
  return integerText(prefix, digitsOf(number, base, capitals), conversion);
}

std::string realText(double number, const Conversion& conversion) {
  const double amount = std::fabs(number);
  const int precision = conversion.precision.value_or(6);
  // Long enough for the largest number in full, and the widest precision behind it.
  std::array<char, 320 + kWidest> text{};
  switch (conversion.kind) {
    case 'f':
      std::snprintf(text.data(), text.size(), "%.*f", precision, amount);
      break;
    case 'e':
      std::snprintf(text.data(), text.size(), "%.*e", precision, amount);
      break;
    default:
      std::snprintf(text.data(), text.size(), "%.*g", precision, amount);
  }
  return paddedNumber(signOf(std::signbit(number), conversion), text.data(), std::isfinite(number), conversion);
}

/// The argument as raw 64 bits, for the conversions of integers.
std::uint64_t rawBits(const FormatArgument& argument) {
  return std::visit(Overloaded{
                        [](std::monostate) { return std::uint64_t{0}; },
                        [](std::int64_t number) { return truncateTo<std::uint64_t>(number); },
                        [](std::uint64_t number) { return number; },
                        [](float number) { return truncateTo<std::uint64_t>(wholePartTo<std::int64_t>(number)); },
                        [](double number) { return truncateTo<std::uint64_t>(wholePartTo<std::int64_t>(number)); },
                        [](char character) { return truncateTo<std::uint64_t>(character); },
                        [](const std::string&) { return std::uint64_t{0}; },
                        [](const void* pointer) { return std::uint64_t{reinterpret_cast<std::uintptr_t>(pointer)}; },
                    },
                    argument.content());
}

double asReal(const FormatArgument& argument) {
  if (const auto* number = std::get_if<double>(&argument.content())) return *number;
  if (const auto* number = std::get_if<float>(&argument.content())) return static_cast<double>(*number);
  if (const auto* number = std::get_if<std::uint64_t>(&argument.content())) return static_cast<double>(*number);
  return static_cast<double>(truncateTo<std::int64_t>(rawBits(argument)));
}

std::string pointerText(std::uint64_t address) { return "0x" + digitsOf(address, 16, false); }

/// The argument as "%@" shows it.
std::string plainText(const FormatArgument& argument) {
  return std::visit(
      Overloaded{
          [](std::monostate) { return std::string("(null)"); },
          [](std::int64_t number) { return std::to_string(number); },
          [](std::uint64_t number) { return std::to_string(number); },
          [](float number) { return shortestText(number); },
          [](double number) { return shortestText(number); },
          [](char character) { return std::string(1, character); },
          [](const std::string& text) { return text; },
          [](const void* pointer) { return pointerText(std::uint64_t{reinterpret_cast<std::uintptr_t>(pointer)}); },
      },
      argument.content());
}

/// Cuts to the precision, never inside of a UTF-8 character.
std::string textOf(std::string text, const Conversion& conversion) {
  if (conversion.precision && text.size() > static_cast<std::size_t>(*conversion.precision)) {
    auto length = static_cast<std::size_t>(*conversion.precision);
    while (length > 0 && (static_cast<unsigned char>(text[length]) & 0xC0) == 0x80) --length;
    text.resize(length);
  }
  return padded(std::move(text), conversion);
}

std::string characterText(const FormatArgument& argument, const Conversion& conversion) {
  const std::uint64_t code = rawBits(argument);
  if (conversion.width != 4 || std::holds_alternative<char>(argument.content())) {
    return padded(std::string(1, static_cast<char>(truncateTo<unsigned char>(code))), conversion);
  }
  std::string text;
  for (const int shift : {24, 16, 8, 0}) {
    const auto byte = truncateTo<unsigned char>(code >> shift);
    text += byte >= 0x20 && byte < 0x7F ? static_cast<char>(byte) : '.';
  }
  return text;
}

/// Nothing when the conversion is none.
std::optional<std::string> converted(const FormatArgument& argument, const Conversion& conversion) {
  const bool isText = std::holds_alternative<std::string>(argument.content());
  switch (conversion.kind) {
    case '@':
    case 's':
      return textOf(plainText(argument), conversion);
    case 'd':
    case 'i':
      return isText ? textOf(plainText(argument), conversion) : signedText(rawBits(argument), conversion);
    case 'u':
    case 'x':
    case 'X':
    case 'o':
      return isText ? textOf(plainText(argument), conversion) : unsignedText(rawBits(argument), conversion);
    case 'g':
    case 'f':
    case 'e':
      return isText ? textOf(plainText(argument), conversion) : realText(asReal(argument), conversion);
    case 'c':
      return isText ? textOf(plainText(argument), conversion) : characterText(argument, conversion);
    case 'p':
      return padded(isText ? plainText(argument) : pointerText(rawBits(argument)), conversion);
    default:
      return std::nullopt;
  }
}

bool isConversion(char kind) {
  return kind != 0 && std::string_view("@sdiuxXogfecp").find(kind) != std::string_view::npos;
}

}  // namespace

std::string formatArguments(std::string_view text, std::span<const FormatArgument> arguments) {
  std::string result;
  std::size_t next = 0;
  while (true) {
    const std::size_t percent = text.find('%');
    result += text.substr(0, percent);
    if (percent == std::string_view::npos) return result;
    text.remove_prefix(percent);
    const std::string_view asItStands = text;
    text.remove_prefix(1);
    const Conversion conversion = ConversionReader(text).read();
    if (asItStands.starts_with("%%")) {
      result += '%';
    } else if (!isConversion(conversion.kind)) {
      result += asItStands.substr(0, asItStands.size() - text.size());
    } else if (next >= arguments.size()) {
      result += "(missing)";
    } else {
      result += *converted(arguments[next++], conversion);
    }
  }
}

}  // namespace vlm
