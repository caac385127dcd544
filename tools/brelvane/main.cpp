// brelvane: runs scenarios, makes single calls on a demo host and lists the
// component's classes.
#include <exception>
#include <iostream>
#include <string_view>
#include <vector>

#include "cli/commands.h"

int main(int argc, char** argv) {
  try {
    std::vector<std::string_view> args(argv + 1, argv + argc);
    return brelvane::cli::runTool(args, std::cout, std::cerr);
  } catch (const std::exception& e) {
    std::cerr << "brelvane: " << e.what() << '\n';
  } catch (...) {
    std::cerr << "brelvane: unexpected failure\n";
  }
  return brelvane::cli::kBadInput;
}
