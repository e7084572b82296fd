#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <utility>

#include "Models/DDC.h"
#include "Platform/IORegistry.h"
#include "Platform/Process.h"
#include "Platform/RunLoop.h"
#include "Shared/SystemVersion.h"

namespace vlm {

namespace {

/// 7-bit address of a monitor's controls, and the host's address, which the service puts on the wire itself.
constexpr std::uint32_t kChip = 0x37, kHost = 0x51;
constexpr std::uint8_t kMonitorWrite = 0x6E;
constexpr std::size_t kFeatureReplyLength = 10;
constexpr std::uint8_t kFeatureReplyOpcode = 0x02, kNoError = 0x00;
/// Nothing on this transport tells whether a frame arrived, so each is sent often. Seconds.
constexpr int kRounds = 4, kWritesPerRound = 2;
constexpr double kBeforeWrite = 0.010, kBeforeReply = 0.050, kAfterRound = 0.020;

/// Sends a frame as often as one round does.
void sendRound(const AVService& service, std::span<const std::uint8_t> frame) {
  for (int i = 0; i < kWritesPerRound; ++i) {
    os().runLoop.sleep(kBeforeWrite);
    os().monitorBus.IOAVServiceWriteI2C(service.get(), kChip, kHost, frame);
  }
}

bool isForDisplay(const plist::Data& edid, CGDirectDisplayID display) {
  if (edid.size() < 16) return false;
  const auto at = [&](std::size_t offset) { return static_cast<std::uint32_t>(edid[offset]); };
  return (at(8) << 8 | at(9)) == os().quartz.CGDisplayVendorNumber(display) &&
         (at(11) << 8 | at(10)) == os().quartz.CGDisplayModelNumber(display) &&
         (at(15) << 24 | at(14) << 16 | at(13) << 8 | at(12)) == os().quartz.CGDisplaySerialNumber(display);
}

std::optional<plist::Data> IOAVServiceCopyOrCreateEDID(const AVService& service) {
  return os().monitorBus.IOAVServiceCopyEDID(service.get());
}

/// The service behind a registry entry, when it is the display's. A built-in panel has one of its own kind alone, so
/// the place of the entry decides; an external monitor is told by its EDID.
AVService serviceOf(io_service_t entry, CGDirectDisplayID display, bool isBuiltin, plist::Data* edid) {
  auto service = os().monitorBus.IOAVServiceCreateWithService(entry);
  if (!service || !*service) return {};
  std::optional<plist::Data> found;
  if (systemVersion() >= systemVersionOf(11, 3)) found = IOAVServiceCopyOrCreateEDID(*service);
  if (!isBuiltin && !(found && isForDisplay(*found, display))) return {};
  if (edid != nullptr && found) *edid = std::move(*found);
  return std::move(*service);
}

bool isCached(io_service_t entry, const std::map<CGDirectDisplayID, IOObject>& cache) {
  return std::any_of(cache.begin(), cache.end(), [&](const auto& cached) { return cached.second.get() == entry; });
}

}  // namespace

AVService IOCreateAVServiceRef(CGDirectDisplayID display, plist::Data* edid,
                               std::map<CGDirectDisplayID, IOObject>& cache) {
  const bool isBuiltin = os().quartz.CGDisplayIsBuiltin(display);
  if (const auto known = cache.find(display); known != cache.end()) {
    if (AVService service = serviceOf(known->second.get(), display, isBuiltin, edid)) return service;
    // Cables were moved, or the service was replaced. An entry that still is its display's stays: it could not be told
    // from that of a twin.
    std::erase_if(cache, [](const auto& cached) {
      const auto& [owner, entry] = cached;
      return !serviceOf(entry.get(), owner, os().quartz.CGDisplayIsBuiltin(owner), nullptr);
    });
  }
  // Entries of displays that went are free for the next one.
  std::erase_if(cache, [](const auto& cached) { return !os().quartz.CGDisplayIsOnline(cached.first); });

  const IOObject entries = os().registry.IOServiceGetMatchingServices(kAVServiceClass);
  if (!entries) return {};
  const std::string location = isBuiltin ? "Embedded" : "External";
  while (IOObject entry = os().registry.IOIteratorNext(entries)) {
    const auto properties = os().registry.IORegistryEntryCreateCFProperties(entry.get());
    if (!properties || properties->string("Location") != location || isCached(entry.get(), cache)) continue;
    AVService service = serviceOf(entry.get(), display, isBuiltin, edid);
    if (!service) continue;
    cache[display] = std::move(entry);
    return service;
  }
  return {};
}

void AppleSilicon::writeFeature(const AVService& service, std::uint8_t code, std::uint8_t value) {
  std::array<std::uint8_t, 6> frame{0x84, 0x03, code, 0x00, value, 0};
  frame[5] = static_cast<std::uint8_t>(0x84 ^ 0x3F ^ 0x03 ^ code ^ 0x00 ^ value);
  for (int round = 0; round < kRounds; ++round) {
    sendRound(service, frame);
    os().runLoop.sleep(kAfterRound);
  }
}

std::optional<AppleSilicon::FeatureReply> AppleSilicon::readFeature(const AVService& service, std::uint8_t code) {
  // Meant: the host's address is left out of this checksum, though it is in that of a write.
  const std::array<std::uint8_t, 4> frame{0x82, 0x01, code,
                                          static_cast<std::uint8_t>(0x82 ^ kMonitorWrite ^ 0x01 ^ code)};
  std::optional<FeatureReply> answer;
  // All rounds run, also behind one that succeeded: the last answer is the freshest.
  for (int round = 0; round < kRounds; ++round) {
    sendRound(service, frame);
    os().runLoop.sleep(kBeforeReply);
    std::array<std::uint8_t, kFeatureReplyLength> reply{};
    const IOReturn read = os().monitorBus.IOAVServiceReadI2C(service.get(), kChip, kHost, reply);
    // Meant: neither the checksum nor the code that is answered for is looked at.
    if (read == kIOReturnSuccess && reply[2] == kFeatureReplyOpcode && reply[3] == kNoError) {
      answer = FeatureReply{.maximum = reply[7], .current = reply[9]};
    }
    os().runLoop.sleep(kAfterRound);
  }
  return answer;
}

}  // namespace vlm
