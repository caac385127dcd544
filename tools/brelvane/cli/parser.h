#pragma once
// Reading a command's arguments (CLI11): options anywhere before "--",
// operands in order, --help and -h, and a one-line reason for what does not
// read. Each command adds its own options to `app` before parsing.

#include <CLI/CLI.hpp>
#include <optional>
#include <ostream>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace brelvane::cli {

struct CommandParser {
  CommandParser();

  CLI::App app;
  bool help = false;
  std::vector<std::string> operands;  ///< in order; everything after "--" too

  /// Raises std::invalid_argument with a short one-line reason when the
  /// arguments do not read.
  void parse(std::span<const std::string_view> args);

  /// Parses the arguments of `brelvane COMMAND`: prints `helpText` for
  /// --help, or the reason on `err` when they do not read, and returns the
  /// exit status then; nothing when the command goes on.
  std::optional<int> read(std::span<const std::string_view> args, std::string_view command,
                          const char* helpText, std::ostream& out, std::ostream& err);
};

}  // namespace brelvane::cli
