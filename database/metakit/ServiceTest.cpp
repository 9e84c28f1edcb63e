// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "database/metakit/Service.h"

#include <sys/resource.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <optional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "database/metakit/testing/DatabaseTesting.h"

namespace {

using namespace DatabaseTesting;
namespace StoreReq = Pvn::Database::Persist::Store::Req;
namespace CommitReq = Pvn::Database::Persist::Commit::Req;

constexpr char shortDbMemoryLine[] =
    "Pvn::Database::Metakit::Persist::Service::request(CreateReq): memSize < sizeof(Db)\n";

class ServiceTest : public DatabaseTest {
 protected:
  void open() {
    client([this] { service.open(); });
  }
  void close() {
    client([this] { service.close(); });
  }

  /// Changes the storage, without a commit.
  void addRow() {
    c4_Row row;
    c4_View view = service.getStorage()->GetAs("Table[Key:I,Record:B]");
    view.Add(row);
  }
};

// ---- Open and close ----

TEST_F(ServiceTest, TouchesNoFileBeforeItIsOpened) {
  EXPECT_EQ(service.getStorage(), nullptr);
  EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(ServiceTest, OpenCreatesAMissingFile) {
  open();
  EXPECT_NE(service.getStorage(), nullptr);
  EXPECT_TRUE(std::filesystem::exists(path));
}

TEST_F(ServiceTest, OpenFindsWhatTheFileHolds) {
  putRows(path, "Table", {{7, "seven"}});
  open();
  EXPECT_EQ(rows(), (Rows{{7, "seven"}}));
}

TEST_F(ServiceTest, SecondOpenKeepsTheOpenStorageWithItsChanges) {
  open();
  const c4_Storage* storage = service.getStorage();
  addRow();
  open();
  EXPECT_EQ(service.getStorage(), storage);
  EXPECT_EQ(rows().size(), 1U);
}

TEST_F(ServiceTest, SecondCloseIsHarmless) {
  open();
  close();
  EXPECT_EQ(service.getStorage(), nullptr);
  close();
  EXPECT_EQ(service.getStorage(), nullptr);
}

TEST_F(ServiceTest, CloseBeforeOpenIsHarmless) {
  close();
  open();
  EXPECT_NE(service.getStorage(), nullptr);
}

TEST_F(ServiceTest, CloseDoesNotCommit) {
  open();
  addRow();
  service.commit();
  addRow();
  close();
  EXPECT_EQ(rowsInFile().size(), 1U);
  EXPECT_EQ(rowsAtSyncs, (std::vector<std::size_t>{1}));
}

TEST_F(ServiceTest, OpensAgainWithWhatWasCommitted) {
  open();
  addRow();
  service.commit();
  addRow();
  close();
  open();
  EXPECT_EQ(rows().size(), 1U);
}

TEST_F(ServiceTest, EndsWithoutACommit) {
  const std::string other = folder.path("other.mk");
  std::optional<Service> ending;
  ending.emplace(server, other.c_str());
  client([&] { ending->open(); });
  ending->getStorage()->GetAs("Table[Key:I,Record:B]").Add(c4_Row());
  ending.reset();
  EXPECT_TRUE(rowsIn(other, "Table").empty());
  EXPECT_TRUE(rowsAtSyncs.empty());
}

TEST_F(ServiceTest, EndsWithoutHavingBeenOpened) {
  const Service unopened(server, folder.path("other.mk").c_str());
  EXPECT_FALSE(std::filesystem::exists(folder.path("other.mk")));
}

TEST_F(ServiceTest, NeitherOpenNorCommitReportsAFailure) {
  Service unwritable(server, folder.path("missing/file.mk").c_str());
  EXPECT_EQ(output([&] { unwritable.open(); }), "");
  EXPECT_NE(unwritable.getStorage(), nullptr);
  EXPECT_EQ(error([&] { unwritable.commit(); }), "");
  EXPECT_EQ(rowsAtSyncs.size(), 1U);
}

TEST_F(ServiceTest, TellsWhenAskedWhetherItsFileIsSound) {
  EXPECT_FALSE(service.isSound()) << "closed";
  open();
  EXPECT_TRUE(service.isSound()) << "a new one";
  addRow();
  service.commit();
  EXPECT_EQ(service.getCommitError(), 0);
  close();
  EXPECT_FALSE(service.isSound());
  std::filesystem::resize_file(path, 10);
  open();
  EXPECT_FALSE(service.isSound()) << "damaged";
}

TEST_F(ServiceTest, TellsWhenAskedWhatKeptACommitFromTheFile) {
  putRows(path, "Table", {{7, "seven"}});
  open();
  addRow();
  rlimit limit = {};
  ::getrlimit(RLIMIT_FSIZE, &limit);
  const rlim_t before = std::exchange(limit.rlim_cur, 100);
  ::setrlimit(RLIMIT_FSIZE, &limit);
  service.commit();
  limit.rlim_cur = before;
  ::setrlimit(RLIMIT_FSIZE, &limit);
  EXPECT_EQ(service.getCommitError(), EFBIG);
  EXPECT_EQ(rowsInFile().size(), 1U);
  service.commit();
  EXPECT_EQ(service.getCommitError(), 0);
  EXPECT_EQ(rowsInFile().size(), 2U);
}

TEST_F(ServiceTest, CopiesTheFileName) {
  std::string name = path;
  Service named(server, name.c_str());
  name.assign(name.size(), 'x');
  client([&] { named.open(); });
  EXPECT_TRUE(std::filesystem::exists(path));
}

TEST_F(ServiceTest, Uses1024CharactersOfTheFileName) {
  std::string name = folder.path("");
  while (name.size() + 201 < 1024) {
    name += std::string(200, 'd') + "/";
    ASSERT_EQ(::mkdir(name.c_str(), 0700), 0);
  }
  const std::string cut = name + std::string(1024 - name.size(), 'f');
  Service named(server, (cut + "ghi").c_str());
  client([&] { named.open(); });
  EXPECT_TRUE(std::filesystem::exists(cut));
}

TEST_F(ServiceTest, CountsTheRowsOfATable) {
  putRows(path, "Table", {{7, "seven"}, {8, ""}});
  open();
  EXPECT_EQ(service.getRowCount("Table"), 2);
  EXPECT_EQ(service.getRowCount("Missing"), 0);
}

TEST_F(ServiceTest, CountingTheRowsOfATooLongNameAddsNoTable) {
  open();
  for (const unsigned int excess : {1U, 2U, 100U}) {
    const std::string name(Pvn::Database::Metakit::Persist::maxTableNameLength + excess, 'n');
    EXPECT_EQ(service.getRowCount(name.c_str()), 0);
    service.commit();
    EXPECT_EQ(descriptionOf(path), "") << excess;
  }
}

// ---- Databases ----

TEST_F(ServiceTest, CreateBuildsADatabaseInTheClientsMemory) {
  open();
  DbMemory memory;
  Pvn::Database::Db::Api* created = nullptr;
  EXPECT_EQ(output([&] { created = service.create("any", memory.get(), dbSize); }), "");
  EXPECT_EQ(static_cast<void*>(created), memory.get());
  EXPECT_TRUE(memory.isUntouchedBehind());
}

TEST_F(ServiceTest, NullMemoryGivesNull) {
  open();
  DbMemory memory;
  Pvn::Database::Db::Api* created = handleIn<Pvn::Database::Db::Api>(memory.get());
  EXPECT_EQ(output([&] { created = service.create("any", nullptr, dbSize); }), "");
  EXPECT_EQ(created, nullptr);
}

TEST_F(ServiceTest, NullMemoryOfNoSizeIsWarnedAbout) {
  open();
  EXPECT_EQ(output([&] { EXPECT_EQ(service.create("any", nullptr, 0), nullptr); }),
            shortDbMemoryLine);
}

TEST_F(ServiceTest, ShortMemoryIsWarnedAboutAndGivesNullYetTheDatabaseIsThere) {
  open();
  EXPECT_EQ(output([&] { EXPECT_EQ(service.create("any", dbMemory.get(), dbSize - 1), nullptr); }),
            shortDbMemoryLine);
  ASSERT_FALSE(dbMemory.isUntouched());
  db = handleIn<Pvn::Database::Db::Api>(dbMemory.get());
  client([&] {
    table = static_cast<Table*>(db->createTable("Table", 8, tableMemory.get(), tableSize));
  });
  EXPECT_NE(table, nullptr);
}

TEST_F(ServiceTest, ShortMemoryIsAnsweredOnceWhenTheDatabaseIsThere) {
  open();
  StoreReq::Api::CreatePayload payload("any", dbMemory.get(), dbSize - 1);
  ::testing::internal::CaptureStdout();
  const int returns = serve<StoreReq::Api>(
      service, payload, [&] { EXPECT_FALSE(dbMemory.isUntouched()) << "returned too soon"; });
  EXPECT_EQ(::testing::internal::GetCapturedStdout(), shortDbMemoryLine);
  EXPECT_EQ(returns, 1);
  EXPECT_EQ(payload._result, nullptr);
}

TEST_F(ServiceTest, NameOfTheDatabaseIsNotUsed) {
  openTable({{7, bodyOf('a')}});
  DbMemory otherMemory;
  TableMemory sameTableMemory;
  client([&] {
    auto* other = service.create(nullptr, otherMemory.get(), dbSize);
    auto* sameTable = other->createTable("Table", recordSize, sameTableMemory.get(), tableSize);
    RecordMemory memory;
    EXPECT_EQ(sameTable->openFirstRecord(memory.get(), recordObjectSize)->getKey(), 7);
    sameTable->destroy();
  });
}

// ---- Commits ----

/// A row of steps: `c` changes the storage and commits, `+` and `-` hold commits back and let go.
struct CommitCase {
  const char* name;
  std::string steps;
  /// After each step.
  std::string rowsInFile;
  std::vector<std::size_t> rowsAtSyncs;
};

std::ostream& operator<<(std::ostream& stream, const CommitCase& commits) {
  return stream << commits.steps;
}

std::string commitName(const ::testing::TestParamInfo<CommitCase>& commits) {
  return commits.param.name;
}

class ServiceCommitTest : public ServiceTest, public ::testing::WithParamInterface<CommitCase> {
 protected:
  void step(char what) {
    Pvn::Database::Persist::Commit::Api& inhibit = *service.getCommitSyncApi();
    if (what == '+') {
      client([&] { inhibit.incrementInhibit(); });
    } else if (what == '-') {
      client([&] { inhibit.decrementInhibit(); });
    } else {
      addRow();
      service.commit();
    }
  }
};

TEST_P(ServiceCommitTest, WritesTheFileThenSyncsWhenNothingHoldsItBack) {
  const CommitCase& commits = GetParam();
  open();
  std::string inFile;
  for (const char what : commits.steps) {
    step(what);
    inFile += std::to_string(rowsInFile().size());
  }
  EXPECT_EQ(inFile, commits.rowsInFile);
  EXPECT_EQ(rowsAtSyncs, commits.rowsAtSyncs);
}

INSTANTIATE_TEST_SUITE_P(
    All, ServiceCommitTest,
    ::testing::Values(CommitCase{"AtOnce", "ccc", "123", {1, 2, 3}},
                      CommitCase{"OnceAtTheLastDecrement", "++ccc--", "0000003", {3}},
                      CommitCase{"NotWithoutACommit", "+-", "00", {}},
                      CommitCase{"PendingWhileTheCountMoves", "+c+-++---", "000000001", {1}},
                      CommitCase{"PendingOnlyUntilItIsDone", "+c-+-", "00111", {1}},
                      CommitCase{"PendingAgain", "+c-+c-", "001112", {1, 2}},
                      CommitCase{"AtOnceAgain", "+c-c", "0012", {1, 2}},
                      CommitCase{"HeldBackBelowZeroToo", "-c+", "001", {1}},
                      CommitCase{"FarBelowZero", "--c++", "00001", {1}},
                      CommitCase{"FromAboveZeroToBelow", "+c--c+", "001112", {1, 2}}),
    commitName);

TEST_F(ServiceTest, CloseKeepsThePendingCommit) {
  open();
  client([&] { service.getCommitSyncApi()->incrementInhibit(); });
  addRow();
  service.commit();
  close();
  open();
  addRow();
  addRow();
  client([&] { service.getCommitSyncApi()->decrementInhibit(); });
  EXPECT_EQ(rowsAtSyncs, (std::vector<std::size_t>{2}));
}

// ---- Accessors ----

TEST_F(ServiceTest, SyncApisReachTheServiceThroughItsServer) {
  client([&] { service.getOpenSyncApi().open(); });
  EXPECT_NE(service.getStorage(), nullptr);
  client([&] {
    EXPECT_EQ(service.getSyncApi()->create("any", dbMemory.get(), dbSize),
              handleIn<Pvn::Database::Db::Api>(dbMemory.get()));
  });
  client([&] { service.getCloseSyncApi().close(); });
  EXPECT_EQ(service.getStorage(), nullptr);
}

TEST_F(ServiceTest, AccessPointsAddressTheServiceOnItsServer) {
  EXPECT_EQ(&service.getSAP()->getRequestApi(), static_cast<StoreReq::Api*>(&service));
  EXPECT_EQ(&service.getCommitSAP()->getRequestApi(), static_cast<CommitReq::Api*>(&service));
  EXPECT_EQ(&service.getOpenSAP().getRequestApi(), static_cast<Rtk::OpenReqApi*>(&service));
  EXPECT_EQ(&service.getCloseSAP().getRequestApi(), static_cast<Rtk::CloseReqApi*>(&service));
  const Rtk::PostMessageApi* mailbox = &server;
  EXPECT_EQ(&service.getSAP()->getPostMessageApi(), mailbox);
  EXPECT_EQ(&service.getCommitSAP()->getPostMessageApi(), mailbox);
  EXPECT_EQ(&service.getOpenSAP().getPostMessageApi(), mailbox);
  EXPECT_EQ(&service.getCloseSAP().getPostMessageApi(), mailbox);
}

TEST_F(ServiceTest, ReturnsEachRequestOnce) {
  Rtk::OpenReqApi::OpenPayload opening;
  EXPECT_EQ(serve<Rtk::OpenReqApi>(service, opening), 1);
  EXPECT_EQ(serve<Rtk::OpenReqApi>(service, opening), 1);
  StoreReq::Api::CreatePayload creation("any", dbMemory.get(), dbSize);
  EXPECT_EQ(serve<StoreReq::Api>(service, creation), 1);
  StoreReq::Api::CreatePayload nowhere("any", nullptr, dbSize);
  EXPECT_EQ(serve<StoreReq::Api>(service, nowhere), 1);
  CommitReq::Api::IncrInhibitPayload increment;
  EXPECT_EQ(serve<CommitReq::Api>(service, increment), 1);
  service.commit();
  CommitReq::Api::DecrInhibitPayload decrement;
  EXPECT_EQ(serve<CommitReq::Api>(service, decrement,
                                  [this] { EXPECT_EQ(rowsAtSyncs.size(), 1U) << "too soon"; }),
            1);
  EXPECT_EQ(serve<CommitReq::Api>(service, decrement), 1);
  service.commit();
  EXPECT_EQ(serve<CommitReq::Api>(service, increment,
                                  [this] { EXPECT_EQ(rowsAtSyncs.size(), 2U) << "too soon"; }),
            1);
  Rtk::CloseReqApi::ClosePayload closing;
  EXPECT_EQ(serve<Rtk::CloseReqApi>(service, closing), 1);
  EXPECT_EQ(serve<Rtk::CloseReqApi>(service, closing), 1);
}

}  // namespace
