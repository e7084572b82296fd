#include <array>
#include <filesystem>
#include <fstream>

#include "Simulator/Program/Commands.h"
#include "Simulator/Program/Paths.h"
#include "Simulator/Program/Simulator.h"

/// What the user does with files of his own: scripts, profiles, whatever a setting leads to. A scenario has no business
/// outside of the home folder.
namespace vlm::sim {

namespace {

namespace fs = std::filesystem;

Outcome done(Simulator& simulator, const std::error_code& error, const std::string& path, const std::string& call) {
  if (error) return Outcome::refused(path + ": " + error.message());
  simulator.mac().journal().add("user: " + call);
  return {};
}

Outcome save(Simulator& simulator, Arguments arguments) {
  const auto path = readPathAtHome(simulator.mac(), arguments[0]);
  if (const auto* reason = std::get_if<std::string>(&path)) return Outcome::refused(*reason);
  std::error_code error;
  if (fs::is_directory(std::get<fs::path>(path), error)) return Outcome::refused(arguments[0] + ": it is a folder");
  fs::create_directories(std::get<fs::path>(path).parent_path(), error);
  if (!error && !(std::ofstream(std::get<fs::path>(path)) << "-- a file of the user's\n")) {
    error = std::make_error_code(std::errc::io_error);
  }
  return done(simulator, error, arguments[0], "save(" + arguments[0] + ")");
}

Outcome move(Simulator& simulator, Arguments arguments) {
  const auto from = readPathAtHome(simulator.mac(), arguments[0]);
  const auto to = readPathAtHome(simulator.mac(), arguments[1]);
  for (const auto* path : {&from, &to}) {
    if (const auto* reason = std::get_if<std::string>(path)) return Outcome::refused(*reason);
  }
  std::error_code error;
  fs::create_directories(std::get<fs::path>(to).parent_path(), error);
  if (!error) fs::rename(std::get<fs::path>(from), std::get<fs::path>(to), error);
  return done(simulator, error, arguments[0], "move(" + arguments[0] + ", " + arguments[1] + ")");
}

Outcome remove(Simulator& simulator, Arguments arguments) {
  const auto path = readPathAtHome(simulator.mac(), arguments[0]);
  if (const auto* reason = std::get_if<std::string>(&path)) return Outcome::refused(*reason);
  std::error_code error;
  if (!fs::remove(std::get<fs::path>(path), error) && !error) {
    error = std::make_error_code(std::errc::no_such_file_or_directory);
  }
  return done(simulator, error, arguments[0], "remove(" + arguments[0] + ")");
}

constexpr std::array kCommands{
    Command{"file save", "PATH", 1, 1, "the user saves a file below the home folder", "file save ~/lights.scpt", save},
    Command{"file move", "PATH NEWPATH", 2, 2, "the user moves or renames it",
            "file move ~/lights.scpt ~/Scripts/dark.scpt", move},
    Command{"file remove", "PATH", 1, 1, "the user removes it", "file remove ~/lights.scpt", remove},
};

}  // namespace

std::span<const Command> fileCommands() { return kCommands; }

}  // namespace vlm::sim
