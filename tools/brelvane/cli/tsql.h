#pragma once
// A small T-SQL tokenizer for the reference site: the tokens of a composed
// text (to highlight it) and the objects and columns it reads (to index
// where each table is used). It reads the texts this component composes;
// it is no validator, and a text it does not understand still tokenizes.

#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace brelvane::cli::tsql {

enum class Kind {
  Blank,     ///< blanks and line ends
  Comment,   ///< -- to the line end, or /* ... */
  Keyword,   ///< SELECT, FROM, CASE, WITH, NOLOCK, ...
  Name,      ///< an identifier, plain or [bracketed]; a dotted name is several
  Function,  ///< a name followed by "(": a function or table-valued function
  Object,    ///< a table or table-valued function after FROM, JOIN or APPLY
  String,    ///< 'text' or N'text', '' inside
  Number,
  Variable,  ///< @name
  Symbol,    ///< operators and punctuation
};

struct Token {
  Kind kind;
  std::string_view text;  ///< a view into the tokenized text
};

/// The tokens of `sql`, in order; their texts put together give `sql` back.
std::vector<Token> tokenize(std::string_view sql);

/// What a text reads. Names are as written, without brackets; a dotted
/// table name keeps its dots.
struct Reads {
  std::set<std::string> tables;      ///< after FROM, JOIN or APPLY, not called
  std::set<std::string> functions;   ///< after FROM, JOIN or APPLY, called: table-valued
  std::set<std::string> scalars;     ///< user functions called in expressions
  std::set<std::string> procedures;  ///< run by EXEC name
  std::set<std::string> columns;     ///< names in expressions (the last part of a dotted one)

  void merge(const Reads& other);
};

Reads readsOf(std::string_view sql);

/// Whether a called name is one of the server's own functions (ISNULL,
/// CAST, ...), which no grant covers.
bool isBuiltinFunction(std::string_view name);

}  // namespace brelvane::cli::tsql
