// Questions asked on the terminal: the question goes to stderr, the answer is
// read from stdin. Ctrl-C or the end of input while waiting counts as "quit".
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace acearc {

// True when questions can be asked: stdin and stderr are both terminals.
bool CanAskQuestions();

struct Choice {
  char key;          // the letter that picks it
  std::string word;  // the whole word that picks it too ("never")
};

// Asks until one of `choices` is picked; nullopt on Ctrl-C or end of input.
std::optional<char> AskChoice(const std::string& question, const std::vector<Choice>& choices);

// A line of text; nullopt on Ctrl-C or end of input.
std::optional<std::string> AskLine(const std::string& question);

// A line typed without echo; nullopt on Ctrl-C or end of input.
std::optional<std::string> AskSecret(const std::string& question);

}  // namespace acearc
