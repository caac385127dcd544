#pragma once
// Tests against a live database: the connection string comes from
// BRELVANE_ODBC_TEST (scripts/odbc-tests.sh sets it for its throwaway
// PostgreSQL); without it every test is skipped.

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <string>

#include "brelvane/odbc/odbc.h"

namespace brelvane::odbc::testing {

inline std::string connectionString() {
  const char* text = std::getenv("BRELVANE_ODBC_TEST");
  return text ? text : "";
}

/// The test database seen through `searchPath` (schemas of schema.sql).
inline std::string connectionSearching(const std::string& searchPath) {
  return connectionString() + "ConnSettings=SET search_path TO " + searchPath + ";";
}

using Rows = std::vector<std::vector<Variant>>;

class OdbcTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (connectionString().empty())
      GTEST_SKIP() << "BRELVANE_ODBC_TEST is not set: run scripts/odbc-tests.sh";
    db = connect(connectionString());
  }

  /// The rows of a query, each as its fields by index.
  Rows rows(const std::string& sql) {
    Rows out;
    for (auto rs = db->Execute(sql, ado::kCmdText); !rs->Eof(); rs->MoveNext()) {
      out.emplace_back();
      try {
        for (int32_t i = 0;; ++i) out.back().push_back(rs->Field(i));
      } catch (const AutomationError& e) {
        if (e.number != kItemNotFound) throw;
      }
    }
    return out;
  }

  std::shared_ptr<OdbcConnection> db;
};

/// The error `f` raises; a test failure when it raises none.
template <class F>
AutomationError raised(F&& f) {
  try {
    f();
  } catch (const AutomationError& e) {
    return e;
  }
  ADD_FAILURE() << "no error was raised";
  return AutomationError(0, "", "");
}

}  // namespace brelvane::odbc::testing
