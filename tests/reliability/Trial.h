// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/Child.h"
#include "tests/support/Golden.h"
#include "tests/support/TemporaryFolder.h"

namespace Reliability {

using TestSupport::GoldenFile;
using TestSupport::Outcome;
using TestSupport::Table;

/// What befalls the program; Preload.cpp tells the names.
using Mishap = std::vector<std::pair<std::string, std::string>>;

/// Whether the tests are to take their time: for thousands of trials in the place of hundreds.
bool isSoak();

/// How many trials of a kind a test makes, in its short and its long form.
int trials(int few, int many);

/// Where random choices begin: `number`, moved by what the environment says in SOAK_SEED.
unsigned int seed(unsigned int number);

/// Tells standard output a number that `./dev soak` adds up.
void count(const std::string& what, int number);

/// Runs the program in a folder of its own, on an INFILE that must never change. Each run has 10
/// seconds and 256 MiB.
class Trial : public ::testing::Test {
 public:
  /// The program on the two files, run by a command such as "nice", if any.
  Outcome convert(const Mishap& mishap = {}, const std::string& under = "");
  /// The same with other arguments.
  Outcome run(const std::vector<std::string>& arguments, const Mishap& mishap = {},
              const std::string& under = "");
  /// The same for a user who has no rights but those that the modes of files give, and no process
  /// elsewhere.
  Outcome runAsNobody(std::vector<std::string> arguments, const Mishap& mishap = {});

  void makeInfile(const std::string& bytes);

  /// INFILE is what it was, and nothing was written but OUTFILE.
  void expectNothingElseTouched() const;

  /// However a run ended, it told the truth: all of `golden` was converted, or a record or message
  /// says that it was not; and OUTFILE, if any, holds rows from the first one on. Tells whether it
  /// was converted.
  bool expectTruth(const Outcome& outcome, const GoldenFile& golden) const;

  /// The number of rows in OUTFILE, which must be the first ones of `golden`, table by table. Also
  /// checks its permissions.
  int rowsConverted(const GoldenFile& golden) const;

  /// What the program tells when it has converted a file without warnings.
  static const Outcome complete;

 protected:
  TestSupport::TemporaryFolder folder;
  const std::string infile = folder.path("in.mk");
  const std::string outfile = folder.path("out.mk");
  /// Beside the two.
  std::vector<std::string> otherEntries;

 private:
  std::string _bytes;
  struct stat _status = {};
};

}  // namespace Reliability
