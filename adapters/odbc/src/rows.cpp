#include "objects.h"

namespace brelvane::odbc::detail {

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
    columns_.push_back({statement_->link().codec.utf8(name, units), kindOf(type)});
  }
  // A statement without a result set (an update, a procedure without
  // rows) gives an empty recordset.
  if (count > 0) fetch();
}

Rows::~Rows() = default;

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
  if (statement_->generation() != generation_ || !statement_->link().open) return;
  statement_->finish();
  eof_ = true;
}

void Rows::fetch() {
  SQLRETURN rc = SQLFetch(statement_->handle());
  if (rc == SQL_NO_DATA) {
    eof_ = true;
    row_.clear();
    return;
  }
  statement_->check(rc, "fetching a row");
  row_.resize(columns_.size());
  // Fields are read in column order, which every driver allows.
  for (size_t i = 0; i < columns_.size(); ++i)
    row_[i] = readColumn(*statement_, static_cast<SQLUSMALLINT>(i + 1), columns_[i].kind);
  eof_ = false;
}

}  // namespace brelvane::odbc::detail
