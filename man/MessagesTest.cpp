// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "man/PageTesting.h"
#include "tests/support/Child.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using PageTesting::inOneLine;
using PageTesting::startsWith;

bool contains(std::string_view text, std::string_view part) {
  return text.find(part) != std::string_view::npos;
}

bool isWordCharacter(char c) {
  return std::isalnum(static_cast<unsigned char>(c)) != 0;
}

// ---- The texts in the sources ----

/// Takes the texts between quotes out of a source file. Those that stand side by side are one, as
/// for the compiler.
class Scanner {
 public:
  explicit Scanner(std::string_view source) : _source(source) {}

  std::vector<std::string> literals() {
    while (_at < _source.size()) {
      step();
    }
    finish();
    return _literals;
  }

 private:
  void step() {
    const std::string_view rest = _source.substr(_at);
    if (startsWith(rest, "//") || startsWith(rest, "#include")) {
      _at = std::min(_source.find('\n', _at), _source.size());
    } else if (rest[0] == '\'' && (_at == 0 || !isWordCharacter(_source[_at - 1]))) {
      finish();
      _at += rest[1] == '\\' ? 2U : 1U;
      _at = _source.find('\'', _at) + 1;
    } else if (rest[0] == '"') {
      literal();
    } else {
      if (std::isspace(static_cast<unsigned char>(rest[0])) == 0) {
        finish();
        _statement += rest[0];
      }
      if (contains(";{}", rest.substr(0, 1))) {
        _statement.clear();
      }
      ++_at;
    }
  }

  void literal() {
    for (++_at; _source[_at] != '"'; ++_at) {
      if (_source[_at] != '\\') {
        _literal += _source[_at];
        continue;
      }
      ++_at;
      _literal += _source[_at] == 'n' ? '\n' : _source[_at];
    }
    ++_at;
    _isLiteral = true;
  }

  void finish() {
    // What the compiler tells is no message of the program.
    if (_isLiteral && !startsWith(_statement, "static_assert")) {
      _literals.push_back(_literal);
    }
    _literal.clear();
    _isLiteral = false;
  }

  const std::string_view _source;
  std::size_t _at = 0;
  /// The code of the statement up to here, without white space.
  std::string _statement;
  std::string _literal;
  bool _isLiteral = false;
  std::vector<std::string> _literals;
};

bool isTestCode(const std::string& path) {
  return contains(path, "Test.cpp") || contains(path, "/testing/");
}

std::vector<std::string> literalsBelow(const std::string& folder) {
  std::vector<std::string> all;
  for (const auto& entry :
       std::filesystem::recursive_directory_iterator(PROJECT_FOLDER "/" + folder)) {
    const std::string name = entry.path().filename();
    const std::string extension = entry.path().extension();
    // What stands in a picture is no message.
    const bool draws = name == "SvgPlot.cpp" || name == "TerminalPlot.cpp";
    if ((extension == ".cpp" || extension == ".h") && !isTestCode(entry.path()) && !draws) {
      const std::string source = TestSupport::readFile(entry.path());
      const std::vector<std::string> some = Scanner(source).literals();
      all.insert(all.end(), some.begin(), some.end());
    }
  }
  return all;
}

/// The size of a placeholder at the start of a text, "{}" or "%s"; 0 when there is none.
std::size_t placeholderSize(std::string_view text) {
  if (text[0] == '{') {
    const std::size_t end = text.find('}');
    return end == std::string_view::npos ? 0 : end + 1;
  }
  if (text[0] != '%') {
    return 0;
  }
  const std::size_t letter = text.find_first_of("sdcpxX");
  return letter > 4 ? 0 : letter + 1;
}

/// A text in one line, without the punctuation around it.
std::string bare(std::string_view text) {
  const auto first = std::find_if(text.begin(), text.end(), isWordCharacter);
  const auto last = std::find_if(text.rbegin(), text.rend(), isWordCharacter).base();
  return first < last ? inOneLine(std::string(first, last)) : "";
}

/// What stands between the placeholders of a text.
std::vector<std::string> fragmentsOf(std::string_view literal) {
  std::vector<std::string> fragments;
  std::string fragment;
  const auto finish = [&] {
    const std::string text = bare(fragment);
    if (!text.empty()) {
      fragments.push_back(text);
    }
    fragment.clear();
  };
  while (!literal.empty()) {
    const std::size_t size = placeholderSize(literal);
    if (size > 0) {
      finish();
    } else {
      fragment += literal[0];
    }
    literal.remove_prefix(std::max<std::size_t>(size, 1));
  }
  finish();
  return fragments;
}

/// What the help says is no message either.
std::string helpOfHistoryDb() {
  std::string help = TestSupport::run({HISTORY_DB, "--help"}).standardOutput;
  for (const std::string& subcommand : PageTesting::subcommands) {
    help += TestSupport::run({HISTORY_DB, subcommand, "--help"}).standardOutput;
  }
  return help;
}

// ---- The messages in the manuals ----

/// A program: its sources, and the pages that tell its messages.
struct Program {
  const char* name;
  std::vector<std::string> folders;
  std::vector<std::string> pages;

  std::vector<std::string> literals() const {
    std::vector<std::string> all;
    for (const std::string& folder : folders) {
      const std::vector<std::string> some = literalsBelow(folder);
      all.insert(all.end(), some.begin(), some.end());
    }
    return all;
  }
};

/// For the messages of a test that fails.
std::ostream& operator<<(std::ostream& stream, const Program& program) {
  return stream << program.name;
}

/// The message of a line such as ".It "It is damaged."".
std::string messageOf(const std::string& line) {
  const std::size_t begin = line.find('"') + 1;
  return PageTesting::unescaped(line.substr(begin, line.rfind('"') - begin));
}

/// What a reader sees of a page's section DIAGNOSTICS, in one line.
std::string diagnosticsOf(const std::string& page) {
  std::string text;
  for (const std::string& line : PageTesting::sectionOf(page, "DIAGNOSTICS")) {
    const std::size_t begin = startsWith(line, ".") ? line.find(' ') : 0;
    if (begin != std::string::npos) {
      text +=
          startsWith(line, ".It ") ? messageOf(line) : PageTesting::unescaped(line.substr(begin));
      text += '\n';
    }
  }
  return inOneLine(text);
}

std::vector<std::string> messagesOf(const std::string& page) {
  std::vector<std::string> messages;
  for (const std::string& line : PageTesting::sectionOf(page, "DIAGNOSTICS")) {
    if (startsWith(line, ".It ")) {
      messages.push_back(messageOf(line));
    }
  }
  return messages;
}

/// Takes a text out of another one, wherever it stands there as words of its own.
void takeOut(const std::string& part, std::string& text) {
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
    const std::size_t end = at + part.size();
    const auto isLetter = [&](std::size_t i) {
      return std::islower(static_cast<unsigned char>(text[i])) != 0;
    };
    if ((at == 0 || !isLetter(at - 1)) && (end == text.size() || !isLetter(end))) {
      text.replace(at, part.size(), part.size(), ' ');
    }
  }
}

std::vector<Program> programs() {
  std::vector<std::string> pages = {"history-db.1"};
  for (const std::string& subcommand : PageTesting::subcommands) {
    pages.push_back("history-db-" + subcommand + ".1");
  }
  return {{"HistoryConvert",
           {"tool", "rtk", "random", "database", "metakit", "persist"},
           {"history-convert.1"}},
          {"HistoryDb", {"history-db"}, pages}};
}

class MessagesTest : public ::testing::TestWithParam<Program> {};

TEST_P(MessagesTest, StandInTheManual) {
  std::string diagnostics;
  for (const std::string& page : GetParam().pages) {
    diagnostics += diagnosticsOf(page) + "\n";
  }
  const std::string help = helpOfHistoryDb();
  int messages = 0;
  for (const std::string& literal : GetParam().literals()) {
    const bool isJson = contains(literal, "\": ");
    if (isJson || contains(help, literal)) {
      continue;
    }
    for (const std::string& fragment : fragmentsOf(literal)) {
      // One word alone is a name or is put into a message.
      if (contains(fragment, " ")) {
        EXPECT_TRUE(contains(diagnostics, fragment)) << "No manual tells: " << literal;
        ++messages;
      }
    }
  }
  EXPECT_GT(messages, 20);
}

// In the manual, what differs from one message to the next is in capital letters.
TEST_P(MessagesTest, OfTheManualStandInTheSources) {
  std::vector<std::string> fragments;
  for (const std::string& literal : GetParam().literals()) {
    const std::vector<std::string> some = fragmentsOf(literal);
    fragments.insert(fragments.end(), some.begin(), some.end());
  }
  std::sort(fragments.begin(), fragments.end(),
            [](const auto& a, const auto& b) { return a.size() > b.size(); });
  for (const std::string& page : GetParam().pages) {
    for (const std::string& message : messagesOf(page)) {
      std::string rest = message;
      for (const std::string& fragment : fragments) {
        takeOut(fragment, rest);
      }
      EXPECT_TRUE(
          std::none_of(rest.begin(), rest.end(), [](unsigned char c) { return std::islower(c); }))
          << page << ": no source has: " << rest << "\nof: " << message;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Of, MessagesTest, ::testing::ValuesIn(programs()),
                         [](const auto& program) { return std::string(program.param.name); });

}  // namespace
