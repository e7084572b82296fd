#include "Platform/MacOS/PropertyListBridge.h"

#include <vector>

#import <Foundation/Foundation.h>

namespace vlm::native {

namespace {

// `nesting` counts the containers around the value.

std::optional<plist::Value> read(CFTypeRef object, int nesting);
ScopedCF<CFTypeRef> make(const plist::Value& value, int nesting);

plist::Value readNumber(CFNumberRef number) {
  if (CFNumberIsFloatType(number)) {
    double real = 0;
    CFNumberGetValue(number, kCFNumberDoubleType, &real);
    return real;
  }
  long long whole = 0;
  if (CFNumberGetValue(number, kCFNumberLongLongType, &whole)) return whole;
  // From 2^63 on; Core Foundation itself has no unsigned kind to ask for.
  return ((__bridge NSNumber*)number).unsignedLongLongValue;
}

std::optional<plist::Array> readArray(CFArrayRef array, int nesting) {
  if (nesting >= kMaximumNesting) return std::nullopt;
  plist::Array values;
  for (CFIndex i = 0; i < CFArrayGetCount(array); ++i) {
    if (auto value = read(CFArrayGetValueAtIndex(array, i), nesting + 1)) values.push_back(std::move(*value));
  }
  return values;
}

std::optional<plist::Dictionary> readDictionary(CFDictionaryRef dictionary, int nesting) {
  if (nesting >= kMaximumNesting) return std::nullopt;
  const auto count = static_cast<std::size_t>(CFDictionaryGetCount(dictionary));
  std::vector<const void*> keys(count);
  std::vector<const void*> values(count);
  CFDictionaryGetKeysAndValues(dictionary, keys.data(), values.data());

  std::vector<plist::Entry> entries;
  entries.reserve(count);
  for (std::size_t i = 0; i < count; ++i) {
    if (CFGetTypeID(keys[i]) != CFStringGetTypeID()) continue;
    auto key = textFromCF(static_cast<CFStringRef>(keys[i]));
    auto value = read(values[i], nesting + 1);
    if (key && value) entries.push_back({std::move(*key), std::move(*value)});
  }
  return plist::Dictionary(std::move(entries));
}

std::optional<plist::Value> read(CFTypeRef object, int nesting) {
  if (object == nullptr) return std::nullopt;
  const CFTypeID type = CFGetTypeID(object);
  if (type == CFBooleanGetTypeID()) return CFBooleanGetValue(static_cast<CFBooleanRef>(object)) != 0;
  if (type == CFNumberGetTypeID()) return readNumber(static_cast<CFNumberRef>(object));
  if (type == CFStringGetTypeID()) return textFromCF(static_cast<CFStringRef>(object));
  if (type == CFDataGetTypeID()) return dataFromCF(static_cast<CFDataRef>(object));
  if (type == CFDateGetTypeID()) return plist::Date{CFDateGetAbsoluteTime(static_cast<CFDateRef>(object))};
  if (type == CFArrayGetTypeID()) return readArray(static_cast<CFArrayRef>(object), nesting);
  if (type == CFDictionaryGetTypeID()) return readDictionary(static_cast<CFDictionaryRef>(object), nesting);
  return std::nullopt;
}

ScopedCF<CFTypeRef> makeArray(const plist::Array& values, int nesting) {
  if (nesting >= kMaximumNesting) return {};
  CFMutableArrayRef array = CFArrayCreateMutable(kCFAllocatorDefault, 0, &kCFTypeArrayCallBacks);
  for (const plist::Value& value : values) {
    if (const auto object = make(value, nesting + 1)) CFArrayAppendValue(array, object.get());
  }
  return ScopedCF<CFTypeRef>(array);
}

ScopedCF<CFDictionaryRef> makeDictionary(const plist::Dictionary& entries, int nesting) {
  if (nesting >= kMaximumNesting) return {};
  CFMutableDictionaryRef dictionary = CFDictionaryCreateMutable(kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks,
                                                                &kCFTypeDictionaryValueCallBacks);
  for (const plist::Entry& entry : entries) {
    const auto key = makeCFString(entry.key);
    const auto object = make(entry.value, nesting + 1);
    if (key && object) CFDictionarySetValue(dictionary, key.get(), object.get());
  }
  return ScopedCF<CFDictionaryRef>(dictionary);
}

/// Number objects are Core Foundation's own: a boolean one is kCFBooleanTrue or kCFBooleanFalse.
ScopedCF<CFTypeRef> makeNumber(NSNumber* number) { return ScopedCF<CFTypeRef>(CFBridgingRetain(number)); }

ScopedCF<CFTypeRef> makeData(const plist::Data& data) {
  return ScopedCF<CFTypeRef>(CFDataCreate(kCFAllocatorDefault, data.data(), static_cast<CFIndex>(data.size())));
}

ScopedCF<CFTypeRef> makeDate(plist::Date date) {
  return ScopedCF<CFTypeRef>(CFDateCreate(kCFAllocatorDefault, date.secondsSinceReferenceDate));
}

ScopedCF<CFTypeRef> make(const plist::Value& value, int nesting) {
  switch (value.kind()) {
    case plist::Value::Kind::boolean:
      return makeNumber([NSNumber numberWithBool:value.boolean()]);
    case plist::Value::Kind::integer:
      return makeNumber([NSNumber numberWithLongLong:value.sInt64()]);
    case plist::Value::Kind::unsignedInteger:
      return makeNumber([NSNumber numberWithUnsignedLongLong:value.uInt64()]);
    case plist::Value::Kind::real:
      return makeNumber([NSNumber numberWithDouble:value.real()]);
    case plist::Value::Kind::string:
      return ScopedCF<CFTypeRef>(makeCFString(*value.string()).release());
    case plist::Value::Kind::data:
      return makeData(*value.data());
    case plist::Value::Kind::date:
      return makeDate(*value.date());
    case plist::Value::Kind::array:
      return makeArray(*value.array(), nesting);
    case plist::Value::Kind::dictionary:
      return ScopedCF<CFTypeRef>(makeDictionary(*value.dictionary(), nesting).release());
  }
  return {};
}

}  // namespace

std::optional<plist::Value> valueFromCF(CFTypeRef object) { return read(object, 0); }

std::optional<plist::Dictionary> dictionaryFromCF(CFTypeRef object) {
  if (object == nullptr || CFGetTypeID(object) != CFDictionaryGetTypeID()) return std::nullopt;
  return readDictionary(static_cast<CFDictionaryRef>(object), 0);
}

std::optional<plist::Data> dataFromCF(CFDataRef data) {
  if (data == nullptr) return std::nullopt;
  const UInt8* const bytes = CFDataGetBytePtr(data);
  return plist::Data(bytes, bytes + CFDataGetLength(data));
}

std::optional<std::string> textFromCF(CFStringRef text) {
  if (text == nullptr) return std::nullopt;
  const CFRange whole = CFRangeMake(0, CFStringGetLength(text));
  CFIndex byteCount = 0;
  CFStringGetBytes(text, whole, kCFStringEncodingUTF8, '?', false, nullptr, 0, &byteCount);
  std::string bytes(static_cast<std::size_t>(byteCount), '\0');
  CFStringGetBytes(text, whole, kCFStringEncodingUTF8, '?', false, reinterpret_cast<UInt8*>(bytes.data()), byteCount,
                   nullptr);
  return bytes;
}

ScopedCF<CFTypeRef> makeCFObject(const plist::Value& value) { return make(value, 0); }

ScopedCF<CFDictionaryRef> makeCFDictionary(const plist::Dictionary& dictionary) {
  return makeDictionary(dictionary, 0);
}

ScopedCF<CFStringRef> makeCFString(std::string_view text) {
  return ScopedCF<CFStringRef>(CFStringCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(text.data()),
                                                       static_cast<CFIndex>(text.size()), kCFStringEncodingUTF8,
                                                       false));
}

}  // namespace vlm::native
