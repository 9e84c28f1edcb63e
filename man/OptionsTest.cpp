// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <algorithm>
#include <cctype>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "man/PageTesting.h"
#include "tests/support/Child.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using Options = std::set<std::string>;
using PageTesting::linesOf;
using PageTesting::startsWith;
using PageTesting::wordsOf;

/// A program, or a subcommand of history-db: what its options are, as one or the other place
/// tells.
struct Command {
  std::string program;
  std::string subcommand;

  std::string page() const { return program + (subcommand.empty() ? "" : "-" + subcommand) + ".1"; }
  std::string help() const;
};

std::string Command::help() const {
  if (program == "history-convert") {
    return TestSupport::run({HISTORY_CONVERT, "-h"}).standardError;
  }
  std::vector<std::string> arguments = {HISTORY_DB, "--help"};
  if (!subcommand.empty()) {
    arguments.insert(arguments.begin() + 1, subcommand);
  }
  return TestSupport::run(arguments).standardOutput;
}

/// For the messages of a test that fails.
std::ostream& operator<<(std::ostream& stream, const Command& command) {
  return stream << command.program << " " << command.subcommand;
}

bool isOptionCharacter(char c) {
  return c == '-' || std::islower(static_cast<unsigned char>(c)) != 0;
}

/// The option that a text begins with.
std::string optionAt(std::string_view text) {
  std::size_t size = 0;
  while (size < text.size() && isOptionCharacter(text[size])) {
    ++size;
  }
  return std::string(text.substr(0, size));
}

/// Of lines such as "  -q,--quiet     Tell nothing".
Options optionsOfHelp(const std::string& help) {
  Options options;
  for (const std::string& line : linesOf(help)) {
    const std::vector<std::string> words = wordsOf(line);
    if (words.empty() || !startsWith(line, "  ") || words[0][0] != '-') {
      continue;
    }
    std::string names = words[0];
    std::replace(names.begin(), names.end(), ',', ' ');
    for (const std::string& name : wordsOf(names)) {
      options.insert(optionAt(name));
    }
  }
  return options;
}

/// Of lines such as ".It Fl q , Fl -quiet".
Options optionsOfManual(const std::string& page) {
  Options options;
  for (const std::string& line : PageTesting::sectionOf(page, "OPTIONS")) {
    const std::vector<std::string> words = wordsOf(line);
    for (std::size_t i = 1; i + 1 < words.size() && words[0] == ".It"; ++i) {
      if (words[i] == "Fl") {
        options.insert("-" + words[i + 1]);
      }
    }
  }
  return options;
}

/// Of the synopsis, where short options stand together: "Fl fh".
Options optionsOfSynopsis(const std::string& page) {
  Options options;
  for (const std::string& line : PageTesting::sectionOf(page, "SYNOPSIS")) {
    const std::vector<std::string> words = wordsOf(line);
    for (std::size_t i = 1; i < words.size(); ++i) {
      if (words[i - 1] != "Fl") {
        continue;
      }
      if (words[i][0] == '-') {
        options.insert("-" + words[i]);
        continue;
      }
      for (const char letter : words[i]) {
        options.insert(std::string("-") + letter);
      }
    }
  }
  return options;
}

std::string completionFile(const std::string& name) {
  return PROJECT_FOLDER "/completions/" + name;
}

/// What bash completes behind `words`, in a shell that knows nothing else.
Options completedByBash(const std::string& program, const std::vector<std::string>& words) {
  std::string line = "COMP_WORDS=(" + program;
  for (const std::string& word : words) {
    line += " '" + word + "'";
  }
  std::string function = "_" + program;
  function[function.find('-')] = '_';
  const std::string script = "set -u; source " + completionFile(program + ".bash") + "; " + line +
                             "); COMP_CWORD=" + std::to_string(words.size()) + "; " + function +
                             "; printf '%s\\n' \"${COMPREPLY[@]}\"";
  const TestSupport::Outcome outcome =
      TestSupport::run({"/bin/bash", "--norc", "--noprofile", "-c", script});
  EXPECT_EQ(outcome.standardError, "");
  const std::vector<std::string> completions = wordsOf(outcome.standardOutput);
  return Options(completions.begin(), completions.end());
}

Options optionsOfBash(const Command& command) {
  return command.subcommand.empty() ? completedByBash(command.program, {"-"})
                                    : completedByBash(command.program, {command.subcommand, "-"});
}

/// The options in a piece of zsh's completion, which stand behind quotes, braces and the like.
void addOptionsIn(std::string_view piece, Options& options) {
  for (std::size_t i = 1; i < piece.size(); ++i) {
    if (piece[i] != '-' ||
        std::string_view("'{,*()").find(piece[i - 1]) == std::string_view::npos) {
      continue;
    }
    const std::string option = optionAt(piece.substr(i));
    if (option.size() > 1) {
      options.insert(option);
    }
    i += option.size();
  }
}

/// The text behind the first `start`, up to `end`.
std::string between(const std::string& text, const std::string& start, const std::string& end) {
  const std::size_t found = text.find(start);
  if (found == std::string::npos) {
    return "";
  }
  const std::size_t begin = found + start.size();
  return text.substr(begin, text.find(end, begin) - begin);
}

/// What zsh completes for a subcommand: its branch of the case, or one that it shares.
std::string branchOf(const std::string& text, const std::string& subcommand) {
  for (const char* const label : {"\n  NAME)", "|NAME)", "\n  NAME|"}) {
    std::string start = label;
    start.replace(start.find("NAME"), 4, subcommand);
    std::string branch = between(text, start, ";;");
    if (!branch.empty()) {
      return branch;
    }
  }
  return "";
}

Options optionsOfZsh(const Command& command) {
  const std::string text = TestSupport::readFile(completionFile("_" + command.program));
  Options options;
  if (command.program == "history-convert") {
    addOptionsIn(text, options);
    return options;
  }
  addOptionsIn(between(text, "\ncommon=", "\n"), options);
  if (command.subcommand.empty()) {
    addOptionsIn(between(text, "\n_arguments -C", "\nif"), options);
    return options;
  }
  const std::string branch = branchOf(text, command.subcommand);
  addOptionsIn(branch, options);
  for (const std::string list : {"quiet", "force"}) {
    if (branch.find("$" + list) != std::string::npos) {
      addOptionsIn(between(text, "\n" + list + "=", "\n"), options);
    }
  }
  return options;
}

/// Whether a line of fish's completion is about a command: "-n __fish_use_subcommand" stands at
/// those about none, "-n '__fish_seen_subcommand_from info check'" names others.
bool isAbout(const std::string& line, const Command& command) {
  const std::string condition = between(line, " -n ", " -d ");
  if (condition.empty() || command.program == "history-convert") {
    return true;
  }
  if (startsWith(condition, "__fish_use_subcommand")) {
    return command.subcommand.empty();
  }
  for (const std::string& word : wordsOf(between(condition, "_from ", "'"))) {
    if (word == command.subcommand) {
      return true;
    }
  }
  return false;
}

Options optionsOfFish(const Command& command) {
  Options options;
  const std::string path = completionFile(command.program + ".fish");
  for (const std::string& line : linesOf(TestSupport::readFile(path))) {
    if (!startsWith(line, "complete -c " + command.program + " ") || !isAbout(line, command)) {
      continue;
    }
    const std::vector<std::string> words = wordsOf(line.substr(0, line.find(" -d ")));
    for (std::size_t i = 1; i < words.size(); ++i) {
      if (words[i - 1] == "-s" || words[i - 1] == "-l") {
        options.insert((words[i - 1] == "-s" ? "-" : "--") + words[i]);
      }
    }
  }
  return options;
}

std::vector<Command> commands() {
  std::vector<Command> all = {{"history-convert", ""}, {"history-db", ""}};
  for (const std::string& subcommand : PageTesting::subcommands) {
    all.push_back({"history-db", subcommand});
  }
  return all;
}

class OptionsTest : public ::testing::TestWithParam<Command> {
 protected:
  const Options options = optionsOfHelp(GetParam().help());
};

TEST_P(OptionsTest, StandInTheManual) {
  EXPECT_FALSE(options.empty());
  EXPECT_EQ(optionsOfManual(GetParam().page()), options);
}

TEST_P(OptionsTest, StandInTheSynopsisByOneOfTheirNames) {
  const Options inSynopsis = optionsOfSynopsis(GetParam().page());
  for (const std::string& option : inSynopsis) {
    EXPECT_EQ(options.count(option), 1U) << option;
  }
  const std::string help = GetParam().help();
  for (const std::string& line : linesOf(help)) {
    const Options names = optionsOfHelp(line);
    bool isShown = names.empty();
    for (const std::string& name : names) {
      isShown = isShown || inSynopsis.count(name) == 1;
    }
    EXPECT_TRUE(isShown) << line;
  }
}

TEST_P(OptionsTest, AreCompletedByBash) {
  EXPECT_EQ(optionsOfBash(GetParam()), options);
}

TEST_P(OptionsTest, AreCompletedByZsh) {
  EXPECT_EQ(optionsOfZsh(GetParam()), options);
}

TEST_P(OptionsTest, AreCompletedByFish) {
  EXPECT_EQ(optionsOfFish(GetParam()), options);
}

INSTANTIATE_TEST_SUITE_P(Of, OptionsTest, ::testing::ValuesIn(commands()), [](const auto& command) {
  const Command& of = command.param;
  return of.program == "history-convert" ? std::string("history_convert")
         : of.subcommand.empty()         ? std::string("history_db")
                                         : of.subcommand;
});

TEST(SubcommandsTest, AreThoseOfTheHelp) {
  const std::string help = Command{"history-db", ""}.help();
  std::vector<std::string> names;
  for (const std::string& line : linesOf(between(help, "Subcommands:\n", "\n\n"))) {
    names.push_back(wordsOf(line).at(0));
  }
  EXPECT_EQ(names, PageTesting::subcommands);
}

TEST(SubcommandsTest, AreCompleted) {
  const Options names(PageTesting::subcommands.begin(), PageTesting::subcommands.end());
  EXPECT_EQ(completedByBash("history-db", {""}), names);
  const std::string zsh = TestSupport::readFile(completionFile("_history-db"));
  const std::string fish = TestSupport::readFile(completionFile("history-db.fish"));
  for (const std::string& name : names) {
    EXPECT_NE(zsh.find("\n  '" + name + ":"), std::string::npos) << name;
    EXPECT_NE(fish.find("__fish_use_subcommand -a " + name + " "), std::string::npos) << name;
  }
}

/// Where an option takes one of a few values.
struct Choice {
  const char* subcommand;
  const char* option;
  const char* values;
};

/// For the messages of a test that fails.
std::ostream& operator<<(std::ostream& stream, const Choice& choice) {
  return stream << choice.values;
}

class ChoicesTest : public ::testing::TestWithParam<Choice> {};

TEST_P(ChoicesTest, AreCompleted) {
  const auto& [subcommand, option, values] = GetParam();
  const std::vector<std::string> words = wordsOf(values);
  const Options expected(words.begin(), words.end());
  const std::string name = std::string("--") + option;
  EXPECT_EQ(completedByBash("history-db", {subcommand, name, ""}), expected);
  EXPECT_EQ(completedByBash("history-db", {subcommand, name, "="}), expected);
  EXPECT_EQ(completedByBash("history-db", {subcommand, name, "=", words[0]}).count(words[0]), 1U);
  for (const char* const file : {"_history-db", "history-db.fish"}) {
    EXPECT_NE(TestSupport::readFile(completionFile(file)).find(values), std::string::npos) << file;
  }
}

INSTANTIATE_TEST_SUITE_P(
    Of, ChoicesTest,
    ::testing::Values(Choice{"dump", "format", "json jsonl csv"},
                      Choice{"dump", "table", "TormaQuilletHistory nativeZoneHistory ZoneHistory"},
                      Choice{"plot", "table", "TormaQuilletHistory nativeZoneHistory ZoneHistory"},
                      Choice{"sample", "schema", "0 1"}),
    [](const auto& choice) {
      return std::string(choice.param.subcommand) + "_" + choice.param.option;
    });

TEST(CompletionTest, LeavesFilesToTheShell) {
  EXPECT_EQ(completedByBash("history-db", {"info", ""}), Options());
  EXPECT_EQ(completedByBash("history-db", {"verify", "--receipt", ""}), Options());
  EXPECT_EQ(completedByBash("history-convert", {"-q", ""}), Options());
  EXPECT_EQ(completedByBash("history-convert", {"-q", "old.mk", "0", ""}), Options());
}

TEST(CompletionTest, KnowsTheSchemasOfAConversion) {
  EXPECT_EQ(completedByBash("history-convert", {"-q", "old.mk", ""}), Options{"0"});
  EXPECT_EQ(completedByBash("history-convert", {"old.mk", "0", "new.mk", ""}), Options{"1"});
}

}  // namespace
