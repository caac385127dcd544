#include "cli/commands.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <sstream>
#include <stdexcept>

#include "brelvane/version.h"
#include "cli/help.h"
#include "cli/parser.h"
#include "cli/scenario.h"

namespace brelvane::cli {

std::string readFile(const std::string& path) {
  std::error_code ec;
  if (std::filesystem::is_directory(path, ec))
    throw std::runtime_error("cannot read " + path + ": it is a directory");
  std::ifstream file(path, std::ios::binary);
  if (!file) throw std::runtime_error("cannot read " + path + ": " + std::strerror(errno));
  std::ostringstream content;
  content << file.rdbuf();
  if (file.bad()) throw std::runtime_error("cannot read " + path + ": " + std::strerror(errno));
  return content.str();
}

std::string excerpt(std::string_view text, size_t limit) {
  if (text.size() <= limit) return std::string(text);
  size_t cut = limit;
  while (cut > 0 && (static_cast<unsigned char>(text[cut]) & 0xC0) == 0x80) --cut;
  return std::string(text.substr(0, cut)) + "...";
}

int runCommand(std::span<const std::string_view> args, std::istream& input, std::ostream& out,
               std::ostream& err) {
  CommandParser parser;
  if (auto status = parser.read(args, "run", kRunHelp, out, err)) return *status;
  if (parser.operands.size() != 1) {
    err << "brelvane run: expects one scenario file (or - for standard input); see brelvane run "
           "--help\n";
    return kBadInput;
  }
  std::string text;
  if (parser.operands[0] == "-") {
    text.assign(std::istreambuf_iterator<char>(input), std::istreambuf_iterator<char>());
  } else {
    try {
      text = readFile(parser.operands[0]);
    } catch (const std::runtime_error& e) {
      err << "brelvane run: " << e.what() << '\n';
      return kBadInput;
    }
  }
  return runScenario(text, out, err);
}

namespace {

const char* helpOf(std::string_view command) {
  if (command == "run") return kRunHelp;
  if (command == "call") return kCallHelp;
  if (command == "list") return kListHelp;
  if (command == "completion") return kCompletionHelp;
  if (command == "site") return kSiteHelp;
  return nullptr;
}

int dispatchCommand(std::span<const std::string_view> args, std::ostream& out, std::ostream& err) {
  if (args.empty()) {
    err << "brelvane: expects a command (run, call, list or site); see brelvane --help\n";
    return kBadInput;
  }
  auto command = args[0];
  auto rest = args.subspan(1);
  if (command == "--help" || command == "-h") {
    out << kToolHelp;
    return 0;
  }
  if (command == "--version") {
    out << "brelvane " << kVersion << '\n';
    return 0;
  }
  if (command == "help") {
    if (rest.empty()) {
      out << kToolHelp;
      return 0;
    }
    if (const char* text = helpOf(rest[0])) {
      out << text;
      return 0;
    }
    err << "brelvane help: no command \"" << excerpt(rest[0], 40) << "\"; see brelvane --help\n";
    return kBadInput;
  }
  if (command == "run") return runCommand(rest, std::cin, out, err);
  if (command == "call") return callCommand(rest, out, err);
  if (command == "list") return listCommand(rest, out, err);
  if (command == "completion") return completionCommand(rest, out, err);
  if (command == "site") return siteCommand(rest, out, err);
  err << "brelvane: unknown command \"" << excerpt(command, 40) << "\"; see brelvane --help\n";
  return kBadInput;
}

}  // namespace

int runTool(std::span<const std::string_view> args, std::ostream& out, std::ostream& err) {
  errno = 0;  // a failed write leaves its reason here
  int status = dispatchCommand(args, out, err);
  if (!out.flush()) {
    int reason = errno;
    err << "brelvane: cannot write the output"
        << (reason ? std::string(": ") + std::strerror(reason) : std::string()) << '\n';
    return kBadInput;
  }
  return status;
}

}  // namespace brelvane::cli
