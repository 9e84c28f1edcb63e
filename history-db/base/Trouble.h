// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <stdexcept>
#include <string>

namespace HistoryDb {

/// What a run ends with, as the shell sees it.
enum class Status { Fine = 0, Findings = 1, Trouble = 2 };

/// The worse of two.
constexpr Status worst(Status a, Status b) {
  return a < b ? b : a;
}

/// Why a command cannot do what it was asked for: thrown where that is noticed, told once where the
/// command was called, with status 2. The text is a sentence for the user that names the file.
class Trouble : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Trouble that the C library has a number for: "FILE: what. No such file or directory."
[[noreturn]] void throwError(const std::string& path, const std::string& what, int error);

}  // namespace HistoryDb
