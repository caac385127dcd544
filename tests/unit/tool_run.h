#pragma once
// Runs the tool in-process and keeps what it printed.

#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "cli/commands.h"

namespace brelvane::cli {

struct Result {
  int status;
  std::string out, err;
};

inline Result tool(std::vector<std::string_view> args) {
  std::ostringstream out, err;
  int status = runTool(args, out, err);
  return {status, out.str(), err.str()};
}

}  // namespace brelvane::cli
