#include "demo_host.h"

#include <charconv>
#include <stdexcept>

namespace brelvane::cli {

namespace {

struct DemoState {
  Catalogue catalogue;
  DemoCompany company;
};
using State = std::shared_ptr<const DemoState>;

class DemoMessages final : public MessageService {
 public:
  explicit DemoMessages(State s) : s_(std::move(s)) {}
  std::string GetMessageText(int32_t id, const SafeArray&) override {
    auto it = s_->catalogue.find(id);
    return it != s_->catalogue.end() ? it->second
                                     : std::string("[").append(std::to_string(id)).append("]");
  }
  std::string PrepareSqlText(const std::string& text) override {
    std::string out;
    out.reserve(text.size());
    for (char c : text) {
      if (c == '\'') out += '\'';
      out += c;
    }
    return out;
  }

 private:
  State s_;
};

class DemoSettings final : public CompanySettings {
 public:
  explicit DemoSettings(State s) : s_(std::move(s)) {}
  Variant CompanyMode() override { return s_->company.companyMode; }

 private:
  State s_;
};

class DemoCompanyObject final : public HostCompany {
 public:
  explicit DemoCompanyObject(State s) : s_(std::move(s)) {}
  std::shared_ptr<CompanySettings> Settings() override {
    return std::make_shared<DemoSettings>(s_);
  }
  Variant Code() override { return s_->company.code; }
  Variant LanguageCode() override { return s_->company.languageCode; }

 private:
  State s_;
};

class DemoContext final : public HostContext {
 public:
  explicit DemoContext(State s) : s_(std::move(s)) {}
  std::shared_ptr<MessageService> Messages() override { return std::make_shared<DemoMessages>(s_); }
  std::shared_ptr<HostCompany> Company() override {
    return std::make_shared<DemoCompanyObject>(s_);
  }

 private:
  State s_;
};

class DemoHost final : public HostInterface {
 public:
  explicit DemoHost(State s) : s_(std::move(s)) {}
  std::shared_ptr<HostContext> Context() override { return std::make_shared<DemoContext>(s_); }
  Variant InstallationSetting() override { return s_->company.installationSetting; }

 private:
  State s_;
};

}  // namespace

Catalogue readCatalogue(std::string_view tsv) {
  Catalogue catalogue;
  size_t number = 0;
  while (!tsv.empty()) {
    ++number;
    size_t end = tsv.find('\n');
    std::string_view line = tsv.substr(0, end);
    tsv = end == std::string_view::npos ? std::string_view() : tsv.substr(end + 1);
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    if (line.empty()) continue;
    size_t tab = line.find('\t');
    int32_t id = 0;
    auto idText = line.substr(0, tab);
    auto [stop, ec] = std::from_chars(idText.data(), idText.data() + idText.size(), id);
    if (tab == std::string_view::npos || idText.empty() || ec != std::errc() ||
        stop != idText.data() + idText.size())
      throw std::runtime_error("line " + std::to_string(number) +
                               " is not a message (ID<TAB>TEXT)");
    catalogue[id] = std::string(line.substr(tab + 1));
  }
  return catalogue;
}

std::shared_ptr<HostInterface> makeDemoHost(Catalogue catalogue, DemoCompany company) {
  return std::make_shared<DemoHost>(
      std::make_shared<const DemoState>(DemoState{std::move(catalogue), std::move(company)}));
}

}  // namespace brelvane::cli
