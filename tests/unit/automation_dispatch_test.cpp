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
using V = Variant;

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

TEST(Dispatch, ArgumentsConvertTakeDefaultsAndWriteBackByReference) {
  // Refused conversions (13, 6), unknown members (438) and argument counts
  // (449, 450) are steps of tests/scenarios/automation_dispatch.json.
  Sample s;
  EXPECT_EQ(call(s, "Twice", {V(int32_t{7})}), V(int32_t{14}));
  EXPECT_EQ(call(s, "Twice", {V("7")}), V(int32_t{14}));
  EXPECT_EQ(call(s, "twice", {V(2.5)}), V(int32_t{4}));  // names fold case
  EXPECT_EQ(call(s, "Sort"), V("missing"));
  EXPECT_EQ(call(s, "Sort", {V::missing()}), V("missing"));
  EXPECT_EQ(call(s, "Sort", {V("CI58_DESCRIZIONE")}), V("CI58_DESCRIZIONE"));
  EXPECT_EQ(call(s, "Level"), V(int16_t{1}));
  EXPECT_EQ(call(s, "Level", {V(int32_t{3})}), V(int16_t{3}));
  // Defaults and conversions of by-value parameters stay on the callee's side.
  std::vector<Variant> args{V::missing()};
  s.invoke("Level", args);
  EXPECT_TRUE(args[0].isMissing());
  std::vector<Variant> text{V("7")};
  s.invoke("Twice", text);
  EXPECT_EQ(text[0], V("7"));
  // By-reference arguments carry the callee's changes.
  std::vector<Variant> flip{V(false), V(int32_t{1})};
  s.invoke("Flip", flip);
  EXPECT_EQ(flip[0], V(true));
  EXPECT_EQ(flip[1], V("changed"));
  // A typed by-reference parameter writes back in its declared type.
  std::vector<Variant> bump{V("41")};
  s.invoke("Bump", bump);
  EXPECT_EQ(bump[0], V(int16_t{42}));
}

TEST(Dispatch, PropertiesFollowTheirAccessAndMethodsReadAsProperties) {
  Sample s;
  s.put("Text", V(int32_t{5}));
  EXPECT_EQ(s.get("text"), V("5"));
  s.put("Count", V("12"));
  EXPECT_EQ(s.Count, 12);
  EXPECT_EQ(errorOf([&] { s.put("Text", V::null()); }), err::kInvalidNull);
  auto other = std::make_shared<Sample>();
  s.putRef("Peer", V(other));
  EXPECT_EQ(s.get("Peer").object(), other);
  EXPECT_EQ(errorOf([&] { s.put("Peer", V(other)); }), err::kUnknownMember);
  s.putRef("Anything", V(other));
  EXPECT_EQ(s.Anything.object(), other);
  s.Text = "t";
  std::vector<Variant> none;
  EXPECT_EQ(s.invoke("Text", none), V("t"));  // a property read as a call
  EXPECT_EQ(s.get("Sort"), V("missing"));     // a method without arguments read
  std::vector<Variant> one{V(int32_t{1})};
  EXPECT_EQ(errorOf([&] { s.invoke("Text", one); }), err::kUnknownMember);
  EXPECT_EQ(errorOf([&] { s.putRef("Anything", V("not an object")); }), err::kTypeMismatch);
  EXPECT_EQ(errorOf([&] { s.put("Twice", V()); }), err::kUnknownMember);
  for (ParamType t : {ParamType::Variant, ParamType::Boolean, ParamType::Integer, ParamType::Long,
                      ParamType::Double, ParamType::String, ParamType::Date, ParamType::Object})
    EXPECT_FALSE(paramTypeName(t).empty());
  EXPECT_EQ(paramTypeName(ParamType::Date), "Date");
  // An object without a class description has no members.
  Dispatch plain;
  for (auto use : std::vector<std::function<void()>>{
           [&] { plain.get("X"); }, [&] { plain.put("X", V()); },
           [&] { plain.putRef("X", V::nothing()); }, [&] { plain.invoke("X", none); }})
    EXPECT_EQ(errorOf(use), err::kUnknownMember);
}

TEST(Dispatch, ADescriptionFindsMembersTakesExamplesThatFitAndJudgesConvertibility) {
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

  // Examples go to their member and must fit its parameters.
  ClassBuilder<Sample> b("Test.Examples");
  b.method("Twice", &Sample::Twice, {arg("fintValue")}).method("Sort", &Sample::Sort, {opt("S")});
  b.examples("Sort", {{}, {V("CODE DESC")}});
  EXPECT_THROW(b.examples("Nope", {{}}), std::logic_error);
  EXPECT_THROW(b.examples("Sort", {{V(1), V(2)}}), std::logic_error);
  info = b.build();
  EXPECT_TRUE(info.findMethod("Twice")->examples.empty());
  ASSERT_EQ(info.findMethod("Sort")->examples.size(), 2u);
  EXPECT_EQ(info.findMethod("Sort")->examples[1][0].string(), "CODE DESC");

  // Convertibility is judged as a call would judge it.
  struct Case {
    ParamType type;
    Variant fits, refused;
    int error;
  } cases[] = {{ParamType::Boolean, V("True"), V("yes"), err::kTypeMismatch},
               {ParamType::Integer, V("7"), V(int32_t{40000}), err::kOverflow},
               {ParamType::Long, V(2.5), V::null(), err::kInvalidNull},
               {ParamType::Double, V("1E3"), V::nothing(), err::kTypeMismatch},
               {ParamType::String, V(int16_t{3}), V::null(), err::kInvalidNull},
               {ParamType::Date, V("2026-11-22"), V("22/11/2026"), err::kTypeMismatch},
               {ParamType::Object, V::nothing(), V("x"), err::kTypeMismatch}};
  for (const auto& c : cases) {
    EXPECT_EQ(errorOf([&] { checkConvertible(c.type, c.fits); }), 0) << paramTypeName(c.type);
    EXPECT_EQ(errorOf([&] { checkConvertible(c.type, c.refused); }), c.error)
        << paramTypeName(c.type);
  }
  EXPECT_EQ(errorOf([] { checkConvertible(ParamType::Variant, V::missing()); }), 0);
}

TEST(Factory, CreatesByProgIdCaseInsensitively) {
  ObjectFactory f;
  f.add(
      std::string(Sample::kProgId), [](ObjectFactory&) { return std::make_shared<Sample>(); },
      &Sample::registration());
  EXPECT_NE(std::dynamic_pointer_cast<Sample>(f.create("test.sample")), nullptr);
  EXPECT_EQ(errorOf([&] { f.create("Test.Other"); }), err::kCannotCreate);
  ASSERT_EQ(f.entries().size(), 1u);
  EXPECT_EQ(f.entries()[0].info->findMethod("LEVEL")->params[0].defaultValue, V(int16_t{1}));
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
