// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <fcntl.h>
#include <unistd.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "database/metakit/testing/TableTesting.h"
#include "random/Random.h"

namespace {

using namespace DatabaseTesting;
using Pvn::Database::Table::RecordApi;
namespace TableReq = Pvn::Database::Persist::Table::Req;
namespace AtomicReq = Pvn::Database::Table::Atomic::Req;

/// A table with the rows 7 and 9, and random numbers of the case's choice.
class TableRandomKeyTest : public TableTest {
 protected:
  TableRandomKeyTest() : _descriptor(Pvn::Random::Posix::fd) {
    openTable({{7, bodyOf('a')}, {9, bodyOf('b')}});
  }
  ~TableRandomKeyTest() override {
    if (Pvn::Random::Posix::fd >= 0) {
      ::close(Pvn::Random::Posix::fd);
    }
    Pvn::Random::Posix::fd = _descriptor;
  }

  void drawFrom(const std::vector<int>& numbers) {
    TestSupport::writeFile(
        folder.path("random"),
        std::string(reinterpret_cast<const char*>(numbers.data()), numbers.size() * sizeof(int)));
    Pvn::Random::Posix::fd = ::open(folder.path("random").c_str(), O_RDONLY);
  }

  /// The rows with one more, of the body "01234567".
  static Rows withRow(int key) { return {{7, bodyOf('a')}, {9, bodyOf('b')}, {key, "01234567"}}; }

  static std::size_t drawn() {
    return static_cast<std::size_t>(::lseek(Pvn::Random::Posix::fd, 0, SEEK_CUR)) / sizeof(int);
  }

 private:
  const int _descriptor;
};

/// Closes the descriptor of the random source and captures standard error, until restore().
class FailingSource {
 public:
  explicit FailingSource(int descriptor)
      : _descriptor(descriptor), _source(::dup(descriptor)), _error(::dup(STDERR_FILENO)) {
    EXPECT_EQ(::pipe(_ends), 0);
    ::dup2(_ends[1], STDERR_FILENO);
    ::close(_ends[1]);
    ::close(descriptor);
  }
  ~FailingSource() {
    for (const int end : {_source, _error, _ends[0]}) {
      ::close(end);
    }
  }
  FailingSource(const FailingSource&) = delete;
  FailingSource& operator=(const FailingSource&) = delete;

  /// The next line on standard error. Blocks until it is there; empty when no more can come.
  std::string line() {
    std::string text;
    for (char c = 0; c != '\n' && ::read(_ends[0], &c, 1) == 1;) {
      text += c;
    }
    return text;
  }

  /// Makes the source return numbers again. Reads standard error until its user has ended.
  void restore() {
    ::dup2(_source, _descriptor);
    while (!line().empty()) {
    }
  }

  void done() { ::dup2(_error, STDERR_FILENO); }

 private:
  const int _descriptor;
  const int _source;
  const int _error;
  int _ends[2];
};

TEST_F(TableRandomKeyTest, RecordIsAppendedUnderARandomKey) {
  drawFrom({-3, 11});
  RecordHandle* record = createWithRandomKey("01234567");
  EXPECT_EQ(static_cast<void*>(record), memory.get());
  EXPECT_TRUE(memory.isUntouchedBehind());
  EXPECT_EQ(record->getKey(), -3);
  EXPECT_EQ(read(*record), "01234567");
  EXPECT_EQ(rowsInFile(), withRow(-3));
  EXPECT_EQ(rowsAtSyncs, (std::vector<std::size_t>{3}));
}

TEST_F(TableRandomKeyTest, KeysThatAreTakenAreDrawnAgainSilently) {
  drawFrom({7, 9, 7, 4, 11});
  EXPECT_EQ(output([&] {
              EXPECT_EQ(table->createRecord("01234567", memory.get(), recordObjectSize)->getKey(),
                        4);
            }),
            "");
  EXPECT_EQ(drawn(), 4U);
  EXPECT_EQ(rows(), withRow(4));
}

TEST_F(TableRandomKeyTest, FailingSourceGivesTheKeyZero) {
  Pvn::Random::Posix::fd = -1;
  EXPECT_EQ(error([&] {
              EXPECT_EQ(table->createRecord("01234567", memory.get(), recordObjectSize)->getKey(),
                        0);
            }),
            "Pvn::Random::Signed::get(): read() failed: Bad file descriptor\n");
  EXPECT_EQ(rows(), withRow(0));
}

TEST_F(TableRandomKeyTest, TakenKeysAreDrawnAgainWithoutALimit) {
  std::vector<int> numbers(100000, 7);
  numbers.push_back(4);
  drawFrom(numbers);
  EXPECT_EQ(createWithRandomKey("01234567")->getKey(), 4);
  EXPECT_EQ(drawn(), numbers.size());
}

TEST_F(TableRandomKeyTest, FailingSourceIsAskedAgainWhenTheKeyZeroIsTaken) {
  create(0, bodyOf('c'), memory);
  drawFrom({4});
  FailingSource source(Pvn::Random::Posix::fd);
  int failures = 0;
  {
    const TestSupport::RtkThread user([&] {
      table->createRecord("01234567", memory.get(), recordObjectSize);
      source.done();
    });
    while (failures < 2000 &&
           source.line() == "Pvn::Random::Signed::get(): read() failed: Bad file descriptor\n") {
      ++failures;
    }
    source.restore();
  }
  EXPECT_EQ(failures, 2000);
  EXPECT_EQ(rows().back(), (Row{4, "01234567"}));
}

TEST_F(TableRandomKeyTest, NullMemoryOfNoSizeIsWarnedAbout) {
  drawFrom({4});
  EXPECT_EQ(output([&] { EXPECT_EQ(table->createRecord("01234567", nullptr, 0), nullptr); }),
            tableLine + "request(CreateRecordReq): memSize < sizeof(Record)\n");
  EXPECT_EQ(rowsInFile(), withRow(4));
}

TEST_F(TableRandomKeyTest, NullMemoryGivesNullYetTheRowIsThere) {
  drawFrom({4});
  EXPECT_EQ(output([&] {
              EXPECT_EQ(table->createRecord("01234567", nullptr, recordObjectSize), nullptr);
            }),
            "");
  EXPECT_EQ(rowsInFile(), withRow(4));
}

TEST_F(TableRandomKeyTest, ShortMemoryIsWarnedAboutAndAnsweredOnceWhenAllIsDone) {
  drawFrom({4});
  TableReq::Api::CreateRecordPayload payload("01234567", memory.get(), recordObjectSize - 1);
  ::testing::internal::CaptureStdout();
  EXPECT_EQ(serve<TableReq::Api>(*table, payload,
                                 [&] {
                                   EXPECT_FALSE(memory.isUntouched());
                                   EXPECT_EQ(rowsAtSyncs.size(), 1U);
                                 }),
            1);
  EXPECT_EQ(::testing::internal::GetCapturedStdout(),
            tableLine + "request(CreateRecordReq): memSize < sizeof(Record)\n");
  EXPECT_EQ(payload._result, nullptr);
  EXPECT_EQ(rowsInFile(), withRow(4));
  ASSERT_FALSE(memory.isUntouched());
  EXPECT_EQ(handleIn<RecordHandle>(memory.get())->getKey(), 4);
}

TEST_F(TableRandomKeyTest, ReturnsEachRequestOnce) {
  drawFrom({4});
  const unsigned int size = recordObjectSize;
  TableReq::Api::OpenFirstRecordPayload first(memory.get(), size);
  EXPECT_EQ(serve<TableReq::Api>(*table, first), 1);
  TableReq::Api::OpenFirstRecordPayload shortMemory(memory.get(), size - 1);
  EXPECT_EQ(serve<TableReq::Api>(*table, shortMemory), 1);
  TableReq::Api::CreateRecordWithKeyPayload withKey("01234567", memory.get(), size, 5);
  EXPECT_EQ(serve<TableReq::Api>(*table, withKey, [&] { EXPECT_EQ(rowsAtSyncs.size(), 1U); }), 1);
  TableReq::Api::CreateRecordPayload withRandomKey("01234567", memory.get(), size);
  EXPECT_EQ(serve<TableReq::Api>(*table, withRandomKey, [&] { EXPECT_EQ(rowsAtSyncs.size(), 2U); }),
            1);
  int visits = 0;
  Visitor visitor([&](RecordApi&) { return ++visits == 2; });
  AtomicReq::Api::IteratePayload iteration(visitor);
  EXPECT_EQ(serve<AtomicReq::Api>(*table, iteration, [&] { EXPECT_EQ(visits, 2); }), 1);
  TableReq::Api::DestroyPayload destruction;
  EXPECT_EQ(serve<TableReq::Api>(*table, destruction, [&] { EXPECT_EQ(rowsAtSyncs.size(), 3U); }),
            1);
  table = nullptr;
}

}  // namespace
