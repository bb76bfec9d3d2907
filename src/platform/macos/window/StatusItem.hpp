#pragma once

// Objective-C++.

#import <AppKit/AppKit.h>

#include <cstdint>
#include <functional>

@class TFClickTarget;

namespace tallyfox::mac_os {

/// The item in the menu bar: its icon tells whether approvals are pending, a click opens the window. Main thread.
class StatusItem {
 public:
  explicit StatusItem(std::function<void()> onClick);
  /// Takes the item away.
  ~StatusItem();
  StatusItem(const StatusItem&) = delete;
  StatusItem& operator=(const StatusItem&) = delete;

  void showPendingCount(std::int64_t count);

 private:
  void draw();

  std::int64_t count_ = 0;
  TFClickTarget* target_;  ///< which the button does not keep
  NSStatusItem* item_;
};

}  // namespace tallyfox::mac_os
