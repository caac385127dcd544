// Fuzzes the scenario reader and runner with arbitrary documents: whatever
// the input, `run` must end with status 0, 1 or 2, write nothing on its
// output for status 2, and otherwise write one valid JSON document.
#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string_view>

#include "cli/scenario.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string_view text(reinterpret_cast<const char*>(data), size);
  std::ostringstream out, err;
  int status = brelvane::cli::runScenario(text, out, err);
  switch (status) {
    case brelvane::cli::kScenarioInvalid:
      if (!out.str().empty() || err.str().empty()) __builtin_trap();
      break;
    case brelvane::cli::kScenarioHeld:
    case brelvane::cli::kScenarioFailed:
      if (!nlohmann::json::accept(out.str())) __builtin_trap();
      break;
    default:
      __builtin_trap();
  }
  return 0;
}
