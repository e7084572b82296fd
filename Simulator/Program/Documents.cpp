#include "Simulator/Program/Documents.h"

#include "Simulator/Program/Commands.h"
#include "Simulator/Program/ProgramOptions.h"
#include "Simulator/Program/Run.h"

namespace vlm::sim {

namespace {

constexpr std::string_view kProgram = "velmoratix-simulator";

/// Every `what` of the text with `with` instead.
std::string replaced(std::string_view text, std::string_view what, std::string_view with) {
  std::string result;
  for (std::size_t at = text.find(what); at != std::string_view::npos; at = text.find(what)) {
    result += text.substr(0, at);
    result += with;
    text.remove_prefix(at + what.size());
  }
  return result + std::string(text);
}

// --- The manual page, in the language of mdoc ---

/// Text as such: what roff would take for a command or an escape is escaped.
std::string roff(std::string_view text) {
  std::string escaped = replaced(replaced(text, "\\", "\\e"), "-", "\\-");
  if (escaped.starts_with('.') || escaped.starts_with('\'')) escaped.insert(0, "\\&");
  return escaped;
}

/// Text as one argument of a macro: quoted, so that no word of it is a macro itself.
std::string argument(std::string_view text) { return "\"" + replaced(roff(text), "\"", "\\(dq") + "\""; }

std::string manualOptions() {
  std::string text;
  for (const ProgramOption& option : kProgramOptions) {
    text += ".It Fl " + argument(option.name.substr(1));
    if (!option.argumentHelp.empty()) text += " Ar " + argument(option.argumentHelp);
    text += "\n" + roff(option.help) + "\n";
  }
  return text;
}

std::string manualCommands() {
  std::string text;
  for (const Command& command : allCommands()) {
    const std::string arguments = usage(command).substr(command.name.size());
    text += ".It Ic " + argument(command.name);
    if (!arguments.empty()) text += " Ar " + argument(std::string_view(arguments).substr(1));
    text += "\n" + roff(command.help) + "\n";
    text += ".br\nExample:\n.Ql " + argument(command.example) + "\n";
  }
  return text;
}

std::string manualStatuses() {
  std::string text;
  for (const ExitStatus& status : kExitStatuses) {
    text += ".It " + std::to_string(status.number) + "\n" + roff(status.meaning) + "\n";
  }
  return text;
}

constexpr std::string_view kManual = R"(.Dd November 21, 2026
.Dt VELMORATIX-SIMULATOR 1
.Os
.Sh NAME
.Nm velmoratix-simulator
.Nd a simulated Mac with the Velmoratix daemon on it
.Sh SYNOPSIS
.Nm
.Op Ar option ...
.Sh DESCRIPTION
.Nm
runs the Velmoratix daemon on a Mac that is made of nothing but rules: displays, system services, files and a clock of
its own.
At a terminal it gives a prompt that keeps its history and completes commands and names; with
.Fl \-script
it plays a scenario, one command a line; otherwise it shows a guided tour.
.Pp
The options are:
.Bl -tag -width Ds
@OPTIONS@.El
.Sh COMMANDS
At the prompt and in scenarios.
Words are parted by blanks; quotes keep blanks together.
The beginning of a display's or set's name will do while it is clear which one is meant.
.Bl -tag -width Ds
@COMMANDS@.El
.Sh ENVIRONMENT
.Bl -tag -width Ds
.It Ev XDG_STATE_HOME
The history of the prompt is kept in
.Pa velmoratix\-simulator/history
below it, or below
.Pa ~/.local/state
without it.
.It Ev NO_COLOR
When it is not empty there are no colours.
.El
.Sh FILES
.Bl -tag -width Ds
.It Pa Simulator/Machines
The machines that have names; files of one's own have the same form.
.It Pa Simulator/Scenarios
Scenarios to learn from.
.It Pa Library/Preferences/org.kelvane.velmoratix.daemon.plist
The daemon's settings file, below the folder of
.Fl \-home .
.It Pa ~/.editrc
Keys of the prompt; see
.Xr editrc 5 .
.El
.Sh EXIT STATUS
.Bl -tag -width Ds
@STATUSES@.El
.Sh EXAMPLES
The guided tour, on a machine of one's own:
.Pp
.Dl velmoratix\-simulator \-\-machine ./my\-desk.plist </dev/null
.Pp
A scenario, with what was called and logged meanwhile:
.Pp
.Dl velmoratix\-simulator \-\-script my.scenario \-\-journal calls \-\-log log
.Pp
Which displays there are, for another program:
.Pp
.Dl echo 'show displays \-\-json' | velmoratix\-simulator \-\-script \-
.Sh SEE ALSO
.Xr editrc 5
.Pp
.Pa docs/machines\-and\-scenarios.md ,
.Pa docs/settings\-file.md
and
.Pa docs/messages.md
of the sources.
)";

std::string manual() {
  const std::string text = replaced(replaced(kManual, "@OPTIONS@", manualOptions()), "@COMMANDS@", manualCommands());
  return replaced(text, "@STATUSES@", manualStatuses());
}

// --- Shells ---

/// Within single quotes of a shell; only those of sh end a quote to write one.
std::string shellQuoted(std::string_view text) { return "'" + replaced(text, "'", "'\\''") + "'"; }

/// Lines, not words: names of files may hold blanks.
std::string bashChoices(const std::string& commands) { return "mapfile -t COMPREPLY < <(" + commands + ")"; }

std::string bashCase(OptionArgument argument) {
  switch (argument) {
    case OptionArgument::machine:
      return bashChoices(
          "\n        compgen -W \"$(\"$1\" --print machines 2>/dev/null)\" -- \"$2\""
          "\n        compgen -f -X '!*.plist' -- \"$2\""
          "\n        compgen -d -- \"$2\"\n      ");
    case OptionArgument::folder:
      return bashChoices("compgen -d -- \"$2\"");
    default:
      return bashChoices("compgen -f -- \"$2\"");
  }
}

std::string bash() {
  std::string cases, names;
  for (const ProgramOption& option : kProgramOptions) {
    names += (names.empty() ? "" : " ") + std::string(option.name);
    if (option.argument == OptionArgument::none) continue;
    cases += "    " + std::string(option.name) + ")\n      " + bashCase(option.argument) + "\n      ;;\n";
  }
  return "# Completion of velmoratix-simulator for bash. Made by velmoratix-simulator --print bash.\n"
         "_velmoratix_simulator() {\n"
         "  case $3 in\n" +
         cases + "    *)\n      " + bashChoices("compgen -W '" + names + "' -- \"$2\"") + "\n      ;;\n  esac\n}\n" +
         "complete -o filenames -F _velmoratix_simulator " + std::string(kProgram) + "\n";
}

std::string zshAction(OptionArgument argument) {
  switch (argument) {
    case OptionArgument::none:
      return "";
    case OptionArgument::machine:
      return "_velmoratix_simulator_machines";
    case OptionArgument::folder:
      return "_files -/";
    default:
      return "_files";
  }
}

std::string zsh() {
  std::string arguments;
  for (const ProgramOption& option : kProgramOptions) {
    const bool repeats = option.name == kDisplayOption.name;
    std::string help(option.help);
    for (const char* special : {"\\", "[", "]", ":"}) help = replaced(help, special, "\\" + std::string(special));
    std::string entry = (repeats ? "*" : "") + std::string(option.name) + "[" + help + "]";
    if (option.argument != OptionArgument::none) {
      entry += ":" + std::string(option.argumentHelp) + ":" + zshAction(option.argument);
    }
    arguments += " \\\n  " + shellQuoted(entry);
  }
  return "#compdef velmoratix-simulator\n"
         "# Completion of velmoratix-simulator for zsh. Made by velmoratix-simulator --print zsh.\n"
         "_velmoratix_simulator_machines() {\n"
         "  local -a machines\n"
         "  machines=(${(f)\"$(_call_program machines $words[1] --print machines)\"})\n"
         "  _alternative 'machines:machine:compadd -a machines' 'files:machine file:_files -g \"*.plist\"'\n"
         "}\n"
         "_arguments" +
         arguments + "\n";
}

std::string fishArguments(OptionArgument argument) {
  switch (argument) {
    case OptionArgument::none:
      return "";
    case OptionArgument::machine:
      return " -r -F -a '(velmoratix-simulator --print machines)'";
    case OptionArgument::folder:
      return " -x -a '(__fish_complete_directories)'";
    default:
      return " -r -F";
  }
}

std::string fish() {
  std::string text =
      "# Completion of velmoratix-simulator for fish. Made by velmoratix-simulator --print fish.\n"
      "complete -c velmoratix-simulator -f\n";
  for (const ProgramOption& option : kProgramOptions) {
    const std::string help = "'" + replaced(replaced(option.help, "\\", "\\\\"), "'", "\\'") + "'";
    text += "complete -c velmoratix-simulator -l " + std::string(option.name.substr(2)) + " -d " + help +
            fishArguments(option.argument) + "\n";
  }
  return text;
}

std::string machines() {
  std::string text;
  for (const std::string& name : namesOfMachines()) text += name + "\n";
  return text;
}

}  // namespace

std::optional<std::string> documentOf(std::string_view kind) {
  if (kind == "man") return manual();
  if (kind == "bash") return bash();
  if (kind == "zsh") return zsh();
  if (kind == "fish") return fish();
  if (kind == "machines") return machines();
  return std::nullopt;
}

}  // namespace vlm::sim
