#include "cli/commands.h"

#include <fstream>
#include <iostream>
#include <iterator>
#include <sstream>
#include <string>

#include "cli/help.h"
#include "cli/scenario.h"

namespace brelvane::cli {

namespace {

bool wantsHelp(std::span<const std::string_view> args) {
  for (auto a : args) {
    if (a == "--") return false;
    if (a == "--help" || a == "-h") return true;
  }
  return false;
}

}  // namespace

int runCommand(std::span<const std::string_view> args, std::istream& input, std::ostream& out,
               std::ostream& err) {
  if (wantsHelp(args)) {
    out << kRunHelp;
    return 0;
  }
  if (args.size() != 1) {
    err << "brelvane run: expects one scenario file (or - for standard input); see brelvane run "
           "--help\n";
    return kBadInput;
  }
  std::string text;
  if (args[0] == "-") {
    text.assign(std::istreambuf_iterator<char>(input), std::istreambuf_iterator<char>());
  } else {
    std::ifstream file{std::string(args[0]), std::ios::binary};
    if (!file) {
      err << "brelvane run: cannot read " << args[0] << '\n';
      return kBadInput;
    }
    std::ostringstream content;
    content << file.rdbuf();
    text = content.str();
  }
  return runScenario(text, out, err);
}

int runTool(std::span<const std::string_view> args, std::ostream& out, std::ostream& err) {
  if (args.empty()) {
    err << "brelvane: expects a command (run, call or list); see brelvane --help\n";
    return kBadInput;
  }
  auto command = args[0];
  auto rest = args.subspan(1);
  if (command == "--help" || command == "-h" || command == "help") {
    out << kToolHelp;
    return 0;
  }
  if (command == "run") return runCommand(rest, std::cin, out, err);
  if (command == "call") return callCommand(rest, out, err);
  if (command == "list") return listCommand(rest, out, err);
  err << "brelvane: unknown command \"" << command << "\"; see brelvane --help\n";
  return kBadInput;
}

}  // namespace brelvane::cli
