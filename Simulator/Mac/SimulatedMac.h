#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "Platform/Notifications.h"
#include "Platform/UserInterface.h"
#include "Simulator/Mac/AtomicFile.h"
#include "Simulator/Mac/Journal.h"
#include "Simulator/Mac/Machine.h"
#include "Simulator/Mac/Session.h"
#include "Simulator/Mac/WindowServer.h"

namespace vlm::sim {

class LocalizedTexts;
class MachineEvents;
class Mouse;
class PreferenceStore;
class Scheduler;
class WindowStack;

/// A whole Mac: displays, registry, run loops, notification centres, files, processes. It keeps the platform's rules
/// and owns the clock: nothing happens, and no time passes, unless a test or scenario says so.
class SimulatedMac {
 public:
  /// `homeFolder` becomes the user's home (created when missing); empty: a temporary folder that goes with the machine.
  /// A folder that cannot be made is a std::filesystem::filesystem_error. The processes that the description lists run
  /// from the beginning.
  explicit SimulatedMac(MachineDescription machine, const std::string& homeFolder = {});
  ~SimulatedMac();
  SimulatedMac(const SimulatedMac&) = delete;
  SimulatedMac& operator=(const SimulatedMac&) = delete;

  const MachineDescription& machine() const { return machine_; }
  /// ~ of the user; its Library/Preferences exists.
  const std::string& homeFolder() const { return homeFolder_; }
  /// From here on the machine works on a copy of its settings in a temporary folder, which is its home now and goes
  /// with it: for a trial run, which must not touch the home. A folder that cannot be made is a
  /// std::filesystem::filesystem_error.
  void leaveHome();
  /// Root of the machine-wide folders; its Library/Preferences exists. Here lies what programs know as "/Library/…" and
  /// "/System/…".
  std::string localFolder() const;
  /// Where a path of the machine lies on the host: those two in the machine's root, all others as they are.
  std::string hostPath(const std::string& path) const;
  /// The same two where colour profiles are looked for: those of the beginning, also away from home.
  const std::string& homeOfProfiles() const { return homeOfProfiles_; }
  std::string localFolderOfProfiles() const;

  Journal& journal() { return journal_; }
  WindowServer& windowServer() { return *windowServer_; }
  /// There must be one of that name; commands from people ask windowServer().displayNamed first.
  SimulatedDisplay& display(const std::string& name);

  // --- Processes ---

  /// A process without a program: a test's own, or "another program". It has an identifier and ports.
  /// A bundle path that another running process has already gets a volume of its own in front: two copies of a program
  /// lie at two places.
  Session& addSession(const ProcessDescription& description);
  /// Starts a program: makes its session and Process and calls `program` inside of it (its `main`). When that returns
  /// without having run the application object, the process has ended.
  Session& launch(const ProcessDescription& description, const std::function<int(Session&)>& program);
  /// Every process that runs, in the order of their start.
  std::vector<Session*> sessions();
  Session* sessionWithProcessIdentifier(std::int32_t processIdentifier);
  /// The first application of that kind, of those that run and then of those that are installed, with its path.
  std::optional<ProcessDescription> findApplication(
      const std::function<bool(const ProcessDescription&)>& isWanted) const;
  /// Starts the application at a path as a session without a program, or answers the one that runs; null when there is
  /// no application.
  Session* launchApplication(const std::string& bundlePath);
  /// Sends a signal (SIGINT) to a process: its handler's body, or its end.
  void signal(Session& session, int signal);
  /// Sends an Apple event to a process, delivered on the next turn; nothing happens when it has no handler for it.
  void sendAppleEvent(Session& session, std::uint32_t eventClass, std::uint32_t eventID);

  // --- Time ---

  /// Seconds since 1 January 2001 by the machine's clock. It starts at a fixed moment.
  double now() const;
  /// Lets time pass: everything that falls due meanwhile is called in its order, at its time.
  void advance(double seconds);
  /// One turn: what is due now, and what that brings about at this very moment, without time passing. Endless chains of
  /// immediate performs are cut after 10,000 calls and are a fault.
  void turn();

  // --- What happens from outside ---

  /// Sleep, wake, ports, users, power and what other programs do to a display: as the machine's events
  /// (MachineEvents.h).
  MachineEvents& events() { return *events_; }

  /// Each answers why it is refused, or nothing.
  std::optional<std::string> plug(const std::string& displayName);
  std::optional<std::string> unplug(const std::string& displayName);
  /// By another program.
  std::optional<std::string> setMode(const std::string& displayName, std::uint32_t width, std::uint32_t height,
                                     std::optional<double> refreshHz = {});
  std::optional<std::string> move(const std::string& displayName, std::int32_t x, std::int32_t y);
  std::optional<std::string> setEnabled(const std::string& displayName, bool enabled);

  /// Presses a combination: Carbon modifiers, virtual key code. Delivered on the next turn to every process that has
  /// registered it. False when nobody has.
  bool pressKey(std::uint32_t keyCode, std::uint32_t modifiers);
  /// Posts on the distributed centre as a process of the user's session (the control application, say).
  void postDistributed(const Notification& notification);
  /// Notices in and out of the workspace centre of every process.
  void postWorkspace(const Notification& notification);
  /// What was posted on the distributed centre so far, by anybody.
  const std::vector<Notification>& distributedPosts() const;

  /// Movements and clicks.
  Mouse& mouse();
  WindowStack& windows();

  /// Drops the journal, the log and the posts so far: of a run too long for anybody to read.
  void forgetHistory();

  /// The user clicks a delivered notice; every process that is a delegate of the notification centre hears of it.
  void activateUserNotification(const std::string& identifier);

  /// What the machine lives on ("AC Power", "Battery Power", "Off Line"); absent: it cannot tell. setPowerSource tells
  /// the processes.
  std::optional<std::string> powerSource = "AC Power";
  void setPowerSource(const std::string& type);

  /// Modifiers held on the keyboard, Carbon bits.
  std::uint32_t modifiersHeld = 0;
  /// Whether the user lets programs control the computer. Taps that are there already stand still without it.
  bool accessibilityTrusted = false;
  /// Whether the user lets programs act as an administrator, who may write below /Library (and below /System before
  /// 10.11).
  bool administratorAllows = false;
  /// What the user chooses from the next menu that pops up: the title of an entry, in it or in a menu below; absent:
  /// nothing.
  std::optional<std::string> menuChoice;
  /// Identifiers of the notices that the notification centre shows.
  std::set<std::string> deliveredNotifications;
  /// The switch that counts on this system: what the picture shows.
  bool grayscale = false;
  /// The other one, which is remembered and shows nothing.
  bool unheededGraySwitch = false;
  bool dockAutoHides = false;
  /// Of the output device, 0 to 1; absent: there is none.
  std::optional<float> volume;
  bool darkAppearance = false;
  /// The kernel's "sysctl.proc_translated"; absent: it does not know the name.
  std::optional<std::int32_t> processTranslated;
  /// What becomes of scripts that the processes let the system run.
  bool scriptsSucceed = true;
  /// How the user answers the next alerts: response flags; absent, nobody does and the time-out passes.
  std::optional<std::uint32_t> alertAnswer;
  /// Whether the processes' log lines are kept (System::isLogEnabled).
  bool logEnabled = true;
  /// Log lines of all processes, "daemon: text" each.
  std::vector<std::string> log;
  /// When each was written, in seconds since the machine's start, as by the journal's clock.
  std::vector<double> logTimes;
  /// What the disk refuses the processes that write files.
  DiskFault diskFault = DiskFault::none;
  /// Whether processes find the Library folders, their own and the machine-wide one.
  bool hasLibraryFolders = true;

  /// What went wrong in a way that no program should bring about (stale transactions, endless performs …).
  std::vector<std::string> faults() const;

  struct StatusItem {
    StatusItemRef reference = 0;
    std::int32_t processIdentifier = 0;
    bool visible = true;
    std::string imageName;
    bool highlights = false;
    std::shared_ptr<Menu> menu;
  };
  const std::vector<StatusItem>& statusItems() const;

  // --- For the ports ---

  Scheduler& scheduler();
  PreferenceStore& preferenceStore();
  LocalizedTexts& localizedTexts();
  std::vector<StatusItem>& statusItems();
  void addFault(std::string text);
  /// Adds a line to `log`, unless nobody keeps it.
  void addLogLine(std::string line);
  /// A number that nothing else on the machine is known by.
  std::uint64_t nextReference();
  /// The last one given.
  std::uint64_t lastReference() const;
  /// Information dictionary of the bundle at a path, from the newest process that was started from there.
  std::optional<plist::Dictionary> informationOfBundleAt(const std::string& path) const;
  /// A path as the journal writes it: "~" for the home folder.
  std::string shortPath(const std::string& path) const;

 private:
  struct Implementation;

  MachineDescription machine_;
  std::string homeFolder_, homeOfProfiles_;
  Journal journal_;
  std::unique_ptr<WindowServer> windowServer_;
  std::unique_ptr<MachineEvents> events_;
  std::unique_ptr<Implementation> implementation_;
};

}  // namespace vlm::sim
