// The ODBC adapter's Execute + read of every field of 10,000 rows x 4
// columns (the bench_rows table of the ODBC test schema), over the
// connection string in BRELVANE_ODBC_TEST. Prints the median and the best
// time of one query in milliseconds; bench/odbc_bench.sh sets the figures
// next to the database's own clients.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "brelvane/odbc/odbc.h"

namespace {

constexpr const char* kQuery = "SELECT id, code, amount, description FROM bench_rows ORDER BY id";

/// Runs the query once and reads every field; returns the number of rows.
size_t readAll(brelvane::Connection& db, size_t& textBytes) {
  size_t rows = 0;
  auto rs = db.Execute(kQuery, brelvane::ado::kCmdText);
  for (; !rs->Eof(); rs->MoveNext()) {
    for (int32_t i = 0; i < 4; ++i) {
      brelvane::Variant v = rs->Field(i);
      if (v.isString()) textBytes += v.string().size();
    }
    ++rows;
  }
  return rows;
}

}  // namespace

int main(int argc, char** argv) {
  const char* connection = std::getenv("BRELVANE_ODBC_TEST");
  if (!connection) {
    std::fprintf(stderr, "BRELVANE_ODBC_TEST is not set: run under scripts/odbc-tests.sh\n");
    return 2;
  }
  int runs = argc > 1 ? std::atoi(argv[1]) : 30;
  try {
    auto db = brelvane::odbc::connect(connection);
    size_t textBytes = 0;
    if (readAll(*db, textBytes) != 10000) {
      std::fprintf(stderr, "bench_rows does not hold 10,000 rows\n");
      return 1;
    }
    std::vector<double> ms;
    for (int r = 0; r < runs; ++r) {
      auto start = std::chrono::steady_clock::now();
      readAll(*db, textBytes);
      ms.push_back(
          std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
              .count());
    }
    std::sort(ms.begin(), ms.end());
    std::printf("adapter %.2f %.2f\n", ms[ms.size() / 2], ms.front());
  } catch (const brelvane::AutomationError& e) {
    std::fprintf(stderr, "%s: %s\n", e.source.c_str(), e.description.c_str());
    return 1;
  }
  return 0;
}
