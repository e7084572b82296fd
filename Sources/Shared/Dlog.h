#pragma once

#include <cstdint>
#include <string>

/// Notices to the user. Numbers name texts of the table "Daemon".
namespace vlm {

/// None of these three waits for the user.
void Dlog_DaemonNotifWithErrAndExpl(const std::string& title, const std::string& explanation);
void Dlog_DaemonNotifWithExpl(std::int32_t titleIndex, const std::string& explanation);
void Dlog_DaemonNotif(std::int32_t titleIndex, std::int32_t explanationIndex);

/// Asks whether a new resolution may stay and waits for the answer, 5 seconds at most. Answers the response flags;
/// those for no answer when the time has passed.
std::uint32_t Dlog_ConfirmNewRes();

}  // namespace vlm
