#include "Simulator/Mac/Registry.h"

#include <algorithm>
#include <utility>

namespace vlm::sim {
namespace {

constexpr std::string_view kServicePlane = "IOService:/";

/// Cuts the component before the first "/" off the path and gives it.
std::string_view takeComponent(std::string_view& path) {
  const auto slash = path.find('/');
  const std::string_view component = path.substr(0, slash);
  path = slash == std::string_view::npos ? std::string_view() : path.substr(slash + 1);
  return component;
}

}  // namespace

bool RegistryEntry::conformsTo(std::string_view className) const {
  return std::find(classes.begin(), classes.end(), className) != classes.end();
}

Registry::Registry() {
  entries_[kRoot] = {
      .number = kRoot, .parent = 0, .classes = {"IORegistryEntry"}, .name = "Root", .properties = {}, .children = {}};
}

io_service_t Registry::add(io_service_t parent, std::vector<std::string> classes, std::string name,
                           plist::Dictionary properties) {
  const io_service_t number = next_++;
  entries_.at(parent).children.push_back(number);
  entries_[number] = {.number = number,
                      .parent = parent,
                      .classes = std::move(classes),
                      .name = std::move(name),
                      .properties = std::move(properties),
                      .children = {}};
  ++generation_;
  return number;
}

void Registry::remove(io_service_t entry) {
  const RegistryEntry* found = find(entry);
  if (found == nullptr || entry == kRoot) return;
  auto& siblings = entries_.at(found->parent).children;
  siblings.erase(std::remove(siblings.begin(), siblings.end(), entry), siblings.end());
  for (const io_service_t gone : below(entry, true)) entries_.erase(gone);
  entries_.erase(entry);
  ++generation_;
}

const RegistryEntry* Registry::find(io_service_t entry) const {
  const auto found = entries_.find(entry);
  return found == entries_.end() ? nullptr : &found->second;
}

void Registry::setProperty(io_service_t entry, std::string_view key, plist::Value value) {
  const auto found = entries_.find(entry);
  if (found != entries_.end()) found->second.properties.set(key, std::move(value));
}

io_service_t Registry::entryAtPath(std::string_view path) const {
  if (!path.starts_with(kServicePlane)) return 0;
  path.remove_prefix(kServicePlane.size());
  io_service_t entry = kRoot;
  while (!path.empty()) {
    const std::string_view component = takeComponent(path);
    const auto& children = entries_.at(entry).children;
    const auto child = std::find_if(children.begin(), children.end(),
                                    [&](io_service_t number) { return entries_.at(number).name == component; });
    if (child == children.end()) return 0;
    entry = *child;
  }
  return entry;
}

std::string Registry::pathOf(io_service_t entry) const {
  const RegistryEntry* found = find(entry);
  if (found == nullptr) return {};
  std::string path;
  for (; found->parent != 0; found = &entries_.at(found->parent)) {
    path = path.empty() ? found->name : found->name + "/" + path;
  }
  return std::string(kServicePlane) + path;
}

std::vector<io_service_t> Registry::below(io_service_t entry, bool recursively) const {
  std::vector<io_service_t> result;
  const RegistryEntry* found = find(entry);
  if (found == nullptr) return result;
  for (const io_service_t child : found->children) {
    result.push_back(child);
    if (!recursively) continue;
    const auto deeper = below(child, true);
    result.insert(result.end(), deeper.begin(), deeper.end());
  }
  return result;
}

std::vector<io_service_t> Registry::ofClass(std::string_view className) const {
  std::vector<io_service_t> result;
  for (const auto& [number, entry] : entries_) {
    if (entry.conformsTo(className)) result.push_back(number);
  }
  return result;
}

}  // namespace vlm::sim
