#pragma once

#include <array>
#include <string_view>

namespace vlm::sim {

/// What stands behind an option of the program, so that shells know what to offer.
enum class OptionArgument { none, machine, existingFile, newFile, folder };

/// One option of the program: what the command line, the manual page and the shells' completions know of it.
struct ProgramOption {
  std::string_view name;
  std::string_view argumentHelp;
  OptionArgument argument = OptionArgument::none;
  std::string_view help;
};

inline constexpr ProgramOption kMachineOption{"--machine", "NAME|FILE", OptionArgument::machine,
                                              "the machine: a name (see Simulator/Machines) or a file"};
inline constexpr ProgramOption kDisplayOption{"--display", "EDIDFILE", OptionArgument::existingFile,
                                              "plugs in one more display, made from a raw EDID file; may be repeated"};
inline constexpr ProgramOption kHomeOption{"--home", "FOLDER", OptionArgument::folder,
                                           "the user's home folder; without it a temporary one that goes afterwards"};
inline constexpr ProgramOption kScriptOption{"--script", "FILE|-", OptionArgument::existingFile,
                                             "plays a scenario, \"-\" from standard input"};
inline constexpr ProgramOption kJournalOption{"--journal", "FILE", OptionArgument::newFile,
                                              "writes every call that changed something on the machine there"};
inline constexpr ProgramOption kLogOption{"--log", "FILE", OptionArgument::newFile,
                                          "writes what the daemon logs there"};
inline constexpr ProgramOption kHelpOption{"--help", "", OptionArgument::none,
                                           "prints the options and ends; -h for short"};
inline constexpr ProgramOption kVersionOption{"--version", "", OptionArgument::none, "prints the version and ends"};

inline constexpr std::array kProgramOptions{kMachineOption, kDisplayOption, kHomeOption, kScriptOption,
                                            kJournalOption, kLogOption,     kHelpOption, kVersionOption};

inline constexpr std::string_view kProgramAbout =
    "A simulated Mac with the Velmoratix daemon on it.\n"
    "Without --script: a prompt at a terminal (its command help lists the others), otherwise a guided tour.";

struct ExitStatus {
  int number = 0;
  std::string_view meaning;
};
inline constexpr std::array kExitStatuses{
    ExitStatus{0, "it ran, and every expectation held"},
    ExitStatus{1, "an expectation did not hold, or the machine noticed a misuse"},
    ExitStatus{2, "a wrong call, machine, EDID or line; standard error has file, line or key, and the reason"},
};

}  // namespace vlm::sim
