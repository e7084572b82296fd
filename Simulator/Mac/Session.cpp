#include "Simulator/Mac/Session.h"

#include <utility>

#include "Simulator/Mac/Scheduler.h"
#include "Simulator/Mac/SessionPorts.h"
#include "Simulator/Mac/SimulatedMac.h"

namespace vlm::sim {

Session::Session(SimulatedMac& mac, ProcessDescription description, std::int32_t processIdentifier)
    : mac_(mac),
      description_(std::move(description)),
      processIdentifier_(processIdentifier),
      ports_(std::make_unique<SessionPorts>(mac, *this)) {}

Session::~Session() { end(); }

namespace {

template <class Port>
Port& given(Port* other, Port& own) {
  return other == nullptr ? own : *other;
}

}  // namespace

Ports Session::ports(const OtherPorts& others) {
  return {.appleEvents = ports_->appleEvents,
          .application = ports_->application,
          .bundle = ports_->bundle,
          .colorSync = ports_->colorSync,
          .files = given<Files>(others.files, ports_->files),
          .input = ports_->input,
          .registry = ports_->registry,
          .monitorBus = given<MonitorBus>(others.monitorBus, ports_->monitorBus),
          .notifications = ports_->notifications,
          .powerSources = ports_->powerSources,
          .preferences = ports_->preferences,
          .quartz = given<Quartz>(others.quartz, ports_->quartz),
          .runLoop = given<RunLoop>(others.runLoop, ports_->runLoop),
          .skyLight = ports_->skyLight,
          .system = ports_->system,
          .userInterface = ports_->userInterface,
          .workspace = ports_->workspace};
}

void Session::defineClass(const std::string& name, ApplicationClass applicationClass) {
  classes_[name] = std::move(applicationClass);
}

std::optional<ApplicationClass> Session::classNamed(const std::string& name) const {
  const auto found = classes_.find(name);
  if (found == classes_.end()) return std::nullopt;
  return found->second;
}

void Session::record(const std::string& call) { mac_.journal().add(description_.name + ": " + call); }

Process& Session::process() {
  if (process_ != nullptr) return *process_;
  if (Process* const current = Process::currentOrNull()) {
    const Process::Scope keepsCurrent(*current);
    process_ = std::make_unique<Process>(ports());
  } else {
    // A new process becomes the current one. This one stands in between, and leaves none behind when it goes.
    Process noneBefore(ports());
    const Process::Scope keepsCurrent(noneBefore);
    process_ = std::make_unique<Process>(ports());
  }
  return *process_;
}

Session::Visit::Visit(Session& session) : session_(session), scope_(session.process()) { ++session_.callDepth_; }

Session::Visit::~Visit() {
  // Inside of the scope still: what goes with the process may ask the system for something.
  if (session_.callDepth_ == 1 && !session_.running_) session_.finish();
  --session_.callDepth_;
}

void Session::call(const std::function<void()>& body) {
  if (!running_) return;
  const Visit visit(*this);
  ++eventDepth_;
  body();
  --eventDepth_;
  if (eventDepth_ == 0 && running_) ports_->application.eventEnded();
}

void Session::end() {
  if (!running_) return;
  const Visit visit(*this);
  running_ = false;
  forgetRequests();
}

void Session::forgetRequests() {
  mac_.scheduler().cancelAllOf(*this);
  ports_->runLoop.sessionEnded();
  ports_->notifications.sessionEnded();
  ports_->input.sessionEnded();
  ports_->appleEvents.sessionEnded();
  ports_->userInterface.sessionEnded();
  ports_->powerSources.sessionEnded();
}

/// Called within the process, for the last time.
void Session::finish() {
  ports_->application.forget();
  // What has been asked for between the end and now.
  forgetRequests();
  process_.reset();
  mac_.windowServer().sessionEnded(*this);
  noticeWhatIsLeft();
}

void Session::noticeWhatIsLeft() {
  if (heldObjects_ == 0) return;
  mac_.addFault("process " + description_.name + " ended with " + std::to_string(heldObjects_) +
                " platform objects that it did not give back");
}

}  // namespace vlm::sim
