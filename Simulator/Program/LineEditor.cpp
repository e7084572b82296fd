#include "Simulator/Program/LineEditor.h"

#include <histedit.h>
#include <langinfo.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <clocale>
#include <cstdio>
#include <cwchar>
#include <string_view>
#include <utility>

#include "Simulator/Program/Completion.h"
#include "Simulator/Program/Output.h"
#include "Simulator/Program/Signals.h"
#include "Simulator/Program/Simulator.h"

namespace vlm::sim {

namespace {

constexpr int kLinesOfHistory = 1000;
/// More choices than these are only counted.
constexpr std::size_t kMostChoicesListed = 100;

/// Names are UTF-8 whatever the terminal's language is.
void readUtf8() {
  const char* const own = std::setlocale(LC_CTYPE, "");
  if (own == nullptr || std::string_view(nl_langinfo(CODESET)) != "UTF-8") std::setlocale(LC_CTYPE, "C.UTF-8");
}

/// Back from a stop the terminal is as the shell left it.
void showAgain(EditLine* editor) {
  el_set(editor, EL_PREP_TERM, 0);
  el_set(editor, EL_PREP_TERM, 1);
  el_set(editor, EL_REFRESH);
}

/// 1 and the next character; 0 at the end; -1 when a signal asks to stop.
int readCharacter(EditLine* editor, wchar_t* character) {
  constexpr auto kInvalid = static_cast<std::size_t>(-1), kIncomplete = static_cast<std::size_t>(-2);
  std::mbstate_t state{};
  while (true) {
    char byte = 0;
    const ssize_t count = ::read(STDIN_FILENO, &byte, 1);
    if (count == 0) return 0;
    if (count < 0) {
      if (errno != EINTR || signalToStop() != 0) return -1;
      if (takeResized()) el_resize(editor);
      if (takeContinued()) showAgain(editor);
      continue;
    }
    const std::size_t length = std::mbrtowc(character, &byte, 1, &state);
    if (length == kInvalid) state = {};
    if (length != kInvalid && length != kIncomplete) return 1;
  }
}

char* prompt(EditLine* /*editor*/) {
  static char text[] = "velmoratix> ";
  return text;
}

void listChoices(const std::vector<std::string>& choices, std::size_t columns) {
  std::size_t widest = 0;
  for (const std::string& choice : choices) widest = std::max(widest, columnsOf(choice) + 2);
  const std::size_t perLine = std::max<std::size_t>(columns / widest, 1);
  std::string text = "\n";
  for (std::size_t i = 0; i < std::min(choices.size(), kMostChoicesListed); ++i) {
    const bool isLast = (i + 1) % perLine == 0 || i + 1 == std::min(choices.size(), kMostChoicesListed);
    text += choices[i] + (isLast ? "\n" : std::string(widest - columnsOf(choices[i]), ' '));
  }
  const std::size_t more = choices.size() - std::min(choices.size(), kMostChoicesListed);
  if (more != 0) text += "and " + std::to_string(more) + " more\n";
  std::fputs(text.c_str(), stdout);
  std::fflush(stdout);
}

}  // namespace

struct LineEditor::Implementation {
  Implementation(Simulator& theSimulator, std::string file) : simulator(theSimulator), historyFile(std::move(file)) {}

  Simulator& simulator;
  std::string historyFile, lastLine;
  History* history = nullptr;
  EditLine* editor = nullptr;

  /// The key that completes was pressed.
  static unsigned char complete(EditLine* editor, int /*key*/) {
    void* self = nullptr;
    el_get(editor, EL_CLIENTDATA, &self);
    return static_cast<Implementation*>(self)->completeWord();
  }

  unsigned char completeWord() const {
    const LineInfo* const line = el_line(editor);
    const std::string_view before(line->buffer, static_cast<std::size_t>(line->cursor - line->buffer));
    const Completed completed = completedWord(simulator, before);
    if (completed.choices.empty()) return CC_REFRESH_BEEP;
    const std::string_view typed = before.substr(completed.from);
    if (typed == completed.word) {
      listChoices(completed.choices, simulator.output().columns());
      return CC_REDISPLAY;
    }
    // The quote that ends the word may stand behind the cursor already.
    const bool isQuoteBehind = completed.wasInQuotes && line->cursor != line->lastchar && *line->cursor == '"';
    if (isQuoteBehind) el_cursor(editor, 1);
    el_deletestr(editor, static_cast<int>(columnsOf(typed)) + (isQuoteBehind ? 1 : 0));
    el_insertstr(editor, completed.word.c_str());
    return CC_REFRESH;
  }
};

LineEditor::LineEditor(Simulator& simulator, std::string historyFile)
    : implementation_(std::make_unique<Implementation>(simulator, std::move(historyFile))) {
  readUtf8();
  Implementation& my = *implementation_;
  HistEvent event;
  my.history = history_init();
  history(my.history, &event, H_SETSIZE, kLinesOfHistory);
  if (!my.historyFile.empty()) history(my.history, &event, H_LOAD, my.historyFile.c_str());
  my.editor = el_init("velmoratix-simulator", stdin, stdout, stderr);
  el_set(my.editor, EL_CLIENTDATA, &my);
  el_set(my.editor, EL_GETCFN, readCharacter);
  el_set(my.editor, EL_PROMPT, prompt);
  el_set(my.editor, EL_HIST, history, my.history);
  el_set(my.editor, EL_EDITOR, "emacs");
  // Of narrow texts libedit would keep copies for ever.
  el_wset(my.editor, EL_ADDFN, L"complete", L"Completes the word", Implementation::complete);
  el_set(my.editor, EL_BIND, "^I", "complete", nullptr);
  el_set(my.editor, EL_BIND, "^R", "em-inc-search-prev", nullptr);
  el_set(my.editor, EL_BIND, "\\e[3~", "ed-delete-next-char", nullptr);
  el_set(my.editor, EL_BIND, "\\e[1;5C", "em-next-word", nullptr);
  el_set(my.editor, EL_BIND, "\\e[1;5D", "ed-prev-word", nullptr);
  // What the user has set up for such editors wins.
  el_source(my.editor, nullptr);
}

LineEditor::~LineEditor() {
  HistEvent event;
  if (!implementation_->historyFile.empty()) {
    history(implementation_->history, &event, H_SAVE, implementation_->historyFile.c_str());
  }
  el_end(implementation_->editor);
  history_end(implementation_->history);
}

std::optional<std::string> LineEditor::read() {
  Implementation& my = *implementation_;
  int length = 0;
  const char* const text = el_gets(my.editor, &length);
  if (text == nullptr || length <= 0) return std::nullopt;
  std::string line = text;
  while (line.ends_with('\n') || line.ends_with('\r')) line.pop_back();
  if (!line.empty() && line != my.lastLine) {
    HistEvent event;
    history(my.history, &event, H_ENTER, line.c_str());
    my.lastLine = line;
  }
  return line;
}

}  // namespace vlm::sim
