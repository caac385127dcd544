#pragma once
// CASE columns: a coded column turned into localised words by the database.
// Each column is a small table (opening lines, branch form, value -> message
// id list, optional ELSE, closing lines); one helper writes them all.

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

#include "compose/host_access.h"
#include "compose/sql_text.h"

namespace brelvane {

/// How one WHEN branch is written. A two-line branch is
///   when + value            CR LF
///   then + label + "' "     CR LF
/// and a one-line branch is
///   when + value + then + label + "' "   CR LF
/// where the value is right-aligned to `width` characters (0: as it is).
struct BranchForm {
  std::string_view when;
  std::string_view then;
  int width = 0;
  bool twoLines = false;
};

struct Branch {
  int32_t value;
  int32_t messageId;
};

/// Every 0/1 flag column: 39318 labels 0 and 52384 labels 1.
inline constexpr std::initializer_list<Branch> kYesNo{{0, 39318}, {1, 52384}};
/// The two values of CI04_INDSTAPER, shown by causal codes and charts alike.
inline constexpr std::initializer_list<Branch> kIndStaPer{{0, 55020}, {1, 44336}};
/// The kinds of a cost nature (PC04_INDCOSTORIC), 0 to 4.
inline constexpr std::initializer_list<Branch> kCostNatureKinds{
    {0, 39796}, {1, 16572}, {2, 48931}, {3, 66288}, {4, 59381}};

/// The ELSE of a CASE: none, a literal line, or a head followed by a label.
struct CaseElse {
  std::string_view line;  ///< literal line, or the head before the label
  int32_t messageId = 0;  ///< non-zero: line + label + "' "
  bool present() const { return !line.empty(); }
};

struct CaseColumn {
  std::initializer_list<std::string_view> open;
  BranchForm form;
  std::initializer_list<Branch> branches;
  CaseElse otherwise;
  std::initializer_list<std::string_view> close;
};

/// Appends the whole CASE column, each line ending in CR LF; each label is
/// fetched (GetLabel) when its line is written.
void appendCase(SqlText& sql, const HostAccess& host, const CaseColumn& column);

/// Appends the CASE column as a fragment: whole, or nothing when anything
/// fails.
void appendCaseFragment(SqlText& sql, const HostAccess& host, const CaseColumn& column);

/// Appends "'" + label + "' " (the quoted-label tail shared by every branch).
void appendLabel(SqlText& sql, const HostAccess& host, int32_t messageId);

}  // namespace brelvane
