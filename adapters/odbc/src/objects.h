#pragma once
// The adapter's objects: the connection, its forward-only recordsets and
// its commands.

#include <memory>
#include <string>
#include <vector>

#include "support.h"

namespace brelvane::odbc::detail {

/// The rows of one execution of a statement, read forward. Each row is
/// read whole when the recordset moves onto it, so that its fields can be
/// asked for in any order and more than once.
///
/// When every column has a known, modest size the rows come in blocks into
/// bound buffers (one driver call per block, not per field); a text longer
/// than its buffer, because the driver under-reported its size, is then read
/// again from that row in pieces. A result with a long column is read field
/// by field, each text in pieces.
class Rows final : public Recordset {
 public:
  /// Takes the statement just executed; positions on the first row.
  explicit Rows(std::shared_ptr<Statement> statement);
  ~Rows() override;

  bool Eof() override;
  Variant Field(int32_t index) override;
  Variant Field(const std::string& name) override;
  void MoveNext() override;
  void Close() override;

 private:
  struct Column {
    std::string name;
    Kind kind;
    SQLULEN size;                     ///< as the driver declares it
    size_t stride = 0;                ///< bytes of one row's value in `data`
    std::vector<unsigned char> data;  ///< the bound values of a block
    std::vector<SQLLEN> indicators;   ///< their lengths or SQL_NULL_DATA
  };
  void requireOpen() const;
  const Variant& current(size_t index) const;
  bool ours() const;
  void bindBlocks();
  void fetch();
  Variant boundValue(size_t column);

  std::shared_ptr<Statement> statement_;
  uint64_t generation_;
  std::vector<Column> columns_;
  std::vector<Variant> row_;
  bool eof_ = true;
  bool blocks_ = false;     ///< columns bound, rows fetched in blocks
  SQLULEN fetched_ = 0;     ///< rows in the current block
  SQLULEN rowInBlock_ = 0;  ///< the current row's place in it
};

class OdbcConnectionImpl final : public OdbcConnection {
 public:
  explicit OdbcConnectionImpl(std::shared_ptr<Link> link) : link_(std::move(link)) {}
  std::shared_ptr<Recordset> Execute(const std::string& sql, int32_t options) override;
  std::shared_ptr<Command> NewCommand() override;
  void Close() override { link_->close(); }
  bool IsOpen() const override { return link_->open; }
  const std::shared_ptr<Link>& link() const { return link_; }

 private:
  std::shared_ptr<Link> link_;
};

/// The text a statement of `type` runs for `text`: a stored procedure's
/// name becomes an ODBC call escape with `placeholders` markers (the first
/// of them receiving the return value when `returns`).
std::string callText(int32_t type, const std::string& text, size_t placeholders, bool returns);

}  // namespace brelvane::odbc::detail
