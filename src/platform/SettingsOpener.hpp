#pragma once

#include <string>

namespace tallyfox {

/// Brings a pane of the system's settings before the owner. Main thread only.
class SettingsOpener {
 public:
  virtual ~SettingsOpener() = default;
  /// `address` is the pane's address on a Mac ("x-apple.systempreferences:..."); other systems show their own pane for
  /// it. Does not wait; an address that cannot be opened is left alone without a word.
  virtual void open(const std::string& address) = 0;
};

}  // namespace tallyfox
