#pragma once

#include <array>
#include <concepts>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>

#include "Platform/PropertyList.h"

/// Fixed texts with gaps, as the platform writes them: "%@" for anything, and the printf conversions.
namespace vlm {

/// A value that costs something to make: the callable is called when the text is really made (see VLMLog).
template <class Make>
struct Lazy {
  Make make;
};

template <class Make>
Lazy<Make> lazily(Make make) {
  return {std::move(make)};
}

/// What fills one gap of a format. Made implicitly from numbers, texts, pointers, property lists, and optionals of
/// them.
class FormatArgument {
 public:
  /// The content; monostate is "no value".
  using Content =
      std::variant<std::monostate, std::int64_t, std::uint64_t, float, double, char, std::string, const void*>;

  // Implicit on purpose: the arguments of a format are written as they are.
  // NOLINTBEGIN(google-explicit-constructor)
  FormatArgument(std::nullopt_t) {}
  FormatArgument(std::nullptr_t) {}
  FormatArgument(char character) : content_(character) {}
  template <std::signed_integral Number>
  FormatArgument(Number number) : content_(static_cast<std::int64_t>(number)) {}
  template <std::unsigned_integral Number>
  FormatArgument(Number number) : content_(static_cast<std::uint64_t>(number)) {}
  template <class Enumeration>
  requires std::is_enum_v<Enumeration> FormatArgument(Enumeration value)
      : FormatArgument(static_cast<std::underlying_type_t<Enumeration>>(value)) {}
  FormatArgument(float number) : content_(number) {}
  FormatArgument(double number) : content_(number) {}
  FormatArgument(std::string text) : content_(std::move(text)) {}
  FormatArgument(std::string_view text) : content_(std::string(text)) {}
  /// Null is "no value".
  FormatArgument(const char* text);
  /// Texts stand without quotation marks, everything else as `plist::describe` says.
  FormatArgument(const plist::Value& value);
  FormatArgument(const plist::Dictionary& dictionary) : content_(plist::describe(dictionary)) {}
  FormatArgument(const plist::Array& array) : FormatArgument(plist::Value(array)) {}
  /// Property lists behind a pointer are described; null is "no value".
  FormatArgument(const plist::Value* value);
  FormatArgument(const plist::Dictionary* dictionary);
  template <class Object>
  requires(!std::is_function_v<Object>) FormatArgument(Object* pointer) : content_(static_cast<const void*>(pointer)) {}
  template <class Wrapped>
  FormatArgument(const std::optional<Wrapped>& value) {
    if (value) *this = FormatArgument(*value);
  }
  template <class Make>
  FormatArgument(const Lazy<Make>& lazy) : FormatArgument(lazy.make()) {}
  // NOLINTEND(google-explicit-constructor)

  const Content& content() const { return content_; }

 private:
  Content content_;
};

/// `format` for arguments in a list.
std::string formatArguments(std::string_view text, std::span<const FormatArgument> arguments);

struct Formatter {
  template <class... Arguments>
  std::string operator()(std::string_view text, const Arguments&... arguments) const {
    const std::array<FormatArgument, sizeof...(Arguments)> list{FormatArgument(arguments)...};
    return formatArguments(text, list);
  }
};

/// format("%@.plist", name). Conversions: %@ %s %c %d %i %u %x %X %o %p %g %f %e %%, with the flags "-+ #0", a width, a
/// precision, and h, hh, l, ll, q, z, j, t. "%4c" of a number is a four-character code.
///
/// Nothing that is passed can do harm: integers keep the low bits of the width named (32 without one), reals their
/// whole part; a text stands as it is under every conversion; "no value" is "(null)", or 0 under a number's conversion;
/// a gap without an argument is "(missing)", what is no conversion stands as it is, and surplus arguments are left out.
///
/// It is an object, not a function, so that a text as argument does not bring in the standard library's `format`.
inline constexpr Formatter format;

}  // namespace vlm
