#pragma once

#include "platform/SettingsOpener.hpp"

namespace tallyfox::mac_os {

/// Opens addresses with the application that the system has for them.
class WorkspaceSettingsOpener : public SettingsOpener {
 public:
  void open(const std::string& address) override;
};

}  // namespace tallyfox::mac_os
