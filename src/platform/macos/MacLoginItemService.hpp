#pragma once

#include "platform/LoginItemService.hpp"

namespace tallyfox::mac_os {

/// The main application as a login item of the system.
class MacLoginItemService : public LoginItemService {
 public:
  LoginItemServiceStatus status() override;
  std::expected<void, std::string> registerItem() override;
};

}  // namespace tallyfox::mac_os
