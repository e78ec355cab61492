// utService and utServiceName: the process-wide registry of shared services, found by name.
//
// The library and its host find services such as the XML document factory through it.
//
//   auto factory = std::make_shared<MyDocumentFactory>();
//   utService::get_instance()->register_service(utServiceName(utString("xml")), factory);
//   utServiceName found;
//   auto xml = utService::get_instance()->locate_service<axmDocumentFactory>(
//       utServiceName(utString("xml.settings")), found);   // finds "xml"; found == "xml"
#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "cncprobe/export.h"
#include "cncprobe/platform/text/string.h"

// The name of a service: components separated by dots, the most general first ("xml",
// "xml.settings"). A name whose text is invalid, empty, or has an empty component is invalid.
class CNCPROBE_API utServiceName {
 public:
  // An invalid name.
  utServiceName() = default;
  // The name written in `text`; invalid when the text is no well-formed name.
  explicit utServiceName(const utString& text);

  // Non-zero when this is no usable name.
  int invalid() const noexcept { return text_.invalid() ? 1 : 0; }
  // The name's text; an invalid utString for an invalid name.
  const utString& text() const noexcept { return text_; }

  // Makes the name one level less qualified by dropping its last component ("xml.settings"
  // becomes "xml"); a name of one component, or an invalid one, becomes invalid.
  void dequalify();

  // Same text; two invalid names are equal.
  bool operator==(const utServiceName& other) const noexcept { return text_ == other.text_; }
  bool operator!=(const utServiceName& other) const noexcept { return !(*this == other); }

 private:
  utString text_;
};

class utServiceRegistry;

// The base of every registered service. Services are shared: the registry holds one share and
// every user that located the service holds another.
class CNCPROBE_API utService {
 public:
  virtual ~utService();

  // The process-wide registry; it exists from the first call until the process ends.
  static utServiceRegistry* get_instance();

 protected:
  utService() = default;
  utService(const utService&) = default;
  utService& operator=(const utService&) = default;
};

// The registry of services by name. Every operation may be called from any thread.
class CNCPROBE_API utServiceRegistry {
 public:
  utServiceRegistry();
  ~utServiceRegistry();
  utServiceRegistry(const utServiceRegistry&) = delete;
  utServiceRegistry& operator=(const utServiceRegistry&) = delete;

  // Registers `service` under `name`, replacing what was registered under that name before.
  // False, and nothing registered, for an invalid name or an empty pointer.
  bool register_service(const utServiceName& name, std::shared_ptr<utService> service);
  // Removes what is registered under exactly `name`; false when nothing was.
  bool unregister_service(const utServiceName& name);

  // The service registered under exactly `name`; empty when there is none or the name is invalid.
  [[nodiscard]] std::shared_ptr<utService> find_service(const utServiceName& name) const;

  // The service of type T registered under `name` or, failing that, under each less qualified
  // form of it in turn. `found_name` is set to the name under which it was found; when nothing of
  // type T is found the result is empty and `found_name` is invalid.
  template <typename T>
  [[nodiscard]] std::shared_ptr<T> locate_service(const utServiceName& name,
                                                  utServiceName& found_name) const {
    found_name = name;
    while (!found_name.invalid()) {
      if (std::shared_ptr<T> service = std::dynamic_pointer_cast<T>(find_service(found_name))) {
        return service;
      }
      found_name.dequalify();
    }
    return nullptr;
  }

 private:
  mutable std::mutex mutex_;
  std::map<std::string, std::shared_ptr<utService>> services_;
};
