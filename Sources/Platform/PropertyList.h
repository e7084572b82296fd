#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

/// Property lists: the values that settings files, registry entries, notifications and bundles are made of.
/// Reading and writing files is the platform's business (port `Files`).
namespace vlm::plist {

class Value;

using Array = std::vector<Value>;
using Data = std::vector<std::uint8_t>;

/// A moment, in seconds since 1 January 2001, 00:00 UTC, as the platform counts.
struct Date {
  double secondsSinceReferenceDate = 0;
  friend bool operator==(const Date&, const Date&) = default;
};

struct Entry;

/// A dictionary with text keys. Entries stand in ascending byte order of their keys, each key once.
///
/// The typed readers never fail. Numbers of every kind, booleans too, convert into each other: a real gives its whole
/// part (held to 64 bits, NaN gives 0), a wider integer its low bits. A missing key, or a value that is no number,
/// gives the default.
class Dictionary {
 public:
  Dictionary();
  ~Dictionary();
  Dictionary(const Dictionary& other);
  Dictionary(Dictionary&& other) noexcept;
  Dictionary& operator=(const Dictionary& other);
  Dictionary& operator=(Dictionary&& other) noexcept;
  Dictionary(std::initializer_list<Entry> entries);
  /// Takes entries in any order; the last of equal keys stays. Costs one sort, whatever the order.
  explicit Dictionary(std::vector<Entry> entries);

  std::size_t count() const;
  bool empty() const;
  std::vector<Entry>::const_iterator begin() const;
  std::vector<Entry>::const_iterator end() const;

  /// The value of a key, or null. Valid until the dictionary changes.
  const Value* find(std::string_view key) const;
  Value* find(std::string_view key);
  bool contains(std::string_view key) const;
  /// Adds or replaces.
  void set(std::string_view key, Value value);
  /// Removes the key when it is there.
  void remove(std::string_view key);
  void reserve(std::size_t count);

  bool boolean(std::string_view key, bool ifAbsent = false) const;
  std::int64_t sInt64(std::string_view key, std::int64_t ifAbsent = 0) const;
  std::uint64_t uInt64(std::string_view key, std::uint64_t ifAbsent = 0) const;
  std::int32_t sInt32(std::string_view key, std::int32_t ifAbsent = 0) const;
  std::uint32_t uInt32(std::string_view key, std::uint32_t ifAbsent = 0) const;
  std::int16_t sInt16(std::string_view key, std::int16_t ifAbsent = 0) const;
  double real(std::string_view key, double ifAbsent = 0) const;
  float real32(std::string_view key, float ifAbsent = 0) const;
  /// The number object of a key: a signed 64-bit integer, or nothing when absent or no number.
  std::optional<std::int64_t> number(std::string_view key) const;
  std::optional<std::string> string(std::string_view key) const;
  const Data* data(std::string_view key) const;
  const Array* array(std::string_view key) const;
  const Dictionary* dictionary(std::string_view key) const;

  friend bool operator==(const Dictionary& a, const Dictionary& b);

 private:
  friend class Value;

  std::vector<Entry> entries_;
};

/// One property-list value. It always has a kind; "no value" is a null pointer or an empty optional around it.
class Value {
 public:
  /// The kinds, in the order of the variant below.
  enum class Kind { boolean, integer, unsignedInteger, real, string, data, date, array, dictionary };

  // Implicit on purpose: a table of keys and values reads as one.
  // NOLINTBEGIN(google-explicit-constructor)
  Value(bool value);
  Value(int value);
  Value(unsigned int value);
  Value(long value);
  Value(long long value);
  /// An unsigned number that fits 63 bits becomes a signed one, so that one number has one representation.
  Value(unsigned long value);
  Value(unsigned long long value);
  Value(float value);
  Value(double value);
  Value(std::string value);
  Value(std::string_view value);
  Value(const char* value);
  Value(Data value);
  Value(Date value);
  Value(Array value);
  Value(Dictionary value);
  ~Value();
  Value(const Value& other);
  Value(Value&& other) noexcept;
  Value& operator=(const Value& other);
  Value& operator=(Value&& other) noexcept;
  // NOLINTEND(google-explicit-constructor)

  Kind kind() const { return static_cast<Kind>(content_.index()); }
  /// Booleans, integers and reals.
  bool isNumber() const;

  /// Number readers; see Dictionary for the conversions. A value that is no number gives the default.
  bool boolean(bool ifNoNumber = false) const;
  std::int64_t sInt64(std::int64_t ifNoNumber = 0) const;
  std::uint64_t uInt64(std::uint64_t ifNoNumber = 0) const;
  double real(double ifNoNumber = 0) const;

  /// The content when the value is of that kind, else null. Valid until the value changes.
  const std::string* string() const { return std::get_if<std::string>(&content_); }
  const Data* data() const { return std::get_if<Data>(&content_); }
  const Date* date() const { return std::get_if<Date>(&content_); }
  const Array* array() const { return std::get_if<Array>(&content_); }
  const Dictionary* dictionary() const { return std::get_if<Dictionary>(&content_); }
  Array* array() { return std::get_if<Array>(&content_); }
  Dictionary* dictionary() { return std::get_if<Dictionary>(&content_); }

  /// Equal kind and content; integers compare by value whatever their signedness. 1, 1.0 and true are different.
  friend bool operator==(const Value& a, const Value& b);

 private:
  bool isContainer() const { return kind() >= Kind::array; }
  /// An array or a dictionary that is not empty.
  static bool isFilled(const Value& value) {
    return (value.array() != nullptr && !value.array()->empty()) ||
           (value.dictionary() != nullptr && !value.dictionary()->empty());
  }
  /// Whether a filled one stands in this one.
  bool nests() const;
  /// Whatever nests in this container goes here, and not inside of each other: however deep it is, the stack stays
  /// flat.
  void takeApart();

  std::variant<bool, std::int64_t, std::uint64_t, double, std::string, Data, Date, Array, Dictionary> content_;
};

struct Entry {
  std::string key;
  Value value;
  friend bool operator==(const Entry&, const Entry&) = default;
};

// What follows needs Entry whole.

inline Dictionary::Dictionary() = default;
inline Dictionary::~Dictionary() = default;
inline Dictionary::Dictionary(const Dictionary& other) = default;
inline Dictionary::Dictionary(Dictionary&& other) noexcept = default;
inline Dictionary& Dictionary::operator=(const Dictionary& other) = default;
inline Dictionary& Dictionary::operator=(Dictionary&& other) noexcept = default;

inline Value::~Value() {
  if (isContainer()) takeApart();
}
inline Value::Value(const Value& other) = default;
inline Value::Value(Value&& other) noexcept = default;
inline Value& Value::operator=(const Value& other) = default;
inline Value& Value::operator=(Value&& other) noexcept = default;

inline Value::Value(bool value) : content_(value) {}
inline Value::Value(int value) : content_(static_cast<std::int64_t>(value)) {}
inline Value::Value(unsigned int value) : content_(static_cast<std::int64_t>(value)) {}
inline Value::Value(long value) : content_(static_cast<std::int64_t>(value)) {}
inline Value::Value(long long value) : content_(static_cast<std::int64_t>(value)) {}
inline Value::Value(unsigned long value) : Value(static_cast<unsigned long long>(value)) {}
inline Value::Value(float value) : content_(static_cast<double>(value)) {}
inline Value::Value(double value) : content_(value) {}
inline Value::Value(std::string value) : content_(std::move(value)) {}
inline Value::Value(std::string_view value) : content_(std::string(value)) {}
inline Value::Value(const char* value) : content_(std::string(value)) {}
inline Value::Value(Data value) : content_(std::move(value)) {}
inline Value::Value(Date value) : content_(value) {}
inline Value::Value(Array value) : content_(std::move(value)) {}
inline Value::Value(Dictionary value) : content_(std::move(value)) {}

/// A readable text of the value, for logs and journals: {Nx = 1920; name = "Left"; list = (1, 2)}; data as <0aff…>
/// with at most the first 16 bytes, nesting below 32 levels as "…".
std::string describe(const Value& value);
std::string describe(const Dictionary& dictionary);

}  // namespace vlm::plist
