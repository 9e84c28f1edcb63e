// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <cerrno>
#include <functional>
#include <memory>
#include <new>
#include <optional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "database/metakit/testing/DatabaseTesting.h"
#include "metakit/File.h"
#include "metakit/PosixFile.h"

// What the store does to its file: how often it is written and synced, and when it is let go.

namespace {

using namespace DatabaseTesting;

/// The files that are open, and what has been done: "commit" for writes in a row, "sync" for each
/// call of sync().
struct FileUse {
  void noteWrite() {
    if (!_committing) {
      trace += "commit ";
    }
    _committing = true;
  }
  void noteSync() {
    trace += "sync ";
    _committing = false;
  }
  void begin() {
    trace.clear();
    _committing = false;
  }

  int open = 0;
  std::string trace;
  /// Files refuse as many writes before they take one.
  int refusals = 0;

 private:
  bool _committing = false;
};

/// A file of the operating system whose use is noted.
class NotedFile : public Metakit::File {
 public:
  NotedFile(std::unique_ptr<File> file, FileUse& use) : _file(std::move(file)), _use(use) {
    ++_use.open;
  }
  ~NotedFile() override { --_use.open; }

  std::int64_t length() const override { return _file->length(); }
  bool writable() const override { return _file->writable(); }
  const std::uint8_t* bytes(std::int64_t offset, std::size_t size) override {
    return _file->bytes(offset, size);
  }
  int write(std::int64_t offset, const void* bytes, std::size_t size) override {
    _use.noteWrite();
    if (_use.refusals > 0) {
      --_use.refusals;
      return ENOSPC;
    }
    return _file->write(offset, bytes, size);
  }
  int truncate(std::int64_t length) override {
    _use.noteWrite();
    return _file->truncate(length);
  }
  int flush() override { return _file->flush(); }
  void close() override { _file->close(); }

 private:
  const std::unique_ptr<File> _file;
  FileUse& _use;
};

/// A table with the rows 7, 3 and 7, of which the first is opened, over noted files.
class FileUseTest : public DatabaseTest {
 protected:
  FileUseTest() {
    Metakit::setFileOpener([this](const char* name, bool write) -> std::unique_ptr<Metakit::File> {
      auto file = Metakit::PosixFile::open(name, write);
      return file == nullptr ? nullptr : std::make_unique<NotedFile>(std::move(file), use);
    });
    openTable({{7, bodyOf('a')}, {3, bodyOf('b')}, {7, bodyOf('c')}});
    client([this] { record = table->openFirstRecord(_recordMemory.get(), recordObjectSize); });
    onSync = [this] { use.noteSync(); };
    use.begin();
  }
  ~FileUseTest() override {
    // The store must let its file go before its use is noted no longer.
    client([this] {
      if (table != nullptr) {
        table->destroy();
      }
      if (otherTable != nullptr) {
        otherTable->destroy();
      }
      service.close();
    });
    table = nullptr;
    Metakit::setFileOpener({});
  }

  FileUse use;
  RecordHandle* record = nullptr;
  DbMemory otherDbMemory;
  TableMemory otherTableMemory;
  Pvn::Database::Table::Api* otherTable = nullptr;

 private:
  RandomSource _randomSource;
  RecordMemory _recordMemory;
};

// ---- Commits ----

/// What a client may do.
class Client : public FileUseTest {
 protected:
  void open() { service.open(); }
  void createDatabase() { service.create("", otherDbMemory.get(), dbSize); }
  void destroyDatabase() { db->destroy(); }
  void openTable() {
    otherTable = db->createTable("Table", recordSize, otherTableMemory.get(), tableSize);
  }
  void destroyTable() { std::exchange(table, nullptr)->destroy(); }

  void createRecord() { create(9, memory.get(), recordObjectSize); }
  void createDuplicate() { create(7, memory.get(), recordObjectSize); }
  void createInShortMemory() { create(9, memory.get(), recordObjectSize - 1); }
  void createWithoutMemory() { create(9, nullptr, recordObjectSize); }
  void createWithRandomKey() { table->createRecord(data, memory.get(), recordObjectSize); }
  void openFirstRecord() { table->openFirstRecord(memory.get(), recordObjectSize); }

  void readCurrentRow() {
    onFirstRow([this](Pvn::Database::Table::RecordApi& row) { row.read(buffer, 8, 0); });
  }
  void writeCurrentRow() {
    onFirstRow([this](Pvn::Database::Table::RecordApi& row) { row.write(data, 8, 0); });
  }
  void writeCurrentRowAndDestroyTable() {
    writeCurrentRow();
    destroyTable();
  }

  void read() { record->read(buffer, 8, 0); }
  void write() { record->write(data, 8, 0); }
  void writeInPart() { record->write(data, 4, 4); }
  void writeBeyondTheEnd() { record->write(data, 8, 1); }
  void destroyRecord() { record->destroy(); }
  void endRecord() { record->~Api(); }

 public:
  /// One of the above, and how the file is used for it.
  struct Use {
    const char* name;
    void (Client::*act)();
    std::string trace;
  };

  static std::vector<Use> uses() {
    const std::string once = "commit sync ";
    return {{"Open", &Client::open, ""},
            {"CreateDatabase", &Client::createDatabase, ""},
            {"DestroyDatabase", &Client::destroyDatabase, ""},
            {"OpenTable", &Client::openTable, ""},
            {"DestroyTable", &Client::destroyTable, "sync "},
            {"CreateRecord", &Client::createRecord, once},
            {"CreateDuplicate", &Client::createDuplicate, once},
            {"CreateInShortMemory", &Client::createInShortMemory, once},
            {"CreateWithoutMemory", &Client::createWithoutMemory, once},
            {"CreateWithRandomKey", &Client::createWithRandomKey, once},
            {"OpenFirstRecord", &Client::openFirstRecord, ""},
            {"ReadCurrentRow", &Client::readCurrentRow, ""},
            {"WriteCurrentRow", &Client::writeCurrentRow, ""},
            {"WriteCurrentRowAndDestroyTable", &Client::writeCurrentRowAndDestroyTable, once},
            {"Read", &Client::read, ""},
            {"Write", &Client::write, once},
            {"WriteInPart", &Client::writeInPart, ""},
            {"WriteBeyondTheEnd", &Client::writeBeyondTheEnd, ""},
            {"DestroyRecord", &Client::destroyRecord, once},
            {"EndRecord", &Client::endRecord, ""}};
  }

 private:
  void create(int key, void* mem, unsigned int memSize) {
    table->createRecordWithKey(data, mem, memSize, key);
  }

  void onFirstRow(const std::function<void(Pvn::Database::Table::RecordApi&)>& visit) {
    Visitor visitor([&](Pvn::Database::Table::RecordApi& row) {
      visit(row);
      return true;
    });
    table->iterate(visitor);
  }

  const char data[9] = "01234567";
  char buffer[8] = {};
  RecordMemory memory;
};

std::ostream& operator<<(std::ostream& stream, const Client::Use& use) {
  return stream << use.name;
}

class FileUseCommitTest : public Client, public ::testing::WithParamInterface<Client::Use> {
 protected:
  /// What is printed is told elsewhere.
  void act() {
    output([this] { (this->*GetParam().act)(); });
  }
};

TEST_P(FileUseCommitTest, CommitsAndSyncsEachChangeOnce) {
  act();
  EXPECT_EQ(use.trace, GetParam().trace);
}

TEST_P(FileUseCommitTest, LeavesThatToTheDecrementWhileCommitsAreHeldBack) {
  auto& inhibit = *service.getCommitSyncApi();
  client([&] { inhibit.incrementInhibit(); });
  act();
  EXPECT_EQ(use.trace, "");
  client([&] { inhibit.decrementInhibit(); });
  EXPECT_EQ(use.trace, GetParam().trace);
}

INSTANTIATE_TEST_SUITE_P(All, FileUseCommitTest, ::testing::ValuesIn(Client::uses()),
                         [](const auto& use) { return std::string(use.param.name); });

TEST_F(FileUseTest, ChangesHeldBackAreCommittedOnceAtTheLastDecrement) {
  auto& inhibit = *service.getCommitSyncApi();
  client([&] {
    inhibit.incrementInhibit();
    inhibit.incrementInhibit();
    for (const char* body : {"aaaaaaaa", "bbbbbbbb", "cccccccc"}) {
      record->write(body, recordSize, 0);
    }
    inhibit.decrementInhibit();
  });
  EXPECT_EQ(use.trace, "");
  client([&] { inhibit.decrementInhibit(); });
  EXPECT_EQ(use.trace, "commit sync ");
}

TEST_F(FileUseTest, CommitWithoutAChangeIsSyncedAllTheSame) {
  service.commit();
  EXPECT_EQ(use.trace, "sync ");
}

TEST_F(FileUseTest, CommitThatFailsIsNotRepeated) {
  auto& inhibit = *service.getCommitSyncApi();
  const auto changeAndFail = [this](const std::function<void()>& release) {
    use.begin();
    use.refusals = 1;
    client([&] {
      record->write("01234567", recordSize, 0);
      release();
    });
    EXPECT_EQ(use.refusals, 0);
    EXPECT_EQ(service.getCommitError(), ENOSPC);
    EXPECT_EQ(use.trace, "commit sync ");
    EXPECT_EQ(rowsInFile().front(), (Row{7, bodyOf('a')}));
  };
  changeAndFail([] {});
  client([&] { inhibit.incrementInhibit(); });
  changeAndFail([&] { inhibit.decrementInhibit(); });
}

TEST_F(FileUseTest, StoresOnOneServerAreHeldBackEachByItself) {
  Service other(server, path.c_str());
  client([&] {
    other.getCommitSyncApi()->incrementInhibit();
    record->write("01234567", recordSize, 0);
  });
  EXPECT_EQ(use.trace, "commit sync ");
}

// ---- Open files ----

TEST_F(FileUseTest, CloseLetsTheFileGo) {
  Service other(server, path.c_str());
  client([&] { other.open(); });
  EXPECT_EQ(use.open, 2);
  client([&] { other.close(); });
  EXPECT_EQ(use.open, 1);
}

TEST_F(FileUseTest, EndOfAServiceLetsTheFileGo) {
  std::optional<Service> other(std::in_place, server, path.c_str());
  client([&] { other->open(); });
  EXPECT_EQ(use.open, 2);
  other.reset();
  EXPECT_EQ(use.open, 1);
}

TEST_F(FileUseTest, SecondOpenOpensNoFile) {
  client([&] { service.open(); });
  EXPECT_EQ(use.open, 1);
}

TEST_F(FileUseTest, ViewOfATableKeepsTheFileUntilTheTableIsDestroyed) {
  Service other(server, path.c_str());
  TableMemory memory;
  Pvn::Database::Table::Api* ofOther = nullptr;
  client([&] {
    other.open();
    ofOther = other.create("", otherDbMemory.get(), dbSize)
                  ->createTable("Table", recordSize, memory.get(), tableSize);
    other.close();
  });
  EXPECT_EQ(use.open, 2);
  client([&] {
    other.getCommitSyncApi()->incrementInhibit();
    ofOther->destroy();
  });
  EXPECT_EQ(use.open, 1);
}

TEST_F(FileUseTest, DestructorOfATableKeepsTheFile) {
  Service other(server, path.c_str());
  // Never freed, so that the reference to the view is not lost.
  static auto* const memory = new TableMemory;
  client([&] {
    other.open();
    auto* ofOther = other.create("", otherDbMemory.get(), dbSize)
                        ->createTable("Table", recordSize, memory->get(), tableSize);
    other.close();
    ofOther->~Api();
  });
  EXPECT_EQ(use.open, 2);
}

/// A table that notes at its end how many files are open.
class CountingTable : public Pvn::Database::Metakit::Persist::Table {
 public:
  CountingTable(Pvn::Database::Metakit::Persist::Service& service, const FileUse& use,
                int& openAtEnd)
      : Table(service, "Table", 8), _use(use), _openAtEnd(openAtEnd) {}
  ~CountingTable() override { _openAtEnd = _use.open; }

 private:
  const FileUse& _use;
  int& _openAtEnd;
};

TEST_F(FileUseTest, DestroyReleasesTheViewAfterTheTableEndsAndBeforeTheCommit) {
  Service other(server, path.c_str());
  client([&] { other.open(); });
  int openAtEnd = 0;
  int openAtSync = 0;
  alignas(CountingTable) unsigned char memory[sizeof(CountingTable)];
  auto* counting = new (memory) CountingTable(other, use, openAtEnd);
  // The view keeps the first of two files of the other store open.
  client([&] {
    other.close();
    other.open();
  });
  ASSERT_EQ(use.open, 3);
  onSync = [&] { openAtSync = use.open; };
  client([&] { counting->destroy(); });
  EXPECT_EQ(openAtEnd, 3);
  EXPECT_EQ(openAtSync, 2);
}

}  // namespace
