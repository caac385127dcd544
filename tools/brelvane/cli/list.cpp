// `brelvane list`: the classes as their registration tables describe them.
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <ostream>
#include <string>
#include <vector>

#include "brelvane/brelvane.h"
#include "cli/arguments.h"
#include "cli/commands.h"
#include "cli/help.h"
#include "cli/names.h"
#include "cli/parser.h"
#include "standins/standins.h"

namespace brelvane::cli {

namespace {

using standins::Json;

/// Lines are wrapped to the terminal's width, or to 80 columns when the
/// output is not a terminal.
size_t outputWidth() {
  winsize size{};
  if (isatty(STDOUT_FILENO) && ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col >= 40)
    return size.ws_col;
  return 80;
}

std::string padded(const std::string& text, size_t width) {
  return text + std::string(width - displayWidth(text) + 2, ' ');
}

/// `words` run on after `first` as a paragraph, one blank apart; a line
/// goes no further than `width` columns (a single longer word stands alone)
/// and the next one starts with `indent`.
/// `glue` joins the first word to `first`.
void printWrapped(std::ostream& out, std::string first, const std::vector<std::string>& words,
                  size_t width, const std::string& indent, std::string_view glue = " ") {
  std::string line = std::move(first);
  bool bare = true;  // no word on this line yet
  for (const auto& word : words) {
    size_t gap = bare ? glue.size() : 1;
    // A word wraps when it passes the edge, and the line holds more than
    // the indent (a first word goes under the indent only if that helps).
    if (displayWidth(line) + gap + displayWidth(word) > width &&
        displayWidth(line) > indent.size()) {
      out << line << '\n';
      line = indent + word;
    } else {
      line.append(bare ? glue : " ").append(word);
    }
    bare = false;
  }
  out << line << '\n';
}

std::vector<std::string> wordsOf(const std::string& text) {
  std::vector<std::string> words;
  size_t start = 0;
  while (start < text.size()) {
    size_t end = text.find(' ', start);
    if (end == std::string::npos) end = text.size();
    if (end > start) words.push_back(text.substr(start, end - start));
    start = end + 1;
  }
  return words;
}

std::string access(const PropertyInfo& p) {
  std::string out;
  auto add = [&](const char* what) { out += (out.empty() ? "" : ", ") + std::string(what); };
  if (p.canGet) add("get");
  if (p.canPut) add("put");
  if (p.canPutRef) add("set by reference");
  return out;
}

std::string parameter(const ParamInfo& p, const standins::Names& names) {
  std::string out;
  if (p.optional) out += "Optional ";
  if (p.byRef) out += "ByRef ";
  out += p.name + " As " + p.typeName;
  if (p.optional && !p.defaultValue.isMissing()) out += " = " + describe(p.defaultValue, names);
  return out;
}

/// "    Name(Param As Type, ...)TAIL", its parameters wrapped to `width`.
void printSignature(std::ostream& out, const std::string& name,
                    const std::vector<ParamInfo>& params, const std::string& tail,
                    const standins::Names& names, size_t width) {
  std::string head = std::string(4, ' ').append(name).append("(");
  if (params.empty()) {
    out << head << ')' << tail << '\n';
    return;
  }
  std::vector<std::string> parts;
  for (size_t i = 0; i < params.size(); ++i)
    parts.push_back(parameter(params[i], names) + (i + 1 < params.size() ? "," : ")" + tail));
  printWrapped(out, std::move(head), parts, width, std::string(8, ' '), "");
}

void printClass(std::ostream& out, const ClassInfo& c, size_t width) {
  standins::Names names;  // defaults hold no objects
  out << c.progId;
  if (!c.doc.empty()) out << " - " << c.doc;
  out << '\n';
  if (!c.properties.empty()) {
    size_t nameWidth = 0, typeWidth = 0, accessWidth = 0;
    for (const auto& p : c.properties) {
      nameWidth = std::max(nameWidth, displayWidth(p.name));
      typeWidth = std::max(typeWidth, displayWidth(p.typeName));
      accessWidth = std::max(accessWidth, access(p).size());
    }
    out << "  Properties:\n";
    // Columns: name, type, access, description. When the first three leave
    // the description too little room, it goes under the name; when they do
    // not fit at all, the access goes there too.
    size_t accessColumn = 4 + nameWidth + 2 + typeWidth + 2;
    bool narrow = accessColumn + accessWidth > width;
    bool docBelow = narrow || accessColumn + accessWidth + 2 + 24 > width;
    for (const auto& p : c.properties) {
      std::string head = "    " + padded(p.name, nameWidth) + padded(p.typeName, typeWidth);
      std::vector<std::string> below;
      if (narrow) {
        head = head.substr(0, head.find_last_not_of(' ') + 1);
        below = wordsOf(access(p) + (p.doc.empty() ? "" : ";"));
      } else if (p.doc.empty() || docBelow) {
        head += access(p);
      } else {
        head += padded(access(p), accessWidth);
        size_t docColumn = displayWidth(head);
        head.pop_back();  // the blank before the first word comes back with it
        printWrapped(out, std::move(head), wordsOf(p.doc), width, std::string(docColumn, ' '));
        continue;
      }
      out << head << '\n';
      if (docBelow) {
        auto doc = wordsOf(p.doc);
        below.insert(below.end(), doc.begin(), doc.end());
      }
      if (!below.empty()) printWrapped(out, "       ", below, width, "        ");
    }
  }
  if (!c.methods.empty()) {
    out << "  Methods:\n";
    for (const auto& m : c.methods) {
      printSignature(out, m.name, m.params,
                     m.result ? " As " + std::string(paramTypeName(*m.result)) : "", names, width);
      if (!m.doc.empty()) printWrapped(out, "       ", wordsOf(m.doc), width, "        ");
    }
  }
  if (!c.events.empty()) {
    out << "  Events:\n";
    for (const auto& e : c.events) printSignature(out, e.name, e.params, "", names, width);
  }
  if (!c.enums.empty()) {
    out << "  Enumerations:\n";
    for (const auto& e : c.enums) {
      // Members run on as a paragraph, wrapped before the column limit.
      std::vector<std::string> members;
      for (size_t i = 0; i < e.members.size(); ++i)
        members.push_back(e.members[i].first + " = " + std::to_string(e.members[i].second) +
                          (i + 1 < e.members.size() ? "," : ""));
      printWrapped(out, "    " + e.name + ":", members, width, "        ");
    }
  }
}

Json paramsJson(const std::vector<ParamInfo>& params, const standins::Names& names) {
  Json out = Json::array();
  for (const auto& p : params) {
    Json j = {{"name", p.name}, {"type", p.typeName}, {"byRef", p.byRef}, {"optional", p.optional}};
    if (!p.defaultValue.isMissing()) j["default"] = standins::toJson(p.defaultValue, names);
    out.push_back(std::move(j));
  }
  return out;
}

Json classJson(const ClassInfo& c) {
  standins::Names names;
  Json properties = Json::array(), methods = Json::array(), events = Json::array(),
       enums = Json::array();
  for (const auto& p : c.properties) {
    Json how = Json::array();
    if (p.canGet) how.push_back("get");
    if (p.canPut) how.push_back("put");
    if (p.canPutRef) how.push_back("putRef");
    properties.push_back({{"name", p.name}, {"type", p.typeName}, {"access", how}, {"doc", p.doc}});
  }
  for (const auto& m : c.methods)
    methods.push_back({{"name", m.name},
                       {"params", paramsJson(m.params, names)},
                       {"returns", m.result ? Json(paramTypeName(*m.result)) : Json()},
                       {"doc", m.doc}});
  for (const auto& e : c.events)
    events.push_back({{"name", e.name}, {"params", paramsJson(e.params, names)}});
  for (const auto& e : c.enums) {
    Json members = Json::object();
    for (const auto& [name, value] : e.members) members[name] = value;
    enums.push_back({{"name", e.name}, {"members", members}});
  }
  return {{"progId", c.progId}, {"doc", c.doc},     {"properties", properties},
          {"methods", methods}, {"events", events}, {"enumerations", enums}};
}

/// The classes of the component with a registration table.
std::vector<const ClassInfo*> registeredClasses(const ObjectFactory& factory) {
  std::vector<const ClassInfo*> classes;
  for (const auto& entry : factory.entries())
    if (entry.info) classes.push_back(entry.info);
  return classes;
}

/// A bash completion script: the commands and their options, ProgIDs after
/// `call` and `list`, and the members of the ProgID given to `call`.
std::string completionScript(const std::string& progIds, const std::string& memberCases) {
  return R"(# bash completion for brelvane (generated by `brelvane completion`)
_brelvane() {
  local cur=${COMP_WORDS[COMP_CWORD]} words=""
  COMPREPLY=()
  if ((COMP_CWORD == 1)); then
    words="run call list site completion help --help --version"
  else
    case ${COMP_WORDS[1]} in
    run) words="--help -"; compopt -o default 2>/dev/null ;;
    list) words="--json --help )" +
         progIds + R"(" ;;
    site) words="--grants --help"; compopt -o dirnames 2>/dev/null ;;
    help) words="run call list site completion" ;;
    call)
      local i n=0 progid=""
      for ((i = 2; i < COMP_CWORD; i++)); do
        case ${COMP_WORDS[i]} in
        --company|--language|--mode|--catalog|--set) ((i++)) ;;
        -*) ;;
        *) ((n++)); ((n == 1)) && progid=${COMP_WORDS[i]} ;;
        esac
      done
      case ${COMP_WORDS[COMP_CWORD-1]} in
      --catalog) compopt -o default 2>/dev/null; return ;;
      --company|--language|--mode|--set) return ;;
      esac
      if ((n == 0)); then
        words="--company --language --mode --catalog --set --harden --json --help )" +
         progIds + R"("
      elif ((n == 1)); then
        case ${progid,,} in
)" + memberCases +
         R"(        esac
      fi ;;
    esac
  fi
  COMPREPLY=($(compgen -W "$words" -- "$cur"))
}
complete -F _brelvane brelvane
)";
}

}  // namespace

int listCommand(std::span<const std::string_view> args, std::ostream& out, std::ostream& err) {
  CommandParser parser;
  bool json = false;
  parser.app.add_flag("--json", json);
  if (auto status = parser.read(args, "list", kListHelp, out, err)) return *status;
  const auto& operands = parser.operands;
  if (operands.size() > 1) {
    err << "brelvane list: expects at most one ProgID\n";
    return kBadInput;
  }
  ObjectFactory factory;
  registerBrelvane(factory);
  std::vector<const ClassInfo*> classes = registeredClasses(factory);
  if (!operands.empty()) {
    std::vector<std::string> progIds;
    for (const auto* c : classes) progIds.push_back(c->progId);
    auto found = matchName(operands[0], progIds);
    if (!found) {
      err << "brelvane list: unknown ProgID " << excerpt(operands[0], 80)
          << didYouMean(operands[0], progIds) << '\n';
      return kBadInput;
    }
    std::erase_if(classes, [&](const ClassInfo* c) { return c->progId != *found; });
  }
  if (json) {
    Json doc = Json::array();
    for (const auto* c : classes) doc.push_back(classJson(*c));
    out << doc.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
    return 0;
  }
  size_t width = outputWidth();
  for (size_t i = 0; i < classes.size(); ++i) {
    if (i) out << '\n';
    printClass(out, *classes[i], width);
  }
  return 0;
}

int completionCommand(std::span<const std::string_view> args, std::ostream& out,
                      std::ostream& err) {
  CommandParser parser;
  if (auto status = parser.read(args, "completion", kCompletionHelp, out, err)) return *status;
  if (!parser.operands.empty()) {
    err << "brelvane completion: takes no arguments\n";
    return kBadInput;
  }
  ObjectFactory factory;
  registerBrelvane(factory);
  std::string progIds, cases;
  for (const auto* c : registeredClasses(factory)) {
    progIds += (progIds.empty() ? "" : " ") + c->progId;
    std::string members;
    for (const auto& m : c->methods) members += (members.empty() ? "" : " ") + m.name;
    cases += std::string(8, ' ').append(foldName(c->progId)) + ") words=\"" + members + "\" ;;\n";
  }
  out << completionScript(progIds, cases);
  return 0;
}

}  // namespace brelvane::cli
