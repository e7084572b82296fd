#include "Simulator/Mac/SimulatedQuartz.h"

#include <algorithm>
#include <utility>

#include "Simulator/Mac/DisplayModes.h"
#include "Simulator/Mac/JournalText.h"
#include "Simulator/Mac/Mouse.h"

namespace vlm::sim {
namespace {

/// Vendor, model and serial number of a display that is not there.
constexpr std::uint32_t kNoDisplayNumber = 0xffffffff;

const SimulatedMode& modeOf(const CGDisplayModeRef& mode) { return *static_cast<const SimulatedMode*>(mode.raw()); }

}  // namespace

SimulatedQuartz::SimulatedQuartz(SimulatedMac& mac, Session& session) : mac_(mac), session_(session) {}
SimulatedQuartz::~SimulatedQuartz() = default;

std::string SimulatedQuartz::nameOf(CGDirectDisplayID display) const {
  if (const SimulatedDisplay* found = find(display)) return found->description.name;
  return std::to_string(display);
}

// --- Displays ---

CGError SimulatedQuartz::CGSGetDisplayList(std::uint32_t maxDisplays, std::span<CGDirectDisplayID> displays,
                                           std::uint32_t& count) const {
  if (!displays.empty() && displays.size() < maxDisplays) return kCGErrorIllegalArgument;
  count = 0;
  for (const auto& display : mac_.windowServer().displays()) {
    if (!display->isOnline() || count == maxDisplays) continue;
    if (!displays.empty()) displays[count] = display->id;
    ++count;
  }
  for (const CGDirectDisplayID offline : mac_.windowServer().offlineInList) {
    if (count == maxDisplays) break;
    if (!displays.empty()) displays[count] = offline;
    ++count;
  }
  return kCGErrorSuccess;
}

bool SimulatedQuartz::CGDisplayIsOnline(CGDirectDisplayID display) const { return find(display) != nullptr; }

/// A display that shows another one's picture cannot be drawn on.
bool SimulatedQuartz::CGDisplayIsActive(CGDirectDisplayID display) const {
  const SimulatedDisplay* found = find(display);
  return found != nullptr && found->isActive() && found->mirrors == kCGNullDirectDisplay;
}

bool SimulatedQuartz::CGDisplayIsAsleep(CGDirectDisplayID display) const {
  const SimulatedDisplay* found = find(display);
  return found != nullptr && found->asleep;
}

bool SimulatedQuartz::CGDisplayIsBuiltin(CGDirectDisplayID display) const {
  const SimulatedDisplay* found = find(display);
  return found != nullptr && found->description.builtIn;
}

bool SimulatedQuartz::CGDisplayIsInMirrorSet(CGDirectDisplayID display) const {
  const SimulatedDisplay* found = find(display);
  return found != nullptr && (found->mirrors != kCGNullDirectDisplay || mac_.windowServer().isMirrored(*found));
}

bool SimulatedQuartz::CGDisplayIsAlwaysInMirrorSet(CGDirectDisplayID display) const {
  const SimulatedDisplay* found = mac_.windowServer().displayWithID(display);
  return found != nullptr && found->alwaysMirrored;
}

CGDirectDisplayID SimulatedQuartz::CGDisplayMirrorsDisplay(CGDirectDisplayID display) const {
  const SimulatedDisplay* found = find(display);
  return found == nullptr ? kCGNullDirectDisplay : found->mirrors;
}

CGDirectDisplayID SimulatedQuartz::CGDisplayPrimaryDisplay(CGDirectDisplayID display) const {
  const CGDirectDisplayID master = CGDisplayMirrorsDisplay(display);
  return master == kCGNullDirectDisplay ? display : master;
}

std::uint32_t SimulatedQuartz::CGDisplayVendorNumber(CGDirectDisplayID display) const {
  const SimulatedDisplay* found = find(display);
  return found == nullptr ? kNoDisplayNumber : found->edid.vendor;
}

std::uint32_t SimulatedQuartz::CGDisplayModelNumber(CGDirectDisplayID display) const {
  const SimulatedDisplay* found = find(display);
  return found == nullptr ? kNoDisplayNumber : found->edid.product;
}

std::uint32_t SimulatedQuartz::CGDisplaySerialNumber(CGDirectDisplayID display) const {
  const SimulatedDisplay* found = find(display);
  return found == nullptr ? kNoDisplayNumber : found->edid.serial;
}

Rect SimulatedQuartz::CGDisplayBounds(CGDirectDisplayID display) const {
  const SimulatedDisplay* found = find(display);
  return found == nullptr ? Rect{} : mac_.windowServer().bounds(*found);
}

double SimulatedQuartz::CGDisplayRotation(CGDirectDisplayID display) const {
  const SimulatedDisplay* found = find(display);
  return found == nullptr ? 0 : found->turn.degrees;
}

io_service_t SimulatedQuartz::CGDisplayIOServicePort(CGDirectDisplayID display) const {
  const SimulatedDisplay* found = find(display);
  return found == nullptr ? 0 : found->frameBuffer;
}

// --- Modes ---

CGError SimulatedQuartz::CGSGetNumberOfDisplayModes(CGDirectDisplayID display, std::int32_t& count) const {
  const SimulatedDisplay* found = find(display);
  if (found == nullptr) return kCGErrorIllegalArgument;
  count = static_cast<std::int32_t>(found->modes.modes.size());
  return kCGErrorSuccess;
}

CGError SimulatedQuartz::CGSGetDisplayModeDescriptionOfLength(CGDirectDisplayID display, std::int32_t index,
                                                              std::span<std::uint8_t> record) const {
  const SimulatedDisplay* found = find(display);
  if (found == nullptr || record.size() != kModeDescriptionLength || index < 0 ||
      static_cast<std::size_t>(index) >= found->modes.modes.size()) {
    return kCGErrorIllegalArgument;
  }
  const auto description = modeDescription(found->modes.modes[static_cast<std::size_t>(index)]);
  std::copy(description.begin(), description.end(), record.begin());
  return kCGErrorSuccess;
}

CGError SimulatedQuartz::CGSGetCurrentDisplayMode(CGDirectDisplayID display, std::int32_t& modeNumber) const {
  const SimulatedDisplay* found = find(display);
  if (found == nullptr) return kCGErrorIllegalArgument;
  modeNumber = static_cast<std::int32_t>(found->modeNumber);
  return kCGErrorSuccess;
}

std::optional<CGDisplayModeRef> SimulatedQuartz::CGDisplayCopyDisplayMode(CGDirectDisplayID display) {
  const SimulatedDisplay* found = find(display);
  if (found == nullptr) return std::nullopt;
  const auto added = copiedModes_.insert(std::make_unique<SimulatedMode>(found->mode())).first;
  session_.holdObject();
  return CGDisplayModeRef(*this, added->get());
}

std::size_t SimulatedQuartz::CGDisplayModeGetWidth(const CGDisplayModeRef& mode) const { return modeOf(mode).width; }

std::size_t SimulatedQuartz::CGDisplayModeGetHeight(const CGDisplayModeRef& mode) const { return modeOf(mode).height; }

double SimulatedQuartz::CGDisplayModeGetRefreshRate(const CGDisplayModeRef& mode) const {
  return modeOf(mode).refreshRateHz();
}

std::optional<std::string> SimulatedQuartz::CGDisplayModeCopyPixelEncoding(const CGDisplayModeRef& mode) const {
  return modeOf(mode).pixelEncoding;
}

std::optional<double> SimulatedQuartz::CGDisplayModeGetResolution(const CGDisplayModeRef& mode) const {
  return modeOf(mode).scale;
}

void SimulatedQuartz::CGDisplayModeRelease(void* raw) {
  const auto found =
      std::find_if(copiedModes_.begin(), copiedModes_.end(), [&](const auto& mode) { return mode.get() == raw; });
  if (found == copiedModes_.end()) {
    mac_.windowServer().addFault(session_.description().name + ": CGDisplayModeRelease of a mode that is gone");
    return;
  }
  copiedModes_.erase(found);
  session_.releaseObject();
}

// --- Transactions ---

CGDisplayConfigRef SimulatedQuartz::CGBeginDisplayConfiguration() { return mac_.windowServer().begin(session_); }

CGError SimulatedQuartz::CGCompleteDisplayConfiguration(CGDisplayConfigRef config, CGConfigureOption option) {
  return mac_.windowServer().complete(config, option);
}

CGError SimulatedQuartz::CGSConfigureDisplayMode(CGDisplayConfigRef config, CGDirectDisplayID display,
                                                 std::int32_t modeNumber) {
  DisplayChange change;
  change.kind = DisplayChange::Kind::mode;
  change.display = display;
  change.modeNumber = modeNumber;
  return mac_.windowServer().add(config, change);
}

CGError SimulatedQuartz::CGSConfigureDisplayEnabled(CGDisplayConfigRef config, CGDirectDisplayID display,
                                                    bool enabled) {
  DisplayChange change;
  change.kind = DisplayChange::Kind::enabled;
  change.display = display;
  change.enabled = enabled;
  return mac_.windowServer().add(config, change);
}

CGError SimulatedQuartz::CGSConfigureDisplayOrigin(CGDisplayConfigRef config, CGDirectDisplayID display, std::int32_t x,
                                                   std::int32_t y) {
  DisplayChange change;
  change.kind = DisplayChange::Kind::origin;
  change.display = display;
  change.x = x;
  change.y = y;
  return mac_.windowServer().add(config, change);
}

CGError SimulatedQuartz::CGConfigureDisplayMirrorOfDisplay(CGDisplayConfigRef config, CGDirectDisplayID display,
                                                           CGDirectDisplayID master) {
  DisplayChange change;
  change.kind = DisplayChange::Kind::mirror;
  change.display = display;
  change.master = master;
  return mac_.windowServer().add(config, change);
}

CGError SimulatedQuartz::CGDisplayRegisterReconfigurationCallback(ReconfigurationCallback callback) {
  session_.record("CGDisplayRegisterReconfigurationCallback()");
  mac_.windowServer().addReconfigurationCallback(session_, std::move(callback));
  return kCGErrorSuccess;
}

// --- Cursor and gamma ---

/// The number 0 means the main display: the cursor belongs to the whole desktop.
CGError SimulatedQuartz::CGDisplayShowCursor(CGDirectDisplayID display) {
  session_.record("CGDisplayShowCursor(" + nameOf(display) + ")");
  return kCGErrorSuccess;
}

/// A display that is off has bounds and shows nothing; one that sleeps keeps its place.
CGError SimulatedQuartz::CGGetDisplaysWithPoint(Point point, std::uint32_t maxDisplays,
                                                std::span<CGDirectDisplayID> displays, std::uint32_t& count) const {
  if (!displays.empty() && displays.size() < maxDisplays) return kCGErrorIllegalArgument;
  count = 0;
  const WindowServer& server = mac_.windowServer();
  for (const bool mirrors : {false, true}) {
    for (const auto& display : server.displays()) {
      if (!display->isArranged() || (display->mirrors != kCGNullDirectDisplay) != mirrors) continue;
      if (!server.bounds(*display).contains(point)) continue;
      // Who only counts may leave the limit at 0.
      if (!displays.empty() && count == maxDisplays) return kCGErrorSuccess;
      if (!displays.empty()) displays[count] = display->id;
      ++count;
    }
  }
  return kCGErrorSuccess;
}

CGError SimulatedQuartz::CGAssociateMouseAndMouseCursorPosition(bool connected) {
  session_.record(std::string("CGAssociateMouseAndMouseCursorPosition(") + (connected ? "yes" : "no") + ")");
  mac_.mouse().setMovesCursor(session_, connected);
  return kCGErrorSuccess;
}

CGError SimulatedQuartz::CGWarpMouseCursorPosition(Point point) {
  session_.record("CGWarpMouseCursorPosition(" + numberText(point.x) + ", " + numberText(point.y) + ")");
  mac_.mouse().cursor = point;
  return kCGErrorSuccess;
}

std::optional<DisplayTransferFormula> SimulatedQuartz::CGGetDisplayTransferByFormula(CGDirectDisplayID display) const {
  const SimulatedDisplay* found = find(display);
  return found == nullptr ? std::nullopt : std::optional(found->gamma);
}

CGError SimulatedQuartz::CGSetDisplayTransferByFormula(CGDirectDisplayID display,
                                                       const DisplayTransferFormula& formula) {
  SimulatedDisplay* found = mac_.windowServer().displayWithID(display);
  if (found == nullptr) return kCGErrorIllegalArgument;
  found->gamma = formula;
  session_.record("CGSetDisplayTransferByFormula(" + nameOf(display) + ", maximum " +
                  numberText(double(formula.redMax)) + ", " + numberText(double(formula.greenMax)) + ", " +
                  numberText(double(formula.blueMax)) + ")");
  return kCGErrorSuccess;
}

}  // namespace vlm::sim
