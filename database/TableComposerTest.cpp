// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "database/TableComposer.h"

#include <string>

#include <gtest/gtest.h>

namespace {

using Pvn::Database::Table::Composer;
using Pvn::Database::Table::IteratorApi;
using Pvn::Database::Table::RecordApi;

class NoRecord : public RecordApi {
 public:
  Pvn::Database::Record::Api* openRecord(void* /*mem*/, unsigned int /*memSize*/) override {
    return nullptr;
  }
  unsigned int read(void* /*buffer*/, unsigned int /*size*/, unsigned int /*offset*/) override {
    return 0;
  }
  unsigned int write(const void* /*data*/, unsigned int /*size*/,
                     unsigned int /*offset*/) override {
    return 0;
  }
};

/// Has two operations that fit, neither of which is named as the iterator's.
class Reader {
 public:
  bool goOn(RecordApi& record) {
    calls += 'g';
    seen = &record;
    return false;
  }
  bool stop(RecordApi& record) {
    calls += 's';
    seen = &record;
    return true;
  }

  std::string calls;
  RecordApi* seen = nullptr;
};

struct Case {
  bool (Reader::*operation)(RecordApi&);
  bool result;
  std::string calls;
};

TEST(TableComposerTest, ForwardsTheCallAndTheResult) {
  for (const Case& c : {Case{&Reader::goOn, false, "g"}, Case{&Reader::stop, true, "s"}}) {
    Reader reader;
    Composer<Reader> composer(reader, c.operation);
    IteratorApi& iterator = composer;
    NoRecord record;
    EXPECT_EQ(iterator.nextRecord(record), c.result);
    EXPECT_EQ(reader.calls, c.calls);
    EXPECT_EQ(reader.seen, &record);
  }
}

}  // namespace
