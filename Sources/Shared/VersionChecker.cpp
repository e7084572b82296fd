#include "Shared/VersionChecker.h"

#include <algorithm>
#include <limits>
#include <optional>

#include "Platform/Bundle.h"
#include "Platform/Process.h"
#include "Shared/Format.h"

namespace vlm {

namespace {

std::optional<std::string> ownVersion(const std::string& key) {
  const auto value = os().bundle.objectForInfoDictionaryKey(key);
  if (!value) return std::nullopt;
  return format("%@", *value);
}

/// Takes one part off the text, its dot included.
std::int64_t takePart(std::string_view& text) {
  const std::string_view part = text.substr(0, text.find('.'));
  text.remove_prefix(std::min(part.size() + 1, text.size()));
  std::int64_t number = 0;
  for (const char c : part) {
    if (c < '0' || c > '9') break;
    number = std::min<std::int64_t>(number * 10 + (c - '0'), std::numeric_limits<std::int32_t>::max());
  }
  return number;
}

}  // namespace

VersionChecker& VersionChecker::sharedInstance() { return Process::current().state<VersionChecker>(); }

std::int32_t VersionChecker::getVersionFromString(std::string_view text) const {
  std::int64_t version = 0;
  for (const std::int64_t weight : {65536, 256, 1}) version += weight * takePart(text);
  return static_cast<std::int32_t>(std::min<std::int64_t>(version, std::numeric_limits<std::int32_t>::max()));
}

std::int32_t VersionChecker::currentPackageVersionInteger() const {
  return getVersionFromString(ownVersion("CFBundleVersion").value_or(""));
}

std::string VersionChecker::longVersionString() const {
  const auto shown = ownVersion("CFBundleShortVersionString"), build = ownVersion("CFBundleVersion");
  if (shown && build) return format("%@ (%@)", *shown, *build);
  return shown ? *shown : build.value_or("");
}

}  // namespace vlm
