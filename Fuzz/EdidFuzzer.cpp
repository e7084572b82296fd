#include <algorithm>
#include <array>
#include <cmath>

#include "Fuzz/FuzzInput.h"
#include "Fuzz/FuzzMac.h"
#include "Models/VLMDisplay.h"
#include "Models/VLMOverrideResolution.h"
#include "Shared/VLFlippers.h"
#include "Shared/VLMEDIDUtils.h"
#include "Shared/VLMExtension.h"
#include "Simulator/Mac/DisplayModes.h"
#include "Simulator/Mac/Edid.h"
#include "Simulator/Mac/PropertyListFile.h"
#include "Simulator/Mac/Registry.h"

/// An EDID through every reader: the simulated Mac's, the daemon's, and those of the timings in it.
namespace vlm::fuzz {
namespace {

constexpr std::size_t kBlock = 128, kProductAt = 10, kCountAt = 126, kDescriptorsAt = 54;

// --- As the simulated Mac reads it ---

void readAsMachine(Bytes edid) {
  const auto read = sim::readEdid(edid);
  if (const auto* reason = std::get_if<std::string>(&read)) return check(!reason->empty(), "a refusal says why");
  const auto& parsed = std::get<sim::ParsedEdid>(read);
  check(!parsed.timings.empty() && parsed.timings.front().preferred, "the preferred timing stands first");
  // The checksum of the first block is what the fuzzer may set as it likes.
  const std::uint8_t choice = edid[kBlock - 1];
  const sim::ModeOptions options{
      .depths = (choice & 1) != 0 ? std::vector<std::uint32_t>{8, 32, 64} : std::vector<std::uint32_t>{32},
      .hiDPI = (choice & 2) != 0,
      .scaledSizes = (choice & 4) != 0,
      .oddities = (choice & 8) != 0,
      .builtIn = (choice & 16) != 0,
      .variableRefresh = (choice & 32) != 0};
  const sim::ModeTable table = sim::deriveModes(parsed, options);
  check(!table.modes.empty(), "a display has a mode");
  check(std::any_of(table.modes.begin(), table.modes.end(),
                    [&](const auto& mode) { return mode.number == table.nativeModeNumber; }),
        "the native mode is in the list");
  for (const sim::SimulatedMode& mode : table.modes) {
    check(mode.width != 0 && mode.height != 0, "a mode has a size");
    sim::modeDescription(mode);
  }
  // A frame buffer's registry entry for every mode takes longer than all the rest.
  if ((choice & 192) == 0) sim::frameBufferConfig(table);
}

// --- Whole EDIDs, as the daemon reads and composes them ---

bool isInOrder(Bytes edid) {
  if (edid.size() < kBlock || edid.size() != kBlock * (edid[kCountAt] + std::size_t{1})) return false;
  return VLMEDID_calcChecksum(edid, 0, kBlock - 1) == 0;
}

void matchHalves(Bytes edid) {
  const Bytes a = edid.first(edid.size() / 2), b = edid.subspan(edid.size() / 2);
  for (const bool identityOnly : {false, true}) {
    check(VLMEDID_doEDIDMatch(a, b, identityOnly) == VLMEDID_doEDIDMatch(b, a, identityOnly), "matching is mutual");
    const bool isSelf = VLMEDID_doEDIDMatch(edid, edid, identityOnly);
    check(isSelf || edid.size() < kBlock || edid.size() < kBlock * (edid[kCountAt] + std::size_t{1}),
          "an EDID that has all its blocks matches itself");
  }
}

void composeAnew(Bytes edid) {
  const std::uint8_t found = VLMEDID_findVLMDisplayIDExtensionInEDID(edid);
  check(found == kNoVLMExtension || (found != 0 && found * kBlock < edid.size()), "an extension is within the data");
  auto timings = timingsInVLMExtensions(edid);
  const bool isImported = hasImportedMark(edid);
  const plist::Data bare = withoutVLMExtensions(edid);
  check(VLMEDID_findVLMDisplayIDExtensionInEDID(bare) == kNoVLMExtension, "what was taken out is out");
  if (edid.size() < kBlock) return;
  check(isInOrder(bare), "an EDID without our extensions is in order");

  // Timings of its own, and as many as a byte of it says of what stands anywhere in it.
  for (std::size_t at = 8; timings.size() < edid[kProductAt + 1] && at + kVLMTimingLength <= edid.size(); ++at) {
    std::copy_n(edid.begin() + static_cast<std::ptrdiff_t>(at), kVLMTimingLength, timings.emplace_back().begin());
  }
  std::size_t left = 0;
  const plist::Data composed = withVLMExtensions(bare, timings, isImported, left);
  check(isInOrder(composed), "a composed EDID is in order");
  for (std::size_t at = bare.size(); at < composed.size(); at += kBlock) {
    check(VLMEDID_calcChecksum(Bytes(composed).subspan(at, kBlock), 0, kBlock - 1) == 0, "a composed block sums to 0");
  }
  check(left <= timings.size(), "no more is left than there was");
  timings.resize(timings.size() - left);
  check(timingsInVLMExtensions(composed) == timings, "composed timings come back");
  if (!timings.empty()) {
    check(VLMEDID_findVLMDisplayIDExtensionInEDID(composed) == bare.size() / kBlock, "a composed extension is found");
  }
  if (composed.size() > bare.size() && isImported) check(hasImportedMark(composed), "a composed mark is found");
  check(withoutVLMExtensions(composed) == bare, "what was composed is taken out again");

  const plist::Data other(edid.begin(), edid.begin() + kBlock);
  const plist::Data named = withIdentityOf(composed, other);
  check(named.size() == composed.size() && isInOrder(named), "an EDID with another identity is in order");
}

// --- The timings in it ---

/// What an entry is in an override file.
struct Written {
  plist::Array dspc, scale, extension;
  plist::Dictionary tovr;

  explicit Written(const VLMOverrideResolution& entry) {
    entry.addInOverridesDspc(dspc, scale, tovr, extension, 1920, 1080);
  }
  plist::Value whole() const { return plist::Array{dspc, scale, extension, tovr}; }
};

void askEverything(const VLMOverrideResolution& entry) {
  // A size for which there is no timing may have a clock that is no number, which equals nothing.
  const bool isNumber = std::isfinite(entry.pixelClock);
  check(entry.isEqualToRes(&entry) || !isNumber, "an entry equals itself");
  check(!entry.modeCompare(entry) && !entry.standardModeCompare(entry), "an entry does not stand before itself");
  entry.displayedModeName();
  entry.resolutionTypeText();
  entry.description();
  entry.modeCompareSortKey();
  for (const std::string& finding : entry.findings({{.source = "the range",
                                    .minH = 30,
                                    .maxH = 83,
                                    .minV = 56,
                                    .maxV = 75,
                                    .minPClock = 0,
                                    .maxPClock = 170}})) {
    check(!finding.empty(), "a finding says something");
  }
  const auto copy = entry.copy();
  check((copy->isEqualToRes(&entry) && entry.isEqualToRes(copy.get())) || !isNumber, "a copy is equal");
  entry.duplicate();
  const plist::Dictionary once = entry.encodeReadable();
  const plist::Dictionary twice = VLMOverrideResolution::initAndDecodeReadableWith(once)->encodeReadable();
  checkSame(once, twice, "an entry is read back from the settings as it was written");
}

/// Its clock apart, which may lose a unit where a number of 10 kHz has no exact double.
plist::Data withoutClock(plist::Data descriptor) {
  descriptor[0] = descriptor[1] = 0;
  return descriptor;
}

/// Writing loses what its form cannot hold, the first time; `read` is how that form is read.
template <class Read>
void readAndWrite(Bytes bytes, Read read) {
  const std::shared_ptr<VLMOverrideResolution> entry = read(bytes);
  check(entry != nullptr, "every reader answers an entry");
  askEverything(*entry);
  entry->toInstall = true;
  const Written once(*entry);
  if (!once.dspc.empty()) {
    const plist::Data& data = *once.dspc.front().data();
    const auto again = VLMOverrideResolution::initWithDTDData(data, 1);
    // Its clock may have been cut to what marks a descriptor that is no timing, and half of a negative porch is a large
    // positive one.
    if ((again->activeNx == 0 && again->activeNy == 0) || again->extended) return;
    const Written twice(*again);
    check(!twice.dspc.empty() && withoutClock(*twice.dspc.front().data()) == withoutClock(data),
          "a written descriptor is read back and written the same");
  }
  if (!once.extension.empty()) {
    const auto again = VLMOverrideResolution::initWithDisplayIdType1Data(*once.extension.front().data(), 1);
    again->extended = true;
    checkSame(once.whole(), Written(*again).whole(), "a written timing is read back and written the same");
  }
}

void generate(Bytes edid) {
  Input input(edid.subspan(std::min<std::size_t>(edid.size(), kDescriptorsAt)));
  const auto entry = VLMOverrideResolution::initEmpty();
  entry->activeNx = static_cast<std::uint32_t>(input.number(input.below(4)));
  entry->activeNy = static_cast<std::uint32_t>(input.number(input.below(4)));
  entry->vfreq = static_cast<double>(input.number(input.below(4))) / 256;
  entry->interlaced = input.below(2) != 0;
  entry->blankingNx = static_cast<std::uint32_t>(input.number(input.below(4)));
  const auto granularity = static_cast<std::uint16_t>(1 + input.below(16));
  const auto type = static_cast<std::uint32_t>(input.below(6));
  entry->generateValuesWithGranAct(granularity, type);
  entry->isAValidResolutionWithGranAct(granularity, type);
  askEverything(*entry);
  const Written written(*entry);
}

/// A few of the timings, which a byte of the EDID chooses: all of them take too long.
void readTimings(Bytes edid) {
  const auto descriptor = [](Bytes bytes) { return VLMOverrideResolution::initWithDTDData(bytes, 1); };
  const auto displayId = [](Bytes bytes) { return VLMOverrideResolution::initWithDisplayIdType1Data(bytes, 1); };
  const auto scaled = [](Bytes bytes) {
    const plist::Value item(plist::Data(bytes.begin(), bytes.end()));
    return VLMOverrideResolution::initWithScaleData(&item, 1);
  };
  const auto number = [](Bytes bytes) {
    const plist::Value item(Input(bytes).number(8));
    return VLMOverrideResolution::initWithScaleData(&item, 1);
  };
  const std::size_t choice = edid.size() > kProductAt ? edid[kProductAt] : 0;
  const std::size_t at = kDescriptorsAt + choice % 4 * VLMOverrideResolution::kDescriptorLength;
  const Bytes rest = edid.subspan(std::min(at, edid.size()));
  const Bytes half = edid.subspan(edid.size() / 2);
  switch (choice / 4 % 5) {
    case 0:
      return readAndWrite(rest.first(std::min<std::size_t>(rest.size(), 18)), descriptor);
    case 1:
      return readAndWrite(rest.first(std::min<std::size_t>(rest.size(), 20)), displayId);
    case 2:
      return readAndWrite(edid.first(std::min<std::size_t>(edid.size(), 8 + edid.size() % 9)), scaled);
    case 3:
      readAndWrite(edid, number);
      return askEverything(*VLMOverrideResolution::initWithTM(edid, half, std::nullopt, choice % 2 != 0));
    default:
      return generate(edid);
  }
}

// --- A display that has it ---

void findOnDisplay(FuzzMac& mac, Bytes edid) {
  sim::WindowServer& server = mac.mac.windowServer();
  const auto& machines = server.displays()[1];
  server.registry().setProperty(machines->displayService, "IODisplayEDID", plist::Data(edid.begin(), edid.end()));
  const auto display = VLMDisplay::init();
  display->cgID = machines->id;
  check(display->initializeRegistryData() == 0, "the display has a registry entry");
  check(display->sysMonitorName && !display->sysMonitorName->empty(), "every display has a name");
  display->hasFakeEDID();
  const plist::Dictionary record = readBack(display->encodeReadable());
  checkSame(record, readBack(record), "a display is read back as it was written");
  if (const auto serial = display->edidSerialString) {
    check(sim::readComposedPropertyList(sim::composePropertyList(plist::Value(*serial))) == plist::Value(*serial),
          "a serial text can be written");
  }
  if (!display->importEDID(plist::Data(edid.begin(), edid.end()), edid.size() % 8 != 0)) {
    display->hasToSaveImportedEDID();
    display->hasToOverrideImportedEDID();
    const OverrideComposition composed = display->composeOverrides();
    const plist::Data* const own = composed.content.data("IODisplayEDID");
    check(own != nullptr && isInOrder(*own), "an imported EDID is written, in order");
  }
}

}  // namespace
}  // namespace vlm::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace vlm::fuzz;
  static FuzzMac mac("laptop-and-two");
  const Bytes edid(data, size);
  readAsMachine(edid);
  matchHalves(edid);
  const vlm::Process process(mac.session.ports());
  composeAnew(edid);
  readTimings(edid);
  constexpr int kDisplayEvery = 4;
  if (size % kDisplayEvery == 0) findOnDisplay(mac, edid);
  return 0;
}
