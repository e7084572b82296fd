#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "Platform/Notifications.h"
#include "Platform/PropertyList.h"
#include "Simulator/Mac/Machine.h"
#include "Simulator/Mac/SimulatedMac.h"
#include "Simulator/Program/Output.h"

namespace vlm::sim {

/// The version that the daemon is started with when nobody names one, and that of this program.
constexpr const char* kVersion = VELMORATIX_VERSION;
/// Name of every message between the daemon and the control application, and the daemon's bundle identifier.
constexpr const char* kDaemonIdentifier = "org.kelvane.velmoratix.daemon";
/// What the daemon tells the control application.
inline constexpr std::array<std::string_view, 7> kAnnouncements{
    "daemonLaunched",  "daemonStopped",          "reloadPreferences", "monitorsChanged",
    "kVLMModeChanged", "kVLMWarningSetsChanged", "reopenCDEV"};

/// A simulated Mac with the daemon on it, and what commands and expectations need to know of both.
class Simulator {
 public:
  /// `homeFolder`: see SimulatedMac. The daemon is not started yet.
  Simulator(MachineDescription machine, std::string homeFolder, Output& output);
  ~Simulator();

  SimulatedMac& mac() { return mac_; }
  Output& output() { return output_; }

  // --- The daemon ---

  /// Starts copies of the daemon at one and the same moment, and lets them come up.
  void launchDaemons(const std::vector<std::string>& versions);
  /// The user quits the daemon, every copy of it.
  void quitDaemons();
  /// Quits it and starts it anew, in the version that ran last. False when the old one did not quit.
  bool restartDaemon();
  /// The copy started last of those that run; null when none does.
  Session* daemon();
  std::size_t runningDaemons();
  /// Whether a copy of that version was ever started, and whether one runs.
  bool wasLaunched(const std::string& version) const;
  bool isRunning(const std::string& version);
  /// The messages that the running copies listen for, in ascending order.
  std::vector<std::string> knownMessages();
  /// Posts as the control application does.
  void post(const std::string& command, const plist::Dictionary& userInfo);

  // --- Looking things up ---

  /// By name, in any case of letters; its beginning will do when no other display's name begins so. The reason when
  /// there is none.
  std::variant<SimulatedDisplay*, std::string> displayNamed(const std::string& text);
  /// Where the user's settings file lies, or would.
  std::string settingsPath() const;
  /// What it holds; absent when there is none, or none that can be read.
  std::optional<plist::Dictionary> settings() const;

  // --- What happened since the start, or since `clear` ---

  void clear();
  std::vector<std::string> journal();
  std::vector<std::string> log() const;
  /// When those lines were written, in seconds since the machine's start.
  std::vector<double> journalTimes();
  std::vector<double> logTimes() const;
  /// Whether a daemon posted this announcement.
  bool wasPosted(const std::string& announcement) const;
  /// Misuse of the machine that was not reported yet.
  std::vector<std::string> newFaults();
  /// Log lines, not reported yet, by which a daemon says that its settings file is not written.
  std::vector<std::string> newUnwrittenSettings();

  /// A value of the settings file kept by `remember`, to compare with later.
  std::map<std::string, plist::Value> remembered;
  /// The settings as the control application has them open.
  std::optional<plist::Dictionary> openSettings;
  /// Whether the command under way was asked to answer in JSON.
  bool wantsJson = false;
  /// Whether `quit` was said: the prompt ends.
  bool hasQuit = false;

 private:
  struct Copy {
    std::int32_t processIdentifier = 0;
    int number = 1;
    std::string version;
  };

  void launch(int number, const std::string& version);
  Session* sessionOf(const Copy& copy);
  std::size_t postsOfDaemons(const std::string& announcement) const;

  Output& output_;
  SimulatedMac mac_;

 public:
  /// Whether the home held a settings file before the daemon was first started here.
  const bool hadSettings;

 private:
  std::vector<Copy> copies_;  ///< in the order of their start
  int lastNumber_ = 0;
  std::map<std::string, std::size_t> ownPosts_;
  std::map<std::string, std::size_t> postsBeforeClear_;
  std::size_t journalBefore_ = 0, logBefore_ = 0;
  std::map<std::string, std::size_t> faultsSeen_;
  std::size_t logSeen_ = 0;
};

}  // namespace vlm::sim
