// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "database/RecordSync.h"

#include <cstddef>
#include <deque>
#include <optional>
#include <vector>

#include <gtest/gtest.h>

#include "database/testing/SyncTesting.h"

namespace {

using namespace DatabaseTesting;
namespace Record = Pvn::Database::Persist::Record;

class FakeRecord : public Record::Req::Api {
 public:
  explicit FakeRecord(Server& server) : sync(server, *this), _server(server) {}
  ~FakeRecord() override { _server.mark("end "); }

  void request(Rtk::ServerRequest<Record::Req::Api, WritePayload>& request) override {
    write = request.getPayload();
    request.getPayload()._result = 1000 + write->_size;
    _server.reply(request, "write");
  }
  /// Returns the requests when `heldReads` of them have come, the last one first.
  void request(Rtk::ServerRequest<Record::Req::Api, ReadPayload>& request) override {
    read = request.getPayload();
    _held.push_back(&request);
    if (_held.size() < heldReads) {
      return;
    }
    while (!_held.empty()) {
      Rtk::ServerRequest<Record::Req::Api, ReadPayload>& last = *_held.back();
      _held.pop_back();
      last.getPayload()._result = 1000 + last.getPayload()._size;
      _server.reply(last, "read");
    }
  }
  void request(Rtk::ServerRequest<Record::Req::Api, DestroyPayload>& request) override {
    Server& server = _server;
    this->~FakeRecord();
    server.reply(request, "destroy");
  }

  Record::Sync sync;
  std::size_t heldReads = 1;
  std::optional<WritePayload> write;
  std::optional<ReadPayload> read;

 private:
  Server& _server;
  std::vector<Rtk::ServerRequest<Record::Req::Api, ReadPayload>*> _held;
};

using RecordSyncTest = SyncTest<FakeRecord>;

TEST_F(RecordSyncTest, WriteCarriesItsArgumentsThereAndItsResultBack) {
  unsigned int result = 0;
  call([&] { result = target->sync.write(memory, 12, 4); });
  EXPECT_EQ(server.marks(), "call write return");
  EXPECT_EQ(target->write->_data, memory);
  EXPECT_EQ(target->write->_size, 12U);
  EXPECT_EQ(target->write->_offset, 4U);
  EXPECT_EQ(target->write->_result, 0U);
  EXPECT_EQ(result, 1012U);
}

TEST_F(RecordSyncTest, ReadCarriesItsArgumentsThereAndItsResultBack) {
  unsigned int result = 0;
  call([&] { result = target->sync.read(memory, 12, 4); });
  EXPECT_EQ(server.marks(), "call read return");
  EXPECT_EQ(target->read->_buffer, memory);
  EXPECT_EQ(target->read->_size, 12U);
  EXPECT_EQ(target->read->_offset, 4U);
  EXPECT_EQ(target->read->_result, 0U);
  EXPECT_EQ(result, 1012U);
}

TEST_F(RecordSyncTest, DestroyReturnsWhenTheTargetHasEnded) {
  call([&] {
    target->sync.destroy();
    target.reuse();
  });
  EXPECT_EQ(server.marks(), "call end destroy return");
}

TEST_F(RecordSyncTest, CallsOfSeveralThreadsAreIndependent) {
  constexpr std::size_t count = 5;
  target->heldReads = count;
  unsigned int results[count] = {};
  {
    std::deque<TestSupport::RtkThread> clients;
    for (unsigned int i = 0; i < count; ++i) {
      clients.emplace_back([&, i] { results[i] = target->sync.read(memory, i, 0); });
    }
  }
  for (unsigned int i = 0; i < count; ++i) {
    EXPECT_EQ(results[i], 1000 + i);
  }
}

TEST_F(RecordSyncTest, AccessPointLeadsToTargetAndServer) {
  EXPECT_EQ(&target->sync.getSAP()->getRequestApi(), target.operator->());
  EXPECT_EQ(&target->sync.getSAP()->getPostMessageApi(), &server);
}

}  // namespace
