#include "Simulator/Program/Plan.h"

#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>

#include "Models/VLMGlobals.h"
#include "Platform/Process.h"
#include "Simulator/Program/DaemonView.h"
#include "Simulator/Program/DisplayTexts.h"
#include "Simulator/Program/Json.h"
#include "Simulator/Program/Output.h"
#include "Simulator/Program/Simulator.h"
#include "Simulator/Program/Views.h"

namespace vlm::sim {

namespace {

/// Nothing was called for so long: all that a set brings about has come. The Dock is relaunched after a second, and
/// the daemon looks at its displays every second.
constexpr int kQuietSeconds = 3;
/// A daemon that never comes to rest is not waited for.
constexpr int kMostSeconds = 30;
/// The same request, as the daemon counts.
constexpr double kRepeatedRequest = 1.0;

/// What a set can change.
plist::Dictionary stateOf(SimulatedMac& mac) { return {{"displays", displaysView(mac)}, {"grayscale", mac.grayscale}}; }

// --- In the copy ---

/// Lets time pass until nothing is called any more. The seconds that it took.
int waitForQuiet(SimulatedMac& mac) {
  int lastCall = 0;
  for (int second = 1; second <= kMostSeconds && second - lastCall <= kQuietSeconds; ++second) {
    const std::size_t before = mac.journal().lines().size();
    mac.advance(1);
    if (mac.journal().lines().size() != before) lastCall = second;
  }
  return lastCall;
}

plist::Dictionary applyAndWatch(Simulator& simulator, const std::shared_ptr<VLMDisplaySet>& set) {
  SimulatedMac& mac = simulator.mac();
  const std::size_t before = mac.journal().lines().size();
  Session& daemon = *simulator.daemon();
  const std::int64_t identifier = set->uniqueID.value_or(0);
  daemon.call([&] { VLMGlobals::sharedInstance().applyDisplaySet(set, false); });
  mac.turn();
  const int seconds = waitForQuiet(mac);
  plist::Dictionary result = stateOf(mac);
  const auto& lines = mac.journal().lines();
  result.set("calls", linesView({lines.begin() + static_cast<std::ptrdiff_t>(before), lines.end()}, "call"));
  result.set("seconds", seconds);
  const Process::Scope inDaemon(daemon.process());
  VLMGlobals& document = VLMGlobals::sharedInstance();
  // A reload meanwhile has made the sets anew.
  const auto current = findSetByUniqueID(document.displaySetsArray, identifier);
  result.set("markAfter", markName(document.checkMarkForSet(current ? *current : *set, nullptr)));
  return result;
}

void writeAll(int file, std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = write(file, text.data(), text.size());
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return;
    text.remove_prefix(static_cast<std::size_t>(written));
  }
}

/// Never returns: nothing else of the copy may be cleaned up, for it belongs to the original.
[[noreturn]] void runCopy(Simulator& simulator, const std::shared_ptr<VLMDisplaySet>& set, int answer) {
  // Nobody may read the answer any more; the copy's home goes all the same.
  std::signal(SIGPIPE, SIG_IGN);
  int status = 1;
  std::string ownHome;
  try {
    simulator.mac().leaveHome();
    ownHome = simulator.mac().homeFolder();
    writeAll(answer, jsonText(applyAndWatch(simulator, set)));
    status = 0;
  } catch (...) {
  }
  std::error_code ignored;
  // Never the original's: only behind leaveHome is it the copy's own.
  if (!ownHome.empty()) std::filesystem::remove_all(ownHome, ignored);
  _exit(status);
}

// --- Here ---

std::string readAll(int file) {
  std::string text;
  std::array<char, 4096> buffer{};
  while (true) {
    const ssize_t count = read(file, buffer.data(), buffer.size());
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return text;
    text.append(buffer.data(), static_cast<std::size_t>(count));
  }
}

/// How the copy ended; empty when it did its work.
std::string endOf(pid_t copy) {
  int status = 0;
  while (waitpid(copy, &status, 0) < 0 && errno == EINTR) {
  }
  if (WIFSIGNALED(status)) return "the trial run was ended by signal " + std::to_string(WTERMSIG(status));
  const int code = WIFEXITED(status) ? WEXITSTATUS(status) : 1;
  return code == 0 ? "" : "the trial run ended with status " + std::to_string(code);
}

/// What the copy found out.
std::variant<plist::Dictionary, std::string> tryOut(Simulator& simulator, const std::shared_ptr<VLMDisplaySet>& set) {
  std::array<int, 2> ends{};
  if (pipe(ends.data()) != 0) return std::string("no trial run: ") + std::strerror(errno);
  const pid_t copy = fork();
  if (copy == 0) {
    close(ends[0]);
    runCopy(simulator, set, ends[1]);
  }
  const int error = errno;
  close(ends[1]);
  const std::string text = copy < 0 ? std::string() : readAll(ends[0]);
  close(ends[0]);
  if (copy < 0) return std::string("no trial run: ") + std::strerror(error);
  if (std::string reason = endOf(copy); !reason.empty()) return reason;
  const auto value = valueFromJson(text);
  if (!value || value->dictionary() == nullptr) return std::string("the trial run gave no answer");
  return *value->dictionary();
}

void addChanges(plist::Array& changes, const std::string& display, const plist::Dictionary& before,
                const plist::Dictionary& after) {
  const auto add = [&](const std::string& key, const plist::Value* was, const plist::Value* is) {
    plist::Dictionary change{{"aspect", key}};
    if (!display.empty()) change.set("display", display);
    if (was != nullptr) change.set("before", *was);
    if (is != nullptr) change.set("after", *is);
    changes.emplace_back(std::move(change));
  };
  for (const plist::Entry& entry : before) {
    const plist::Value* is = after.find(entry.key);
    if (entry.key != "displays" && (is == nullptr || *is != entry.value)) add(entry.key, &entry.value, is);
  }
  for (const plist::Entry& entry : after) {
    if (!before.contains(entry.key)) add(entry.key, nullptr, &entry.value);
  }
}

plist::Array changesBetween(const plist::Dictionary& before, const plist::Dictionary& after) {
  plist::Array changes;
  // Nobody adds displays to a machine that runs, so that the lists go together.
  const plist::Array& were = *before.array("displays");
  const plist::Array* are = after.array("displays");
  for (std::size_t i = 0; are != nullptr && i < were.size() && i < are->size(); ++i) {
    const plist::Dictionary* is = (*are)[i].dictionary();
    const plist::Dictionary& was = *were[i].dictionary();
    if (is != nullptr) addChanges(changes, was.string("name").value_or(""), was, *is);
  }
  addChanges(changes, "", {{"grayscale", before.boolean("grayscale")}}, {{"grayscale", after.boolean("grayscale")}});
  return changes;
}

}  // namespace

std::variant<plist::Dictionary, std::string> planFor(Simulator& simulator, const std::shared_ptr<VLMDisplaySet>& set) {
  // Once through JSON, as the copy's answer, so that what JSON cannot say is no difference.
  const auto before = valueFromJson(jsonText(stateOf(simulator.mac())));
  auto tried = tryOut(simulator, set);
  if (std::holds_alternative<std::string>(tried)) return tried;
  const auto& after = std::get<plist::Dictionary>(tried);
  const double sinceLast = simulator.mac().now() - set->lastExecutedDate.value_or(-kRepeatedRequest);
  const Process::Scope inDaemon(simulator.daemon()->process());
  const bool wasLogged = std::exchange(simulator.mac().logEnabled, false);
  const std::int16_t mark = VLMGlobals::sharedInstance().checkMarkForSet(*set, nullptr);
  simulator.mac().logEnabled = wasLogged;
  return plist::Dictionary{{"set", set->name.value_or("")},
                           {"mark", markName(mark)},
                           {"markAfter", after.string("markAfter").value_or("")},
                           {"changes", changesBetween(*before->dictionary(), after)},
                           {"calls", after.array("calls") == nullptr ? plist::Array() : *after.array("calls")},
                           {"seconds", after.sInt64("seconds")},
                           {"isRepeated", sinceLast >= 0 && sinceLast < kRepeatedRequest}};
}

// --- As text ---

namespace {

/// Modes of one size and rate differ in their numbers alone.
std::vector<std::string> textsOf(const plist::Dictionary& change) {
  std::vector<std::string> texts;
  for (const char* key : {"before", "after"}) texts.push_back(viewText(change.find(key)));
  if (texts[0] != texts[1]) return texts;
  for (std::size_t i = 0; i < texts.size(); ++i) {
    const plist::Dictionary* mode = change.dictionary(i == 0 ? "before" : "after");
    if (mode != nullptr) texts[i] += " (mode " + std::to_string(mode->sInt64("systemMode")) + ")";
  }
  return texts;
}

std::string changesText(const plist::Array& changes) {
  std::vector<std::vector<std::string>> rows{{"DISPLAY", "WHAT", "NOW", "THEN"}};
  for (const plist::Value& value : changes) {
    const plist::Dictionary& change = *value.dictionary();
    std::vector<std::string> row{change.string("display").value_or("(all)"), change.string("aspect").value_or("")};
    const auto texts = textsOf(change);
    row.insert(row.end(), texts.begin(), texts.end());
    rows.push_back(std::move(row));
  }
  return tableOf(rows);
}

}  // namespace

std::string planText(const plist::Dictionary& plan) {
  const std::string set = quoted(plan.string("set").value_or(""));
  const plist::Array& changes = *plan.array("changes");
  std::string text;
  if (plan.boolean("isRepeated")) {
    text += set + " was applied less than a second ago; the daemon drops a request that comes again so soon.\n";
  } else if (plan.string("mark") != "none") {
    text += set + " counts as in force (mark " + plan.string("mark").value_or("") +
            "): the daemon touches no display for it.\n";
  }
  text += changes.empty() ? "Applying " + set + " would change nothing.\n" : changesText(changes);
  const plist::Array& calls = *plan.array("calls");
  if (!calls.empty()) text += "Calls, within " + std::to_string(plan.sInt64("seconds")) + " s:\n";
  for (const plist::Value& value : calls) {
    const plist::Dictionary& call = *value.dictionary();
    text += "  " + call.string("process").value_or("") + ": " + call.string("call").value_or("") + "\n";
  }
  if (!changes.empty()) text += "Its mark would be: " + plan.string("markAfter").value_or("") + "\n";
  return text;
}

}  // namespace vlm::sim
