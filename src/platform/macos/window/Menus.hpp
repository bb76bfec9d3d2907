#pragma once

// Objective-C++.

#import <AppKit/AppKit.h>

#include <functional>
#include <utility>
#include <vector>

#include "platform/macos/FoundationText.hpp"
#include "platform/macos/window/ActionMenuItem.hpp"
#include "platform/macos/window/Localized.hpp"
#include "ui/Menu.hpp"

namespace tallyfox::mac_os {

/// The menu as AppKit shows it, an item for each entry in its order. Whether an entry is enabled is the model's to say.
template <typename Action>
[[nodiscard]] NSMenu* nsMenu(const std::vector<MenuEntry<Action>>& entries,
                             const std::function<void(const Action&)>& onChoice) {
  NSMenu* menu = [[NSMenu alloc] initWithTitle:@""];
  menu.autoenablesItems = NO;
  for (const MenuEntry<Action>& entry : entries) {
    if (!entry.action) {
      [menu addItem:[NSMenuItem separatorItem]];
      continue;
    }
    NSMenuItem* item =
        [[TFActionMenuItem alloc] initWithTitle:localized(entry.title)
                                  keyEquivalent:foundationText(entry.keyEquivalent)
                                       onChoice:[onChoice, chosen = *entry.action] { onChoice(chosen); }];
    item.enabled = entry.isEnabled;
    [menu addItem:item];
  }
  return menu;
}

/// Lets the owner choose how long to pause, just under the button, on whose leading edge the menu lies. Returns once
/// the menu is closed; the main queue goes on meanwhile.
void openPauseMenu(NSView* button, bool isPaused, const std::function<void(const PauseMenuChoice&)>& onChoice);

}  // namespace tallyfox::mac_os
