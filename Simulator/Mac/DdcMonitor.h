#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "Platform/PropertyList.h"
#include "Simulator/Mac/Machine.h"

namespace vlm::sim {

/// The far end of a display cable's I²C wire: the EDID memory, and a monitor's controls by DDC/CI 1.1 with the
/// brightness of MCCS (VCP code 0x10). It answers byte by byte what a monitor would: a frame with a wrong source,
/// length or checksum is acknowledged and ignored, and who reads before the answer is ready, or without a question,
/// gets a null message.
class DdcMonitor {
 public:
  /// 8-bit bus addresses.
  static constexpr std::uint8_t kControlWrite = 0x6e, kControlRead = 0x6f, kEdidWrite = 0xa0, kEdidRead = 0xa1;
  /// What a computer signs its frames with.
  static constexpr std::uint8_t kHostAddress = 0x51;
  static constexpr std::uint8_t kBrightness = 0x10;
  /// Seconds from a question to its answer.
  static constexpr double kReplyLatency = 0.010;

  /// Whether the checksum of a question may leave out the host's address. Clients of AV services send it so, since the
  /// service puts that byte on the wire for them, and monitors let it pass.
  enum class HostInChecksum { required, optional };

  /// `current` is where the brightness lives; it outlives the monitor.
  DdcMonitor(DdcBehaviour behaviour, plist::Data edid, std::uint16_t maximum, std::uint16_t& current);

  /// Bytes sent to an address, `now` in seconds. False when nothing acknowledges.
  bool write(std::uint8_t address, std::span<const std::uint8_t> bytes, double now,
             HostInChecksum rule = HostInChecksum::required);
  /// Fills all of `bytes`. False when nothing acknowledges.
  bool read(std::uint8_t address, std::span<std::uint8_t> bytes, double now);

  /// Whether a frame asks for something, rather than changing it.
  static bool isQuestion(std::span<const std::uint8_t> frame);

 private:
  /// Opcode and arguments of a DDC/CI frame.
  void obey(std::span<const std::uint8_t> message, double now);
  void answerGetFeature(std::uint8_t code, double now);
  void readEdid(std::span<std::uint8_t> bytes);

  DdcBehaviour behaviour_;
  plist::Data edid_;
  std::uint16_t maximum_;
  std::uint16_t& current_;
  std::size_t edidOffset_ = 0;
  std::optional<plist::Data> reply_;
  double replyReadyAt_ = 0;
};

}  // namespace vlm::sim
