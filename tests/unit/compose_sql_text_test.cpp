// SqlText: every piece lands whole whatever its length and the room left,
// a failed fragment leaves the text as it was, and placeholders filled in
// one pass end as replacing each in turn would leave them.
#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>
#include <string>

#include "compose/sql_values.h"

namespace brelvane {
namespace {

TEST(SqlTextTest, PiecesOfEveryLengthLandWholeAsTheBufferGrows) {
  // Pieces are copied in size classes (1-3, 4-7, 8-16, 17-32, 33-64,
  // longer) and numbers written in place: each length is written after
  // every other, starting from no room at all.
  std::string alphabet;
  for (char c = '!'; c <= '~'; ++c) alphabet += c;
  SqlText sql(0);
  sql.append(std::numeric_limits<int64_t>::min());
  std::string expected = std::to_string(std::numeric_limits<int64_t>::min());
  for (size_t n = 0; n <= 80; ++n) {
    const std::string piece = alphabet.substr(n % 7, n);
    const int32_t number = -static_cast<int32_t>(n);
    sql.append(piece, number).blanks(n % 3).cr();
    expected += piece + std::to_string(number) + std::string(n % 3, ' ') + "\r";
  }
  sql.line(std::string_view{}, "end");
  expected += "end\r\n";
  EXPECT_EQ(sql.view(), expected);
  EXPECT_EQ(sql.take(), expected);
  EXPECT_EQ(sql.size(), 0u);
}

TEST(SqlTextTest, AFailedFragmentIsCutBackAndATextReservedAtItsLengthNeverGrows) {
  SqlText sql(4);
  sql.append("SELECT 1");
  sql.fragment([&] {
    sql.line(" FROM A_TABLE_WITH_A_LONG_NAME");
    throw std::runtime_error("a label could not be read");
  });
  sql.fragment([&] { sql.append(" WHERE 1 = 1"); });
  EXPECT_EQ(sql.view(), "SELECT 1 WHERE 1 = 1");
  EXPECT_EQ(sql.peak(), std::string("SELECT 1 FROM A_TABLE_WITH_A_LONG_NAME\r\n").size());
  // Written in a buffer taken over, after the text it holds.
  std::string caption = "Causali";
  appendTo(caption, " ", 7);
  EXPECT_EQ(caption, "Causali 7");

  // Reserved at the length it had last time, a text is written again without
  // growing, however its numbers fall at the end of the buffer.
  const std::string expected = "    AND CI26_DITTA_CG18 = -2147483648\r\n        WHEN   7";
  SqlText reserved(std::string(), expected.size());
  const char* const buffer = reserved.view().data();
  reserved.line("    AND CI26_DITTA_CG18 = ", std::numeric_limits<int32_t>::min())
      .append("        WHEN ")
      .rightAligned(7, 3);
  EXPECT_EQ(reserved.view(), expected);
  EXPECT_EQ(reserved.view().data(), buffer);
}

TEST(Placeholders, OnePassMatchesReplacingInTurn) {
  const std::string texts[] = {"F(<CODICEPDC>, <CONTO>, NULL, <LINGUA>) <CONTO>",
                               "a < b AND <CONTO> > 1",
                               "<CONT<CODICEPDC>>",
                               "no placeholder",
                               "<LINGUA><LINGUA>",
                               "<CONTO>",
                               "<CODICEPDC> x <CONTO>"};
  // Values shorter than their names, longer, both (growing at one and
  // shrinking at another), and values that could form placeholders.
  const std::string values[][3] = {{"3", "'A1'", "'ITA'"},
                                   {"123456789012", "'ABCDEFGHIJK'", "'ITALIANO'"},
                                   {"1", "'ABCDEFGHIJKLMNOP'", "'I'"},
                                   {"1234567890123", "'A'", "''"},
                                   {"<CONTO>", "'<LINGUA>'", "'x'"},
                                   {"O", "'B'", "''"},
                                   {"", "'<", ">'"}};
  for (const auto& text : texts) {
    for (const auto& v : values) {
      std::string inTurn = text, onePass = text;
      replaceAll(inTurn, "<CODICEPDC>", v[0]);
      replaceAll(inTurn, "<CONTO>", v[1]);
      replaceAll(inTurn, "<LINGUA>", v[2]);
      fillPlaceholders(onePass, {{"<CODICEPDC>", v[0]}, {"<CONTO>", v[1]}, {"<LINGUA>", v[2]}});
      EXPECT_EQ(onePass, inTurn) << text << " with " << v[0] << ", " << v[1] << ", " << v[2];
    }
  }
  // Names that are not one bracketed word are replaced in turn as well.
  for (std::string_view name : {"@PAR_DITTA", "<A<B>", "<>"}) {
    std::string inTurn = "x @PAR_DITTA <A<B> <> y", onePass = inTurn;
    replaceAll(inTurn, name, "1");
    fillPlaceholders(onePass, {{name, "1"}});
    EXPECT_EQ(onePass, inTurn) << name;
  }
}

}  // namespace
}  // namespace brelvane
