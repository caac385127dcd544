#pragma once
// The subcommands of the `brelvane` tool, callable in-process.

#include <iosfwd>
#include <span>
#include <string>
#include <string_view>

namespace brelvane::cli {

/// Exit status for bad input: a usage error, an unknown name, an invalid
/// scenario, output that cannot be written. The message is one line on the
/// error stream.
inline constexpr int kBadInput = 2;

/// Runs the tool with its arguments (without the program name). Every
/// command's output is flushed before it returns; output that cannot be
/// written turns its status into kBadInput.
int runTool(std::span<const std::string_view> args, std::ostream& out, std::ostream& err);

/// `brelvane run FILE|-`; `input` is read for "-".
int runCommand(std::span<const std::string_view> args, std::istream& input, std::ostream& out,
               std::ostream& err);
/// `brelvane call [OPTIONS] PROGID METHOD [ARG...]`.
int callCommand(std::span<const std::string_view> args, std::ostream& out, std::ostream& err);
/// `brelvane list [--json] [PROGID]`.
int listCommand(std::span<const std::string_view> args, std::ostream& out, std::ostream& err);
/// `brelvane site DIR` and `brelvane site --grants ROLE`.
int siteCommand(std::span<const std::string_view> args, std::ostream& out, std::ostream& err);
/// `brelvane completion`: a bash completion script for the tool.
int completionCommand(std::span<const std::string_view> args, std::ostream& out, std::ostream& err);

/// The whole content of a file. Raises std::runtime_error "cannot read
/// PATH: REASON" (a directory is refused as such).
std::string readFile(const std::string& path);

/// `text` cut to at most `limit` bytes (at a character boundary) with "..."
/// appended when cut, for quoting user input in a message.
std::string excerpt(std::string_view text, size_t limit = 120);

}  // namespace brelvane::cli
