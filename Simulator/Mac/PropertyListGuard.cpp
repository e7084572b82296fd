#include "Simulator/Mac/PropertyListGuard.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace vlm::sim {

namespace {

const char* const kTooDeep = "nested too deeply";

// --- XML ---

constexpr std::string_view kBlanks = " \t\r\n";

bool isNameCharacter(char character) {
  return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
}

/// A bound of the depth of an XML property list, and whether a key lacks its value, from the tags alone. Comments,
/// CDATA and the declarations at its head are skipped where libplist skips them. Whatever else could hide a tag from
/// libplist or from this count (attributes, instructions inside, anything unterminated) ends the trust for good: from
/// there on nothing is skipped and nothing closes, so that the bound only grows.
class XmlWalk {
 public:
  explicit XmlWalk(std::string_view content) : content_(content) {}

  std::optional<std::string> danger() {
    for (at_ = content_.find('<'); at_ != std::string_view::npos; at_ = content_.find('<', at_)) {
      ++at_;
      if (takePlainLeaf(content_.substr(at_))) continue;
      if (!skipWhole("!--", "-->") && !skipWhole("![CDATA[", "]]>") && !skipDeclaration()) takeTag();
      if (depth_ > kDeepestPropertyList) return kTooDeep;
      if (hasLoneKey_) return "a key has no value";
    }
    return std::nullopt;
  }

 private:
  /// Nearly all tags of a file are these, and they change no depth.
  bool takePlainLeaf(std::string_view tag) {
    const bool isKey = tag.starts_with("key>"), endsKey = tag.starts_with("/key>");
    if (!isKey && !endsKey && !tag.starts_with("integer>") && !tag.starts_with("/integer>") &&
        !tag.starts_with("false/>") && !tag.starts_with("true/>") && !tag.starts_with("real>") &&
        !tag.starts_with("/real>") && !tag.starts_with("string>") && !tag.starts_with("/string>")) {
      return false;
    }
    hasLoneKey_ = hasLoneKey_ || (isKey && keyWaits_);
    keyWaits_ = endsKey;
    return true;
  }

  bool skipWhole(std::string_view beginning, std::string_view end) {
    if (!isTrusted_ || at_ == content_.size() || content_[at_] != '!') return false;
    if (!content_.substr(at_).starts_with(beginning)) return false;
    const std::size_t endsAt = content_.find(end, at_ + beginning.size());
    if (endsAt == std::string_view::npos) return false;
    at_ = endsAt + end.size();
    return true;
  }

  /// Instructions, document type and the root element's version stand before the first container. libplist looks for
  /// their end outside of double quotes.
  bool skipDeclaration() {
    if (!isTrusted_ || hasBegun_) return false;
    const std::string_view rest = content_.substr(at_);
    const bool isInstruction = rest.starts_with('?');
    if (!isInstruction && !rest.starts_with("!DOCTYPE") && !rest.starts_with("plist")) return false;
    const std::string_view declaration = rest.substr(0, rest.find('>'));
    const bool isWhole = declaration.size() < rest.size() && (!isInstruction || declaration.ends_with('?'));
    const bool isPlain = declaration.find_first_of("<[") == std::string_view::npos &&
                         std::count(declaration.begin(), declaration.end(), '"') % 2 == 0;
    if (!isWhole || !isPlain) return false;
    at_ += declaration.size();
    return true;
  }

  void takeTag() {
    std::string_view tag = content_.substr(at_);
    const bool closes = tag.starts_with('/');
    if (closes) tag.remove_prefix(1);
    const auto nameEnd = std::find_if_not(tag.begin(), tag.end(), isNameCharacter);
    const std::string_view name = tag.substr(0, static_cast<std::size_t>(nameEnd - tag.begin()));
    tag.remove_prefix(name.size());
    tag.remove_prefix(std::min(tag.find_first_not_of(kBlanks), tag.size()));
    const bool isEmpty = tag.starts_with("/>");
    if (!isEmpty && !tag.starts_with('>')) isTrusted_ = false;
    // libplist leaves such a key out, or takes the next one for its value.
    hasLoneKey_ = hasLoneKey_ || (keyWaits_ && ((name == "dict" && closes) || (name == "key" && !closes)));
    keyWaits_ = name == "key" && (closes || isEmpty);
    if (name != "array" && name != "dict") return;
    hasBegun_ = true;
    if (isEmpty) return;
    if (!closes) {
      ++depth_;
    } else if (isTrusted_ && depth_ > 0) {
      --depth_;
    }
  }

  std::string_view content_;
  std::size_t at_ = 0;
  std::size_t depth_ = 0;
  bool hasBegun_ = false;
  bool isTrusted_ = true;
  bool keyWaits_ = false;  ///< for its value
  bool hasLoneKey_ = false;
};

// --- Binary ---

constexpr std::string_view kBinaryMagic = "bplist";
constexpr std::size_t kHeaderLength = 8, kTrailerLength = 32;

/// Walks the object table of a binary property list as far as the root reaches.
class BinaryWalk {
 public:
  explicit BinaryWalk(std::string_view content) : content_(content) {}

  std::optional<std::string> danger() {
    if (!readTrailer()) return "its trailer is damaged";
    known_.resize(objectCount_);
    if (!visit(rootObject_, 0)) return reason_;
    return std::nullopt;
  }

 private:
  enum class State : std::uint8_t { unseen, underWay, done };
  struct Known {
    State state = State::unseen;
    std::uint16_t height = 0;  ///< containers in each other, this one included
    std::uint64_t values = 0;  ///< this one and all below it, written out
  };
  struct Object {
    std::uint8_t type = 0;    ///< the marker's high half
    std::uint64_t count = 0;  ///< the marker's low half, or the number that follows it
    std::size_t at = 0;       ///< of the content
  };

  /// Big-endian, at most eight bytes.
  std::uint64_t number(std::size_t at, std::size_t length) const {
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < length; ++i) value = value << 8 | static_cast<std::uint8_t>(content_[at + i]);
    return value;
  }

  bool readTrailer() {
    if (content_.size() < kHeaderLength + kTrailerLength) return false;
    const std::size_t trailer = content_.size() - kTrailerLength;
    offsetSize_ = static_cast<std::uint8_t>(content_[trailer + 6]);
    referenceSize_ = static_cast<std::uint8_t>(content_[trailer + 7]);
    objectCount_ = number(trailer + 8, 8);
    rootObject_ = number(trailer + 16, 8);
    tableAt_ = number(trailer + 24, 8);
    const auto isSize = [](std::size_t size) { return size >= 1 && size <= 8; };
    return isSize(offsetSize_) && isSize(referenceSize_) && tableAt_ >= kHeaderLength && tableAt_ < trailer &&
           objectCount_ >= 1 && objectCount_ <= (trailer - tableAt_) / offsetSize_ && rootObject_ < objectCount_;
  }

  bool fail(const char* reason) {
    reason_ = reason;
    return false;
  }

  bool readObject(std::uint64_t index, Object& object) {
    const std::uint64_t offset = number(tableAt_ + index * offsetSize_, offsetSize_);
    if (offset < kHeaderLength || offset >= tableAt_) return fail("an object lies outside of the file");
    const auto marker = static_cast<std::uint8_t>(content_[offset]);
    object = {.type = static_cast<std::uint8_t>(marker >> 4), .count = marker & 0xfU, .at = offset + 1};
    const bool hasLongCount = object.count == 0xf && object.type >= 0x4 && object.type != 0x8;
    return !hasLongCount || readLongCount(object);
  }

  bool readLongCount(Object& object) {
    if (object.at >= tableAt_) return fail("an object is cut short");
    const auto marker = static_cast<std::uint8_t>(content_[object.at]);
    const std::size_t length = std::size_t{1} << (marker & 0xf);
    if (marker >> 4 != 0x1 || length > 8 || object.at + 1 + length > tableAt_) return fail("a length is damaged");
    object.count = number(object.at + 1, length);
    object.at += 1 + length;
    return true;
  }

  /// Bytes of an object's content. libplist checks most of it itself.
  std::uint64_t lengthOf(const Object& object) const {
    switch (object.type) {
      case 0x0:
        return 0;
      case 0x1:
      case 0x2:
      case 0x3:
        return std::uint64_t{1} << object.count;
      case 0x6:
        return object.count * 2;
      case 0x8:
        return object.count + 1;
      case 0xa:
      case 0xc:
        return object.count * referenceSize_;
      case 0xd:
        return object.count * referenceSize_ * 2;
      default:
        return object.count;
    }
  }

  bool visit(std::uint64_t index, std::size_t depth) {
    if (index >= objectCount_) return fail("it refers to an object that it does not have");
    if (known_[index].state == State::underWay) return fail("it contains itself");
    if (known_[index].state == State::done) return true;
    if (depth > kDeepestPropertyList) return fail(kTooDeep);
    Object object;
    if (!readObject(index, object)) return false;
    if (object.count > content_.size() || lengthOf(object) > tableAt_ - object.at) return fail("an object is too long");
    Known found{.state = State::done, .values = 1};
    known_[index].state = State::underWay;
    const bool isContainer = object.type >= 0xa && object.type <= 0xd;
    if (isContainer && !visitChildren(object, depth, found)) return false;
    known_[index] = found;
    return true;
  }

  bool visitChildren(const Object& object, std::size_t depth, Known& found) {
    const std::uint64_t children = object.type == 0xd ? object.count * 2 : object.count;
    for (std::uint64_t i = 0; i < children; ++i) {
      const std::uint64_t child = number(object.at + i * referenceSize_, referenceSize_);
      if (!visit(child, depth + 1)) return false;
      if (object.type == 0xd && i < object.count && !isUsableKey(child)) return false;
      found.height = std::max(found.height, known_[child].height);
      found.values += known_[child].values;
      if (found.values > kMostPropertyListValues) return fail("it has too many values");
    }
    if (++found.height > kDeepestPropertyList) return fail(kTooDeep);
    return true;
  }

  /// A key with a NUL character in it makes libplist stop the program.
  bool isUsableKey(std::uint64_t index) {
    Object key;
    if (!readObject(index, key)) return false;
    if (key.type != 0x5 && key.type != 0x6) return fail("a key is no text");
    for (std::uint64_t i = 0; key.type == 0x6 && i < key.count; ++i) {
      if (number(key.at + i * 2, 2) == 0) return fail("a key has a NUL character");
    }
    return true;
  }

  std::string_view content_;
  std::size_t offsetSize_ = 0, referenceSize_ = 0;
  std::uint64_t objectCount_ = 0, rootObject_ = 0, tableAt_ = 0;
  std::vector<Known> known_;
  const char* reason_ = "";
};

}  // namespace

std::optional<std::string> dangerInPropertyList(std::string_view content) {
  if (content.starts_with(kBinaryMagic)) return BinaryWalk(content).danger();
  return XmlWalk(content).danger();
}

}  // namespace vlm::sim
