#pragma once

#include <functional>
#include <memory>
#include <typeindex>
#include <utility>
#include <vector>

namespace vlm {

class AppleEvents;
class Application;
class Bundle;
class ColorSync;
class Files;
class Input;
class IORegistry;
class MonitorBus;
class Notifications;
class PowerSources;
class Preferences;
class Quartz;
class RunLoop;
class SkyLight;
class System;
class UserInterface;
class Workspace;

/// The ports of one process: one adapter's implementation of each. They outlive the process.
struct Ports {
  AppleEvents& appleEvents;
  Application& application;
  Bundle& bundle;
  ColorSync& colorSync;
  Files& files;
  Input& input;
  IORegistry& registry;
  MonitorBus& monitorBus;
  Notifications& notifications;
  PowerSources& powerSources;
  Preferences& preferences;
  Quartz& quartz;
  RunLoop& runLoop;
  SkyLight& skyLight;
  System& system;
  UserInterface& userInterface;
  Workspace& workspace;
};

/// Everything that lives once per process. Making one installs its ports; when it goes, all of it is forgotten, so that
/// the next one, in the same program or test, starts from nothing.
///
/// One process is current at a time. The programs for people make one and keep it; the simulated Mac, on which several
/// run side by side, enters the one that it calls (Process::Scope).
class Process {
 public:
  /// Becomes the current process.
  explicit Process(const Ports& ports);
  ~Process();
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  /// The process that the code runs in. There must be one.
  static Process& current();
  /// The same, or null outside of any process.
  static Process* currentOrNull();

  const Ports& ports() const { return ports_; }

  /// The process's one object of this type, made on first use. Objects go in the reverse order of their making.
  template <class T>
  T& state() {
    if (void* existing = find(typeid(T))) return *static_cast<T*>(existing);
    auto made = std::make_shared<T>();
    add(typeid(T), made);
    return *made;
  }

  /// Makes a process current for the time of a call into it.
  class Scope {
   public:
    explicit Scope(Process& process);
    ~Scope();
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;

   private:
    Process* before_;
  };

 private:
  void* find(std::type_index type) const;
  void add(std::type_index type, std::shared_ptr<void> object);

  Ports ports_;
  std::vector<std::pair<std::type_index, std::shared_ptr<void>>> states_;
};

/// The operating system, as the current process sees it.
inline const Ports& os() { return Process::current().ports(); }

}  // namespace vlm
