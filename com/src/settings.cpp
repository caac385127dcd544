#include "settings.h"

namespace brelvane::com {

namespace {

class Settings final : public Dispatch {
 public:
  explicit Settings(ObjectFactory& factory) : factory_(factory) {}
  const ClassInfo* classInfo() const override { return &info(); }

  static const ClassInfo& info() {
    static const ClassInfo described = [] {
      ClassInfo c;
      c.progId = kSettingsProgId;
      c.doc = "Settings of the component for the whole process";
      PropertyInfo hardened;
      hardened.name = "Hardened";
      hardened.type = ParamType::Boolean;
      hardened.typeName = "Boolean";
      hardened.doc =
          "True: every lookup and decoder created from then on escapes and checks each value "
          "that reaches its SQL; False (the default): the SQL is composed as hosts expect it";
      hardened.getter = [](Dispatch& self) {
        return Variant(static_cast<Settings&>(self).factory_.hardened());
      };
      hardened.setter = [](Dispatch& self, const Variant& v) {
        static_cast<Settings&>(self).factory_.setHardened(toBool(v));
      };
      c.properties.push_back(std::move(hardened));
      c.index();
      return c;
    }();
    return described;
  }

 private:
  ObjectFactory& factory_;
};

}  // namespace

void registerSettings(ObjectFactory& factory) {
  factory.add(
      kSettingsProgId,
      [](ObjectFactory& f) -> std::shared_ptr<Dispatch> { return std::make_shared<Settings>(f); },
      &Settings::info());
}

}  // namespace brelvane::com
