#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "Platform/Geometry.h"
#include "Platform/IOObject.h"
#include "Platform/Quartz.h"
#include "Platform/SkyLight.h"
#include "Simulator/Mac/Machine.h"
#include "Simulator/Mac/OverrideFolder.h"
#include "Simulator/Mac/Turn.h"

namespace vlm::sim {

class DdcMonitor;
class Journal;
class Registry;
class Session;

/// One display of the machine, plugged or not, as it is at the moment.
struct SimulatedDisplay {
  DisplayDescription description;
  /// In use: the monitor's own, or its override file's; identity and date are always the monitor's.
  ParsedEdid edid;
  plist::Data edidBytes;  ///< of the one in use
  ModeTable modes;
  /// What was read when it was last connected; absent: there was none.
  std::optional<OverrideFile> overrideFile;
  /// What of that file could not be used, one text each.
  std::vector<std::string> overrideFindings;
  std::optional<plist::Value> productName;  ///< of the override file
  TimingLimits range;                       ///< of its frame buffer
  CGDirectDisplayID id = 0;                 ///< changes with a reconnection; 0 while unplugged
  std::string uuid;
  io_service_t frameBuffer = 0;     ///< 0 on Apple silicon and while unplugged
  io_service_t displayService = 0;  ///< the IODisplay entry below the frame buffer; 0 when there is none
  io_service_t avService = 0;       ///< the "DCPAVServiceProxy" entry; 0 on Intel and while unplugged
  bool plugged = true;
  bool enabled = true;
  bool asleep = false;
  bool unnoticed = false;        ///< plugged in, and nobody has noticed yet
  std::uint32_t modeNumber = 0;  ///< the current mode of `modes`
  /// Where it stands; while it is off, unplugged or a mirror, where it will come back when the place is free.
  Point origin;
  bool placed = false;  ///< it has stood somewhere, so that `origin` means something
  Turn turn;
  CGDirectDisplayID mirrors = 0;  ///< the display whose picture it shows; 0: its own
  bool alwaysMirrored = false;    ///< one of several links to one panel: its mirror set cannot be ended
  float brightness = 0;
  float overscan = 0;   ///< parameter "oscn"
  float underscan = 1;  ///< parameter "pscn"
  bool hdr = false;
  DisplayTransferFormula gamma;
  std::uint32_t activePreset = 0;            ///< index in the description's `presets`
  std::optional<std::string> customProfile;  ///< location of the colour profile that the user chose
  std::uint16_t ddcCurrent = 0;
  std::shared_ptr<DdcMonitor> monitor;  ///< what answers at the end of the cable, also while unplugged

  /// The current mode; one of no size when the display has no modes at all.
  const SimulatedMode& mode() const;
  /// Null when the display lacks it.
  const SimulatedMode* modeNumbered(std::int64_t number) const;
  bool isOnline() const { return plugged; }
  bool isActive() const { return plugged && enabled && !asleep; }
  /// Why it is not active ("Left is off"); absent when it is.
  std::optional<std::string> whyInactive() const;
  /// Has a place on the desktop, its own or its master's, awake or not.
  bool isArranged() const { return plugged && enabled; }
};

/// One change that a transaction holds back until it completes.
struct DisplayChange {
  enum class Kind { mode, enabled, origin, mirror };
  Kind kind = Kind::mode;
  CGDirectDisplayID display = 0;
  std::int32_t modeNumber = 0;
  bool enabled = true;
  std::int32_t x = 0, y = 0;
  CGDirectDisplayID master = 0;
};

/// The displays and how they are configured. It keeps the rules: all changes of a transaction or none, one display
/// stays on while any is plugged in, the main display at (0, 0), no overlaps and no gaps between neighbours after a
/// size change.
class WindowServer {
 public:
  /// `root`: of the machine's own folders, where the override files lie.
  WindowServer(const MachineDescription& machine, Journal& journal, const std::string& root);
  ~WindowServer();

  /// In the system's order. Unplugged ones too.
  const std::vector<std::unique_ptr<SimulatedDisplay>>& displays() const { return displays_; }
  SimulatedDisplay* displayNamed(const std::string& name);
  SimulatedDisplay* displayWithID(CGDirectDisplayID id);
  SimulatedDisplay* displayWithFrameBuffer(io_service_t frameBuffer);
  /// The display that a registry entry belongs to: its frame buffer, AV service, or anything below.
  SimulatedDisplay* displayWithService(io_service_t service);
  /// Points; shared with the master while mirroring; turned by 90 or 270 degrees. Of a display that is off, the place
  /// where it will come back: never (0, 0).
  Rect bounds(const SimulatedDisplay& display) const;
  /// The display at (0, 0) that others may mirror. Null when no display is on.
  SimulatedDisplay* mainDisplay();
  /// Whether others show its picture.
  bool isMirrored(const SimulatedDisplay& display) const;
  Registry& registry();

  /// Registered by a process; goes with it.
  void addReconfigurationCallback(Session& session, Quartz::ReconfigurationCallback callback);
  /// One for each process and display: a second one takes the place of the first.
  void addBrightnessCallback(Session& session, CGDirectDisplayID display, SkyLight::BrightnessCallback callback);
  void removeBrightnessCallback(Session& session, CGDirectDisplayID display);
  void sessionEnded(Session& session);

  /// Transactions. A null or ended reference is refused with kCGErrorIllegalArgument and is a fault (faults()).
  CGDisplayConfigRef begin(Session& session);
  CGError add(CGDisplayConfigRef config, const DisplayChange& change);
  CGError complete(CGDisplayConfigRef config, CGConfigureOption option = kCGConfigurePermanently);
  /// Transactions that are open.
  std::size_t openTransactions() const;
  /// Misuse seen so far, one text each: stale transactions, transactions left open by an ended process.
  const std::vector<std::string>& faults() const { return faults_; }
  void addFault(std::string text) { faults_.push_back(std::move(text)); }

  /// Changes from outside of any process under test ("another program"): checked like a transaction's, the callbacks
  /// come on the next turn of the run loop. The error says why it is refused.
  std::optional<std::string> changeByAnother(const std::vector<DisplayChange>& changes);
  /// At once, outside of any transaction; a display that is off or asleep is not turned. By a process, which is called
  /// back within the call; null: others turned it.
  std::optional<std::string> turn(SimulatedDisplay& display, Turn turn, const Session* by);
  std::optional<std::string> plug(SimulatedDisplay& display);
  /// The last one, too: then no display is there, and none is the main one.
  std::optional<std::string> unplug(SimulatedDisplay& display);
  /// A display added while the machine runs; unplugged at first.
  SimulatedDisplay& addDisplay(const DisplayDescription& description);
  /// Of a panel that the system reaches. Every process but `by` is called back on its next turn; `by` is null when the
  /// user turned the brightness.
  void setBrightness(SimulatedDisplay& display, float brightness, const Session* by);
  /// The monitor behaves so from now on, also when it is plugged in anew; its frame buffer says whether there is
  /// anything to talk to.
  void setDdcBehaviour(SimulatedDisplay& display, DdcBehaviour behaviour);
  void sleepDisplays();
  /// Wakes every display that sleeps.
  void wakeDisplays();

  /// Pulls a cable and plugs it in elsewhere. A display that hangs there already takes the port that becomes free: the
  /// two swap their cables. Monitors that nothing but the port tells apart swap what the system keeps by UUID, too.
  std::optional<std::string> moveToPort(SimulatedDisplay& display, std::uint32_t port);
  /// Another EDID at the end of an unplugged cable. The system knows the monitor again when its UUID stays the same.
  std::optional<std::string> replaceEdid(SimulatedDisplay& display, const plist::Data& edid);
  /// Plugs in without the machine's noticing, until a frame buffer is probed.
  std::optional<std::string> plugUnnoticed(SimulatedDisplay& display);
  void probe();

  /// While another user's session is in front, what others change arrives without callbacks; on the way back those of
  /// the whole difference come.
  void leaveSession();
  void returnToSession();
  /// One reconfiguration callback to every process, at once and whether or not anything changed.
  void callBack(CGDirectDisplayID display, CGDisplayChangeSummaryFlags flags);

  /// The mode of that size (points), and rate when one is given, at the current depth; nothing when there is none.
  std::optional<std::uint32_t> findMode(const SimulatedDisplay& display, std::uint32_t width, std::uint32_t height,
                                        std::optional<double> refreshHz) const;

  /// Identifiers that the list of displays still names though nothing hangs on them.
  std::vector<CGDirectDisplayID> offlineInList;

  /// The next transaction that completes fails with this error, and changes nothing.
  void failNextTransaction(CGError error) { failNext_ = error; }
  /// Modes that are refused: completing a transaction that asks for one fails.
  void refuseMode(const SimulatedDisplay& display, std::uint32_t modeNumber);

  OverrideFolder& overrideFolder();
  /// Those of every display; what is found later is logged as it is found.
  void logOverrideFindings() const;

  /// Set by the machine: writes a line into its log.
  std::function<void(const std::string&)> log;
  /// Set by the machine: runs a body on the next turn of the run loop.
  std::function<void(std::function<void()>)> onNextTurn;

 private:
  struct Implementation;

  std::vector<std::unique_ptr<SimulatedDisplay>> displays_;
  std::vector<std::string> faults_;
  std::optional<CGError> failNext_;
  std::unique_ptr<Implementation> implementation_;
};

}  // namespace vlm::sim
