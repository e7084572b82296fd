#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "Platform/PropertyList.h"
#include "Platform/Quartz.h"
#include "Simulator/Mac/Machine.h"

namespace vlm::sim {

class SimulatedMac;
struct SimulatedDisplay;

/// What befalls the machine as a whole, and what other programs do to a display behind everybody's back. Each answers
/// why it is refused, or nothing. Displays are called by their names.
class MachineEvents {
 public:
  using Refusal = std::optional<std::string>;

  explicit MachineEvents(SimulatedMac& mac) : mac_(mac) {}

  // --- Sleep ---

  /// While it sleeps nothing is delivered to any process; a repeating timer that missed something fires once behind it.
  bool isAsleep() const { return asleep_; }
  Refusal sleep();
  struct LateDisplay {
    std::string name;
    double seconds = 0;
  };
  /// A display that comes late is gone until then.
  Refusal wake(const std::optional<LateDisplay>& late = {});
  /// Closing the lid takes the built-in panel away; when no other display is on, the machine sleeps.
  Refusal closeLid();
  Refusal openLid();

  // --- Cables and monitors ---

  Refusal setPort(const std::string& display, std::uint32_t port);
  /// What the system calls the display from now on, though it is the same; nobody is told.
  Refusal setUuid(const std::string& display, const std::string& uuid);
  /// Of a display that is unplugged.
  Refusal setEdid(const std::string& display, const plist::Data& edid);
  Refusal plugUnnoticed(const std::string& display);

  // --- Other users, other programs ---

  /// Another user's session comes in front: what happens to the displays meanwhile is told on the way back, all at
  /// once.
  Refusal switchAway();
  Refusal switchBack();
  /// The same event `count` times though nothing changes: by turns in order, with "done" before "about to", and late.
  Refusal storm(const std::string& display, std::size_t count, CGDisplayChangeSummaryFlags flags);
  Refusal choosePreset(const std::string& display, const std::string& preset);
  /// The location (a file URL) of a profile; absent: the factory's profile again.
  Refusal chooseProfile(const std::string& display, const std::optional<std::string>& location);
  /// By an angle that settings know (see turnOfAngle), of a display that is active.
  Refusal rotate(const std::string& display, std::int64_t angle);
  /// A null `master`: it shows its own picture again.
  Refusal mirror(const std::string& display, const SimulatedDisplay* master);
  /// 0 to 1, of a built-in panel by the system, or by the knob of a monitor that has DDC/CI.
  Refusal setBrightness(const std::string& display, float brightness);
  /// How its monitor answers on the wire, also when it is plugged in later.
  Refusal setDdcBehaviour(const std::string& display, DdcBehaviour behaviour);
  /// Of a display that is active.
  Refusal setHDR(const std::string& display, bool on);
  Refusal setOverscan(const std::string& display, bool on);
  /// 0 to 1.
  Refusal setUnderscan(const std::string& display, float underscan);
  Refusal setGray(bool on);
  /// 0 to 1; absent: the output device is pulled out.
  Refusal setVolume(std::optional<float> volume);
  Refusal setDockAutoHides(bool on);

 private:
  Refusal onDisplay(const std::string& name, const std::function<Refusal(SimulatedDisplay&)>& action);
  /// What another program does, as the journal has it.
  void note(const std::string& what);
  /// The built-in panel; null when the machine has none.
  SimulatedDisplay* panel();
  bool isAnyOtherArranged(const SimulatedDisplay& display);
  void postToWorkspace(const char* name);
  void callBackForAll(CGDisplayChangeSummaryFlags flags);

  SimulatedMac& mac_;
  bool asleep_ = false;
  bool lidClosed_ = false;
  bool away_ = false;
};

}  // namespace vlm::sim
