#include <algorithm>
#include <cstring>

#include "objects.h"

namespace brelvane::odbc::detail {

namespace {

/// Rows fetched at once into bound buffers.
constexpr SQLULEN kBlockRows = 128;
/// Texts declared longer than this many characters are read in pieces.
constexpr SQLULEN kLongestBoundText = 2000;

}  // namespace

Rows::Rows(std::shared_ptr<Statement> statement)
    : statement_(std::move(statement)), generation_(statement_->generation()) {
  SQLHSTMT h = statement_->handle();
  SQLSMALLINT count = 0;
  statement_->check(SQLNumResultCols(h, &count), "counting the columns");
  columns_.reserve(static_cast<size_t>(count));
  for (SQLUSMALLINT c = 1; c <= count; ++c) {
    SQLWCHAR name[256];
    SQLSMALLINT length = 0, type = 0, digits = 0, nullable = 0;
    SQLULEN size = 0;
    statement_->check(SQLDescribeColW(h, c, name, static_cast<SQLSMALLINT>(std::size(name)),
                                      &length, &type, &size, &digits, &nullable),
                      "describing a column");
    size_t units = std::min<size_t>(static_cast<size_t>(length), std::size(name) - 1);
    columns_.push_back({statement_->link().codec.utf8(name, units), kindOf(type), size, 0, {}, {}});
  }
  row_.resize(columns_.size());
  // A statement without a result set (an update, a procedure without
  // rows) gives an empty recordset.
  if (count == 0) return;
  bool shortColumns = std::all_of(columns_.begin(), columns_.end(), [](const Column& c) {
    return c.kind != Kind::Text || (c.size > 0 && c.size <= kLongestBoundText);
  });
  if (shortColumns) bindBlocks();
  fetch();
}

Rows::~Rows() {
  // The buffers go with this recordset: the statement must not keep them.
  if (blocks_ && ours()) {
    SQLHSTMT h = statement_->handle();
    SQLFreeStmt(h, SQL_UNBIND);
    SQLSetStmtAttr(h, SQL_ATTR_ROWS_FETCHED_PTR, nullptr, 0);
  }
}

bool Rows::ours() const {
  return statement_->link().open && statement_->generation() == generation_;
}

void Rows::bindBlocks() {
  SQLHSTMT h = statement_->handle();
  for (size_t i = 0; i < columns_.size(); ++i) {
    Column& c = columns_[i];
    // A character can take two UTF-16 units; one more for the terminator.
    c.stride = c.kind == Kind::Text ? (c.size * 2 + 1) * sizeof(SQLWCHAR) : infoOf(c.kind).size;
    c.data.resize(c.stride * kBlockRows);
    c.indicators.resize(kBlockRows);
    statement_->check(SQLBindCol(h, static_cast<SQLUSMALLINT>(i + 1), infoOf(c.kind).cType,
                                 c.data.data(), static_cast<SQLLEN>(c.stride), c.indicators.data()),
                      "binding a column");
  }
  statement_->check(SQLSetStmtAttr(h, SQL_ATTR_ROW_BIND_TYPE,
                                   reinterpret_cast<SQLPOINTER>(SQL_BIND_BY_COLUMN), 0),
                    "binding by column");
  statement_->check(
      SQLSetStmtAttr(h, SQL_ATTR_ROW_ARRAY_SIZE, reinterpret_cast<SQLPOINTER>(kBlockRows), 0),
      "setting the block size");
  statement_->check(SQLSetStmtAttr(h, SQL_ATTR_ROWS_FETCHED_PTR, &fetched_, 0),
                    "counting the rows fetched");
  blocks_ = true;
}

void Rows::requireOpen() const {
  statement_->link().requireOpen();
  if (statement_->generation() != generation_)
    raise(kObjectClosed, "Operation is not allowed when the object is closed");
}

bool Rows::Eof() {
  requireOpen();
  return eof_;
}

const Variant& Rows::current(size_t index) const {
  requireOpen();
  if (eof_) raise(kNoCurrentRow, "Either BOF or EOF is True");
  return row_[index];
}

Variant Rows::Field(int32_t index) {
  if (index < 0 || static_cast<size_t>(index) >= columns_.size())
    raise(kItemNotFound, "Item cannot be found in the collection: " + std::to_string(index));
  return current(static_cast<size_t>(index));
}

Variant Rows::Field(const std::string& name) {
  // Drivers differ in the case in which they report names.
  for (size_t i = 0; i < columns_.size(); ++i)
    if (sameName(columns_[i].name, name)) return current(i);
  raise(kItemNotFound, "Item cannot be found in the collection: " + name);
}

void Rows::MoveNext() {
  requireOpen();
  if (eof_) raise(kNoCurrentRow, "Either BOF or EOF is True");
  fetch();
}

void Rows::Close() {
  if (!ours()) return;
  if (blocks_) SQLFreeStmt(statement_->handle(), SQL_UNBIND);
  statement_->finish();
  eof_ = true;
}

void Rows::fetch() {
  SQLHSTMT h = statement_->handle();
  if (blocks_ && rowInBlock_ + 1 < fetched_) {
    ++rowInBlock_;
  } else {
    SQLRETURN rc = SQLFetch(h);
    if (rc == SQL_NO_DATA || (blocks_ && fetched_ == 0)) {
      eof_ = true;
      return;
    }
    statement_->check(rc, "fetching rows");
    rowInBlock_ = 0;
  }
  // Fields are read in column order, which every driver allows.
  for (size_t i = 0; i < columns_.size(); ++i)
    row_[i] = blocks_ ? boundValue(i)
                      : readColumn(*statement_, static_cast<SQLUSMALLINT>(i + 1), columns_[i].kind);
  eof_ = false;
}

Variant Rows::boundValue(size_t column) {
  const Column& c = columns_[column];
  SQLLEN indicator = c.indicators[rowInBlock_];
  if (indicator == SQL_NULL_DATA) return Variant::null();
  const unsigned char* value = c.data.data() + rowInBlock_ * c.stride;
  if (c.kind != Kind::Text) {
    FixedValue fixed{};
    std::memcpy(&fixed, value, c.stride);
    return fromFixed(c.kind, fixed);
  }
  auto room = static_cast<SQLLEN>(c.stride - sizeof(SQLWCHAR));
  if (indicator == SQL_NO_TOTAL || indicator > room) {
    // Longer than the driver said: read it again from its row, in pieces.
    SQLHSTMT h = statement_->handle();
    statement_->check(
        SQLSetPos(h, static_cast<SQLSETPOSIROW>(rowInBlock_ + 1), SQL_POSITION, SQL_LOCK_NO_CHANGE),
        "positioning on a row");
    return readColumn(*statement_, static_cast<SQLUSMALLINT>(column + 1), Kind::Text);
  }
  return Variant(statement_->link().codec.utf8(reinterpret_cast<const SQLWCHAR*>(value),
                                               static_cast<size_t>(indicator) / sizeof(SQLWCHAR)));
}

}  // namespace brelvane::odbc::detail
