// The reference utility object that library users get when they register
// none of their own: the renderings the composed SQL relies on.
#include <gtest/gtest.h>

#include "brelvane/host/utility.h"
#include "fixture.h"

namespace brelvane::testing {
namespace {

TEST(ReferenceUtility, RendersValuesForSqlAndIsWhatTheClassesGetWhenTheHostRegistersNone) {
  ReferenceUtility u;
  using V = Variant;
  // Each value: its ValueToText, then its ValueForSql.
  // clang-format off
  const std::tuple<V, const char*, const char*> rows[] = {
      {V::null(), "", "NULL"}, {V(), "", "NULL"}, {V(int16_t{-7}), "-7", "-7"},
      {V(int32_t{-40000}), "-40000", "-40000"}, {V(2.5), "2.5", "2.5"}, {V(0.25), "0.25", "0.25"},
      {V(true), "True", "1"}, {V(false), "False", "0"},
      {V(Date{2026, 11, 22}), "2026-11-22", "'20261122'"},
      {V(Date{2026, 1, 5, 10, 30, 0}), nullptr, "'20260105'"},  // the time left out
      {V("A'1"), "A'1", "'A''1'"}, {V("d'Arco"), "d'Arco", "'d''Arco'"}, {V("''"), "''", "''''''"},
      {V(""), "", "''"}};
  // clang-format on
  for (const auto& [v, text, sql] : rows) {
    if (text) {
      EXPECT_EQ(u.ValueToText(v), text) << sql;
    }
    EXPECT_EQ(u.ValueForSql(v), sql) << text;
  }
  EXPECT_EQ(u.ValueToText(V::missing()), "");
  EXPECT_EQ(errorOf([&] { u.ValueToText(V::nothing()); }), err::kTypeMismatch);
  EXPECT_EQ(errorOf([&] { u.ValueForSql(V::nothing()); }), err::kTypeMismatch);

  // Only Null and Empty take the default: "" and 0 are values.
  EXPECT_EQ(u.ValueOrDefault(V::null(), V(int32_t{0})), V(int32_t{0}));
  EXPECT_EQ(u.ValueOrDefault(V(), V("")), V(""));
  EXPECT_EQ(u.ValueOrDefault(V(""), V("x")), V(""));
  EXPECT_EQ(u.ValueOrDefault(V(int32_t{0}), V(int32_t{9})), V(int32_t{0}));
  EXPECT_TRUE(u.ValueOrDefault(V::missing(), V("")).isMissing());

  // Dates, and ISO texts of real dates only.
  EXPECT_EQ(u.SqlDateLiteral(V(Date{999, 12, 31})), "'09991231'");
  EXPECT_EQ(u.SqlDateLiteral(V("2024-02-29")), "'20240229'");
  EXPECT_EQ(u.SqlDateLiteral(V("2024-02-29T23:59:59")), "'20240229'");
  for (V bad : {V("2023-02-29"), V("29/02/2024"), V(int32_t{20240229}), V::null()})
    EXPECT_EQ(errorOf([&] { u.SqlDateLiteral(bad); }), err::kTypeMismatch) << typeName(bad.type());

  // What the classes get when the host registers none.
  ObjectFactory factory;
  registerBrelvane(factory);
  auto utility = factory.createAs<UtilityObject>(kUtilityProgId);
  ASSERT_NE(utility, nullptr);
  EXPECT_NO_THROW(utility->Initialise());
  EXPECT_EQ(utility->BindContext(nullptr, nullptr), (std::pair<std::string, std::string>{}));
  EXPECT_EQ(utility->ProviderAccountColumn(), "CI07_DESCRIZIONE");
  EXPECT_EQ(utility->ProviderCogeColumn(), "CI1A_DESCRIZIONE");
  EXPECT_EQ(utility->ProviderCausalColumn(), "CI39_DESCRIZIONE");
  EXPECT_EQ(utility->HeaderFieldColumn(), "CI48_DESCRIZIONE");
  // A host's own utility object, registered first, is kept.
  struct HostUtility : ReferenceUtility {};
  ObjectFactory own;
  own.add(std::string(kUtilityProgId), [](ObjectFactory&) -> std::shared_ptr<Dispatch> {
    return std::make_shared<HostUtility>();
  });
  registerBrelvane(own);
  EXPECT_NE(std::dynamic_pointer_cast<HostUtility>(own.create(kUtilityProgId)), nullptr);
}

}  // namespace
}  // namespace brelvane::testing
