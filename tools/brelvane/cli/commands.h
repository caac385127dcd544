#pragma once
// The subcommands of the `brelvane` tool, callable in-process.

#include <iosfwd>
#include <span>
#include <string_view>

namespace brelvane::cli {

/// Exit status for bad input: a usage error, an unknown name, an invalid
/// scenario. The message is one line on the error stream.
inline constexpr int kBadInput = 2;

/// Runs the tool with its arguments (without the program name).
int runTool(std::span<const std::string_view> args, std::ostream& out, std::ostream& err);

/// `brelvane run FILE|-`; `input` is read for "-".
int runCommand(std::span<const std::string_view> args, std::istream& input, std::ostream& out,
               std::ostream& err);
/// `brelvane call [OPTIONS] PROGID METHOD [ARG...]`.
int callCommand(std::span<const std::string_view> args, std::ostream& out, std::ostream& err);
/// `brelvane list [--json] [PROGID]`.
int listCommand(std::span<const std::string_view> args, std::ostream& out, std::ostream& err);

}  // namespace brelvane::cli
