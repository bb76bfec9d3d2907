#pragma once

#include "platform/UserDefaults.hpp"

namespace tallyfox::mac_os {

/// The application's standard user defaults. Values of other types than DefaultsValue's count as absent, lists that
/// hold anything but texts among them. The system writes to disk by itself.
class MacUserDefaults : public UserDefaults {
 public:
  std::optional<DefaultsValue> object(const std::string& key) override;
  void setObject(const std::string& key, const DefaultsValue& value) override;
  void removeObject(const std::string& key) override;
};

}  // namespace tallyfox::mac_os
