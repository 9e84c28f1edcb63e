// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "fuzz/Check.h"
#include "fuzz/Digest.h"
#include "fuzz/Disk.h"
#include "fuzz/MemoryLimit.h"
#include "fuzz/Seeds.h"
#include "fuzz/Targets.h"
#include "metakit/BytesColumn.h"
#include "metakit/Column.h"
#include "metakit/Datafile.h"
#include "metakit/IntColumn.h"
#include "metakit/Sequence.h"
#include "metakit/ViewColumn.h"
#include "metakit/WideColumn.h"
#include "metakit/testing/FormatChecker.h"

namespace Fuzz {

namespace {

using Metakit::BytesColumn;
using Metakit::Datafile;
using Metakit::FormatChecker;
using Metakit::IntColumn;
using Metakit::Sequence;
using Metakit::ViewColumn;
using Metakit::WideColumn;

/// The changes of an input, byte by byte; 0 behind the last one.
class Changes {
 public:
  Changes(const std::uint8_t* bytes, std::size_t size) : _at(bytes), _end(bytes + size) {}

  bool atEnd() const { return _at == _end; }
  std::uint8_t byte() { return atEnd() ? std::uint8_t{0} : *_at++; }
  /// A number below `bound`; 0 for none.
  std::int32_t below(std::int64_t bound) {
    std::int64_t number = byte();
    if (bound > 256) {
      number = (number << 8 | byte()) << 8;
      number |= byte();
    }
    return bound > 0 ? static_cast<std::int32_t>(number % bound) : 0;
  }

 private:
  const std::uint8_t* _at;
  const std::uint8_t* _end;
};

/// Descriptions that the changes choose from: additions and other structures for what is there.
constexpr std::array<const char*, 8> descriptions = {
    "T[Key:I,Record:B]",
    "T[Record:B,Key:I,Name:S]",
    "T[Key:L,Record:B]",
    "t[rows[a:I,b:S,c[d:D]],f:F]",
    "t[rows[b:S,a:I,c[d:D,e:I]],l:L]",
    "nodes[id:I,nodes[^]]",
    "empty[]",
    "nodes[nodes[^],text:S]",
};

/// A storage that is changed, and the file under it.
class ChangedFile {
 public:
  ChangedFile(Disk& disk, Disk& cut, std::size_t prefix)
      : _disk(disk),
        _cut(cut),
        _prefix(prefix),
        _wasSound(disk.size() <= largestChecked && isSound()) {
    open();
    _committed = digest();
  }

  bool isValid() const { return _file->isValid(); }

  /// One more change; false when the input has had its share of work.
  bool change(Changes& changes) {
    if (!spend(_cells)) {
      return false;
    }
    switch (changes.byte() % 8) {
      case 0:
        commit(changes);
        break;
      case 1:
        reopen();
        break;
      case 2:
        addView(changes);
        break;
      default:
        changeTable(changes);
    }
    return true;
  }

  /// Everything that was changed gets into the file.
  void finish() {
    if (commitNow()) {
      reopen();
    }
  }

 private:
  /// Cells and bytes that the changes of an input may go over: a fuzzer is to try many inputs, not
  /// to wait for a large one.
  static constexpr std::int64_t mostWork = 1024 * 1024;

  void open() { _file = std::make_unique<Datafile>("", true); }

  std::uint64_t digest() {
    const Digest digest(*_file->root());
    _cells = digest.cells();
    return digest.value();
  }

  bool isSound() const {
    const MemoryPause pause;
    const std::string file(reinterpret_cast<const char*>(_disk.bytes()), _disk.size());
    return file.size() <= _prefix || FormatChecker::faultIn(file.substr(_prefix)).empty();
  }

  void reopen() {
    _file = nullptr;
    open();
    check(_file->isValid(), "what was committed is opened");
    check(digest() == _committed, "what was committed is there");
  }

  /// Whether the changes are in the file.
  bool commitNow() {
    const std::uint64_t before = digest();
    const int error = _file->commit();
    check(error == 0 || error == EFBIG || error == ENOSPC, "nothing else fails a commit");
    if (error != 0) {
      return false;
    }
    _committed = digest();
    check(_committed == before, "a commit changes nothing in memory");
    check(!_wasSound || isSound(), "a sound file stays sound");
    return true;
  }

  void commit(Changes& changes) {
    const std::size_t operation = changes.byte() % 32;
    const auto way = static_cast<Way>(changes.byte() % 4);
    const std::uint64_t before = _committed;
    spend(static_cast<std::int64_t>(_disk.size()));
    if (way == Way::Fails || way == Way::FailsTooLate) {
      commitFailing(operation, way == Way::FailsTooLate);
    } else if (way == Way::CutOff) {
      _disk.cutAt(operation, _cut);
      const bool done = commitNow();
      _disk.finishCut();
      const std::uint64_t after = _committed;
      checkCut(before, done ? after : before);
    }
    finish();
  }

  void commitFailing(std::size_t operation, bool tooLate) {
    const std::uint64_t inMemory = digest();
    const std::size_t before = _disk.operations();
    _disk.failAt(operation, tooLate);
    const int error = _file->commit();
    _disk.failNever();
    check(digest() == inMemory, "a commit changes nothing in memory");
    if (error == 0) {
      _committed = inMemory;
    }
    if (_disk.operations() > before) {
      // Only what was completed is there, whatever the commit left behind.
      const MemoryPause pause;
      const Datafile other("", false);
      check(other.isValid(), "a file is opened after a commit that failed");
      check(Digest(*other.root()).value() == _committed, "a commit that fails changes nothing");
    }
  }

  /// The copy that was cut off holds what was committed before or after.
  void checkCut(std::uint64_t before, std::uint64_t after) {
    _cut.insert();
    {
      const MemoryPause pause;
      const Datafile file("", true);
      check(file.isValid(), "a file that is cut off is opened");
      const std::uint64_t found = Digest(*file.root()).value();
      check(found == before || found == after, "a file that is cut off holds one of two commits");
    }
    _disk.insert();
  }

  void addView(Changes& changes) {
    const auto table = _file->view(descriptions[changes.byte() % descriptions.size()]);
    check(table != nullptr, "a view is added");
  }

  /// Some table, at any depth; null when there is none.
  std::shared_ptr<Sequence> chooseTable(Changes& changes) {
    std::shared_ptr<Sequence> table = _file->root();
    for (bool isRoot = true;; isRoot = false) {
      std::vector<int> views;
      const auto& fields = table->structure().fields;
      for (std::size_t i = 0; i < fields.size(); ++i) {
        if (fields[i].type == 'V') {
          views.push_back(static_cast<int>(i));
        }
      }
      const int choice = changes.byte();
      if (views.empty() || table->rows() == 0 || (!isRoot && choice % 2 == 0)) {
        return isRoot ? nullptr : table;
      }
      const int view = views[static_cast<std::size_t>(choice / 2) % views.size()];
      const std::int32_t row = changes.below(table->rows());
      table = static_cast<ViewColumn&>(table->columnAt(view)).at(row);
    }
  }

  /// Takes from what the changes may still cost.
  bool spend(std::int64_t work) {
    _work += work;
    return _work <= mostWork;
  }

  void changeTable(Changes& changes) {
    const std::shared_ptr<Sequence> table = chooseTable(changes);
    if (table == nullptr) {
      return;
    }
    const std::int32_t rows = table->rows();
    switch (changes.byte() % 8) {
      case 0:
      case 1: {
        const std::int32_t more = changes.byte() % 20 + 1;
        for (std::int32_t i = 0; i < more; ++i) {
          check(table->append(), "a row is appended");
        }
        check(table->rows() == rows + more, "rows are appended");
        break;
      }
      case 2:
        if (rows > 0) {
          const std::int32_t row = changes.below(rows);
          const std::int32_t count = changes.below(rows - row + 1);
          table->remove(row, count);
          check(table->rows() == rows - count, "rows are removed");
        }
        break;
      case 3: {
        const std::shared_ptr<Sequence> from = chooseTable(changes);
        if (from != nullptr && spend(Digest(*from).cells()) && rows > 0 && from->rows() > 0) {
          table->assign(changes.below(rows), *from, changes.below(from->rows()));
        }
        break;
      }
      case 4: {
        const std::shared_ptr<Sequence> from = chooseTable(changes);
        if (from != nullptr && spend(Digest(*from).cells())) {
          const std::int32_t wanted = from->rows();
          table->assign(*from);
          check(table->rows() == wanted, "all rows are taken over");
        }
        break;
      }
      default:
        if (rows > 0 && !table->structure().fields.empty()) {
          setCell(*table, changes);
        }
    }
  }

  static void setCell(Sequence& table, Changes& changes) {
    const auto& fields = table.structure().fields;
    const std::int32_t index = changes.below(static_cast<std::int64_t>(fields.size()));
    const std::int32_t row = changes.below(table.rows());
    Metakit::Column& column = table.columnAt(index);
    const std::int64_t value = valueOf(changes);
    switch (fields[static_cast<std::size_t>(index)].type) {
      case 'I':
      case 'F': {
        const auto integer = static_cast<std::int32_t>(value);
        static_cast<IntColumn&>(column).set(row, integer);
        check(static_cast<IntColumn&>(column).at(row) == integer, "an integer is set");
        break;
      }
      case 'L':
      case 'D':
        static_cast<WideColumn&>(column).set(row, value);
        check(static_cast<WideColumn&>(column).at(row) == value, "a wide integer is set");
        break;
      case 'V':
        column.clear(row);
        check(static_cast<ViewColumn&>(column).at(row)->rows() == 0, "a view is cleared");
        break;
      default: {
        std::string text(static_cast<std::size_t>(value & 0x7FF), static_cast<char>(value));
        if (!text.empty()) {
          text.back() = '\0';
        }
        auto& items = static_cast<BytesColumn&>(column);
        items.set(row, text.data(), static_cast<std::int32_t>(text.size()));
        const BytesColumn::Item item = items.at(row);
        check(std::string(reinterpret_cast<const char*>(item.bytes),
                          static_cast<std::size_t>(item.size)) == text,
              "an item is set");
      }
    }
  }

  /// A number of some width, of either sign.
  static std::int64_t valueOf(Changes& changes) {
    const int shape = changes.byte();
    std::uint64_t value = 0;
    for (int i = 0; i <= shape % 8; ++i) {
      value = value << 8 | changes.byte();
    }
    return static_cast<std::int64_t>((shape & 0x80) != 0 ? ~value : value);
  }

  Disk& _disk;
  Disk& _cut;
  const std::size_t _prefix;
  const bool _wasSound;
  std::unique_ptr<Datafile> _file;
  std::uint64_t _committed = 0;
  /// Cells that were there when they were last looked at.
  std::int64_t _cells = 0;
  std::int64_t _work = 0;
};

}  // namespace

void commit(const std::uint8_t* bytes, std::size_t size) {
  static Disk disk;
  static Disk cut;
  const std::size_t length = size > 0 ? std::min<std::size_t>(bytes[size - 1], size - 1) : 0;
  const std::size_t fileSize = size > 0 ? size - 1 - length : 0;
  Changes changes(bytes + fileSize, length);
  // A datafile may stand behind other bytes.
  const std::size_t prefix = fileSize > 0 ? changes.byte() & 0x0FU : 0;
  const std::string file = std::string(prefix, '#').append(bytes, bytes + fileSize);
  disk.insert(reinterpret_cast<const std::uint8_t*>(file.data()), file.size());

  const MemoryLimit limit(memoryLimit);
  ChangedFile changed(disk, cut, prefix);
  if (!changed.isValid()) {
    return;
  }
  while (!changes.atEnd() && changed.change(changes)) {
  }
  changed.finish();
}

}  // namespace Fuzz
