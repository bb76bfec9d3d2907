#pragma once

#include <memory>
#include <string>

#include "platform/UserDefaults.hpp"

namespace tallyfox::mac_os {

/// The application's standard user defaults, or those of a domain that is named. Values of other types than
/// DefaultsValue's count as absent, lists that hold anything but texts among them. The system writes to disk by itself.
class MacUserDefaults : public UserDefaults {
 public:
  /// Without a domain, the application's own. A named one is not the application's identifier.
  explicit MacUserDefaults(const std::string& domain = {});
  ~MacUserDefaults() override;
  MacUserDefaults(const MacUserDefaults&) = delete;
  MacUserDefaults& operator=(const MacUserDefaults&) = delete;

  std::optional<DefaultsValue> object(const std::string& key) override;
  void setObject(const std::string& key, const DefaultsValue& value) override;
  void removeObject(const std::string& key) override;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace tallyfox::mac_os
