// Conversions and comparisons the component depends on.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "brelvane/automation/dispatch.h"
#include "brelvane/automation/variant.h"
#include "fixture.h"

namespace brelvane {
namespace {

using testing::errorOf;

TEST(VariantText, NumbersAreLocaleFreeDecimal) {
  EXPECT_EQ(toText(Variant(int16_t{-7})), "-7");
  EXPECT_EQ(toText(Variant(int32_t{123456})), "123456");
  EXPECT_EQ(toText(Variant(2.5)), "2.5");
  EXPECT_EQ(toText(Variant(-0.125)), "-0.125");
  EXPECT_EQ(toText(Variant(3.0)), "3");
  EXPECT_EQ(toText(Variant(0.1 + 0.2)), "0.3");  // 15 significant digits
  EXPECT_EQ(toText(Variant(1e20)), "1E+20");
  EXPECT_EQ(toText(Variant(true)), "True");
  EXPECT_EQ(toText(Variant()), "");
  EXPECT_EQ(toText(Variant(Date::parse("2026-11-22"))), "2026-11-22");
}

TEST(VariantText, NullRaisesButConcatenationTakesItAsEmpty) {
  EXPECT_EQ(errorOf([] { toText(Variant::null()); }), err::kInvalidNull);
  EXPECT_EQ(concatText(Variant::null()), "");
  EXPECT_EQ(errorOf([] { toText(Variant::missing()); }), err::kTypeMismatch);
  EXPECT_EQ(errorOf([] { toText(Variant::nothing()); }), err::kTypeMismatch);
}

TEST(VariantInteger, RoundsHalfToEvenAndChecksRange) {
  EXPECT_EQ(toInteger(Variant(2.5)), 2);
  EXPECT_EQ(toInteger(Variant(3.5)), 4);
  EXPECT_EQ(toInteger(Variant(-2.5)), -2);
  EXPECT_EQ(toInteger(Variant(2.51)), 3);
  EXPECT_EQ(toInteger(Variant("7")), 7);
  EXPECT_EQ(toInteger(Variant(" 4.5 ")), 4);
  EXPECT_EQ(toInteger(Variant("-1E+2")), -100);
  EXPECT_EQ(toInteger(Variant(true)), -1);
  EXPECT_EQ(toInteger(Variant()), 0);
  EXPECT_EQ(toInteger(Variant(32767.4)), 32767);
  EXPECT_EQ(errorOf([] { toInteger(Variant(32767.5)); }), err::kOverflow);
  EXPECT_EQ(errorOf([] { toInteger(Variant(int32_t{-32769})); }), err::kOverflow);
  EXPECT_EQ(errorOf([] { toInteger(Variant("abc")); }), err::kTypeMismatch);
  EXPECT_EQ(errorOf([] { toInteger(Variant("")); }), err::kTypeMismatch);
  EXPECT_EQ(errorOf([] { toInteger(Variant("1,5")); }), err::kTypeMismatch);
  EXPECT_EQ(errorOf([] { toInteger(Variant::null()); }), err::kInvalidNull);
  EXPECT_EQ(toLong(Variant(2147483647.0)), 2147483647);
  EXPECT_EQ(errorOf([] { toLong(Variant(2147483647.5)); }), err::kOverflow);
}

TEST(VariantEquality, ComparingWithNumbersAndTextsNeverRaises) {
  // A Null setting read through ValueOrDefault(x, "") is "", which is not 2.
  EXPECT_FALSE(equals(Variant(""), 2));
  EXPECT_FALSE(equals(Variant::null(), 2));
  EXPECT_FALSE(equals(Variant::missing(), 0));
  EXPECT_FALSE(equals(Variant::nothing(), 0));
  EXPECT_TRUE(equals(Variant(int16_t{2}), 2));
  EXPECT_TRUE(equals(Variant(2.0), 2));
  EXPECT_TRUE(equals(Variant(" 2 "), 2));
  EXPECT_TRUE(equals(Variant(), 0));
  EXPECT_FALSE(equals(Variant("two"), 2));

  EXPECT_TRUE(equals(Variant(""), ""));
  EXPECT_TRUE(equals(Variant(), ""));
  EXPECT_FALSE(equals(Variant::missing(), ""));
  EXPECT_FALSE(equals(Variant::null(), ""));
  EXPECT_FALSE(equals(Variant(Date::parse("2026-01-31")), ""));
  EXPECT_TRUE(equals(Variant(int32_t{5}), "5"));
  EXPECT_FALSE(equals(Variant(int32_t{5}), ""));
  EXPECT_FALSE(equals(Variant("abc"), "ABC"));
}

TEST(VariantDate, ParsesOnlyRealDates) {
  EXPECT_EQ(Date::parse("2026-11-22T10:30:00").iso(), "2026-11-22T10:30:00");
  EXPECT_EQ(Date::parse("2024-02-29").day, 29);
  for (auto bad : {"2026-02-29", "2026-13-01", "26-11-22", "2026-11-22T25:00", "2026/11/22", ""})
    EXPECT_EQ(errorOf([&] { Date::parse(bad); }), err::kTypeMismatch) << bad;
}

TEST(SafeArrayTest, BoundsAndRowMajorLayout) {
  SafeArray a({Bound{0, 1}, Bound{2, 4}});
  EXPECT_EQ(a.elements().size(), 6u);
  a.at({1, 2}) = Variant("x");
  EXPECT_EQ(a.elements()[3], Variant("x"));
  EXPECT_EQ(errorOf([&] { a.at({2, 2}); }), err::kSubscript);
  EXPECT_EQ(errorOf([&] { a.at({0, 1}); }), err::kSubscript);
  EXPECT_EQ(errorOf([&] { a.at({0}); }), err::kSubscript);
  // Arrays in Variants are values: a copy does not share elements.
  Variant v(a), w = v;
  w.array().at({0, 2}) = Variant(int32_t{1});
  EXPECT_TRUE(v.array().at({0, 2}).isEmpty());
}

TEST(SafeArrayTest, ElementCountsThatOverflowRaiseInsteadOfWrapping) {
  constexpr int32_t kMin = std::numeric_limits<int32_t>::min();
  constexpr int32_t kMax = std::numeric_limits<int32_t>::max();
  EXPECT_EQ((Bound{kMin, kMax}.count()), uint64_t{1} << 32);
  EXPECT_EQ((Bound{kMax, kMin}.count()), 0u);
  // 2^32 x 2^32 elements would wrap a 64-bit count to 0.
  EXPECT_EQ(errorOf([] { SafeArray({Bound{kMin, kMax}, Bound{kMin, kMax}}); }), err::kOverflow);
  EXPECT_EQ(errorOf([] { SafeArray({Bound{0, 65535}, Bound{0, 65535}}); }), err::kOverflow);
  // An empty dimension makes an empty array, however wide the others.
  SafeArray empty({Bound{kMin, kMax}, Bound{1, 0}});
  EXPECT_TRUE(empty.elements().empty());
  EXPECT_EQ(errorOf([&] { empty.at({0, 0}); }), err::kSubscript);
  SafeArray wide({Bound{kMax - 1, kMax}});
  wide.at({kMax}) = Variant("last");
  EXPECT_EQ(wide.elements()[1], Variant("last"));
}

TEST(VariantAccess, ExactAccessRaisesOnAnyOtherKind) {
  const Variant kinds[] = {
      Variant(),           Variant::null(),      Variant(true),     Variant(int16_t{1}),
      Variant(int32_t{1}), Variant(1.5),         Variant(Date{}),   Variant("x"),
      Variant::nothing(),  Variant(SafeArray()), Variant::missing()};
  for (size_t i = 0; i < std::size(kinds); ++i) {
    const Variant& v = kinds[i];
    EXPECT_EQ(typeName(v.type()), typeName(static_cast<VarType>(i)));
    EXPECT_EQ(errorOf([&] { v.boolean(); }) == 0, v.type() == VarType::Boolean) << i;
    EXPECT_EQ(errorOf([&] { v.string(); }) == 0, v.isString()) << i;
    EXPECT_EQ(errorOf([&] { v.date(); }) == 0, v.type() == VarType::Date) << i;
    EXPECT_EQ(errorOf([&] { v.object(); }) == 0, v.isObject()) << i;
    EXPECT_EQ(errorOf([&] { v.array(); }) == 0, v.isArray()) << i;
    EXPECT_EQ(errorOf([&] { v.number(); }) == 0, v.isNumeric()) << i;
  }
  EXPECT_EQ(typeName(VarType::Missing), "Missing");
}

TEST(VariantEquality, StructuralByKindAndObjectsByIdentity) {
  auto a = std::make_shared<Dispatch>(), b = std::make_shared<Dispatch>();
  EXPECT_EQ(Variant(a), Variant(a));
  EXPECT_NE(Variant(a), Variant(b));
  EXPECT_NE(Variant(int16_t{1}), Variant(int32_t{1}));  // same value, other kind
  EXPECT_EQ(Variant(Date{2026, 1, 2}), Variant(Date{2026, 1, 2}));
  EXPECT_EQ(Variant::null(), Variant::null());
  EXPECT_EQ(Variant::missing(), Variant::missing());
  SafeArray x({Bound{0, 1}}), y({Bound{0, 1}});
  y.at({1}) = Variant("y");
  Variant vx(x), vy(y);
  EXPECT_NE(vx, vy);
  vx = vy;  // arrays copy by value
  vy.array().at({0}) = Variant("changed");
  EXPECT_NE(vx, vy);
  EXPECT_EQ(vx.array().at({1}), Variant("y"));
  // Comparisons with a number or a text never raise.
  EXPECT_TRUE(equals(Variant(true), -1));
  EXPECT_TRUE(equals(Variant(), 0));
  EXPECT_FALSE(equals(Variant(a), 0));
  EXPECT_FALSE(equals(Variant(Date{}), "1899-12-30T00:00:00"));
  EXPECT_TRUE(equals(Variant(), ""));
  EXPECT_TRUE(equals(Variant(int32_t{2}), "2"));
  EXPECT_FALSE(equals(Variant::nothing(), ""));
}

TEST(VariantConversion, BooleansAndDates) {
  EXPECT_TRUE(toBool(Variant("TRUE")));
  EXPECT_FALSE(toBool(Variant("false")));
  EXPECT_TRUE(toBool(Variant("-1")));
  EXPECT_FALSE(toBool(Variant()));
  EXPECT_EQ(errorOf([] { toBool(Variant("yes")); }), err::kTypeMismatch);
  EXPECT_EQ(errorOf([] { toBool(Variant::null()); }), err::kInvalidNull);
  EXPECT_EQ(toDate(Variant("2026-11-22T10:30")), (Date{2026, 11, 22, 10, 30, 0}));
  EXPECT_EQ(errorOf([] { toDate(Variant::null()); }), err::kInvalidNull);
  EXPECT_EQ(errorOf([] { toDate(Variant(int32_t{5})); }), err::kTypeMismatch);
  EXPECT_EQ(errorOf([] { toDouble(Variant::nothing()); }), err::kTypeMismatch);
  EXPECT_EQ(toDouble(Variant(true)), -1);
}

TEST(AutomationErrors, CarryTheirStandardDescriptions) {
  EXPECT_EQ(AutomationError::of(err::kInvalidCall).description,
            "Invalid procedure call or argument");
  EXPECT_EQ(AutomationError::of(err::kSubscript, "x").description, "Subscript out of range: x");
  EXPECT_EQ(AutomationError::of(err::kObjectNotSet).description,
            "Object variable or With block variable not set");
  EXPECT_EQ(AutomationError::of(err::kCannotCreate).description,
            "Cannot create an object of that class");
  EXPECT_EQ(AutomationError::of(err::kOutOfMemory).description, "Out of memory");
  EXPECT_EQ(AutomationError::of(12345).description, "Automation error 12345");
  EXPECT_EQ(AutomationError::of(err::kOverflow).source, "Brelvane");
}

TEST(VariantText, DatesAndNumbersAreReadStrictly) {
  // Dates: four-digit years from 100, real days, optional time to the second.
  EXPECT_EQ(Date::parse("2000-02-29"), (Date{2000, 2, 29}));
  EXPECT_EQ(Date::parse("2026-11-22 10:30"), (Date{2026, 11, 22, 10, 30, 0}));
  for (const char* bad :
       {"1900-02-29", "0099-01-01", "2026-13-01", "2026-04-31", "2026-00-10", "2026-11-22T24:00",
        "2026-11-22T10:60", "2026-11-22T10:30:60", "2026-11-22T10:30:5", "2026-11-22X10:30",
        "2026/11/22", "2026-1-22", "2026-11-2x", ""})
    EXPECT_EQ(errorOf([&] { Date::parse(bad); }), err::kTypeMismatch) << bad;
  // Numbers: blanks around, a sign, no trailing letters.
  double d = 0;
  EXPECT_TRUE(parseNumber(" \t+1.5 ", d));
  EXPECT_EQ(d, 1.5);
  EXPECT_TRUE(parseNumber("-.5", d));
  EXPECT_EQ(d, -0.5);
  for (const char* bad : {"", "  ", "+", "1e3x", "x1", "--1", "1 2"})
    EXPECT_FALSE(parseNumber(bad, d)) << bad;
  EXPECT_EQ(errorOf([] { toLong(Variant(std::numeric_limits<double>::infinity())); }),
            err::kOverflow);
  EXPECT_EQ(errorOf([] { toInteger(Variant(std::nan(""))); }), err::kOverflow);
  EXPECT_EQ(toText(Variant(false)), "False");
  EXPECT_TRUE(equals(Variant(false), 0));
  EXPECT_TRUE(equals(Variant("2.0"), 2));
  EXPECT_FALSE(equals(Variant("two"), 2));
  EXPECT_TRUE(equals(Variant(2.0), "2"));
  EXPECT_FALSE(equals(Variant(2.0), "x"));
}

TEST(SafeArrayTest, BuiltInPlaceItsElementsMustFitTheBounds) {
  SafeArray a({Bound{0, 0}, Bound{1, 2}}, {Variant("a"), Variant("b")});
  EXPECT_EQ(a.at({0, 2}), Variant("b"));
  EXPECT_EQ(errorOf([] { SafeArray({Bound{0, 1}}, {Variant("only one")}); }), err::kInvalidCall);
  EXPECT_EQ(errorOf([] { SafeArray({}, {Variant()}); }), err::kInvalidCall);
}

TEST(SafeArrayTest, ReshapedInItsStorageOrLeftAloneWhenTheBoundsCannotBe) {
  SafeArray a({Bound{0, 1}, Bound{0, 2}});
  a.at({0, 0}) = Variant("kept");
  a.at({1, 2}) = Variant("dropped");
  a.reshape({Bound{1, 1}, Bound{0, 1}, Bound{5, 6}});  // three dimensions, four elements
  ASSERT_EQ(a.dimensions(), 3u);
  EXPECT_EQ(a.bounds()[2], (Bound{5, 6}));
  EXPECT_EQ(a.at({1, 0, 5}), Variant("kept"));
  EXPECT_EQ(a.elements().size(), 4u);
  a.reshape({Bound{0, 5}});
  EXPECT_TRUE(a.at({5}).isEmpty()) << "an element that was not there starts Empty";
  EXPECT_EQ(a.at({0}), Variant("kept"));
  const SafeArray before = a;
  EXPECT_EQ(errorOf([&] { a.reshape({Bound{0, 65535}, Bound{0, 65535}}); }), err::kOverflow);
  EXPECT_TRUE(a == before);
  // Equal arrays have equal bounds and elements; the same elements under
  // other bounds are another array.
  SafeArray flat({Bound{0, 5}}), square({Bound{0, 1}, Bound{0, 2}});
  EXPECT_FALSE(flat == square);
  EXPECT_FALSE(SafeArray({Bound{0, 1}}) == SafeArray({Bound{1, 2}}));
  EXPECT_FALSE(SafeArray({Bound{0, 0}}, {Variant("a")}) ==
               SafeArray({Bound{0, 0}}, {Variant("b")}));
  EXPECT_TRUE(SafeArray({Bound{0, 1}, Bound{0, 1}, Bound{0, 1}}) ==
              SafeArray({Bound{0, 1}, Bound{0, 1}, Bound{0, 1}}));
}

TEST(VariantText, SetTextRewritesAnyVariantAndMovingOutLeavesNoCopy) {
  for (Variant v : {Variant(), Variant(int32_t{7}), Variant("same"), Variant("longer text")}) {
    std::string& text = v.setText("same");
    EXPECT_EQ(v, Variant("same"));
    text += "!";
    EXPECT_EQ(v, Variant("same!")) << "the reference is the Variant's own text";
  }
  Variant v(std::string(100, 'x'));
  const char* buffer = v.string().data();
  std::string moved = toText(std::move(v));
  EXPECT_EQ(moved.data(), buffer);
  EXPECT_EQ(toText(Variant(int32_t{12})), "12");
}

}  // namespace
}  // namespace brelvane
