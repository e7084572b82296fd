#include <cmath>

#include "Platform/Numbers.h"
#include "Simulator/Mac/DdcMonitor.h"
#include "Simulator/Mac/Journal.h"
#include "Simulator/Mac/JournalText.h"
#include "Simulator/Mac/MachineEvents.h"
#include "Simulator/Mac/SimulatedMac.h"

/// What other programs do to pictures, volume and Dock.
namespace vlm::sim {

namespace {

const char* switchText(bool on) { return on ? "on" : "off"; }

}  // namespace

void MachineEvents::note(const std::string& what) { mac_.journal().add("another program: " + what); }

MachineEvents::Refusal MachineEvents::rotate(const std::string& display, std::int64_t angle) {
  return onDisplay(display, [&](SimulatedDisplay& found) -> Refusal {
    const std::optional<Turn> turn = turnOfAngle(angle);
    if (!turn) return std::to_string(angle) + " is none of 0, 90, 180, 270, -1, -2, -3, -4";
    // Only the driver of a frame buffer can do it.
    if (turn->flipped && found.plugged && found.frameBuffer == 0) return display + " can be turned, but not flipped";
    Refusal refusal = mac_.windowServer().turn(found, *turn, nullptr);
    if (!refusal) note("rotate(" + display + ", " + std::to_string(angle) + ")");
    return refusal;
  });
}

MachineEvents::Refusal MachineEvents::mirror(const std::string& display, const SimulatedDisplay* master) {
  return onDisplay(display, [&](const SimulatedDisplay& found) -> Refusal {
    if (!found.plugged) return display + " is not plugged in";
    if (!found.enabled) return display + " is off and mirrors nothing";
    if (master == nullptr) {
      if (found.mirrors == kCGNullDirectDisplay) return display + " mirrors nothing";
      const std::string& panel = found.description.hardwareMirrorOf;
      if (!panel.empty()) return display + " is wired to " + panel + " and always mirrors it";
    } else if (!master->plugged) {
      return master->description.name + " is not plugged in";
    }
    DisplayChange change;
    change.kind = DisplayChange::Kind::mirror;
    change.display = found.id;
    change.master = master == nullptr ? kCGNullDirectDisplay : master->id;
    return mac_.windowServer().changeByAnother({change});
  });
}

MachineEvents::Refusal MachineEvents::setBrightness(const std::string& display, float brightness) {
  return onDisplay(display, [&](SimulatedDisplay& found) -> Refusal {
    const DisplayDescription& description = found.description;
    const std::string what = "brightness(" + display + ", " + numberText(double(brightness)) + ")";
    if (description.systemBrightness) {
      if (!found.plugged) return display + " is not plugged in";
      note(what);
      mac_.windowServer().setBrightness(found, brightness, nullptr);
    } else {
      if (description.ddc == DdcBehaviour::none) {
        return "neither the system nor DDC/CI reaches the brightness of " + display;
      }
      mac_.journal().add("user: " + what);
      found.ddcCurrent = truncateTo<std::uint16_t>(std::lround(brightness * description.ddcMaximum));
    }
    return std::nullopt;
  });
}

MachineEvents::Refusal MachineEvents::setDdcBehaviour(const std::string& display, DdcBehaviour behaviour) {
  return onDisplay(display, [&](SimulatedDisplay& found) -> Refusal {
    mac_.journal().add("user: ddc(" + display + ", " + nameOfDdcBehaviour(behaviour) + ")");
    mac_.windowServer().setDdcBehaviour(found, behaviour);
    return std::nullopt;
  });
}

MachineEvents::Refusal MachineEvents::setHDR(const std::string& display, bool on) {
  return onDisplay(display, [&](SimulatedDisplay& found) -> Refusal {
    if (mac_.machine().systemVersion.majorVersion < 11) return "this system has no HDR; macOS 11 has it";
    if (auto reason = found.whyInactive()) return reason;
    if (!found.description.supportsHDR) return display + " does not support HDR";
    note("hdr(" + display + ", " + switchText(on) + ")");
    found.hdr = on;
    return std::nullopt;
  });
}

MachineEvents::Refusal MachineEvents::setOverscan(const std::string& display, bool on) {
  return onDisplay(display, [&](SimulatedDisplay& found) -> Refusal {
    if (!found.plugged) return display + " is not plugged in";
    if (!found.description.canOverscan || found.frameBuffer == 0) return display + " has no overscan";
    note("overscan(" + display + ", " + switchText(on) + ")");
    found.overscan = on ? 1 : 0;
    return std::nullopt;
  });
}

MachineEvents::Refusal MachineEvents::setUnderscan(const std::string& display, float underscan) {
  return onDisplay(display, [&](SimulatedDisplay& found) -> Refusal {
    if (!found.plugged) return display + " is not plugged in";
    if (!found.description.canUnderscan || found.frameBuffer == 0) return display + " has no underscan";
    note("underscan(" + display + ", " + numberText(double(underscan)) + ")");
    found.underscan = underscan;
    return std::nullopt;
  });
}

MachineEvents::Refusal MachineEvents::setGray(bool on) {
  note(std::string("gray(") + switchText(on) + ")");
  mac_.grayscale = on;
  return std::nullopt;
}

MachineEvents::Refusal MachineEvents::setVolume(std::optional<float> volume) {
  note("volume(" + (volume ? numberText(double(*volume)) : std::string("none")) + ")");
  mac_.volume = volume;
  return std::nullopt;
}

MachineEvents::Refusal MachineEvents::setDockAutoHides(bool on) {
  note(std::string("dock(") + (on ? "hide)" : "show)"));
  mac_.dockAutoHides = on;
  return std::nullopt;
}

}  // namespace vlm::sim
