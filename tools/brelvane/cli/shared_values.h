#pragma once
// Values that a scenario writes once and uses in many places: the document's
// `define` object names values, `{"$ref": NAME}` stands for one of them, and
// `{"$concat": [...]}` joins texts (literal, or named) into one.

#include "standins/standins.h"

namespace brelvane::cli {

/// The document with every `$ref` and `$concat` replaced by the value it
/// stands for, and without its `define` key. Raises ScenarioError on a name
/// that is not defined, a definition that uses itself, a `$concat` of
/// anything but texts, or an expansion that grows past a fixed bound.
standins::Json expandSharedValues(const standins::Json& doc);

}  // namespace brelvane::cli
