// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "database/Record.h"

#include <string>

#include <gtest/gtest.h>

namespace {

namespace Property = Pvn::Database::Property;

class TracedRecord : public Pvn::Database::Record::Api {
 public:
  Property::Read::Api* getReadApi() override { return this; }
  Property::Write::Api* getWriteApi() override { return this; }
  int getKey() const override { return 5; }
  void destroy() override {}
  unsigned int read(void* /*buffer*/, unsigned int size, unsigned int offset) override {
    calls += "read ";
    return size + offset;
  }
  unsigned int write(const void* /*data*/, unsigned int size, unsigned int offset) override {
    calls += "write ";
    return size + offset;
  }

  std::string calls;
};

TEST(RecordTest, BothFacesLeadToTheOperationsOfTheRecord) {
  TracedRecord record;
  Pvn::Database::Record::Api& api = record;
  Property::Access::Api& access = api;
  EXPECT_EQ(access.getReadApi()->read(nullptr, 3, 10), 13U);
  EXPECT_EQ(access.getWriteApi()->write(nullptr, 4, 10), 14U);
  EXPECT_EQ(api.read(nullptr, 5, 10), 15U);
  EXPECT_EQ(api.write(nullptr, 6, 10), 16U);
  EXPECT_EQ(record.calls, "read write read write ");
}

TEST(RecordTest, PrimaryFaceIsTheHandleItselfThenComeReadingAndWriting) {
  TracedRecord record;
  const void* const handle = static_cast<Pvn::Database::Record::Api*>(&record);
  const void* const access = static_cast<Property::Access::Api*>(&record);
  const void* const reading = static_cast<Property::Read::Api*>(&record);
  const void* const writing = static_cast<Property::Write::Api*>(&record);
  EXPECT_EQ(access, handle);
  EXPECT_LT(access, reading);
  EXPECT_LT(reading, writing);
}

}  // namespace
