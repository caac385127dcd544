#include "cli/parser.h"

#include <stdexcept>

#include "cli/commands.h"

namespace brelvane::cli {

CommandParser::CommandParser() {
  // The commands print their own help texts.
  app.set_help_flag();
  app.add_flag("-h,--help", help);
  app.add_option("operands", operands);
}

void CommandParser::parse(std::span<const std::string_view> args) {
  // CLI11 takes the arguments last first.
  std::vector<std::string> reversed(args.rbegin(), args.rend());
  try {
    app.parse(reversed);
  } catch (const CLI::ParseError& e) {
    std::string reason = e.what();
    for (char& c : reason)
      if (c == '\n' || c == '\r') c = ' ';
    throw std::invalid_argument(excerpt(reason, 160));
  }
}

std::optional<int> CommandParser::read(std::span<const std::string_view> args,
                                       std::string_view command, const char* helpText,
                                       std::ostream& out, std::ostream& err) {
  try {
    parse(args);
  } catch (const std::invalid_argument& e) {
    err << "brelvane " << command << ": " << e.what() << "; see brelvane " << command
        << " --help\n";
    return kBadInput;
  }
  if (!help) return std::nullopt;
  out << helpText;
  return 0;
}

}  // namespace brelvane::cli
