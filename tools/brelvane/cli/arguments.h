#pragma once
// Values written on the command line, and how values are shown to a reader.

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "standins/standins.h"

namespace brelvane::cli {

/// Answers for the object names a command line may use ("host", ...):
/// the object, or null when the name is none of them.
using ObjectSource = std::function<std::shared_ptr<Dispatch>(std::string_view name)>;

/// Reads a value in the command-line forms: 42 (Long), 2.5 (Double),
/// 'text', text:..., integer:N, long:N, double:N, true/false, null, empty,
/// missing, nothing, date:YYYY-MM-DD[THH:MM:SS], an object name that
/// `objects` knows; any other word is a String. Raises std::invalid_argument
/// for a prefixed form whose value does not read.
Variant parseValue(std::string_view text, const ObjectSource& objects = {});

/// The command-line form parseValue reads back as the same type and value;
/// nothing for an object or an array, which have none.
std::optional<std::string> commandLineText(const Variant& value);

/// A value for a reader: True/False, plain numbers, "quoted" texts, dates
/// as YYYY-MM-DD, Empty, Null, Missing, Nothing, objects by name and arrays
/// by their bounds.
std::string describe(const Variant& value, const standins::Names& names);

/// The lines of a text as composed: CR LF ends a line; a lone CR or LF
/// inside a line shows as <CR> or <LF>; trailing blanks stay.
std::vector<std::string> displayLines(std::string_view text);

}  // namespace brelvane::cli
