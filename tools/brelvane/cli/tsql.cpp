#include "cli/tsql.h"

#include <algorithm>
#include <array>
#include <cctype>

namespace brelvane::cli::tsql {

namespace {

std::string upper(std::string_view text) {
  std::string out(text);
  for (char& c : out) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return out;
}

template <size_t N>
bool among(const std::array<std::string_view, N>& words, std::string_view text) {
  std::string u = upper(text);
  return std::find(words.begin(), words.end(), u) != words.end();
}

constexpr std::array<std::string_view, 63> kKeywords = {
    "ALL",    "AND",    "ANY",   "APPLY",    "AS",    "ASC",     "BETWEEN",  "BY",     "CASE",
    "CROSS",  "DELETE", "DESC",  "DISTINCT", "ELSE",  "END",     "EXCEPT",   "EXEC",   "EXECUTE",
    "EXISTS", "FOR",    "FROM",  "FULL",     "GROUP", "HAVING",  "IN",       "INNER",  "INSERT",
    "INTO",   "IS",     "JOIN",  "LEFT",     "LIKE",  "NOLOCK",  "NOT",      "NULL",   "OFFSET",
    "ON",     "OR",     "ORDER", "OUTER",    "OVER",  "PERCENT", "READPAST", "RIGHT",  "ROWLOCK",
    "SELECT", "SET",    "SOME",  "THEN",     "TIES",  "TOP",     "UNION",    "UPDATE", "UPDLOCK",
    "VALUES", "WHEN",   "WHERE", "WITH",     "FETCH", "NEXT",    "ROWS",     "ONLY",   "INTERSECT"};

constexpr std::array<std::string_view, 42> kBuiltins = {
    "ABS",     "AVG",      "CAST",     "CEILING",   "CHAR",      "CHARINDEX", "COALESCE",
    "CONCAT",  "CONVERT",  "COUNT",    "DATEADD",   "DATEDIFF",  "DATEPART",  "DAY",
    "DECIMAL", "FLOOR",    "GETDATE",  "IIF",       "ISNULL",    "LEFT",      "LEN",
    "LOWER",   "LTRIM",    "MAX",      "MIN",       "MONTH",     "NCHAR",     "NULLIF",
    "NUMERIC", "NVARCHAR", "PATINDEX", "REPLACE",   "REPLICATE", "RIGHT",     "ROUND",
    "RTRIM",   "SPACE",    "STR",      "SUBSTRING", "SUM",       "UPPER",     "VARCHAR"};

bool isNameStart(char c) {
  return std::isalpha(static_cast<unsigned char>(c)) || c == '_' || c == '#' ||
         static_cast<unsigned char>(c) >= 0x80;
}
bool isNamePart(char c) {
  return isNameStart(c) || std::isdigit(static_cast<unsigned char>(c)) || c == '$';
}

/// The length of the token that starts at `at` and its kind.
std::pair<size_t, Kind> scan(std::string_view s, size_t at) {
  const char c = s[at];
  auto until = [&](size_t from, auto stop) {
    while (from < s.size() && !stop(s[from])) ++from;
    return from;
  };
  if (std::isspace(static_cast<unsigned char>(c)))
    return {until(at, [](char x) { return !std::isspace(static_cast<unsigned char>(x)); }) - at,
            Kind::Blank};
  if (s.substr(at, 2) == "--")
    return {until(at, [](char x) { return x == '\n'; }) - at, Kind::Comment};
  if (s.substr(at, 2) == "/*") {
    size_t end = s.find("*/", at + 2);
    return {(end == std::string_view::npos ? s.size() : end + 2) - at, Kind::Comment};
  }
  if (c == '\'' || ((c == 'N' || c == 'n') && at + 1 < s.size() && s[at + 1] == '\'')) {
    size_t i = at + (c == '\'' ? 1 : 2);
    while (i < s.size()) {
      if (s[i] == '\'' && i + 1 < s.size() && s[i + 1] == '\'') {
        i += 2;
      } else if (s[i] == '\'') {
        ++i;
        break;
      } else {
        ++i;
      }
    }
    return {i - at, Kind::String};
  }
  if (c == '[') {
    size_t end = s.find(']', at);
    return {(end == std::string_view::npos ? s.size() : end + 1) - at, Kind::Name};
  }
  if (c == '@')
    return {until(at + 1, [](char x) { return !isNamePart(x) && x != '@'; }) - at, Kind::Variable};
  if (std::isdigit(static_cast<unsigned char>(c)))
    return {
        until(at, [](char x) { return !std::isdigit(static_cast<unsigned char>(x)) && x != '.'; }) -
            at,
        Kind::Number};
  if (isNameStart(c)) {
    size_t end = until(at, [](char x) { return !isNamePart(x); });
    return {end - at, among(kKeywords, s.substr(at, end - at)) ? Kind::Keyword : Kind::Name};
  }
  // Two-character operators stay one symbol.
  for (std::string_view op : {"<>", "<=", ">=", "!=", "||"})
    if (s.substr(at, 2) == op) return {2, Kind::Symbol};
  return {1, Kind::Symbol};
}

bool significant(const Token& t) {
  return t.kind != Kind::Blank && t.kind != Kind::Comment;
}

bool isWord(const Token& t, std::string_view word) {
  return t.kind == Kind::Keyword && upper(t.text) == word;
}

std::string bare(std::string_view name) {
  if (name.size() >= 2 && name.front() == '[' && name.back() == ']')
    return std::string(name.substr(1, name.size() - 2));
  return std::string(name);
}

}  // namespace

bool isBuiltinFunction(std::string_view name) {
  return among(kBuiltins, name);
}

std::vector<Token> tokenize(std::string_view sql) {
  std::vector<Token> tokens;
  for (size_t at = 0; at < sql.size();) {
    auto [length, kind] = scan(sql, at);
    tokens.push_back({kind, sql.substr(at, length)});
    at += length;
  }
  // Names (and keywords used as functions, such as LEFT) followed by "(" are
  // calls; a name after FROM, JOIN or APPLY, with its dotted parts, is an
  // object.
  std::vector<size_t> sig;
  for (size_t i = 0; i < tokens.size(); ++i)
    if (significant(tokens[i])) sig.push_back(i);
  for (size_t k = 0; k < sig.size(); ++k) {
    Token& t = tokens[sig[k]];
    // "(SELECT" opens a sub-select, never the arguments of a call.
    bool call = k + 1 < sig.size() && tokens[sig[k + 1]].text == "(" &&
                !(k + 2 < sig.size() && isWord(tokens[sig[k + 2]], "SELECT"));
    bool afterAs = k > 0 && isWord(tokens[sig[k - 1]], "AS");
    if (call && !afterAs &&
        (t.kind == Kind::Name || (t.kind == Kind::Keyword && isBuiltinFunction(t.text))))
      t.kind = Kind::Function;
    if (!(isWord(t, "FROM") || isWord(t, "JOIN") || isWord(t, "APPLY"))) continue;
    for (size_t j = k + 1; j < sig.size(); j += 2) {
      Token& part = tokens[sig[j]];
      if (part.kind == Kind::Name) part.kind = Kind::Object;
      if (part.kind != Kind::Object && part.kind != Kind::Function) break;
      if (j + 1 >= sig.size() || tokens[sig[j + 1]].text != ".") break;
    }
  }
  return tokens;
}

void Reads::merge(const Reads& other) {
  tables.insert(other.tables.begin(), other.tables.end());
  functions.insert(other.functions.begin(), other.functions.end());
  scalars.insert(other.scalars.begin(), other.scalars.end());
  procedures.insert(other.procedures.begin(), other.procedures.end());
  columns.insert(other.columns.begin(), other.columns.end());
}

Reads readsOf(std::string_view sql) {
  std::vector<Token> all = tokenize(sql);
  std::vector<Token> t;
  std::copy_if(all.begin(), all.end(), std::back_inserter(t), significant);
  Reads reads;
  // A dotted name from `k`: its parts joined, the position after it, and
  // its last part. A leading dbo. schema is dropped: it is the default.
  struct Dotted {
    std::string name, last;
    size_t end;
  };
  auto dotted = [&](size_t k) {
    Dotted d{bare(t[k].text), bare(t[k].text), k + 1};
    while (d.end + 1 < t.size() && t[d.end].text == "." &&
           (t[d.end + 1].kind == Kind::Name || t[d.end + 1].kind == Kind::Object ||
            t[d.end + 1].kind == Kind::Function)) {
      d.last = bare(t[d.end + 1].text);
      d.name += "." + d.last;
      d.end += 2;
    }
    if (upper(d.name).rfind("DBO.", 0) == 0) d.name = d.name.substr(4);
    return d;
  };
  auto endsExpression = [&](size_t k) {
    if (k == 0) return false;
    const Token& p = t[k - 1];
    return p.kind == Kind::Name || p.kind == Kind::Object || p.kind == Kind::String ||
           p.kind == Kind::Number || p.text == ")" || isWord(p, "AS") || isWord(p, "END");
  };
  for (size_t k = 0; k < t.size();) {
    const Token& token = t[k];
    if ((isWord(token, "EXEC") || isWord(token, "EXECUTE")) && k + 1 < t.size() &&
        t[k + 1].kind == Kind::Name) {
      Dotted d = dotted(k + 1);
      reads.procedures.insert(d.name);
      k = d.end;
    } else if (token.kind == Kind::Object ||
               (token.kind == Kind::Function && k > 0 &&
                (isWord(t[k - 1], "FROM") || isWord(t[k - 1], "JOIN") ||
                 isWord(t[k - 1], "APPLY")))) {
      Dotted d = dotted(k);
      bool called = d.end < t.size() && t[d.end].text == "(";
      (called ? reads.functions : reads.tables).insert(d.name);
      k = d.end;
      // Its alias, with or without AS, names no column.
      if (k < t.size() && isWord(t[k], "AS")) ++k;
      if (!called && k < t.size() && t[k].kind == Kind::Name) ++k;
    } else if (token.kind == Kind::Function) {
      Dotted d = dotted(k);
      if (!isBuiltinFunction(d.name)) reads.scalars.insert(d.name);
      k = d.end;
    } else if (token.kind == Kind::Name) {
      Dotted d = dotted(k);
      // A name right after an expression is its alias; a dotted name is a
      // qualified column.
      bool alias = endsExpression(k) && d.end == k + 1;
      if (!alias) reads.columns.insert(d.last);
      k = d.end;
    } else {
      ++k;
    }
  }
  return reads;
}

}  // namespace brelvane::cli::tsql
