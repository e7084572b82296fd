#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Models/VLMChangeRecorder.h"
#include "Models/VLMGlobals.h"
#include "Platform/Files.h"
#include "Shared/Prefs.h"
#include "Simulator/Mac/Registry.h"
#include "Tests/Support/TestProcess.h"

namespace vlm::test {

/// The displays of a simulated Mac as the document discovers them.
class DisplaysOnMac {
 public:
  explicit DisplaysOnMac(sim::MachineDescription machine) : process(std::move(machine)) { discover(); }
  /// With this settings file.
  DisplaysOnMac(sim::MachineDescription machine, const plist::Dictionary& settings) : process(std::move(machine)) {
    EXPECT_EQ(os().files.writeToURLAtomically(settings, *Prefs_GetVLM4PrefsURL(true)), std::nullopt);
    discover();
  }

  static VLMGlobals& document() { return VLMGlobals::sharedInstance(); }
  /// Anew; what was done by it is not in newJournalLines() any more.
  void discover() {
    document().initializeAllDisplaysFromSystemData();
    process.newJournalLines();
  }
  /// As a reload of the settings file does.
  void reload() {
    document().forget();
    discover();
  }
  sim::SimulatedMac& mac() { return process.mac(); }
  /// The record of a display by the machine's name of it; it must be attached.
  std::shared_ptr<VLMDisplay> operator[](const std::string& name) {
    return document().displayWithcgID(mac().display(name).id);
  }
  /// The only valid mode of that size; null when there is none.
  std::shared_ptr<VLMMode> mode(const std::string& name, std::uint32_t width, std::uint32_t height) {
    for (const auto& mode : (*this)[name]->validDisplayModes) {
      if (mode->Nx == width && mode->Ny == height) return mode;
    }
    return nullptr;
  }
  /// Of the display's frame buffer.
  void setProperty(const std::string& name, const char* key, const plist::Value& value) {
    mac().windowServer().registry().setProperty(mac().display(name).frameBuffer, key, value);
  }
  /// By another program; not in newJournalLines() either.
  void mirror(const std::string& name, const std::string& master) {
    EXPECT_EQ(mac().windowServer().changeByAnother({{.kind = sim::DisplayChange::Kind::mirror,
                                                     .display = mac().display(name).id,
                                                     .master = mac().display(master).id}}),
              std::nullopt);
    process.newJournalLines();
  }
  bool hasLogged(const std::string& text) {
    for (const std::string& line : mac().log) {
      if (line.find(text) != std::string::npos) return true;
    }
    return false;
  }

  sim::TestProcess process;
};

/// What a first start leaves in the settings file, when its records are changed before they are written.
template <class Change>
plist::Dictionary settingsAfter(const sim::MachineDescription& machine, Change change) {
  DisplaysOnMac displays(machine);
  change(displays);
  return displays.document().getPrefs(SettingsGroup::all);
}

/// A recorder of the document's that takes down brightness alone.
class BrightnessRecorder : public VLMChangeRecorder {
 public:
  BrightnessRecorder() { VLMGlobals::sharedInstance().recorder = this; }
  ~BrightnessRecorder() override { VLMGlobals::sharedInstance().recorder = nullptr; }

  bool isRecordingOn() const override { return isOn; }
  void recordOrientationFromDisp(const VLMDisplay&, std::int32_t) override {}
  void recordDepthFromDisp(const VLMDisplay&, std::int32_t) override {}
  void recordModeFromDisp(const VLMDisplay&, const std::shared_ptr<VLMMode>&) override {}
  void recordPositionFromDisp(const VLMDisplay&, DisplayPosition) override {}
  void recordMainDisplayIsNow(const VLMDisplay&) override {}
  void recordMirroringIsNow(bool) override {}
  void recordGrayIsNow(bool) override {}
  void recordOverscanFromDisp(const VLMDisplay&, bool) override {}
  void recordUnderscanFromDisp(const VLMDisplay&, float) override {}
  void recordHDRFromDisp(const VLMDisplay&, bool) override {}
  void recordEnabledFromDisp(const VLMDisplay&, bool) override {}
  void recordBrightnessFromDisp(const VLMDisplay&, float isNow) override { recorded.push_back(isNow); }
  void recordPresetFromDisp(const VLMDisplay&, const std::optional<std::string>&) override {}
  void recordProfileFromDisp(const VLMDisplay&, const std::optional<std::string>&) override {}
  void recordSaveDesktop() override {}
  void recordRestoreDesktop() override {}

  bool isOn = true;
  std::vector<float> recorded;
};

}  // namespace vlm::test
