#pragma once

#include <string>

namespace tallyfox::mac_os {

/// Brings the system's about panel to the front: name, version, purpose, and whose work the program stands on. Main
/// thread.
void showAboutPanel(const std::string& version);

}  // namespace tallyfox::mac_os
