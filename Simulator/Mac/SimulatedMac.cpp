#include "Simulator/Mac/SimulatedMac.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "Simulator/Mac/MachineEvents.h"
#include "Simulator/Mac/Mouse.h"
#include "Simulator/Mac/Scheduler.h"
#include "Simulator/Mac/SessionPorts.h"

namespace vlm::sim {

namespace {

/// The first process identifier given; any number that does not look like another one.
constexpr std::int32_t kFirstProcessIdentifier = 501;
/// Lock keys that are no part of a hot key.
constexpr std::uint32_t kIgnoredModifiers = alphaLock;
/// Below a home: the user's settings and the machine's.
constexpr std::array<const char*, 2> kFoldersOfSettings = {"Library/Preferences", ".machine/Library/Preferences"};

std::string temporaryFolder() {
  std::string path = (std::filesystem::temp_directory_path() / "velmoratix-XXXXXX").string();
  if (mkdtemp(path.data()) == nullptr) {
    throw std::filesystem::filesystem_error("temporary home folder", path,
                                            std::error_code(errno, std::generic_category()));
  }
  return path;
}

/// Makes the folders that every home has; empty: in a temporary one.
std::string makeHome(const std::string& homeFolder) {
  std::string home =
      homeFolder.empty() ? temporaryFolder() : std::filesystem::absolute(homeFolder).lexically_normal().string();
  while (home.size() > 1 && home.ends_with('/')) home.pop_back();
  for (const char* const folder : kFoldersOfSettings) std::filesystem::create_directories(home + "/" + folder);
  return home;
}

std::string pathOf(const ProcessDescription& application) {
  return application.bundlePath.empty() ? "/Applications/" + application.name + ".app" : application.bundlePath;
}

std::string notPlugged(const std::string& name) { return name + " is not plugged in"; }

std::string noSuchDisplay(const std::string& name) { return "there is no display \"" + name + "\""; }

}  // namespace

struct SimulatedMac::Implementation {
  explicit Implementation(SimulatedMac& mac) : windows(mac), mouse(mac) {}

  bool homeIsTemporary = false;
  Scheduler scheduler;
  PreferenceStore preferenceStore;
  WindowStack windows;
  Mouse mouse;
  LocalizedTexts localizedTexts;
  std::vector<StatusItem> statusItems;
  std::vector<Notification> distributedPosts;
  std::vector<std::string> faults;
  std::uint64_t lastReference = 0;
  std::int32_t nextProcessIdentifier = kFirstProcessIdentifier;
  /// Every process that ever ran, in the order of their start.
  std::vector<std::unique_ptr<Session>> sessions;
};

SimulatedMac::SimulatedMac(MachineDescription machine, const std::string& homeFolder)
    : accessibilityTrusted(machine.accessibilityTrusted),
      grayscale(machine.grayscale),
      dockAutoHides(machine.dockAutoHides),
      volume(machine.volume),
      darkAppearance(machine.darkAppearance),
      machine_(std::move(machine)),
      homeFolder_(makeHome(homeFolder)),
      homeOfProfiles_(homeFolder_),
      windowServer_(std::make_unique<WindowServer>(machine_, journal_, localFolder())),
      events_(std::make_unique<MachineEvents>(*this)),
      implementation_(std::make_unique<Implementation>(*this)) {
  journal_.clock = [this, start = now()] { return now() - start; };
  implementation_->homeIsTemporary = homeFolder.empty();
  implementation_->preferenceStore.setFolder(homeFolder_ + "/Library/Preferences");
  windowServer_->log = [this](const std::string& line) { addLogLine(line); };
  windowServer_->logOverrideFindings();
  windowServer_->onNextTurn = [this](std::function<void()> body) { scheduler().onNextTurn(nullptr, std::move(body)); };
  for (const ProcessDescription& process : machine_.processes) addSession(process);
}

SimulatedMac::~SimulatedMac() {
  // The newest first, and while everything that they may still ask stands.
  auto& all = implementation_->sessions;
  for (auto session = all.rbegin(); session != all.rend(); ++session) (*session)->end();
  while (!all.empty()) all.pop_back();
  std::error_code ignored;
  if (implementation_->homeIsTemporary) std::filesystem::remove_all(homeFolder_, ignored);
}

void SimulatedMac::leaveHome() {
  namespace fs = std::filesystem;
  const fs::path before = homeFolder_, copy = temporaryFolder();
  std::error_code ignored;
  for (const char* const folder : kFoldersOfSettings) {
    fs::create_directories(copy / folder, ignored);
    // Not what lies deeper, and no pipes: a home may be somebody's own. What cannot be copied could not be read either.
    for (const auto& entry : fs::directory_iterator(before / folder, ignored)) {
      if (entry.is_regular_file(ignored)) fs::copy_file(entry.path(), copy / folder / entry.path().filename(), ignored);
    }
  }
  homeFolder_ = copy.string();
  implementation_->homeIsTemporary = true;
  implementation_->preferenceStore.setFolder(homeFolder_ + "/Library/Preferences");
  windowServer_->overrideFolder().moveTo(localFolder());
}

std::string SimulatedMac::localFolder() const { return homeFolder_ + "/.machine"; }

std::string SimulatedMac::hostPath(const std::string& path) const {
  const bool isMachines = path.starts_with("/Library/") || path.starts_with("/System/");
  // A home of the host's may itself lie in such a place.
  return isMachines && !path.starts_with(homeFolder_ + "/") ? localFolder() + path : path;
}

std::string SimulatedMac::localFolderOfProfiles() const { return homeOfProfiles_ + "/.machine"; }

SimulatedDisplay& SimulatedMac::display(const std::string& name) {
  SimulatedDisplay* const found = windowServer_->displayNamed(name);
  if (found == nullptr) throw std::out_of_range(noSuchDisplay(name));
  return *found;
}

// --- Processes ---

Session& SimulatedMac::addSession(const ProcessDescription& description) {
  ProcessDescription placed = description;
  const std::int32_t identifier = implementation_->nextProcessIdentifier++;
  placed.bundlePath = pathOf(placed);
  for (Session* const other : sessions()) {
    if (other->description().bundlePath != placed.bundlePath) continue;
    placed.bundlePath = "/Volumes/" + std::to_string(identifier) + placed.bundlePath;
    break;
  }
  implementation_->sessions.push_back(std::make_unique<Session>(*this, std::move(placed), identifier));
  return *implementation_->sessions.back();
}

Session& SimulatedMac::launch(const ProcessDescription& description, const std::function<int(Session&)>& program) {
  Session& session = addSession(description);
  session.call([&] {
    program(session);
    if (!session.adapters().application.isRunning()) session.end();
  });
  return session;
}

std::vector<Session*> SimulatedMac::sessions() {
  std::vector<Session*> running;
  for (const auto& session : implementation_->sessions) {
    if (session->isRunning()) running.push_back(session.get());
  }
  return running;
}

Session* SimulatedMac::sessionWithProcessIdentifier(std::int32_t processIdentifier) {
  for (Session* const session : sessions()) {
    if (session->processIdentifier() == processIdentifier) return session;
  }
  return nullptr;
}

std::optional<ProcessDescription> SimulatedMac::findApplication(
    const std::function<bool(const ProcessDescription&)>& isWanted) const {
  std::vector<ProcessDescription> known;
  for (const auto& session : implementation_->sessions) {
    if (session->isRunning()) known.push_back(session->description());
  }
  for (const auto* const installed : {&machine_.applications, &machine_.processes}) {
    known.insert(known.end(), installed->begin(), installed->end());
  }
  for (ProcessDescription& application : known) {
    application.bundlePath = pathOf(application);
    if (isWanted(application)) return application;
  }
  return std::nullopt;
}

Session* SimulatedMac::launchApplication(const std::string& bundlePath) {
  for (Session* const session : sessions()) {
    if (session->description().bundlePath == bundlePath) return session;
  }
  const auto application = findApplication([&](const auto& known) { return known.bundlePath == bundlePath; });
  return application ? &addSession(*application) : nullptr;
}

void SimulatedMac::signal(Session& session, int signal) {
  if (session.isRunning() && !session.adapters().runLoop.deliverSignal(signal)) session.end();
}

void SimulatedMac::sendAppleEvent(Session& session, std::uint32_t eventClass, std::uint32_t eventID) {
  scheduler().onNextTurn(
      &session, [&session, eventClass, eventID] { session.adapters().appleEvents.deliver(eventClass, eventID); });
}

// --- Time ---

double SimulatedMac::now() const { return implementation_->scheduler.now(); }

void SimulatedMac::advance(double seconds) {
  if (events_->isAsleep()) {
    scheduler().passTime(seconds);
  } else {
    scheduler().advance(seconds);
  }
}

void SimulatedMac::turn() {
  if (!events_->isAsleep()) scheduler().turn();
}

// --- What happens from outside ---

std::optional<std::string> SimulatedMac::plug(const std::string& displayName) {
  SimulatedDisplay* const found = windowServer_->displayNamed(displayName);
  return found == nullptr ? noSuchDisplay(displayName) : windowServer_->plug(*found);
}

std::optional<std::string> SimulatedMac::unplug(const std::string& displayName) {
  SimulatedDisplay* const found = windowServer_->displayNamed(displayName);
  return found == nullptr ? noSuchDisplay(displayName) : windowServer_->unplug(*found);
}

std::optional<std::string> SimulatedMac::setMode(const std::string& displayName, std::uint32_t width,
                                                 std::uint32_t height, std::optional<double> refreshHz) {
  const SimulatedDisplay* const found = windowServer_->displayNamed(displayName);
  if (found == nullptr) return noSuchDisplay(displayName);
  if (!found->plugged) return notPlugged(displayName);
  const std::optional<std::uint32_t> mode = windowServer_->findMode(*found, width, height, refreshHz);
  if (!mode) {
    return "display \"" + displayName + "\" has no mode of " + std::to_string(width) + "x" + std::to_string(height) +
           (refreshHz ? " at that rate" : "");
  }
  return windowServer_->changeByAnother(
      {{.kind = DisplayChange::Kind::mode, .display = found->id, .modeNumber = static_cast<std::int32_t>(*mode)}});
}

std::optional<std::string> SimulatedMac::move(const std::string& displayName, std::int32_t x, std::int32_t y) {
  const SimulatedDisplay* const found = windowServer_->displayNamed(displayName);
  if (found == nullptr) return noSuchDisplay(displayName);
  if (!found->plugged) return notPlugged(displayName);
  return windowServer_->changeByAnother({{.kind = DisplayChange::Kind::origin, .display = found->id, .x = x, .y = y}});
}

std::optional<std::string> SimulatedMac::setEnabled(const std::string& displayName, bool enabled) {
  const SimulatedDisplay* const found = windowServer_->displayNamed(displayName);
  if (found == nullptr) return noSuchDisplay(displayName);
  if (!found->plugged) return notPlugged(displayName);
  return windowServer_->changeByAnother(
      {{.kind = DisplayChange::Kind::enabled, .display = found->id, .enabled = enabled}});
}

bool SimulatedMac::pressKey(std::uint32_t keyCode, std::uint32_t modifiers) {
  bool isRegistered = false;
  for (Session* const session : sessions()) {
    if (session->adapters().input.pressKey(keyCode, modifiers & ~kIgnoredModifiers)) isRegistered = true;
  }
  return isRegistered;
}

void SimulatedMac::postDistributed(const Notification& notification) {
  Notification travelling = asItTravels(notification);
  implementation_->distributedPosts.push_back(travelling);
  // Only who observes at this moment is sent it: a process that registers later has missed it.
  const ObserverToken last = lastReference();
  const auto shared = std::make_shared<const Notification>(std::move(travelling));
  for (Session* const session : sessions()) {
    scheduler().onNextTurn(session, [session, shared, last] {
      session->adapters().notifications.deliver(NotificationCenter::distributed, *shared, last);
    });
  }
}

void SimulatedMac::postWorkspace(const Notification& notification) {
  for (Session* const session : sessions()) {
    session->call([&] {
      session->adapters().notifications.deliver(NotificationCenter::workspace, notification, lastReference());
    });
  }
}

const std::vector<Notification>& SimulatedMac::distributedPosts() const { return implementation_->distributedPosts; }

void SimulatedMac::forgetHistory() {
  journal_.clear();
  log.clear();
  logTimes.clear();
  implementation_->distributedPosts.clear();
}

void SimulatedMac::activateUserNotification(const std::string& identifier) {
  deliveredNotifications.insert(identifier);
  for (Session* const session : sessions()) {
    scheduler().onNextTurn(session, [session, identifier] { session->adapters().userInterface.activate(identifier); });
  }
}

void SimulatedMac::setPowerSource(const std::string& type) {
  if (powerSource == type) return;
  powerSource = type;
  journal_.add("user: power(" + type + ")");
  for (Session* const session : sessions()) {
    scheduler().onNextTurn(session, [session] { session->adapters().powerSources.powerSourceChanged(); });
  }
}

Mouse& SimulatedMac::mouse() { return implementation_->mouse; }

WindowStack& SimulatedMac::windows() { return implementation_->windows; }

// --- What can be seen ---

std::vector<std::string> SimulatedMac::faults() const {
  std::vector<std::string> all = windowServer_->faults();
  const auto& late = implementation_->scheduler.faults();
  all.insert(all.end(), late.begin(), late.end());
  all.insert(all.end(), implementation_->faults.begin(), implementation_->faults.end());
  return all;
}

const std::vector<SimulatedMac::StatusItem>& SimulatedMac::statusItems() const { return implementation_->statusItems; }

// --- For the ports ---

Scheduler& SimulatedMac::scheduler() { return implementation_->scheduler; }

PreferenceStore& SimulatedMac::preferenceStore() { return implementation_->preferenceStore; }

LocalizedTexts& SimulatedMac::localizedTexts() { return implementation_->localizedTexts; }

std::vector<SimulatedMac::StatusItem>& SimulatedMac::statusItems() { return implementation_->statusItems; }

void SimulatedMac::addFault(std::string text) { implementation_->faults.push_back(std::move(text)); }

void SimulatedMac::addLogLine(std::string line) {
  if (!logEnabled) return;
  // The lines are anybody's to drop and to add to.
  logTimes.resize(log.size());
  logTimes.push_back(journal_.clock());
  log.push_back(std::move(line));
}

std::uint64_t SimulatedMac::nextReference() { return ++implementation_->lastReference; }

std::uint64_t SimulatedMac::lastReference() const { return implementation_->lastReference; }

std::optional<plist::Dictionary> SimulatedMac::informationOfBundleAt(const std::string& path) const {
  const auto& all = implementation_->sessions;
  const auto found = std::find_if(all.rbegin(), all.rend(),
                                  [&](const auto& session) { return session->description().bundlePath == path; });
  if (found == all.rend()) return std::nullopt;
  return informationOf((*found)->description());
}

std::string SimulatedMac::shortPath(const std::string& path) const {
  for (const std::string* home : {&homeFolder_, &homeOfProfiles_}) {
    if (path.starts_with(*home + "/")) return "~" + path.substr(home->size());
  }
  return path;
}

}  // namespace vlm::sim
