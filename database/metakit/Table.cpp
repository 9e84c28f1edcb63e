// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "database/metakit/Table.h"

#include <new>

#include "database/metakit/Body.h"
#include "database/metakit/Record.h"
#include "database/metakit/Warning.h"
#include "random/Random.h"

namespace Pvn::Database::Metakit::Persist {

namespace TableReq = Pvn::Database::Persist::Table::Req;
namespace AtomicReq = Pvn::Database::Table::Atomic::Req;

namespace {

constexpr Table::RangeTexts readTexts = {
    "Pvn::Database::Metakit::Persist::Table::read(): offset beyond size of record.\n",
    "Pvn::Database::Metakit::Persist::Table::read(): attempt to read beyond size of record.\n",
    nullptr};

constexpr Table::RangeTexts writeTexts = {
    "Pvn::Database::Metakit::Persist::Table::write(): offset beyond size of record.\n",
    "Pvn::Database::Metakit::Persist::Table::write(): attempt to write beyond size of record.\n",
    "Pvn::Database::Metakit::Persist::Table::write(): this didn't work like I had hoped:(\n"};

}  // namespace

const char* const Table::_keyColumnName = keyColumnName;
const char* const Table::_recordColumnName = recordColumnName;

// NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init): the view's space gets its view below.
Table::Table(Service& service, const char* name, unsigned int recordSize)
    : _service(service),
      _sync(service.getSAP()->getPostMessageApi(), *this),
      _atomicSync(service.getSAP()->getPostMessageApi(), *this),
      _name(name),
      _view(nullptr),
      _cursor(0),
      _recordSize(recordSize) {
  _name += schema;
  if (_name.truncated()) {
    warn(
        "Pvn::Database::Metakit::Persist::Table::Table(): WARNING: The name specified was too "
        "long!\n");
  }
  _view = new (_viewSpace) c4_View(_service.getStorage()->GetAs(_name.getString()));
}

void Table::destroy() {
  _sync.destroy();
}

Pvn::Database::Record::Api* Table::createRecordWithKey(const void* data, void* mem,
                                                       unsigned int memSize, int key) {
  return _sync.createRecordWithKey(data, mem, memSize, key);
}

Pvn::Database::Record::Api* Table::createRecord(const void* data, void* mem, unsigned int memSize) {
  return _sync.createRecord(data, mem, memSize);
}

void Table::iterate(Pvn::Database::Table::IteratorApi& iterator) {
  _atomicSync.iterate(iterator);
}

Pvn::Database::Record::Api* Table::openFirstRecord(void* mem, unsigned int memSize) {
  return _sync.openFirstRecord(mem, memSize);
}

Pvn::Database::Record::Api* Table::openRecord(void* mem, unsigned int memSize) {
  if (memSize < sizeof(Record) || mem == nullptr || !hasRow(_cursor)) {
    return nullptr;
  }
  return new (mem) Record(*this, _cursor);
}

unsigned int Table::read(void* buffer, unsigned int size, unsigned int offset) {
  return readAt(_cursor, buffer, size, offset, readTexts) ? size : 0;
}

unsigned int Table::write(const void* data, unsigned int size, unsigned int offset) {
  return writeAt(_cursor, data, size, offset, writeTexts) ? size : 0;
}

void Table::request(
    Rtk::ServerRequest<TableReq::Api, TableReq::Api::OpenFirstRecordPayload>& request) {
  auto& payload = request.getPayload();
  if (payload._memSize >= sizeof(Record) && hasRow(0) && payload._mem != nullptr) {
    payload._result = new (payload._mem) Record(*this, 0);
  }
  request.returnToSender();
}

void Table::request(
    Rtk::ServerRequest<TableReq::Api, TableReq::Api::CreateRecordWithKeyPayload>& request) {
  auto& payload = request.getPayload();
  const bool enough = isEnoughMemory<Record>(
      payload._memSize,
      "Pvn::Database::Metakit::Persist::Table::request(CreateRecordWithKeyReq): memSize < "
      "sizeof(Record)\n");
  int index = 0;
  if (findIndexByKey(payload._key, index)) {
    warn(
        "Pvn::Database::Metakit::Persist::Table::request(CreateRecordWithKeyReq): WARNING: The key "
        "specified was not unique!\n");
  }
  // With a key that was there before, `index` is its first row: the handle addresses that one, and
  // only an iteration comes to the new row. Clients rely on a key leading to its first record.
  Record* record = appendRecord(payload._key, payload._data, index, payload._mem);
  payload._result = enough ? record : nullptr;
  commit();
  request.returnToSender();
}

void Table::request(
    Rtk::ServerRequest<TableReq::Api, TableReq::Api::CreateRecordPayload>& request) {
  auto& payload = request.getPayload();
  const bool enough = isEnoughMemory<Record>(
      payload._memSize,
      "Pvn::Database::Metakit::Persist::Table::request(CreateRecordReq): memSize < "
      "sizeof(Record)\n");
  int key = 0;
  int index = 0;
  do {
    key = Pvn::Random::Signed::get();
  } while (findIndexByKey(key, index));
  Record* record = appendRecord(key, payload._data, index, payload._mem);
  payload._result = enough ? record : nullptr;
  commit();
  request.returnToSender();
}

void Table::request(Rtk::ServerRequest<TableReq::Api, TableReq::Api::DestroyPayload>& request) {
  // The view is let go and the store committed behind the end of this object, so both are taken out
  // of it before.
  Service& service = _service;
  c4_View view(*_view);
  _view->~c4_View();
  _view = nullptr;
  this->~Table();
  view = c4_View();
  service.commit();
  request.returnToSender();
}

void Table::request(Rtk::ServerRequest<AtomicReq::Api, AtomicReq::Api::IteratePayload>& request) {
  auto& iterator = request.getPayload()._iterator;
  // Rows that are appended meanwhile are not visited.
  const int rows = _view->GetSize();
  for (_cursor = 0; _cursor < rows; ++_cursor) {
    if (iterator.nextRecord(*this)) {
      break;
    }
  }
  request.returnToSender();
}

bool Table::findIndexByKey(int key, int& index) {
  const c4_IntProp keyColumn(_keyColumnName);
  const int rows = _view->GetSize();
  for (index = 0; index < rows; ++index) {
    if (static_cast<t4_i32>(keyColumn((*_view)[index])) == key) {
      return true;
    }
  }
  return false;
}

int Table::keyAt(int index) {
  const c4_IntProp keyColumn(_keyColumnName);
  return keyColumn((*_view)[index]);
}

bool Table::hasRow(int index) const {
  return index < _view->GetSize();
}

bool Table::isInRecord(unsigned int size, unsigned int offset, const RangeTexts& texts) const {
  if (_recordSize < offset) {
    warn(texts.offsetBeyond);
    return false;
  }
  // The sum has 32 bits, so that a size near their limit passes for a small one; what is copied is
  // bounded by the record in any case.
  if (_recordSize < offset + size) {
    warn(texts.endBeyond);
    return false;
  }
  return true;
}

bool Table::readAt(int index, void* buffer, unsigned int size, unsigned int offset,
                   const RangeTexts& texts) {
  if (!isInRecord(size, offset, texts) || !hasRow(index)) {
    return false;
  }
  const c4_BytesProp recordColumn(_recordColumnName);
  const c4_Bytes body = recordColumn((*_view)[index]);
  copyFromBody(body, _recordSize, buffer, size, offset);
  return true;
}

bool Table::writeAt(int index, const void* data, unsigned int size, unsigned int offset,
                    const RangeTexts& texts) {
  if (!isInRecord(size, offset, texts) || !hasRow(index)) {
    return false;
  }
  const c4_IntProp keyColumn(_keyColumnName);
  const c4_BytesProp recordColumn(_recordColumnName);
  c4_Row row;
  keyColumn(row) = keyAt(index);
  if (offset == 0 && size == _recordSize) {
    recordColumn(row) = c4_Bytes(data, static_cast<int>(size));
  } else {
    const c4_Bytes body = recordColumn((*_view)[index]);
    // Inverted as it looks, this is meant: clients rely on a record that is there in full being
    // replaced as a whole or not at all.
    if (size < offset + static_cast<unsigned int>(body.Size())) {
      warn(texts.partial);
      return false;
    }
    recordColumn(row) = bodyWith(body, _recordSize, data, size, offset);
  }
  _view->SetAt(index, row);
  return true;
}

void Table::removeAt(int index) {
  _view->RemoveAt(index, 1);
}

Record* Table::appendRecord(int key, const void* data, int index, void* mem) {
  const c4_IntProp keyColumn(_keyColumnName);
  const c4_BytesProp recordColumn(_recordColumnName);
  c4_Row row;
  keyColumn(row) = key;
  recordColumn(row) = c4_Bytes(data, static_cast<int>(_recordSize));
  if (_view->Add(row) < 0) {
    warn("Pvn::Database::Metakit::Persist::Table::appendRecord(): no more rows possible.\n");
    return nullptr;
  }
  return mem != nullptr ? new (mem) Record(*this, index) : nullptr;
}

void Table::commit() {
  _service.commit();
}

}  // namespace Pvn::Database::Metakit::Persist
