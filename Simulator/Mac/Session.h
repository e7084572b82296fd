#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "Platform/Application.h"
#include "Platform/Process.h"
#include "Simulator/Mac/Machine.h"

namespace vlm::sim {

class SimulatedMac;
struct SessionPorts;

/// One process on the machine. Its timers, performs, hot keys, observers and callbacks carry it and go with it. The
/// object itself stays until the machine goes, so that others may keep asking it.
class Session {
 public:
  Session(SimulatedMac& mac, ProcessDescription description, std::int32_t processIdentifier);
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  const ProcessDescription& description() const { return description_; }
  std::int32_t processIdentifier() const { return processIdentifier_; }
  SimulatedMac& mac() { return mac_; }
  /// Ports in place of the machine's own; null is none.
  struct OtherPorts {
    Files* files = nullptr;
    MonitorBus* monitorBus = nullptr;
    Quartz* quartz = nullptr;
    RunLoop* runLoop = nullptr;
  };
  /// The machine's services as this process sees them.
  Ports ports(const OtherPorts& others);
  Ports ports() { return ports({}); }
  /// The same, with the machine's side of them: what reaches the process through each.
  SessionPorts& adapters() { return *ports_; }
  /// The application classes that the process's program has, by name.
  void defineClass(const std::string& name, ApplicationClass applicationClass);
  /// Absent when the program has no class of that name.
  std::optional<ApplicationClass> classNamed(const std::string& name) const;

  /// False once the process has ended; nothing is delivered to it any more.
  bool isRunning() const { return running_; }
  /// Ends the process: at once for what it would still receive; its objects go when no code of it is being called.
  void end();
  /// Calls into the process: its Process is current meanwhile. Nothing happens when it has ended.
  void call(const std::function<void()>& body);
  /// The program's Process, made on first use over ports(). Whichever was current stays it.
  Process& process();
  /// How many platform objects the process holds at this moment (registry entries, iterators, modes, I²C services …).
  std::size_t heldObjects() const { return heldObjects_; }
  void holdObject() { ++heldObjects_; }
  void releaseObject() { --heldObjects_; }

  /// Writes a call of the process into the machine's journal: "daemon: sleep(0.05)".
  void record(const std::string& call);

  /// Makes the process current for as long as it lives, as `call` does for one event: for a test that is the process's
  /// program itself. The session must be running.
  class Visit {
   public:
    explicit Visit(Session& session);
    ~Visit();
    Visit(const Visit&) = delete;
    Visit& operator=(const Visit&) = delete;

   private:
    Session& session_;
    Process::Scope scope_;
  };

 private:
  void forgetRequests();
  void finish();
  void noticeWhatIsLeft();

  SimulatedMac& mac_;
  ProcessDescription description_;
  std::int32_t processIdentifier_ = 0;
  bool running_ = true;
  /// How many calls into the process are under way (one in the other), and how many of them are events.
  int callDepth_ = 0, eventDepth_ = 0;
  std::size_t heldObjects_ = 0;
  std::map<std::string, ApplicationClass> classes_;
  std::unique_ptr<SessionPorts> ports_;
  std::unique_ptr<Process> process_;
};

}  // namespace vlm::sim
