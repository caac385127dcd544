// The caller's event sink: records each event and answers through the
// by-reference arguments its handlers name.
#include "standins/standins.h"

namespace brelvane::standins {

namespace {

struct Handler {
  std::string event;
  std::vector<std::pair<size_t, Json>> assignments;  // parameter index, value encoding
};

class Sink final : public Dispatch {
 public:
  Sink(std::string name, Log& log, std::vector<Handler> handlers)
      : name_(std::move(name)), log_(log), handlers_(std::move(handlers)) {}

  Variant invoke(std::string_view name, std::span<Variant> args) override {
    Json received = Json::array();
    for (const auto& a : args) received.push_back(log_.value(a));
    log_.add(name_, "Event", {{"name", name}, {"args", received}});
    for (const auto& handler : handlers_) {
      if (!sameName(handler.event, name)) continue;
      for (const auto& [index, value] : handler.assignments) {
        if (index >= args.size()) continue;  // the raiser passed fewer arguments
        try {
          args[index] = fromJson(value, log_.names);
        } catch (const ScenarioError& e) {
          throw AutomationError(424, name_, std::string("Object required: ") + e.what());
        }
      }
    }
    return Variant();
  }

 private:
  std::string name_;
  Log& log_;
  std::vector<Handler> handlers_;
};

}  // namespace

std::shared_ptr<Dispatch> makeSink(const std::string& name, const Json& handlers,
                                   const ClassInfo* source, Log& log) {
  std::vector<Handler> list;
  if (!handlers.is_null()) {
    if (!handlers.is_object()) throw ScenarioError("handlers is an object of event names");
    for (const auto& [event, values] : handlers.items()) {
      if (!values.is_object())
        throw ScenarioError("the handler of " + event + " is an object of parameter names");
      const EventInfo* info = nullptr;
      if (source)
        for (const auto& e : source->events)
          if (sameName(e.name, event)) info = &e;
      if (!info) throw ScenarioError("the source has no event \"" + event + "\"");
      Handler handler{info->name, {}};
      for (const auto& [param, value] : values.items()) {
        size_t index = info->params.size();
        for (size_t i = 0; i < info->params.size(); ++i)
          if (sameName(info->params[i].name, param)) index = i;
        if (index == info->params.size())
          throw ScenarioError("event " + info->name + " has no parameter \"" + param + "\"");
        if (!info->params[index].byRef)
          throw ScenarioError("parameter " + param + " of event " + info->name +
                              " is not passed by reference");
        handler.assignments.emplace_back(index, value);
      }
      list.push_back(std::move(handler));
    }
  }
  auto sink = std::make_shared<Sink>(name, log, std::move(list));
  log.names.add(sink, name);
  return sink;
}

}  // namespace brelvane::standins
