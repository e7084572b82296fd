#include "Simulator/Mac/WindowStack.h"

#include <algorithm>

#include "Simulator/Mac/Session.h"
#include "Simulator/Mac/SessionPorts.h"
#include "Simulator/Mac/SimulatedMac.h"

namespace vlm::sim {

std::int64_t WindowStack::numberOf(std::int32_t processIdentifier, const std::string& name) {
  const auto next = static_cast<std::int64_t>(numbers_.size()) + 1;
  return numbers_.try_emplace({processIdentifier, name}, next).first->second;
}

void WindowStack::addWindowsOf(const Session& session, std::vector<SimulatedWindow>& windows) {
  const std::int32_t owner = session.processIdentifier();
  std::size_t index = 0;
  for (const WindowDescription& window : session.description().windows) {
    windows.push_back({.number = numberOf(owner, "window " + std::to_string(index++)),
                       .processIdentifier = owner,
                       .layer = window.layer,
                       .frame = window.frame});
  }
  if (session.description().bundleIdentifier != "com.apple.finder") return;
  for (const auto& display : mac_.windowServer().displays()) {
    if (!display->isArranged() || display->mirrors != kCGNullDirectDisplay) continue;
    windows.push_back({.number = numberOf(owner, "desktop of " + display->description.name),
                       .processIdentifier = owner,
                       .layer = kFinderDesktopLayer,
                       .frame = mac_.windowServer().bounds(*display)});
  }
}

std::vector<SimulatedWindow> WindowStack::frontToBack() {
  std::vector<SimulatedWindow> windows;
  const std::vector<Session*> sessions = mac_.sessions();
  for (auto session = sessions.rbegin(); session != sessions.rend(); ++session) {
    if (!(*session)->adapters().workspace.isHidden()) addWindowsOf(**session, windows);
  }
  std::stable_sort(windows.begin(), windows.end(), [](const auto& a, const auto& b) { return a.layer > b.layer; });
  return windows;
}

std::optional<SimulatedWindow> WindowStack::at(Point point) {
  for (const SimulatedWindow& window : frontToBack()) {
    if (window.frame.contains(point)) return window;
  }
  return std::nullopt;
}

}  // namespace vlm::sim
