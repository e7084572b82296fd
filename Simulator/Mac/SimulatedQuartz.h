#pragma once

#include <memory>
#include <set>
#include <string>

#include "Platform/Quartz.h"
#include "Simulator/Mac/SimulatedMac.h"

namespace vlm::sim {

/// The window server as one process sees it.
class SimulatedQuartz : public Quartz {
 public:
  SimulatedQuartz(SimulatedMac& mac, Session& session);
  ~SimulatedQuartz() override;

  CGError CGSGetDisplayList(std::uint32_t maxDisplays, std::span<CGDirectDisplayID> displays,
                            std::uint32_t& count) const override;
  bool CGDisplayIsOnline(CGDirectDisplayID display) const override;
  bool CGDisplayIsActive(CGDirectDisplayID display) const override;
  bool CGDisplayIsAsleep(CGDirectDisplayID display) const override;
  bool CGDisplayIsBuiltin(CGDirectDisplayID display) const override;
  bool CGDisplayIsInMirrorSet(CGDirectDisplayID display) const override;
  bool CGDisplayIsAlwaysInMirrorSet(CGDirectDisplayID display) const override;
  CGDirectDisplayID CGDisplayMirrorsDisplay(CGDirectDisplayID display) const override;
  CGDirectDisplayID CGDisplayPrimaryDisplay(CGDirectDisplayID display) const override;
  std::uint32_t CGDisplayVendorNumber(CGDirectDisplayID display) const override;
  std::uint32_t CGDisplayModelNumber(CGDirectDisplayID display) const override;
  std::uint32_t CGDisplaySerialNumber(CGDirectDisplayID display) const override;

  Rect CGDisplayBounds(CGDirectDisplayID display) const override;
  double CGDisplayRotation(CGDirectDisplayID display) const override;
  io_service_t CGDisplayIOServicePort(CGDirectDisplayID display) const override;

  CGError CGSGetNumberOfDisplayModes(CGDirectDisplayID display, std::int32_t& count) const override;
  CGError CGSGetDisplayModeDescriptionOfLength(CGDirectDisplayID display, std::int32_t index,
                                               std::span<std::uint8_t> record) const override;
  CGError CGSGetCurrentDisplayMode(CGDirectDisplayID display, std::int32_t& modeNumber) const override;
  std::optional<CGDisplayModeRef> CGDisplayCopyDisplayMode(CGDirectDisplayID display) override;
  std::size_t CGDisplayModeGetWidth(const CGDisplayModeRef& mode) const override;
  std::size_t CGDisplayModeGetHeight(const CGDisplayModeRef& mode) const override;
  double CGDisplayModeGetRefreshRate(const CGDisplayModeRef& mode) const override;
  std::optional<std::string> CGDisplayModeCopyPixelEncoding(const CGDisplayModeRef& mode) const override;
  std::optional<double> CGDisplayModeGetResolution(const CGDisplayModeRef& mode) const override;
  void CGDisplayModeRelease(void* raw) override;

  CGDisplayConfigRef CGBeginDisplayConfiguration() override;
  CGError CGCompleteDisplayConfiguration(CGDisplayConfigRef config, CGConfigureOption option) override;
  CGError CGSConfigureDisplayMode(CGDisplayConfigRef config, CGDirectDisplayID display,
                                  std::int32_t modeNumber) override;
  CGError CGSConfigureDisplayEnabled(CGDisplayConfigRef config, CGDirectDisplayID display, bool enabled) override;
  CGError CGSConfigureDisplayOrigin(CGDisplayConfigRef config, CGDirectDisplayID display, std::int32_t x,
                                    std::int32_t y) override;
  CGError CGConfigureDisplayMirrorOfDisplay(CGDisplayConfigRef config, CGDirectDisplayID display,
                                            CGDirectDisplayID master) override;

  CGError CGDisplayRegisterReconfigurationCallback(ReconfigurationCallback callback) override;

  CGError CGDisplayShowCursor(CGDirectDisplayID display) override;
  CGError CGGetDisplaysWithPoint(Point point, std::uint32_t maxDisplays, std::span<CGDirectDisplayID> displays,
                                 std::uint32_t& count) const override;
  CGError CGAssociateMouseAndMouseCursorPosition(bool connected) override;
  CGError CGWarpMouseCursorPosition(Point point) override;
  std::optional<DisplayTransferFormula> CGGetDisplayTransferByFormula(CGDirectDisplayID display) const override;
  CGError CGSetDisplayTransferByFormula(CGDirectDisplayID display, const DisplayTransferFormula& formula) override;

 private:
  const SimulatedDisplay* find(CGDirectDisplayID display) const { return mac_.windowServer().displayWithID(display); }
  std::string nameOf(CGDirectDisplayID display) const;

  SimulatedMac& mac_;
  Session& session_;
  std::set<std::unique_ptr<SimulatedMode>, std::less<>> copiedModes_;
};

}  // namespace vlm::sim
