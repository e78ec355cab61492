// The service registry and the dotted service names it is keyed by.
#include "cncprobe/platform/xml/service.h"

#include <string_view>

namespace {
// A well-formed name is one or more non-empty components separated by single dots.
bool well_formed(std::string_view text) {
  if (text.empty() || text.front() == '.' || text.back() == '.') return false;
  return text.find("..") == std::string_view::npos;
}
}  // namespace

utServiceName::utServiceName(const utString& text) {
  if (text.valid() && well_formed(text.view())) text_ = text;
}

void utServiceName::dequalify() {
  const std::string_view text = text_.view();
  const std::size_t dot = text.rfind('.');
  text_ = dot == std::string_view::npos ? utString() : utString(text.substr(0, dot));
}

utService::~utService() = default;

utServiceRegistry* utService::get_instance() {
  // Built on first use, so services registered while the library is being loaded find it ready.
  static utServiceRegistry registry;
  return &registry;
}

utServiceRegistry::utServiceRegistry() = default;
utServiceRegistry::~utServiceRegistry() = default;

bool utServiceRegistry::register_service(const utServiceName& name,
                                         std::shared_ptr<utService> service) {
  if (name.invalid() || !service) return false;
  std::lock_guard<std::mutex> lock(mutex_);
  services_[name.text().str()] = std::move(service);
  return true;
}

bool utServiceRegistry::unregister_service(const utServiceName& name) {
  if (name.invalid()) return false;
  std::lock_guard<std::mutex> lock(mutex_);
  return services_.erase(name.text().str()) != 0;
}

std::shared_ptr<utService> utServiceRegistry::find_service(const utServiceName& name) const {
  if (name.invalid()) return nullptr;
  std::lock_guard<std::mutex> lock(mutex_);
  const auto it = services_.find(name.text().str());
  return it == services_.end() ? nullptr : it->second;
}
