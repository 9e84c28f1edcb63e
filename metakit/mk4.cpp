// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "metakit/mk4.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "metakit/BytesColumn.h"
#include "metakit/Column.h"
#include "metakit/Datafile.h"
#include "metakit/IntColumn.h"
#include "metakit/Sequence.h"
#include "metakit/Structure.h"
#include "metakit/ViewColumn.h"
#include "metakit/WideColumn.h"

using Metakit::BytesColumn;
using Metakit::IntColumn;
using Metakit::Sequence;
using Metakit::ViewColumn;
using Metakit::WideColumn;

namespace {

/// The bits of a value as another type of the same size.
template <class To, class From>
To bitsAs(From value) {
  static_assert(sizeof(To) == sizeof(From), "both must have the same size");
  To result;
  std::memcpy(&result, &value, sizeof result);
  return result;
}

}  // namespace

// ---- c4_Bytes ----

c4_Bytes::c4_Bytes(const void* bytes, int size)
    : _contents(static_cast<const t4_byte*>(bytes)), _size(size) {}

c4_Bytes::c4_Bytes(const void* bytes, int size, bool copy) : c4_Bytes(bytes, size) {
  if (copy && size > 0) {
    auto* own = new t4_byte[static_cast<std::size_t>(size)];
    std::memcpy(own, bytes, static_cast<std::size_t>(size));
    _copy = std::shared_ptr<const t4_byte>(own, std::default_delete<const t4_byte[]>());
    _contents = own;
  }
}

// ---- c4_Property ----

c4_Property::c4_Property(char type, const char* name)
    : _type(type), _name(Metakit::internName(name)) {}

// ---- c4_RowRef and c4_Row ----

bool c4_RowRef::exists() const {
  return _table != nullptr && _row >= 0 && _row < _table->rows();
}

c4_Row::c4_Row() : c4_RowRef(nullptr, 0), _own(std::make_shared<Sequence>()) {
  _table = _own.get();
  _table->append();
}

c4_Row::c4_Row(const c4_Row& other) : c4_Row() {
  _table->assign(0, *other._table, 0);
}

c4_Row& c4_Row::operator=(const c4_Row& other) {
  if (&other != this) {
    _table->assign(0, *other._table, 0);
  }
  return *this;
}

// ---- c4_View ----

c4_View::c4_View(std::shared_ptr<Sequence> table) : _table(std::move(table)) {}

int c4_View::GetSize() const {
  return _table != nullptr ? _table->rows() : 0;
}

int c4_View::Add(const c4_RowRef& row) {
  if (_table == nullptr) {
    _table = std::make_shared<Sequence>();
  }
  if (!_table->append()) {
    return -1;
  }
  const int index = _table->rows() - 1;
  SetAt(index, row);
  return index;
}

void c4_View::SetAt(int index, const c4_RowRef& row) {
  if (!(*this)[index].exists()) {
    return;
  }
  if (row.exists()) {
    _table->assign(index, *row._table, row._row);
  } else {
    _table->assign(index, *c4_Row()._table, 0);
  }
}

void c4_View::RemoveAt(int index, int count) {
  if ((*this)[index].exists() && count > 0) {
    _table->remove(index, std::min(count, GetSize() - index));
  }
}

const char* c4_View::Description() const {
  return _table != nullptr ? _table->description() : "";
}

// ---- Cells ----

template <char type>
Metakit::Column* c4_Ref<type>::column() const {
  return _row.exists() ? _row._table->column(_name, type) : nullptr;
}

template <char type>
Metakit::Column* c4_Ref<type>::columnToSet(const Metakit::Structure* rows) {
  return _row.exists() ? _row._table->columnToSet(_name, type, rows) : nullptr;
}

template <char type>
t4_i32 c4_Ref<type>::readInt() const {
  const auto* cells = static_cast<IntColumn*>(column());
  return cells != nullptr ? cells->at(_row._row) : 0;
}

template <char type>
t4_i64 c4_Ref<type>::readWide() const {
  const auto* cells = static_cast<WideColumn*>(column());
  return cells != nullptr ? cells->at(_row._row) : 0;
}

template <char type>
c4_Bytes c4_Ref<type>::readBytes(bool lastsBeyondCommit) const {
  const auto* cells = static_cast<BytesColumn*>(column());
  if (cells == nullptr) {
    return {};
  }
  const BytesColumn::Item item = cells->at(_row._row);
  // A commit, which is no change, moves what was changed before it.
  return {item.bytes, item.size, lastsBeyondCommit && cells->changed()};
}

template <char type>
c4_View c4_Ref<type>::readView() const {
  const auto* cells = static_cast<ViewColumn*>(column());
  return cells != nullptr ? c4_View(cells->at(_row._row)) : c4_View();
}

template <char type>
void c4_Ref<type>::writeInt(t4_i32 value) {
  auto* cells = static_cast<IntColumn*>(columnToSet());
  if (cells != nullptr) {
    cells->set(_row._row, value);
  }
}

template <char type>
void c4_Ref<type>::writeWide(t4_i64 value) {
  auto* cells = static_cast<WideColumn*>(columnToSet());
  if (cells != nullptr) {
    cells->set(_row._row, value);
  }
}

template <char type>
void c4_Ref<type>::writeBytes(const void* bytes, int size) {
  auto* cells = static_cast<BytesColumn*>(columnToSet());
  if (cells != nullptr) {
    cells->set(_row._row, bytes, size);
  }
}

template <char type>
void c4_Ref<type>::writeView(const c4_View& view) {
  if (view._table == nullptr) {
    auto* cells = column();
    if (cells != nullptr) {
      cells->clear(_row._row);
    }
    return;
  }
  auto* cells = static_cast<ViewColumn*>(columnToSet(&view._table->structure()));
  if (cells != nullptr) {
    cells->at(_row._row)->assign(*view._table);
  }
}

template class c4_Ref<'I'>;
template class c4_Ref<'L'>;
template class c4_Ref<'F'>;
template class c4_Ref<'D'>;
template class c4_Ref<'B'>;
template class c4_Ref<'S'>;
template class c4_Ref<'V'>;

c4_IntRef& c4_IntRef::operator=(t4_i32 value) {
  writeInt(value);
  return *this;
}

c4_LongRef& c4_LongRef::operator=(t4_i64 value) {
  writeWide(value);
  return *this;
}

c4_FloatRef::operator double() const {
  return static_cast<double>(bitsAs<float>(readInt()));
}

c4_FloatRef& c4_FloatRef::operator=(double value) {
  writeInt(bitsAs<t4_i32>(static_cast<float>(value)));
  return *this;
}

c4_DoubleRef::operator double() const {
  return bitsAs<double>(readWide());
}

c4_DoubleRef& c4_DoubleRef::operator=(double value) {
  writeWide(bitsAs<t4_i64>(value));
  return *this;
}

c4_BytesRef& c4_BytesRef::operator=(const c4_Bytes& value) {
  writeBytes(value.Contents(), value.Size());
  return *this;
}

c4_StringRef::operator const char*() const {
  const c4_Bytes bytes = readBytes(false);
  if (bytes.Size() == 0 || bytes.Contents()[bytes.Size() - 1] != 0) {
    return "";
  }
  return reinterpret_cast<const char*>(bytes.Contents());
}

c4_StringRef& c4_StringRef::operator=(const char* value) {
  // An item includes its terminating NUL, but the empty string is no bytes.
  writeBytes(value, *value != '\0' ? static_cast<int>(std::strlen(value)) + 1 : 0);
  return *this;
}

c4_ViewRef& c4_ViewRef::operator=(const c4_View& value) {
  writeView(value);
  return *this;
}

// ---- c4_Storage ----

c4_Storage::c4_Storage(const char* fileName, int mode)
    : _datafile(std::make_unique<Metakit::Datafile>(fileName, mode != 0)),
      _strategy(std::make_unique<c4_Strategy>()) {
  _table = _datafile->root();
  _strategy->_valid = _datafile->isValid();
}

c4_Storage::~c4_Storage() = default;

bool c4_Storage::Commit(bool /*full*/) {
  _strategy->_failure = _datafile->commit();
  return _strategy->_failure == 0;
}

c4_View c4_Storage::GetAs(const char* description) {
  return c4_View(_datafile->view(description));
}

const char* c4_Storage::Description(const char* name) {
  if (name == nullptr) {
    return c4_View::Description();
  }
  auto* column = static_cast<ViewColumn*>(_table->column(Metakit::internName(name), 'V'));
  return column != nullptr ? column->at(0)->description() : nullptr;
}
