// The smallest host of the component: a host framework with a message
// catalogue and a current company, and one lookup composed by name.
//
// Built against an installed Brelvane, with CMake (see CMakeLists.txt) or with
//   c++ -std=c++20 main.cpp $(pkg-config --cflags --libs brelvane)
#include <cstdint>
#include <iostream>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "brelvane/brelvane.h"
#include "brelvane/host/host.h"

namespace {

using namespace brelvane;

// The host's message catalogue: a few captions; any other id answers "#ID".
class Messages final : public MessageService {
 public:
  std::string GetMessageText(int32_t id, const SafeArray&) override {
    static const std::map<int32_t, std::string> texts = {{39318, "No"}, {52384, "Yes"}};
    auto it = texts.find(id);
    return it != texts.end() ? it->second : std::string("#").append(std::to_string(id));
  }
  std::string PrepareSqlText(const std::string& text) override {
    std::string out;
    for (char c : text) out += c == '\'' ? std::string("''") : std::string(1, c);
    return out;
  }
};

class Settings final : public CompanySettings {
 public:
  Variant CompanyMode() override { return int32_t{1}; }
};

// The current company: code 1, Italian.
class Company final : public HostCompany {
 public:
  std::shared_ptr<CompanySettings> Settings() override { return std::make_shared<::Settings>(); }
  Variant Code() override { return int32_t{1}; }
  Variant LanguageCode() override { return "ITA"; }
};

class Context final : public HostContext {
 public:
  std::shared_ptr<MessageService> Messages() override { return std::make_shared<::Messages>(); }
  std::shared_ptr<HostCompany> Company() override { return std::make_shared<::Company>(); }
};

class Host final : public HostInterface {
 public:
  std::shared_ptr<HostContext> Context() override { return std::make_shared<::Context>(); }
  Variant InstallationSetting() override { return {}; }
};

}  // namespace

int main() {
  std::cout << "Brelvane " << brelvane::kVersion << '\n';
  // A lookup never raises; the hook tells why one came back empty.
  brelvane::setDiagnosticsHook([](const brelvane::SwallowedError& e) {
    std::cerr << "lookup failed: error " << e.number << ": " << e.description << '\n';
  });

  brelvane::ObjectFactory factory;
  brelvane::registerBrelvane(factory);
  auto lookup = factory.create("Brelvane.CLSCI_LOOKUP");
  lookup->putRef("ActiveInterface", brelvane::Variant(std::make_shared<Host>()));
  std::vector<brelvane::Variant> none;
  lookup->invoke("NatureCosti", none);

  std::string sql = brelvane::toText(lookup->get("Str_Sql"));
  std::cout << brelvane::toText(lookup->get("Str_Caption")) << '\n' << sql << '\n';
  return sql.empty() ? 1 : 0;
}
