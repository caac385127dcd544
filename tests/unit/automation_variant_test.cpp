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
using V = Variant;
constexpr int kMismatch = err::kTypeMismatch, kNull = err::kInvalidNull, kOver = err::kOverflow;

TEST(VariantText, LocaleFreeDecimalStrictReadingAndNoCopies) {
  // Doubles with up to 15 significant digits; more texts in ReferenceUtility's ValueToText.
  const std::pair<V, const char*> texts[] = {
      {V(int32_t{123456}), "123456"}, {V(-0.125), "-0.125"}, {V(3.0), "3"},
      {V(0.1 + 0.2), "0.3"},          {V(1e20), "1E+20"},    {V(), ""}};
  for (const auto& [v, text] : texts) EXPECT_EQ(toText(v), text) << text;
  EXPECT_EQ(errorOf([] { toText(V::null()); }), kNull);
  EXPECT_EQ(concatText(V::null()), "");  // the text operator takes Null as ""
  EXPECT_EQ(errorOf([] { toText(V::missing()); }), kMismatch);
  EXPECT_EQ(errorOf([] { toText(V::nothing()); }), kMismatch);
  // Numbers: blanks around, a sign, no trailing letters.
  double d = 0;
  EXPECT_TRUE(parseNumber(" \t+1.5 ", d));
  EXPECT_EQ(d, 1.5);
  EXPECT_TRUE(parseNumber("-.5", d));
  EXPECT_EQ(d, -0.5);
  for (const char* bad : {"", "  ", "+", "1e3x", "x1", "--1", "1 2"})
    EXPECT_FALSE(parseNumber(bad, d)) << bad;
  // setText rewrites any Variant; moving the text out leaves no copy.
  for (V v : {V(), V(int32_t{7}), V("same"), V("longer text")}) {
    std::string& text = v.setText("same");
    EXPECT_EQ(v, V("same"));
    text += "!";
    EXPECT_EQ(v, V("same!")) << "the reference is the Variant's own text";
  }
  V v(std::string(100, 'x'));
  const char* buffer = v.string().data();
  std::string moved = toText(std::move(v));
  EXPECT_EQ(moved.data(), buffer);
}

TEST(VariantConversion, RealDatesFromYear100NumbersRoundedHalfToEvenInRangeBooleans) {
  EXPECT_EQ(Date::parse("2026-11-22T10:30:00").iso(), "2026-11-22T10:30:00");
  EXPECT_EQ(Date::parse("2024-02-29").day, 29);
  EXPECT_EQ(Date::parse("2000-02-29"), (Date{2000, 2, 29}));
  EXPECT_EQ(Date::parse("2026-11-22 10:30"), (Date{2026, 11, 22, 10, 30, 0}));
  for (const char* bad : {"2026-02-29", "1900-02-29", "0099-01-01", "2026-13-01", "2026-04-31",
                          "2026-00-10", "2026-11-22T24:00", "2026-11-22T25:00", "2026-11-22T10:60",
                          "2026-11-22T10:30:60", "2026-11-22T10:30:5", "2026-11-22X10:30",
                          "26-11-22", "2026/11/22", "2026-1-22", "2026-11-2x", ""})
    EXPECT_EQ(errorOf([&] { Date::parse(bad); }), kMismatch) << bad;

  // Numbers round half to even and must fit.
  const std::pair<V, int> fits[] = {
      {V(2.5), 2},     {V(3.5), 4},        {V(-2.5), -2}, {V(2.51), 3}, {V("7"), 7},
      {V(" 4.5 "), 4}, {V("-1E+2"), -100}, {V(true), -1}, {V(), 0},     {V(32767.4), 32767}};
  for (const auto& [v, n] : fits) EXPECT_EQ(toInteger(v), n) << n;
  const std::pair<V, int> refused[] = {{V(32767.5), kOver},     {V(int32_t{-32769}), kOver},
                                       {V("abc"), kMismatch},   {V(""), kMismatch},
                                       {V("1,5"), kMismatch},   {V::null(), kNull},
                                       {V(std::nan("")), kOver}};
  for (const auto& [v, e] : refused) {
    const V& value = v;  // Clang before 16 cannot capture a structured binding
    EXPECT_EQ(errorOf([&] { toInteger(value); }), e) << typeName(v.type());
  }
  EXPECT_EQ(toLong(V(2147483647.0)), 2147483647);
  EXPECT_EQ(errorOf([] { toLong(V(2147483647.5)); }), kOver);
  EXPECT_EQ(errorOf([] { toLong(V(std::numeric_limits<double>::infinity())); }), kOver);
  EXPECT_EQ(toDouble(V(true)), -1);
  EXPECT_EQ(errorOf([] { toDouble(V::nothing()); }), kMismatch);
  // Booleans and dates.
  EXPECT_TRUE(toBool(V("TRUE")));
  EXPECT_FALSE(toBool(V("false")));
  EXPECT_TRUE(toBool(V("-1")));
  EXPECT_FALSE(toBool(V()));
  EXPECT_EQ(errorOf([] { toBool(V("yes")); }), kMismatch);
  EXPECT_EQ(errorOf([] { toBool(V::null()); }), kNull);
  EXPECT_EQ(toDate(V("2026-11-22T10:30")), (Date{2026, 11, 22, 10, 30, 0}));
  EXPECT_EQ(errorOf([] { toDate(V::null()); }), kNull);
  EXPECT_EQ(errorOf([] { toDate(V(int32_t{5})); }), kMismatch);
}

TEST(VariantEquality, WithNumbersAndTextsNeverRaisingAndStructuralBetweenVariants) {
  // A Null setting read through ValueOrDefault(x, "") is "", which is not 2.
  auto a = std::make_shared<Dispatch>();
  const std::tuple<V, double, bool> numbers[] = {
      {V(""), 2, false},        {V::null(), 2, false}, {V::missing(), 0, false},
      {V::nothing(), 0, false}, {V(a), 0, false},      {V(int16_t{2}), 2, true},
      {V(2.0), 2, true},        {V(" 2 "), 2, true},   {V("2.0"), 2, true},
      {V(), 0, true},           {V(true), -1, true},   {V(false), 0, true},
      {V("two"), 2, false}};
  for (const auto& [v, n, same] : numbers) EXPECT_EQ(equals(v, n), same) << n;
  // clang-format off
  const std::tuple<V, const char*, bool> texts[] = {
      {V(""), "", true}, {V(), "", true}, {V::missing(), "", false}, {V::null(), "", false},
      {V::nothing(), "", false}, {V(Date::parse("2026-01-31")), "", false},
      {V(Date{}), "1899-12-30T00:00:00", false}, {V(int32_t{5}), "5", true},
      {V(int32_t{5}), "", false}, {V(int32_t{2}), "2", true}, {V(2.0), "2", true},
      {V(2.0), "x", false}, {V("abc"), "ABC", false}};
  // clang-format on
  for (const auto& [v, t, same] : texts) EXPECT_EQ(equals(v, t), same) << t;
  // Between Variants: structural by kind, objects by identity.
  auto b = std::make_shared<Dispatch>();
  EXPECT_EQ(V(a), V(a));
  EXPECT_NE(V(a), V(b));
  EXPECT_NE(V(int16_t{1}), V(int32_t{1}));  // same value, other kind
  EXPECT_EQ(V(Date{2026, 1, 2}), V(Date{2026, 1, 2}));
  EXPECT_EQ(V::null(), V::null());
  EXPECT_EQ(V::missing(), V::missing());
  SafeArray x({Bound{0, 1}}), y({Bound{0, 1}});
  y.at({1}) = V("y");
  V vx(x), vy(y);
  EXPECT_NE(vx, vy);
  vx = vy;  // arrays copy by value
  vy.array().at({0}) = V("changed");
  EXPECT_NE(vx, vy);
  EXPECT_EQ(vx.array().at({1}), V("y"));
}

TEST(VariantAccess, ExactAccessRaisesOnAnyOtherKind) {
  const V kinds[] = {V(),       V::null(), V(true),      V(int16_t{1}),  V(int32_t{1}), V(1.5),
                     V(Date{}), V("x"),    V::nothing(), V(SafeArray()), V::missing()};
  for (size_t i = 0; i < std::size(kinds); ++i) {
    const V& v = kinds[i];
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

TEST(SafeArrayTest, BoundsLayoutOverflowingCountsAndReshaping) {
  SafeArray a({Bound{0, 1}, Bound{2, 4}});
  EXPECT_EQ(a.elements().size(), 6u);
  a.at({1, 2}) = V("x");
  EXPECT_EQ(a.elements()[3], V("x"));  // row-major
  EXPECT_EQ(errorOf([&] { a.at({2, 2}); }), err::kSubscript);
  EXPECT_EQ(errorOf([&] { a.at({0, 1}); }), err::kSubscript);
  EXPECT_EQ(errorOf([&] { a.at({0}); }), err::kSubscript);
  V v(a), w = v;  // arrays in Variants are values: a copy does not share elements
  w.array().at({0, 2}) = V(int32_t{1});
  EXPECT_TRUE(v.array().at({0, 2}).isEmpty());

  constexpr int32_t kMin = std::numeric_limits<int32_t>::min();
  constexpr int32_t kMax = std::numeric_limits<int32_t>::max();
  EXPECT_EQ((Bound{kMin, kMax}.count()), uint64_t{1} << 32);
  EXPECT_EQ((Bound{kMax, kMin}.count()), 0u);
  // 2^32 x 2^32 elements would wrap a 64-bit count to 0.
  EXPECT_EQ(errorOf([] { SafeArray({Bound{kMin, kMax}, Bound{kMin, kMax}}); }), kOver);
  EXPECT_EQ(errorOf([] { SafeArray({Bound{0, 65535}, Bound{0, 65535}}); }), kOver);
  // An empty dimension makes an empty array, however wide the others.
  SafeArray empty({Bound{kMin, kMax}, Bound{1, 0}});
  EXPECT_TRUE(empty.elements().empty());
  EXPECT_EQ(errorOf([&] { empty.at({0, 0}); }), err::kSubscript);
  SafeArray wide({Bound{kMax - 1, kMax}});
  wide.at({kMax}) = V("last");
  EXPECT_EQ(wide.elements()[1], V("last"));
  // Built in place, the elements must fit the bounds.
  EXPECT_EQ(SafeArray({Bound{0, 0}, Bound{1, 2}}, {V("a"), V("b")}).at({0, 2}), V("b"));
  EXPECT_EQ(errorOf([] { SafeArray({Bound{0, 1}}, {V("only one")}); }), err::kInvalidCall);
  EXPECT_EQ(errorOf([] { SafeArray({}, {V()}); }), err::kInvalidCall);

  // Reshaped in its storage, or left alone when the bounds cannot be.
  a = SafeArray({Bound{0, 1}, Bound{0, 2}});
  a.at({0, 0}) = V("kept");
  a.at({1, 2}) = V("dropped");
  a.reshape({Bound{1, 1}, Bound{0, 1}, Bound{5, 6}});  // three dimensions, four elements
  ASSERT_EQ(a.dimensions(), 3u);
  EXPECT_EQ(a.bounds()[2], (Bound{5, 6}));
  EXPECT_EQ(a.at({1, 0, 5}), V("kept"));
  EXPECT_EQ(a.elements().size(), 4u);
  a.reshape({Bound{0, 5}});
  EXPECT_TRUE(a.at({5}).isEmpty()) << "an element that was not there starts Empty";
  EXPECT_EQ(a.at({0}), V("kept"));
  const SafeArray before = a;
  EXPECT_EQ(errorOf([&] { a.reshape({Bound{0, 65535}, Bound{0, 65535}}); }), kOver);
  EXPECT_TRUE(a == before);
  // Equal arrays have equal bounds and elements.
  EXPECT_FALSE(SafeArray({Bound{0, 5}}) == SafeArray({Bound{0, 1}, Bound{0, 2}}));
  EXPECT_FALSE(SafeArray({Bound{0, 1}}) == SafeArray({Bound{1, 2}}));
  EXPECT_FALSE(SafeArray({Bound{0, 0}}, {V("a")}) == SafeArray({Bound{0, 0}}, {V("b")}));
  EXPECT_TRUE(SafeArray({Bound{0, 1}, Bound{0, 1}, Bound{0, 1}}) ==
              SafeArray({Bound{0, 1}, Bound{0, 1}, Bound{0, 1}}));
}

TEST(AutomationErrors, CarryTheirStandardDescriptions) {
  const std::pair<int, const char*> texts[] = {
      {err::kInvalidCall, "Invalid procedure call or argument"},
      {err::kObjectNotSet, "Object variable or With block variable not set"},
      {err::kCannotCreate, "Cannot create an object of that class"},
      {err::kOutOfMemory, "Out of memory"},
      {12345, "Automation error 12345"}};
  for (const auto& [n, text] : texts) EXPECT_EQ(AutomationError::of(n).description, text);
  EXPECT_EQ(AutomationError::of(err::kSubscript, "x").description, "Subscript out of range: x");
  EXPECT_EQ(AutomationError::of(err::kOverflow).source, "Brelvane");
}

}  // namespace
}  // namespace brelvane
