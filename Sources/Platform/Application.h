#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace vlm {

/// What the platform calls of an application object that is its own delegate.
class ApplicationObject {
 public:
  virtual ~ApplicationObject() = default;
  virtual void applicationDidFinishLaunching() = 0;
};

/// An application class: makes its one object.
using ApplicationClass = std::function<std::unique_ptr<ApplicationObject>()>;

/// The process's application object and its main loop.
class Application {
 public:
  virtual ~Application() = default;

  /// The application class of that name; absent when there is none.
  virtual std::optional<ApplicationClass> NSClassFromString(const std::string& name) = 0;
  /// Makes the application object, once. Without a class it is a plain one that does nothing of its own.
  virtual void sharedApplication(const std::optional<ApplicationClass>& applicationClass) = 0;
  virtual void setDelegate(ApplicationObject* delegate) = 0;
  /// Runs the main loop, beginning with applicationDidFinishLaunching; when it has ended by stop, calls `afterwards`.
  /// Where the loop belongs to somebody else (the simulated Mac) this returns first. Nothing may stand behind it.
  virtual void run(std::function<void()> afterwards) = 0;
  /// Lets `run` end after the current event.
  virtual void stop() = 0;
  /// Ends the process. Natively it never returns; nothing may stand behind it.
  virtual void terminate() = 0;
  /// Gives the application object up, and with it the global pointer to it.
  virtual void releaseSharedApplication() = 0;
};

}  // namespace vlm
