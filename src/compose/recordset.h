#pragma once
// Reading a query's rows: the recordset is closed afterwards, whatever
// happened, and a close that fails is passed over.

#include <memory>
#include <string>

#include "brelvane/host/ado.h"
#include "compose/guard.h"
#include "compose/host_access.h"

namespace brelvane {

/// Runs `sql` on `connection` and hands the recordset to `read`.
template <class Read>
auto withRows(Connection& connection, const std::string& sql, int32_t options, Read&& read) {
  std::shared_ptr<Recordset> rows = connection.Execute(sql, options);
  struct Closer {
    Recordset* rows;
    ~Closer() {
      if (rows) ignoringErrors([&] { rows->Close(); });
    }
  } closer{rows.get()};
  return read(required(rows));
}

}  // namespace brelvane
