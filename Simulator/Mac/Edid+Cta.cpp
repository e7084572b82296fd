#include <algorithm>

#include "Simulator/Mac/EdidReading.h"
#include "Simulator/Mac/StandardTimings.h"

/// The CTA-861 extension of an EDID (ANSI/CTA-861-H, section 7): video codes, and more detailed timings.
namespace vlm::sim::edid {
namespace {

/// Data block tags, and extended tags of the blocks with tag 7.
constexpr unsigned kVideoTag = 2, kExtendedTag = 7;
constexpr std::uint8_t kYCbCr420VideoTag = 14, kTypeSevenTimingTag = 34;
constexpr std::size_t kFirstDataBlock = 4;

/// A short video descriptor. Codes up to 64 have room for a "native" mark in bit 7.
void readVideoDescriptor(std::uint8_t descriptor, const std::string& where, Collector& collector) {
  const bool native = descriptor >= 129 && descriptor <= 192;
  const std::uint32_t code = native ? descriptor & 0x7fU : descriptor;
  collector.add(timingOfVideoCode(code), where + ": video code " + std::to_string(code),
                native ? Collector::Claim::ctaNative : Collector::Claim::none);
}

/// A DisplayID Type VII timing in a CTA data block: one byte of revision, then the timing.
void readTypeSevenTiming(Bytes payload, const std::string& where, Collector& collector) {
  if (payload.size() < 1 + kDisplayIdTimingLength) return collector.finding(where + ": Type VII timing is cut short");
  Timing timing = readDisplayIdTiming(payload.subspan(1).first<kDisplayIdTimingLength>(), kTypeSevenClockHz);
  timing.source = Timing::Source::cta;
  collector.add(timing, where + ": Type VII timing");
}

void readExtendedDataBlock(Bytes payload, const std::string& where, Collector& collector) {
  if (payload.empty()) return;
  const std::uint8_t tag = payload.front();
  payload = payload.subspan(1);
  if (tag == kTypeSevenTimingTag) return readTypeSevenTiming(payload, where, collector);
  if (tag != kYCbCr420VideoTag) return;
  for (const std::uint8_t descriptor : payload) readVideoDescriptor(descriptor, where, collector);
}

void readDataBlocks(Bytes blocks, const std::string& where, Collector& collector) {
  while (!blocks.empty()) {
    const unsigned tag = unsigned{blocks.front()} >> 5;
    const std::size_t length = blocks.front() & 0x1f;
    if (1 + length > blocks.size()) return collector.finding(where + ": a data block reaches beyond its collection");
    const Bytes payload = blocks.subspan(1, length);
    if (tag == kVideoTag) {
      for (const std::uint8_t descriptor : payload) readVideoDescriptor(descriptor, where, collector);
    } else if (tag == kExtendedTag) {
      readExtendedDataBlock(payload, where, collector);
    }
    blocks = blocks.subspan(1 + length);
  }
}

void readDetailedTimings(Bytes timings, unsigned nativeCount, const std::string& where, Collector& collector) {
  for (unsigned number = 1; timings.size() >= kDescriptorLength; ++number) {
    const Descriptor descriptor = timings.first<kDescriptorLength>();
    if (descriptor[0] == 0 && descriptor[1] == 0) return;  // padding up to the checksum
    collector.add(readDetailedTiming(descriptor), where + ": detailed timing " + std::to_string(number),
                  number <= nativeCount ? Collector::Claim::ctaNative : Collector::Claim::none);
    timings = timings.subspan(kDescriptorLength);
  }
}

}  // namespace

void readCtaExtension(Bytes block, const std::string& where, Collector& collector) {
  if (block.size() < kFirstDataBlock) return collector.finding(where + ": CTA extension is cut short");
  const Bytes content = block.first(std::min(block.size(), kBlockContent));
  const unsigned revision = content[1];
  const std::size_t timingsAt = content[2];
  if (timingsAt == 0) return;  // neither data blocks nor timings
  if (timingsAt < kFirstDataBlock || timingsAt > kBlockContent) {
    return collector.finding(where + ": detailed timings are said to begin at byte " + std::to_string(timingsAt));
  }
  const std::size_t dataEnd = std::min(timingsAt, content.size());
  if (revision >= 3) readDataBlocks(content.subspan(kFirstDataBlock, dataEnd - kFirstDataBlock), where, collector);
  // Byte 3 has flags, and since revision 2 the number of detailed timings that are native: those of the base block
  // first. Theirs is not needed: the first one there is preferred anyway.
  const unsigned nativeCount = revision >= 2 ? content[3] & 0xfU : 0;
  readDetailedTimings(content.subspan(dataEnd), nativeCount, where, collector);
}

}  // namespace vlm::sim::edid
