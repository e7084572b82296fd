#include "Simulator/Program/Simulator.h"

#include <algorithm>
#include <set>
#include <utility>

#include "Daemon/Controllers/DaemonMain.h"
#include "Simulator/Mac/PropertyListFile.h"
#include "Simulator/Mac/SessionPorts.h"
#include "Simulator/Program/Arguments.h"
#include "Simulator/Program/DisplayTexts.h"

namespace vlm::sim {

namespace {

/// As the daemon logs it.
constexpr const char* kSettingsNotWritten = "The settings file is not written";
constexpr const char* kDaemonClass = "VLMDaemonMainController";
constexpr const char* kDaemonInBundle = "Velmoratix.app/Contents/Library/LoginItems/Velmoratix Daemon.app";

/// A copy beside the first one lies elsewhere, as on a Mac.
ProcessDescription daemonDescription(int number, const std::string& version) {
  const std::string suffix = number == 1 ? "" : " " + std::to_string(number);
  const std::string folder = number == 1 ? "/Applications/" : "/Applications/Copy" + suffix + "/";
  return {.bundleIdentifier = kDaemonIdentifier,
          .name = "daemon" + suffix,
          .bundlePath = folder + kDaemonInBundle,
          .version = version,
          .activationPolicy = ActivationPolicy::accessory};
}

int daemonProgram(Session& session) {
  session.defineClass(kDaemonClass, *applicationClassNamed(kDaemonClass));
  return VLMDaemonMain();
}

template <class Line>
std::vector<Line> from(const std::vector<Line>& lines, std::size_t first) {
  return {lines.begin() + static_cast<std::ptrdiff_t>(std::min(first, lines.size())), lines.end()};
}

}  // namespace

Simulator::Simulator(MachineDescription machine, std::string homeFolder, Output& output)
    : output_(output), mac_(std::move(machine), std::move(homeFolder)), hadSettings(settings().has_value()) {}

Simulator::~Simulator() = default;

void Simulator::launch(int number, const std::string& version) {
  const Session& session = mac_.launch(daemonDescription(number, version), daemonProgram);
  copies_.push_back({.processIdentifier = session.processIdentifier(), .number = number, .version = version});
}

void Simulator::launchDaemons(const std::vector<std::string>& versions) {
  for (const std::string& version : versions) launch(++lastNumber_, version);
  mac_.turn();
}

void Simulator::quitDaemons() {
  post("QuitVLMDaemon", {});
  mac_.turn();
}

bool Simulator::restartDaemon() {
  const Copy last = copies_.back();
  quitDaemons();
  if (runningDaemons() != 0) return false;
  launch(last.number, last.version);
  mac_.turn();
  return true;
}

Session* Simulator::sessionOf(const Copy& copy) {
  Session* session = mac_.sessionWithProcessIdentifier(copy.processIdentifier);
  return session != nullptr && session->isRunning() ? session : nullptr;
}

Session* Simulator::daemon() {
  for (auto copy = copies_.rbegin(); copy != copies_.rend(); ++copy) {
    if (Session* session = sessionOf(*copy)) return session;
  }
  return nullptr;
}

std::size_t Simulator::runningDaemons() {
  return static_cast<std::size_t>(
      std::count_if(copies_.begin(), copies_.end(), [this](const Copy& copy) { return sessionOf(copy) != nullptr; }));
}

bool Simulator::wasLaunched(const std::string& version) const {
  return std::any_of(copies_.begin(), copies_.end(), [&](const Copy& copy) { return copy.version == version; });
}

bool Simulator::isRunning(const std::string& version) {
  return std::any_of(copies_.begin(), copies_.end(),
                     [&](const Copy& copy) { return copy.version == version && sessionOf(copy) != nullptr; });
}

std::vector<std::string> Simulator::knownMessages() {
  std::set<std::string> messages;
  for (const Copy& copy : copies_) {
    Session* const session = sessionOf(copy);
    if (session == nullptr) continue;
    messages.merge(
        session->adapters().notifications.objectsObserved(NotificationCenter::distributed, kDaemonIdentifier));
  }
  return {messages.begin(), messages.end()};
}

void Simulator::post(const std::string& command, const plist::Dictionary& userInfo) {
  Notification notification{.name = kDaemonIdentifier, .object = command, .sender = nullptr, .userInfo = {}};
  if (!userInfo.empty()) notification.userInfo = userInfo;
  ++ownPosts_[command];
  mac_.postDistributed(notification);
}

std::variant<SimulatedDisplay*, std::string> Simulator::displayNamed(const std::string& text) {
  std::vector<SimulatedDisplay*> found;
  std::string names;
  for (const auto& display : mac_.windowServer().displays()) {
    const std::string& name = display->description.name;
    if (!text.empty() && isSameName(text, name)) return display.get();
    if (!text.empty() && isBeginning(text, name)) found.push_back(display.get());
    names += (names.empty() ? "" : ", ") + quoted(name);
  }
  if (found.size() == 1) return found.front();
  return (found.empty() ? "there is no display " : "several displays could be ") + quoted(text) + "; there are " +
         names;
}

std::string Simulator::settingsPath() const {
  return mac_.homeFolder() + "/Library/Preferences/" + kDaemonIdentifier + ".plist";
}

std::optional<plist::Dictionary> Simulator::settings() const {
  const PropertyListResult read = readPropertyList(settingsPath());
  if (!read.value || read.value->dictionary() == nullptr) return std::nullopt;
  return *read.value->dictionary();
}

void Simulator::clear() {
  journalBefore_ = mac_.journal().lines().size();
  logBefore_ = mac_.log.size();
  postsBeforeClear_.clear();
  for (const Notification& post : mac_.distributedPosts()) {
    const std::string announcement = post.object.value_or("");
    postsBeforeClear_[announcement] = postsOfDaemons(announcement);
  }
}

std::vector<std::string> Simulator::journal() { return from(mac_.journal().lines(), journalBefore_); }

std::vector<std::string> Simulator::log() const { return from(mac_.log, logBefore_); }

std::vector<double> Simulator::journalTimes() { return from(mac_.journal().times(), journalBefore_); }

std::vector<double> Simulator::logTimes() const { return from(mac_.logTimes, logBefore_); }

std::size_t Simulator::postsOfDaemons(const std::string& announcement) const {
  const auto& posts = mac_.distributedPosts();
  const auto all = std::count_if(posts.begin(), posts.end(), [&](const Notification& post) {
    return post.name == kDaemonIdentifier && post.object == announcement;
  });
  // Some commands are announcements as well.
  const auto own = ownPosts_.find(announcement);
  const std::size_t byUs = own == ownPosts_.end() ? 0 : own->second;
  return static_cast<std::size_t>(all) - std::min(byUs, static_cast<std::size_t>(all));
}

bool Simulator::wasPosted(const std::string& announcement) const {
  const auto before = postsBeforeClear_.find(announcement);
  return postsOfDaemons(announcement) > (before == postsBeforeClear_.end() ? 0 : before->second);
}

std::vector<std::string> Simulator::newFaults() {
  // The machine gathers them from several places, so that a new one may stand before an old one.
  std::map<std::string, std::size_t> now;
  std::vector<std::string> faults;
  for (const std::string& fault : mac_.faults()) {
    if (++now[fault] > faultsSeen_[fault]) faults.push_back(fault);
  }
  faultsSeen_ = std::move(now);
  return faults;
}

std::vector<std::string> Simulator::newUnwrittenSettings() {
  std::vector<std::string> lines = from(mac_.log, std::exchange(logSeen_, mac_.log.size()));
  std::erase_if(lines, [](const std::string& line) { return line.find(kSettingsNotWritten) == std::string::npos; });
  return lines;
}

}  // namespace vlm::sim
