#include "Simulator/Program/EdidView.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <numeric>
#include <ostream>

#include "Simulator/Mac/Edid.h"
#include "Simulator/Program/DisplayTexts.h"
#include "Simulator/Program/Json.h"
#include "Simulator/Program/OnDocument.h"
#include "Simulator/Program/Paths.h"
#include "Simulator/Program/Views.h"

namespace vlm::sim {

namespace {

constexpr std::size_t kBlockLength = 128, kCountOffset = 126;
constexpr std::uint8_t kDisplayIdTag = 0x70;

struct EdidFound {
  std::string displayName;
  plist::Data bytes;
  bool isAsDaemonReadsIt = false;
  const char* source = "monitor";
};

std::variant<EdidFound, std::string> edidOf(Simulator& simulator, const std::string& text) {
  const auto found = simulator.displayNamed(text);
  if (const auto* reason = std::get_if<std::string>(&found)) return *reason;
  const SimulatedDisplay& display = *std::get<SimulatedDisplay*>(found);
  EdidFound edid{.displayName = display.description.name, .bytes = display.description.edid};
  if (display.id == 0) return edid;
  // Without a daemon it is the monitor's own.
  static_cast<void>(withDocument(simulator, [&](const VLMGlobals& document) -> Refusal {
    const auto record = document.displayWithcgID(display.id);
    if (!record) return std::nullopt;
    edid.isAsDaemonReadsIt = true;
    edid.source = record->hasFakeEDID() ? "made up" : "registry";
    edid.bytes = record->edidDataActual();
    if (!record->hasFakeEDID()) return std::nullopt;
    // Apple silicon keeps it out of the registry; what an override file is composed from comes from elsewhere there.
    if (auto own = record->ownEDID()) {
      edid.bytes = std::move(*own);
      edid.source = "AV service";
    }
    return std::nullopt;
  }));
  return edid;
}

// --- What it says ---

std::string hexadecimal(std::uint32_t number) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%x", number);
  return text;
}

/// Three letters of five bits each, 1 is A (E-EDID 1.4, 3.4.1).
std::string vendorLetters(std::uint32_t vendor) {
  std::string letters;
  for (const unsigned shift : {10U, 5U, 0U}) {
    const std::uint32_t letter = vendor >> shift & 0x1FU;
    letters += letter >= 1 && letter <= 26 ? static_cast<char>('A' + letter - 1) : '?';
  }
  return letters;
}

/// The daemon's own DisplayID extensions have its name in them, and what they mark as imported more.
bool hasText(std::span<const std::uint8_t> block, std::string_view text) {
  const auto isSame = [](std::uint8_t byte, char letter) { return byte == static_cast<std::uint8_t>(letter); };
  return std::search(block.begin(), block.end(), text.begin(), text.end(), isSame) != block.end();
}

std::string blockName(std::span<const std::uint8_t> block, std::size_t index) {
  if (index == 0) return "base";
  switch (block[0]) {
    case 0x02:
      return "CTA-861";
    case 0x10:
      return "video timing";
    case kDisplayIdTag:
      if (hasText(block, "Velmoratix-imp")) return "DisplayID, our own, marked as imported";
      return hasText(block, "Velmoratix") ? "DisplayID, our own" : "DisplayID";
    case 0xF0:
      return "block map";
    default:
      return "kind " + hexadecimal(block[0]);
  }
}

plist::Array blocksOf(std::span<const std::uint8_t> edid) {
  plist::Array blocks;
  for (std::size_t at = 0; at + kBlockLength <= edid.size(); at += kBlockLength) {
    const auto block = edid.subspan(at, kBlockLength);
    const unsigned sum = std::accumulate(block.begin(), block.end(), 0U);
    blocks.emplace_back(
        plist::Dictionary{{"kind", blockName(block, at / kBlockLength)}, {"isChecksumRight", sum % 256 == 0}});
  }
  return blocks;
}

plist::Dictionary rangeView(const TimingLimits& limits) {
  const auto megahertz = [](std::uint64_t hertz) { return rateView(static_cast<double>(hertz) / 1e6); };
  return {{"minH", rateView(limits.minLineHz / 1000.0)},
          {"maxH", rateView(limits.maxLineHz / 1000.0)},
          {"minV", limits.minFrameHz},
          {"maxV", limits.maxFrameHz},
          {"minPClock", megahertz(limits.minClockHz)},
          {"maxPClock", megahertz(limits.maxClockHz)}};
}

const char* sourceName(Timing::Source source) {
  switch (source) {
    case Timing::Source::displayId:
      return "DisplayID";
    case Timing::Source::cta:
      return "CTA-861";
    case Timing::Source::standard:
      return "standard";
    case Timing::Source::established:
      return "established";
    case Timing::Source::installed:
      return "installed";
    default:
      return "detailed";
  }
}

plist::Dictionary timingView(const Timing& timing) {
  const double total = timing.horizontalActive + timing.horizontalBlanking;
  const double clock = static_cast<double>(timing.pixelClockHz);
  plist::Dictionary view{
      {"width", timing.horizontalActive},       {"height", timing.verticalActive},
      {"interlaced", timing.interlaced},        {"refreshHz", rateView(timing.refreshRateHz())},
      {"pixelClockMHz", rateView(clock / 1e6)}, {"lineRateKHz", rateView(total > 0 ? clock / total / 1000 : 0)},
      {"source", sourceName(timing.source)},    {"preferred", timing.preferred}};
  if (timing.videoCode != 0) view.set("videoCode", timing.videoCode);
  return view;
}

void addContent(plist::Dictionary& view, const ParsedEdid& edid) {
  view.set("name", edid.name);
  view.set("vendor", vendorLetters(edid.vendor));
  view.set("vendorNumber", edid.vendor);
  view.set("product", edid.product);
  view.set("serial", edid.serial);
  view.set("serialText", edid.serialText);
  view.set("week", edid.week);
  view.set("year", edid.year);
  view.set("digital", edid.digital);
  view.set("widthCentimetres", edid.widthCentimetres);
  view.set("heightCentimetres", edid.heightCentimetres);
  if (edid.limits != TimingLimits{}) view.set("range", rangeView(edid.limits));
  plist::Array timings;
  for (const Timing& timing : edid.timings) timings.emplace_back(timingView(timing));
  view.set("timings", std::move(timings));
}

plist::Dictionary edidView(const EdidFound& found) {
  plist::Dictionary view{{"display", found.displayName},
                         {"bytes", static_cast<std::int64_t>(found.bytes.size())},
                         {"isAsDaemonReadsIt", found.isAsDaemonReadsIt},
                         {"source", found.source},
                         {"blocks", blocksOf(found.bytes)}};
  plist::Array findings;
  const auto read = readEdid(found.bytes);
  if (hasText(found.bytes, "VLMFakeEDID")) {
    findings.emplace_back("the display reports no EDID: the daemon has made this one up");
  } else if (const auto* reason = std::get_if<std::string>(&read)) {
    findings.emplace_back(*reason);
  } else {
    const auto& edid = std::get<ParsedEdid>(read);
    addContent(view, edid);
    for (const std::string& finding : edid.findings) findings.emplace_back(finding);
  }
  const std::size_t declared = found.bytes.size() > kCountOffset ? found.bytes[kCountOffset] + std::size_t{1} : 1;
  if (found.bytes.size() / kBlockLength != declared) {
    findings.emplace_back("it counts " + std::to_string(declared) + " blocks and has " +
                          std::to_string(found.bytes.size() / kBlockLength));
  }
  view.set("findings", std::move(findings));
  return view;
}

// --- Printing ---

std::string numberText(const plist::Dictionary& view, const char* key) { return std::to_string(view.sInt64(key)); }

/// Week 255 says that the year is the model's (E-EDID 1.4, 3.4.4).
std::string dateText(const plist::Dictionary& view) {
  const std::int64_t week = view.sInt64("week");
  if (week == 255) return "model of " + numberText(view, "year");
  return (week == 0 ? "" : "week " + std::to_string(week) + " of ") + numberText(view, "year");
}

std::string rangeText(const plist::Dictionary& range) {
  return shortNumber(range.real("minH")) + "-" + shortNumber(range.real("maxH")) + " kHz, " +
         numberText(range, "minV") + "-" + numberText(range, "maxV") + " Hz, up to " +
         shortNumber(range.real("maxPClock")) + " MHz";
}

std::string whereFrom(const plist::Dictionary& view) {
  if (!view.boolean("isAsDaemonReadsIt")) return "as the monitor holds it";
  if (view.string("source") == "AV service") return "as the AV service tells it; the registry has none here";
  return "as the daemon reads it";
}

using Rows = std::vector<std::vector<std::string>>;

void addIdentity(Rows& rows, const plist::Dictionary& view) {
  rows.push_back({"name", view.string("name").value_or("-")});
  rows.push_back({"maker", *view.string("vendor") + " (" + hexadecimal(view.uInt32("vendorNumber")) + ")"});
  rows.push_back({"product", numberText(view, "product") + " (" + hexadecimal(view.uInt32("product")) + ")"});
  const std::string serialText = view.string("serialText").value_or("");
  rows.push_back({"serial", numberText(view, "serial") + (serialText.empty() ? "" : ", " + quoted(serialText))});
  rows.push_back({"made", dateText(view)});
  rows.push_back({"input", view.boolean("digital") ? "digital" : "analogue"});
  const bool hasSize = view.uInt32("widthCentimetres") != 0 && view.uInt32("heightCentimetres") != 0;
  rows.push_back(
      {"picture",
       hasSize ? numberText(view, "widthCentimetres") + " × " + numberText(view, "heightCentimetres") + " cm" : "-"});
}

Rows aspectRows(const plist::Dictionary& view) {
  Rows rows{{"ASPECT", "VALUE"}};
  if (view.contains("vendor")) addIdentity(rows, view);
  if (const plist::Dictionary* range = view.dictionary("range")) rows.push_back({"range", rangeText(*range)});
  const plist::Array& blocks = *view.array("blocks");
  for (std::size_t i = 0; i < blocks.size(); ++i) {
    const plist::Dictionary& block = *blocks[i].dictionary();
    rows.push_back(
        {"block " + std::to_string(i),
         *block.string("kind") + (block.boolean("isChecksumRight") ? ", checksum right" : ", checksum wrong")});
  }
  return rows;
}

Rows timingRows(const plist::Array& timings) {
  Rows rows{{"TIMING", "RATE", "PIXEL CLOCK", "LINE RATE", "SOURCE", "NOTES"}};
  for (const plist::Value& value : timings) {
    const plist::Dictionary& view = *value.dictionary();
    std::string notes = view.boolean("preferred") ? "preferred" : "";
    if (view.contains("videoCode")) notes += (notes.empty() ? "code " : ", code ") + numberText(view, "videoCode");
    rows.push_back(
        {numberText(view, "width") + " × " + numberText(view, "height") + (view.boolean("interlaced") ? "i" : ""),
         shortNumber(view.real("refreshHz")) + " Hz", shortNumber(view.real("pixelClockMHz")) + " MHz",
         shortNumber(view.real("lineRateKHz")) + " kHz", *view.string("source"), notes});
  }
  return rows;
}

void printTable(Output& output, const Rows& rows) {
  const std::string table = tableOf(rows);
  const std::size_t headerEnd = table.find('\n');
  output.data << output.bold(table.substr(0, headerEnd)) << table.substr(headerEnd);
}

}  // namespace

Outcome showEdid(Simulator& simulator, const std::string& displayName) {
  const auto found = edidOf(simulator, displayName);
  if (const auto* reason = std::get_if<std::string>(&found)) return Outcome::refused(*reason);
  const plist::Dictionary view = edidView(std::get<EdidFound>(found));
  Output& output = simulator.output();
  if (simulator.wantsJson) {
    output.data << jsonText(view) << "\n";
    return {};
  }
  output.data << output.bold(*view.string("display")) << ": " << numberText(view, "bytes") << " bytes, "
              << whereFrom(view) << "\n";
  printTable(output, aspectRows(view));
  if (const plist::Array* timings = view.array("timings")) printTable(output, timingRows(*timings));
  for (const plist::Value& finding : *view.array("findings")) {
    output.data << output.red("! ") << *finding.string() << "\n";
  }
  return {};
}

Outcome saveEdid(Simulator& simulator, const std::string& displayName, const std::string& file) {
  const auto found = edidOf(simulator, displayName);
  if (const auto* reason = std::get_if<std::string>(&found)) return Outcome::refused(*reason);
  const auto path = readPath(simulator.mac(), file);
  if (const auto* reason = std::get_if<std::string>(&path)) return Outcome::refused(*reason);
  const plist::Data& bytes = std::get<EdidFound>(found).bytes;
  std::ofstream stream(std::get<std::filesystem::path>(path), std::ios::binary);
  stream.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  stream.close();
  return stream ? Outcome{} : Outcome::refused(file + ": cannot be written");
}

}  // namespace vlm::sim
