#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "Platform/PropertyList.h"
#include "Simulator/Mac/Machine.h"

namespace vlm::sim {

/// By the word that machine files and commands have for it ("wrong-code").
std::optional<DdcBehaviour> ddcBehaviourNamed(std::string_view name);
std::string nameOfDdcBehaviour(DdcBehaviour behaviour);
/// All of them, parted by commas.
std::string namesOfDdcBehaviours();

/// The far end of a display cable's I²C wire: the EDID memory, and a monitor's controls by DDC/CI 1.1 with the
/// brightness of MCCS (VCP code 0x10). It answers byte by byte what a monitor would: a frame with a wrong source,
/// length or checksum is acknowledged and ignored, and who reads before the answer is ready, or without a question,
/// gets a null message. Not every monitor behaves:
///
/// - slow: it obeys, but takes 110 ms to an answer, so that a reader who waits less gets a null message;
/// - deaf: acknowledges all, obeys nothing and drives no bit of an answer;
/// - garbled: it obeys, and bits flip on the way back: in the result and in the value, not in what the checksum is;
/// - wrong-code: it obeys, and answers, in frames without a fault, as if it had been asked for the contrast;
/// - intermittent: every third frame finds it awake, and it stays so until the next; else nothing acknowledges;
/// - none: there is nothing at the end of the wire, the EDID memory included.
class DdcMonitor {
 public:
  /// 8-bit bus addresses.
  static constexpr std::uint8_t kControlWrite = 0x6e, kControlRead = 0x6f, kEdidWrite = 0xa0, kEdidRead = 0xa1;
  /// What a computer signs its frames with.
  static constexpr std::uint8_t kHostAddress = 0x51;
  static constexpr std::uint8_t kBrightness = 0x10;
  /// Seconds from a question to its answer.
  static constexpr double kReplyLatency = 0.010, kSlowReplyLatency = 0.110;

  /// Whether the checksum of a question has the host's address in it. Behind an AV service, which puts that byte on the
  /// wire itself, it has not; all other frames are signed in one way everywhere.
  enum class HostInQuestion { present, absent };

  /// `current` is where the brightness lives; it outlives the monitor.
  DdcMonitor(DdcBehaviour behaviour, plist::Data edid, std::uint16_t maximum, std::uint16_t& current);

  /// From now on; an answer that was not fetched is lost.
  void behave(DdcBehaviour behaviour);

  /// Bytes sent to an address, `now` in seconds. False when nothing acknowledges.
  bool write(std::uint8_t address, std::span<const std::uint8_t> bytes, double now,
             HostInQuestion rule = HostInQuestion::present);
  /// Fills all of `bytes`. False when nothing acknowledges.
  bool read(std::uint8_t address, std::span<std::uint8_t> bytes, double now);

  /// Whether a frame asks for something, rather than changing it.
  static bool isQuestion(std::span<const std::uint8_t> frame);

 private:
  /// Opcode and arguments of a DDC/CI frame.
  void obey(std::span<const std::uint8_t> message, double now);
  void answerGetFeature(std::uint8_t code, double now);
  void readEdid(std::span<std::uint8_t> bytes);
  /// Notes that a frame has come; false when nothing hears it.
  bool hears();

  DdcBehaviour behaviour_ = DdcBehaviour::none;
  unsigned framesSent_ = 0;  ///< to an intermittent one
  bool isAwake_ = true;
  plist::Data edid_;
  std::uint16_t maximum_;
  std::uint16_t& current_;
  std::size_t edidOffset_ = 0;
  std::optional<plist::Data> reply_;
  double replyReadyAt_ = 0;
};

}  // namespace vlm::sim
