// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <ostream>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "metakit/BytesColumn.h"
#include "metakit/Column.h"
#include "metakit/Datafile.h"
#include "metakit/IntColumn.h"
#include "metakit/Sequence.h"
#include "metakit/ViewColumn.h"
#include "metakit/WideColumn.h"
#include "metakit/testing/Contents.h"
#include "metakit/testing/FormatChecker.h"
#include "metakit/testing/MemoryDisk.h"

namespace {

using Metakit::contentsOf;
using Metakit::Datafile;
using Metakit::FormatChecker;
using Metakit::MemoryDisk;
using Metakit::Sequence;
using MetakitTesting::path;
using Operation = MemoryDisk::Operation;
using Operations = std::vector<Operation>;

constexpr char image[] = "image";
constexpr const char* views[] = {"A[Key:I,Record:B]", "B[Key:I,Record:B]",
                                 "C[Key:I,Record:B,Name:S,Serial:L,Rooms[Key:I,Record:B]]"};

/// Random changes, the same ones for the same seed.
class Changes {
 public:
  explicit Changes(unsigned int seed) : _random(seed) {}

  unsigned int below(unsigned int bound) { return static_cast<unsigned int>(_random() % bound); }

  /// Adds, replaces and removes rows of some tables.
  void make(Datafile& file) {
    for (unsigned int i = 0; i <= below(6); ++i) {
      change(*file.view(views[below(3)]));
    }
  }

 private:
  void changeRow(Sequence& table, std::int32_t row) {
    for (std::size_t i = 0; i < table.structure().fields.size(); ++i) {
      Metakit::Column& column = table.columnAt(static_cast<int>(i));
      const std::uint32_t number = below(1U << below(32));
      std::string body(below(below(4) == 0 ? 2000 : 130), static_cast<char>('a' + below(26)));
      switch (table.structure().fields[i].type) {
        case 'I':
          static_cast<Metakit::IntColumn&>(column).set(row, static_cast<std::int32_t>(number));
          break;
        case 'L':
          static_cast<Metakit::WideColumn&>(column).set(row, number);
          break;
        case 'V':
          change(*static_cast<Metakit::ViewColumn&>(column).at(row));
          break;
        case 'S':
          body.push_back('\0');
          [[fallthrough]];
        default:
          static_cast<Metakit::BytesColumn&>(column).set(row, body.data(),
                                                         static_cast<std::int32_t>(body.size()));
      }
    }
  }

  void change(Sequence& table) {
    const std::int32_t rows = table.rows();
    const auto row =
        rows > 0 ? static_cast<std::int32_t>(below(static_cast<unsigned int>(rows))) : 0;
    const unsigned int what = below(16);
    if (rows == 0 || what < 10) {
      // Some at a time, so that there are tables long enough to be extended where they are.
      for (unsigned int i = 0; i <= below(4); ++i) {
        table.append();
        changeRow(table, table.rows() - 1);
      }
    } else if (what < 13) {
      changeRow(table, row);
    } else {
      table.remove(row, what < 15 ? 1 : rows - row);
    }
  }

  std::mt19937 _random;
};

struct History {
  unsigned int seed;
  /// Bytes that stand before the datafile.
  std::size_t before;
};

void PrintTo(const History& history, std::ostream* stream) {
  *stream << "seed " << history.seed << " behind " << history.before << " bytes";
}

/// Histories with smaller seeds are chosen to have some of everything.
constexpr unsigned int firstOfMany = 7;

/// A long history of commits to one file, which is killed or loses its power at every point on the
/// way: then the file must open at the last commit or at the one in the making, and go on.
class CrashTest : public ::testing::TestWithParam<History> {
 protected:
  /// Contents that a file may have after a crash.
  using Outcomes = std::set<std::string>;

  /// Not chosen for what happens in it.
  static bool isOneOfMany() { return GetParam().seed >= firstOfMany; }

  void liveThrough(unsigned int sessions, bool errors) {
    for (unsigned int session = 0; session < sessions && !HasFatalFailure(); ++session) {
      // Who creates a file flushes it himself.
      const bool flushes = session > 0;
      if (session == 1) {
        _durable = std::string(GetParam().before, '#') + _disk[path];
        _disk[path] = _durable;
        _pending.clear();
        _possible = {_contents};
      }
      Datafile file(path, true);
      ASSERT_TRUE(file.isValid());
      // After an error it may be the one or the other.
      _contents = contentsOf(*file.root());
      ASSERT_EQ(_possible.count(_contents), 1U);
      for (unsigned int i = 0; i <= _changes.below(4) && !HasFatalFailure(); ++i) {
        _changes.make(file);
        commit(file, flushes, flushes && errors && _changes.below(4) == 0);
      }
    }
  }

 private:
  /// Commits, and tries every crash on the way.
  void commit(Datafile& file, bool flushes, bool fails) {
    const std::string before = _disk[path];
    const std::string after = contentsOf(*file.root());
    if (fails) {
      _disk.failFrom = _changes.below(12);
      _disk.failTo = _disk.failFrom + 1 + _changes.below(3);
      _disk.failsTooLate = _changes.below(2) == 0;
    }
    _disk.operations.clear();
    const bool committed = file.commit() == 0;
    _disk.failFrom = _disk.failTo = SIZE_MAX;
    ASSERT_TRUE(committed || fails);
    ASSERT_EQ(contentsOf(*file.root()), after);
    if (committed) {
      ASSERT_EQ(faultIn(path), "");
    }
    const Operations operations = std::exchange(_disk.operations, {});

    Outcomes outcomes = {_contents, after};
    outcomes.insert(_attempted.begin(), _attempted.end());
    for (std::size_t cut = 0; cut <= operations.size() && !HasFatalFailure(); ++cut) {
      const std::string where = "commit " + std::to_string(_commits) + ", before operation " +
                                std::to_string(cut) + " of " + std::to_string(operations.size());
      {
        SCOPED_TRACE("killed in " + where);
        std::string found = before;
        apply(operations, 0, cut, found);
        const bool isOver = committed && cut == operations.size();
        expectOneOf(isOver ? Outcomes{after} : outcomes, found);
      }
      for (int sample = 0; flushes && sample < 4 && !HasFatalFailure(); ++sample) {
        SCOPED_TRACE("power cut in " + where);
        cutPower(operations, cut, outcomes);
      }
    }
    noteWhatLasts(operations, outcomes);
    if (committed) {
      _attempted.clear();
      _contents = after;
      ++_commits;
      ++(_disk[path].size() > before.size() ? grown : inPlace);
    } else {
      _attempted.insert(after);
      ++failed;
    }
  }

  std::string faultIn(const char* file) {
    const std::string& bytes = _disk[file];
    return FormatChecker::faultIn(
        bytes.substr(std::min(bytes.find_first_not_of('#'), bytes.size())));
  }

  /// Does operations `first` up to `last` to a file.
  static void apply(const Operations& operations, std::size_t first, std::size_t last,
                    std::string& file) {
    for (std::size_t i = first; i < last; ++i) {
      if (operations[i].done) {
        operations[i].applyTo(file);
      }
    }
  }

  /// Behind the last flush before `cut`; 0 when there is none.
  static std::size_t flushedAt(const Operations& operations, std::size_t cut) {
    while (cut > 0 &&
           (operations[cut - 1].kind != Operation::Kind::Flush || !operations[cut - 1].done)) {
      --cut;
    }
    return cut;
  }

  /// Of what was written since the last flush anything may be lost; what takes more than a sector
  /// may be torn.
  void cutPower(const Operations& operations, std::size_t cut, Outcomes outcomes) {
    const std::size_t flushed = flushedAt(operations, cut);
    std::string found = _durable;
    Operations pending = _pending;
    if (flushed > 0) {
      apply(_pending, 0, _pending.size(), found);
      apply(operations, 0, flushed, found);
      pending.clear();
    } else {
      outcomes.insert(_possible.begin(), _possible.end());
    }
    const auto start = operations.begin();
    pending.insert(pending.end(), start + static_cast<std::ptrdiff_t>(flushed),
                   start + static_cast<std::ptrdiff_t>(cut));
    const unsigned int odds = 2 + _changes.below(4);
    for (Operation& operation : pending) {
      operation.done = operation.done && _changes.below(odds) < odds / 2;
      if (operation.bytes.size() > Metakit::tailSize && _changes.below(4) == 0) {
        operation.bytes.resize(1 +
                               _changes.below(static_cast<unsigned int>(operation.bytes.size())));
      }
    }
    apply(pending, 0, pending.size(), found);
    expectOneOf(outcomes, found);
  }

  void noteWhatLasts(const Operations& operations, const Outcomes& outcomes) {
    const std::size_t flushed = flushedAt(operations, operations.size());
    if (flushed > 0) {
      apply(_pending, 0, _pending.size(), _durable);
      apply(operations, 0, flushed, _durable);
      _pending.clear();
      _possible.clear();
    }
    _pending.insert(_pending.end(), operations.begin() + static_cast<std::ptrdiff_t>(flushed),
                    operations.end());
    _possible.insert(outcomes.begin(), outcomes.end());
  }

  /// A file as a crash left it has one of the outcomes and can be committed to.
  void expectOneOf(const Outcomes& outcomes, const std::string& found) {
    _disk[image] = found;
    std::string contents;
    {
      Datafile file(image, true);
      ASSERT_TRUE(file.isValid());
      ASSERT_EQ(outcomes.count(contentsOf(*file.root())), 1U);
      _changes.make(file);
      ASSERT_EQ(file.commit(), 0);
      contents = contentsOf(*file.root());
    }
    ASSERT_EQ(faultIn(image), "");
    const Datafile again(image, false);
    ASSERT_TRUE(again.isValid());
    ASSERT_EQ(contentsOf(*again.root()), contents);
  }

 protected:
  unsigned int grown = 0;
  unsigned int inPlace = 0;
  unsigned int failed = 0;

 private:
  MemoryDisk _disk;
  Changes _changes{GetParam().seed};
  unsigned int _commits = 0;
  /// What the file holds, and what failed commits since were to make of it.
  std::string _contents;
  Outcomes _attempted;
  /// What is on the device for sure, what was done to the file since, and what it may hold when
  /// that is lost.
  std::string _durable;
  Operations _pending;
  Outcomes _possible = {"{\n}"};
};

TEST_P(CrashTest, LeavesTheLastCommitOrTheNext) {
  liveThrough(12, false);
  EXPECT_GT(grown + inPlace, 8U);
  EXPECT_TRUE(isOneOfMany() || (grown > 3 && inPlace > 3));
}

TEST_P(CrashTest, LeavesTheLastCommitOrTheNextAlsoAfterErrors) {
  liveThrough(12, true);
  EXPECT_GT(grown + inPlace, 8U);
  EXPECT_TRUE(isOneOfMany() || failed > 2);
}

TEST_P(CrashTest, ALongSessionLeavesTheSameContentsAsManyShortOnes) {
  MemoryDisk disk;
  Changes changes(GetParam().seed);
  Changes sameChanges(GetParam().seed);
  Datafile file("long", true);
  for (int i = 0; i < 100; ++i) {
    changes.make(file);
    ASSERT_EQ(file.commit(), 0);
    Datafile again("short", true);
    sameChanges.make(again);
    ASSERT_EQ(again.commit(), 0);
    ASSERT_EQ(contentsOf(*file.root()), contentsOf(*again.root())) << "commit " << i;
    ASSERT_EQ(contentsOf(*Datafile("long", false).root()), contentsOf(*again.root()));
    ASSERT_EQ(FormatChecker::faultIn(disk["long"]), "") << "commit " << i;
    ASSERT_EQ(FormatChecker::faultIn(disk["short"]), "") << "commit " << i;
  }
}

/// Some that are always the same; in a soak many more, other ones for each of its seeds.
std::vector<History> histories() {
  std::vector<History> all = {{1, 0}, {2, 0}, {3, 0}, {4, 0}, {5, 1000}, {6, 7}};
  if (const char* seed = std::getenv("SOAK_SEED")) {
    const auto first =
        static_cast<unsigned int>(std::strtoul(seed, nullptr, 10)) * 100 + firstOfMany;
    for (unsigned int i = 0; i < 100; ++i) {
      all.push_back({first + i, i % 3 == 0 ? i : 0});
    }
  }
  return all;
}

INSTANTIATE_TEST_SUITE_P(Histories, CrashTest, ::testing::ValuesIn(histories()));

}  // namespace
