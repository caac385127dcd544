// By-name dispatch through registration tables, and creation by ProgID.
#include <gtest/gtest.h>

#include <functional>

#include "automation/class_builder.h"
#include "brelvane/automation/dispatch.h"
#include "brelvane/automation/factory.h"
#include "fixture.h"

namespace brelvane {
namespace {

using testing::call;
using testing::errorOf;

class Sample final : public Dispatch {
 public:
  const ClassInfo* classInfo() const override { return &registration(); }
  static constexpr std::string_view kProgId = "Test.Sample";
  static const ClassInfo& registration() {
    static const ClassInfo info =
        ClassBuilder<Sample>(std::string(kProgId))
            .property("Text", &Sample::Text)
            .property("Count", &Sample::Count)
            .property("Anything", &Sample::Anything)
            .property("Peer", &Sample::Peer)
            .method("Twice", &Sample::Twice, {arg("fintValue")})
            .method("Sort", &Sample::Sort, {opt("CampoOrdinamento")})
            .method("Level", &Sample::Level, {opt("fintLivello", int16_t{1})})
            .method("Flip", &Sample::Flip, {arg("Cancel"), arg("Data")})
            .method("Bump", &Sample::Bump, {arg("Value")})
            .build();
    return info;
  }

  std::string Text;
  int16_t Count = 0;
  Variant Anything;
  std::shared_ptr<Dispatch> Peer;

  int32_t Twice(int16_t v) { return 2 * v; }
  std::string Sort(const Variant& field) { return field.isMissing() ? "missing" : toText(field); }
  int16_t Level(int16_t level) { return level; }
  void Flip(bool& cancel, Variant& data) {
    cancel = !cancel;
    data = Variant("changed");
  }
  void Bump(int16_t& value) { ++value; }
};

TEST(Dispatch, ConvertsArgumentsToDeclaredTypes) {
  // Refused conversions (13, 6), unknown members (438) and argument counts
  // (449, 450) are steps of tests/scenarios/automation_dispatch.json.
  Sample s;
  EXPECT_EQ(call(s, "Twice", {Variant(int32_t{7})}), Variant(int32_t{14}));
  EXPECT_EQ(call(s, "Twice", {Variant("7")}), Variant(int32_t{14}));
  EXPECT_EQ(call(s, "twice", {Variant(2.5)}), Variant(int32_t{4}));  // names fold case
}

TEST(Dispatch, OptionalParametersTakeDefaultsOrStayMissing) {
  Sample s;
  EXPECT_EQ(call(s, "Sort"), Variant("missing"));
  EXPECT_EQ(call(s, "Sort", {Variant::missing()}), Variant("missing"));
  EXPECT_EQ(call(s, "Sort", {Variant("CI58_DESCRIZIONE")}), Variant("CI58_DESCRIZIONE"));
  EXPECT_EQ(call(s, "Level"), Variant(int16_t{1}));
  EXPECT_EQ(call(s, "Level", {Variant(int32_t{3})}), Variant(int16_t{3}));
  // Defaults and conversions of by-value parameters stay on the callee's side.
  std::vector<Variant> args{Variant::missing()};
  s.invoke("Level", args);
  EXPECT_TRUE(args[0].isMissing());
  std::vector<Variant> text{Variant("7")};
  s.invoke("Twice", text);
  EXPECT_EQ(text[0], Variant("7"));
}

TEST(Dispatch, ByReferenceArgumentsCarryTheCalleesChanges) {
  Sample s;
  std::vector<Variant> args{Variant(false), Variant(int32_t{1})};
  s.invoke("Flip", args);
  EXPECT_EQ(args[0], Variant(true));
  EXPECT_EQ(args[1], Variant("changed"));
  // A typed by-reference parameter writes back in its declared type.
  std::vector<Variant> bump{Variant("41")};
  s.invoke("Bump", bump);
  EXPECT_EQ(bump[0], Variant(int16_t{42}));
}

TEST(Dispatch, PropertiesFollowTheirAccess) {
  Sample s;
  s.put("Text", Variant(int32_t{5}));
  EXPECT_EQ(s.get("text"), Variant("5"));
  s.put("Count", Variant("12"));
  EXPECT_EQ(s.Count, 12);
  EXPECT_EQ(errorOf([&] { s.put("Text", Variant::null()); }), err::kInvalidNull);
  auto other = std::make_shared<Sample>();
  s.putRef("Peer", Variant(other));
  EXPECT_EQ(s.get("Peer").object(), other);
  EXPECT_EQ(errorOf([&] { s.put("Peer", Variant(other)); }), err::kUnknownMember);
  s.putRef("Anything", Variant(other));
  EXPECT_EQ(s.Anything.object(), other);
}

TEST(Dispatch, AnObjectWithoutAClassDescriptionHasNoMembers) {
  Dispatch plain;
  std::vector<Variant> none;
  for (auto use : std::vector<std::function<void()>>{
           [&] { plain.get("X"); }, [&] { plain.put("X", Variant()); },
           [&] { plain.putRef("X", Variant::nothing()); }, [&] { plain.invoke("X", none); }})
    EXPECT_EQ(errorOf(use), err::kUnknownMember);
}

TEST(Dispatch, PropertiesAndMethodsReadEachOthersWay) {
  Sample s;
  s.Text = "t";
  std::vector<Variant> none;
  EXPECT_EQ(s.invoke("Text", none), Variant("t"));  // a property read as a call
  EXPECT_EQ(s.get("Sort"), Variant("missing"));     // a method without arguments read
  std::vector<Variant> one{Variant(int32_t{1})};
  EXPECT_EQ(errorOf([&] { s.invoke("Text", one); }), err::kUnknownMember);
  EXPECT_EQ(errorOf([&] { s.putRef("Anything", Variant("not an object")); }), err::kTypeMismatch);
  EXPECT_EQ(errorOf([&] { s.put("Twice", Variant()); }), err::kUnknownMember);
  for (ParamType t : {ParamType::Variant, ParamType::Boolean, ParamType::Integer, ParamType::Long,
                      ParamType::Double, ParamType::String, ParamType::Date, ParamType::Object})
    EXPECT_FALSE(paramTypeName(t).empty());
  EXPECT_EQ(paramTypeName(ParamType::Date), "Date");
}

TEST(Dispatch, ADescriptionFindsMembersBeforeAndAfterItIsIndexed) {
  ClassInfo info = Sample::registration();  // a copy, indexed
  MethodInfo added;
  added.name = "Added";
  info.methods.push_back(added);  // the index is now out of date
  EXPECT_NE(info.findMethod("ADDED"), nullptr);
  EXPECT_NE(info.findMethod("twice"), nullptr);
  EXPECT_EQ(info.findMethod("Missing"), nullptr);
  info.index();
  EXPECT_EQ(info.findMethod("added")->name, "Added");
  EXPECT_EQ(info.findProperty("peer")->name, "Peer");
  EXPECT_EQ(info.findProperty("Nope"), nullptr);
}

TEST(Dispatch, ExamplesGoToTheirMemberAndMustFitItsParameters) {
  ClassBuilder<Sample> b("Test.Examples");
  b.method("Twice", &Sample::Twice, {arg("fintValue")}).method("Sort", &Sample::Sort, {opt("S")});
  b.examples("Sort", {{}, {Variant("CODE DESC")}});
  EXPECT_THROW(b.examples("Nope", {{}}), std::logic_error);
  EXPECT_THROW(b.examples("Sort", {{Variant(1), Variant(2)}}), std::logic_error);
  ClassInfo info = b.build();
  EXPECT_TRUE(info.findMethod("Twice")->examples.empty());
  ASSERT_EQ(info.findMethod("Sort")->examples.size(), 2u);
  EXPECT_EQ(info.findMethod("Sort")->examples[1][0].string(), "CODE DESC");
}

TEST(Dispatch, ConvertibilityIsJudgedAsACallWouldJudgeIt) {
  struct Case {
    ParamType type;
    Variant fits, refused;
    int error;
  } cases[] = {{ParamType::Boolean, Variant("True"), Variant("yes"), err::kTypeMismatch},
               {ParamType::Integer, Variant("7"), Variant(int32_t{40000}), err::kOverflow},
               {ParamType::Long, Variant(2.5), Variant::null(), err::kInvalidNull},
               {ParamType::Double, Variant("1E3"), Variant::nothing(), err::kTypeMismatch},
               {ParamType::String, Variant(int16_t{3}), Variant::null(), err::kInvalidNull},
               {ParamType::Date, Variant("2026-11-22"), Variant("22/11/2026"), err::kTypeMismatch},
               {ParamType::Object, Variant::nothing(), Variant("x"), err::kTypeMismatch}};
  for (const auto& c : cases) {
    EXPECT_EQ(errorOf([&] { checkConvertible(c.type, c.fits); }), 0) << paramTypeName(c.type);
    EXPECT_EQ(errorOf([&] { checkConvertible(c.type, c.refused); }), c.error)
        << paramTypeName(c.type);
  }
  EXPECT_EQ(errorOf([] { checkConvertible(ParamType::Variant, Variant::missing()); }), 0);
}

TEST(Factory, CreatesByProgIdCaseInsensitively) {
  ObjectFactory f;
  f.add(
      std::string(Sample::kProgId), [](ObjectFactory&) { return std::make_shared<Sample>(); },
      &Sample::registration());
  EXPECT_NE(std::dynamic_pointer_cast<Sample>(f.create("test.sample")), nullptr);
  EXPECT_EQ(errorOf([&] { f.create("Test.Other"); }), err::kCannotCreate);
  ASSERT_EQ(f.entries().size(), 1u);
  EXPECT_EQ(f.entries()[0].info->findMethod("LEVEL")->params[0].defaultValue, Variant(int16_t{1}));
  // Other components come from the fallback, which never shadows a creator.
  std::vector<std::string> asked;
  f.setFallback([&](std::string_view progId) -> std::shared_ptr<Dispatch> {
    asked.emplace_back(progId);
    return progId == "Other.Known" ? std::make_shared<Sample>() : nullptr;
  });
  EXPECT_NE(f.create("Other.Known"), nullptr);
  EXPECT_EQ(errorOf([&] { f.create("Test.Other"); }), err::kCannotCreate);
  EXPECT_NE(std::dynamic_pointer_cast<Sample>(f.create("Test.Sample")), nullptr);
  EXPECT_EQ(asked, (std::vector<std::string>{"Other.Known", "Test.Other"}));
}

}  // namespace
}  // namespace brelvane
