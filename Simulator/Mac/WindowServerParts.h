#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "Simulator/Mac/DisplayConfiguration.h"
#include "Simulator/Mac/Journal.h"
#include "Simulator/Mac/Registry.h"
#include "Simulator/Mac/Session.h"
#include "Simulator/Mac/WindowServer.h"

/// The inner side of the window server: what its files share.
namespace vlm::sim {

/// An open or ended transaction. Ended ones stay known, so that misuse of one can be told by name.
struct Transaction {
  Session* session = nullptr;
  std::string process;
  bool open = true;
  std::vector<DisplayChange> changes;
};

/// `session` is null once the process has ended: nothing is delivered any more.
struct ReconfigurationObserver {
  Session* session = nullptr;
  Quartz::ReconfigurationCallback callback;
};

struct BrightnessObserver {
  Session* session = nullptr;
  CGDirectDisplayID display = 0;
  SkyLight::BrightnessCallback callback;
};

/// The same monitor gives the same UUID wherever it is plugged in; one without a serial number is known by its port.
std::string uuidOf(const SimulatedDisplay& display);

struct WindowServer::Implementation {
  Implementation(WindowServer& windowServer, const MachineDescription& machine, Journal& machineJournal,
                 const std::string& root)
      : server(windowServer),
        processor(machine.processor),
        journal(machineJournal),
        overrides(root, machine.systemVersion) {}

  WindowServer& server;
  Processor processor;
  Journal& journal;
  OverrideFolder overrides;
  Registry registry;
  CGDirectDisplayID nextDisplayID = 0x04280a40;
  std::uintptr_t nextTransaction = 0x1000;
  std::set<const SimulatedDisplay*> connectedBefore;
  std::map<std::uintptr_t, Transaction> transactions;
  std::vector<std::shared_ptr<ReconfigurationObserver>> observers;
  std::vector<std::shared_ptr<BrightnessObserver>> brightnessObservers;
  std::set<std::pair<const SimulatedDisplay*, std::uint32_t>> refusedModes;
  bool asleep = false;  ///< what is plugged in sleeps at once
  /// How it all stood when another user's session came in front; absent while this one is.
  std::optional<DisplayConfiguration> whenLeft;

  // Displays coming and going.
  void prepare(SimulatedDisplay& display);
  void connect(SimulatedDisplay& display);
  void numberModesAnew(SimulatedDisplay& display);
  /// Looks for the display's override file. False when it is as it was.
  bool readOverride(SimulatedDisplay& display) const;
  /// The EDID in use and the modes, from the monitor's EDID and the override file that was read.
  void makeModes(SimulatedDisplay& display, const ParsedEdid& monitor, std::uint32_t firstModeNumber) const;
  /// The same for a display that had modes: it keeps the mode that it is in, and what is refused, where it can.
  void makeModesAnew(SimulatedDisplay& display);
  void logFindings(const SimulatedDisplay& display) const;
  void disconnect(SimulatedDisplay& display);
  void publishServices(SimulatedDisplay& display);
  void withdrawServices(SimulatedDisplay& display);
  /// Lets the frame buffer tell how the picture is turned.
  void publishTurn(const SimulatedDisplay& display);
  void moveToEnd(const SimulatedDisplay& display);
  /// Pulls these cables out and plugs them in anew behind `change`, with the callbacks of both.
  void replug(const std::vector<SimulatedDisplay*>& displays, const std::function<void()>& change);

  // Configurations.
  DisplayConfiguration configuration() const;
  void takeEffect(const DisplayConfiguration& configuration);
  /// The configuration that the changes lead to, settled; or why it is refused.
  std::variant<DisplayConfiguration, std::string> configurationAfter(const DisplayConfiguration& before,
                                                                     const std::vector<DisplayChange>& changes) const;
  std::optional<std::string> apply(const DisplayChange& change, DisplayConfiguration& configuration,
                                   std::vector<OriginRequest>& requests) const;
  std::optional<std::string> refusalOfMode(const DisplayChange& change, const SimulatedDisplay& display) const;
  std::optional<std::string> refusalOfMirrors(const std::vector<DisplayChange>& changes,
                                              const DisplayConfiguration& after) const;

  // Transactions.
  /// Null for one that is not open, which is then noted as a fault of whoever makes the call.
  Transaction* openTransaction(CGDisplayConfigRef config, const std::string& call);
  /// "Left", or the number of a display that the machine does not have.
  std::string nameOf(CGDirectDisplayID display) const;
  std::string describe(const DisplayChange& change) const;

  // Callbacks.
  /// At once for the process that brought it about (null: none did), on a later turn for the others.
  void notify(const DisplayConfiguration& before, const DisplayConfiguration& after, const Session* by);
  void onNextTurn(std::function<void()> body) const;
};

}  // namespace vlm::sim
