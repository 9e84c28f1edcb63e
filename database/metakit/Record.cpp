// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "database/metakit/Record.h"

#include "database/metakit/Warning.h"

namespace Pvn::Database::Metakit::Persist {

namespace RecordReq = Pvn::Database::Persist::Record::Req;

namespace {

// The stray semicolon is part of these lines: whoever watches the device's output looks for it.

constexpr Table::RangeTexts readTexts = {
    "Pvn::Database::Metakit::Persist;:Record::request(ReadReq): offset beyond size of record.\n",
    "Pvn::Database::Metakit::Persist;:Record::request(ReadReq): attempt to read beyond size of "
    "record.\n",
    nullptr};

constexpr Table::RangeTexts writeTexts = {
    "Pvn::Database::Metakit::Persist;:Record::request(WriteReq): offset beyond size of record.\n",
    "Pvn::Database::Metakit::Persist;:Record::request(WriteReq): attempt to write beyond size of "
    "record.\n",
    "Pvn::Database::Metakit::Persist;:Record::request(WriteReq): this didn't work like I had "
    "hoped:(\n"};

}  // namespace

Record::Record(Table& table, int index)
    : _table(table), _sync(table.getSAP()->getPostMessageApi(), *this), _key(table.keyAt(index)) {}

void Record::destroy() {
  _sync.destroy();
}

unsigned int Record::read(void* buffer, unsigned int size, unsigned int offset) {
  return _sync.read(buffer, size, offset);
}

unsigned int Record::write(const void* data, unsigned int size, unsigned int offset) {
  return _sync.write(data, size, offset);
}

void Record::request(Rtk::ServerRequest<RecordReq::Api, RecordReq::Api::WritePayload>& request) {
  auto& payload = request.getPayload();
  int index = 0;
  if (!_table.findIndexByKey(_key, index)) {
    warn("Pvn::Database::Metakit::Persist;:Record::request(WriteReq): no such record.\n");
  } else if (_table.writeAt(index, payload._data, payload._size, payload._offset, writeTexts)) {
    _table.commit();
    payload._result = payload._size;
  }
  request.returnToSender();
}

void Record::request(Rtk::ServerRequest<RecordReq::Api, RecordReq::Api::ReadPayload>& request) {
  auto& payload = request.getPayload();
  int index = 0;
  if (!_table.findIndexByKey(_key, index)) {
    warn("Pvn::Database::Metakit::Persist;:Record::request(ReadReq): no such record.\n");
  } else if (_table.readAt(index, payload._buffer, payload._size, payload._offset, readTexts)) {
    payload._result = payload._size;
  }
  request.returnToSender();
}

void Record::request(Rtk::ServerRequest<RecordReq::Api, RecordReq::Api::DestroyPayload>& request) {
  int index = 0;
  if (_table.findIndexByKey(_key, index)) {
    _table.removeAt(index);
    _table.commit();
  } else {
    warn("Pvn::Database::Metakit::Persist;:Record::~Record(): no such record.\n");
  }
  this->~Record();
  request.returnToSender();
}

}  // namespace Pvn::Database::Metakit::Persist
