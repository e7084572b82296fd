#pragma once

#include <cstdint>
#include <map>
#include <optional>

#include "Platform/IOObject.h"
#include "Platform/MonitorBus.h"
#include "Platform/PropertyList.h"
#include "Platform/Quartz.h"

/// The two ways over the display cable's I²C wires to an external monitor, with DDC/CI frames (VESA DDC/CI 1.1) and the
/// EDID: through a frame buffer on Intel machines, through an AV service on Apple silicon.
namespace vlm {

/// Class of the AV services' registry entries.
inline constexpr const char* kAVServiceClass = "DCPAVServiceProxy";
/// Whether this machine is one that reaches its monitors through AV services (Apple silicon), also while there is none.
/// Asked once per process.
bool hasAVServices();

/// How the machine's frame buffers take a reply: 0 not at all, 1 simple transaction, 2 DDC/CI reply transaction.
std::uint32_t SupportedTransactionType();
/// Performs one request on the first bus of the display's frame buffer that takes it, and fills its reply. One request
/// to a display at a time.
bool DisplayRequest_Intel(CGDirectDisplayID display, IOI2CRequest& request);

/// The AV service of a display, or none. `cache` keeps the registry entries found, by display; `edid` may be null, and
/// receives the monitor's EDID where the system can copy it.
AVService IOCreateAVServiceRef(CGDirectDisplayID display, plist::Data* edid,
                               std::map<CGDirectDisplayID, IOObject>& cache);

namespace AppleSilicon {
void writeFeature(const AVService& service, std::uint8_t code, std::uint8_t value);
/// What a monitor answers about one control; both values are the low bytes of the reply.
struct FeatureReply {
  std::uint8_t maximum = 0;
  std::uint8_t current = 0;
};
std::optional<FeatureReply> readFeature(const AVService& service, std::uint8_t code);
}  // namespace AppleSilicon

}  // namespace vlm
