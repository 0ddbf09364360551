#include "prompt.h"

#include <algorithm>
#include <cctype>

#include "interrupt.h"
#include "terminal.h"
#include "text_output.h"

namespace acearc {

namespace {

// Questions name files: written as UTF-8, like all of acearc's output.
void WriteStderr(std::string_view text) { terminal::WriteStderr(Utf8Text(text)); }

// Reads one line from stdin, waking up now and then to see whether Ctrl-C was
// pressed (it is held back while the plug-in works).
std::optional<std::string> ReadLine() {
  std::string line;
  for (;;) {
    if (TakeInterrupt()) return std::nullopt;
    char c = 0;
    switch (terminal::ReadStdinByte(200, &c)) {
      case terminal::Input::Nothing:
        continue;
      case terminal::Input::End:
        return line.empty() ? std::nullopt : std::optional<std::string>(line);
      case terminal::Input::Byte:
        if (c == '\n') return line;
        line.push_back(c);
    }
  }
}

std::string Trimmed(std::string text) {
  auto notSpace = [](unsigned char c) { return !std::isspace(c); };
  text.erase(text.begin(), std::find_if(text.begin(), text.end(), notSpace));
  text.erase(std::find_if(text.rbegin(), text.rend(), notSpace).base(), text.end());
  return text;
}

}  // namespace

bool CanAskQuestions() { return terminal::StdinIsTerminal() && terminal::StderrIsTerminal(); }

std::optional<char> AskChoice(const std::string& question, const std::vector<Choice>& choices) {
  for (;;) {
    WriteStderr(question);
    std::optional<std::string> line = ReadLine();
    if (!line) {
      WriteStderr("\n");
      return std::nullopt;
    }
    std::string answer = Trimmed(*line);
    std::transform(answer.begin(), answer.end(), answer.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    for (const Choice& choice : choices) {
      if (answer == choice.word || (answer.size() == 1 && answer[0] == choice.key)) {
        return choice.key;
      }
    }
  }
}

std::optional<std::string> AskLine(const std::string& question) {
  WriteStderr(question);
  std::optional<std::string> line = ReadLine();
  if (!line) WriteStderr("\n");
  return line;
}

std::optional<std::string> AskSecret(const std::string& question) {
  std::optional<std::string> line;
  {
    // Echo goes off before the question shows, so that nothing typed at once
    // is echoed or lost.
    terminal::EchoOff echoOff;
    WriteStderr(question);
    line = ReadLine();
  }
  if (!line) WriteStderr("\n");
  return line;
}

}  // namespace acearc
