#include "Simulator/Mac/SimulatedAppleEvents.h"

#include <unistd.h>

#include <filesystem>
#include <system_error>

#include "Simulator/Mac/JournalText.h"
#include "Simulator/Mac/Session.h"
#include "Simulator/Mac/SimulatedMac.h"

namespace vlm::sim {

namespace {

/// A file, or the folder that a script and its resources are bundled in.
bool isScript(const std::filesystem::path& path) {
  std::error_code ignored;
  const auto kind = std::filesystem::status(path, ignored).type();
  if (kind == std::filesystem::file_type::directory) return path.extension() == ".scptd";
  return kind == std::filesystem::file_type::regular;
}

}  // namespace

void SimulatedAppleEvents::setEventHandler(std::uint32_t eventClass, std::uint32_t eventID, Handler handler) {
  session_.record("setEventHandler(" + fourCharText(eventClass) + ", " + fourCharText(eventID) + ")");
  handlers_[{eventClass, eventID}] = std::move(handler);
}

bool SimulatedAppleEvents::executeAppleScript(const std::string& source) {
  session_.record("executeAppleScript(" + quoted(source) + ")");
  return mac_.scriptsSucceed;
}

bool SimulatedAppleEvents::executeAppleScriptAtURL(const std::string& path) {
  session_.record("executeAppleScriptAtURL(" + mac_.shortPath(path) + ")");
  return mac_.scriptsSucceed && isScript(path) && access(path.c_str(), R_OK) == 0;
}

void SimulatedAppleEvents::deliver(std::uint32_t eventClass, std::uint32_t eventID) {
  const auto found = handlers_.find({eventClass, eventID});
  if (found == handlers_.end()) return;
  const Handler handler = found->second;  // the event may end the process, and with it the table
  handler();
}

void SimulatedAppleEvents::sessionEnded() { std::exchange(handlers_, {}).clear(); }

}  // namespace vlm::sim
