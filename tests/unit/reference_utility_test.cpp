// The reference utility object that library users get when they register
// none of their own: the renderings the composed SQL relies on.
#include <gtest/gtest.h>

#include "brelvane/host/utility.h"
#include "fixture.h"

namespace brelvane::testing {
namespace {

TEST(ReferenceUtility, ValueToTextAndValueOrDefault) {
  ReferenceUtility u;
  EXPECT_EQ(u.ValueToText(Variant::null()), "");
  EXPECT_EQ(u.ValueToText(Variant()), "");
  EXPECT_EQ(u.ValueToText(Variant::missing()), "");
  EXPECT_EQ(u.ValueToText(Variant(int16_t{-7})), "-7");
  EXPECT_EQ(u.ValueToText(Variant(2.5)), "2.5");
  EXPECT_EQ(u.ValueToText(Variant(true)), "True");
  EXPECT_EQ(u.ValueToText(Variant(Date{2026, 11, 22})), "2026-11-22");
  EXPECT_EQ(u.ValueToText(Variant("A'1")), "A'1");
  EXPECT_EQ(errorOf([&] { u.ValueToText(Variant::nothing()); }), err::kTypeMismatch);

  EXPECT_EQ(u.ValueOrDefault(Variant::null(), Variant(int32_t{0})), Variant(int32_t{0}));
  EXPECT_EQ(u.ValueOrDefault(Variant(), Variant("")), Variant(""));
  // Only Null and Empty take the default: "" and 0 are values.
  EXPECT_EQ(u.ValueOrDefault(Variant(""), Variant("x")), Variant(""));
  EXPECT_EQ(u.ValueOrDefault(Variant(int32_t{0}), Variant(int32_t{9})), Variant(int32_t{0}));
  EXPECT_TRUE(u.ValueOrDefault(Variant::missing(), Variant("")).isMissing());
}

TEST(ReferenceUtility, ValueForSqlGivesALiteralOfEachKind) {
  ReferenceUtility u;
  EXPECT_EQ(u.ValueForSql(Variant::null()), "NULL");
  EXPECT_EQ(u.ValueForSql(Variant()), "NULL");
  EXPECT_EQ(u.ValueForSql(Variant(true)), "1");
  EXPECT_EQ(u.ValueForSql(Variant(false)), "0");
  EXPECT_EQ(u.ValueForSql(Variant(int32_t{-40000})), "-40000");
  EXPECT_EQ(u.ValueForSql(Variant(0.25)), "0.25");
  EXPECT_EQ(u.ValueForSql(Variant("d'Arco")), "'d''Arco'");
  EXPECT_EQ(u.ValueForSql(Variant("''")), "''''''");
  EXPECT_EQ(u.ValueForSql(Variant("")), "''");
  EXPECT_EQ(u.ValueForSql(Variant(Date{2026, 1, 5, 10, 30, 0})), "'20260105'");
  EXPECT_EQ(errorOf([&] { u.ValueForSql(Variant::nothing()); }), err::kTypeMismatch);
}

TEST(ReferenceUtility, SqlDateLiteralTakesDatesAndIsoTextsOnly) {
  ReferenceUtility u;
  EXPECT_EQ(u.SqlDateLiteral(Variant(Date{999, 12, 31})), "'09991231'");
  EXPECT_EQ(u.SqlDateLiteral(Variant("2024-02-29")), "'20240229'");
  EXPECT_EQ(u.SqlDateLiteral(Variant("2024-02-29T23:59:59")), "'20240229'");
  EXPECT_EQ(errorOf([&] { u.SqlDateLiteral(Variant("2023-02-29")); }), err::kTypeMismatch);
  EXPECT_EQ(errorOf([&] { u.SqlDateLiteral(Variant("29/02/2024")); }), err::kTypeMismatch);
  EXPECT_EQ(errorOf([&] { u.SqlDateLiteral(Variant(int32_t{20240229})); }), err::kTypeMismatch);
  EXPECT_EQ(errorOf([&] { u.SqlDateLiteral(Variant::null()); }), err::kTypeMismatch);
}

TEST(ReferenceUtility, IsWhatTheClassesGetWhenTheHostRegistersNone) {
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
