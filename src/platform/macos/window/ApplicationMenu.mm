#include "platform/macos/window/ApplicationMenu.hpp"

#include <cstddef>
#include <utility>

#include "platform/macos/window/Menus.hpp"

namespace tallyfox::mac_os {

ApplicationMenu::ApplicationMenu(std::function<void(ApplicationMenuAction)> onAction)
    : menu_(nsMenu<ApplicationMenuAction>(
          applicationMenu(false),
          [handler = std::move(onAction)](const ApplicationMenuAction& action) { handler(action); })) {
  menu_.title = localized("Tallyfox");
  NSMenu* bar = [[NSMenu alloc] initWithTitle:@""];
  NSMenuItem* item = [[NSMenuItem alloc] initWithTitle:menu_.title action:nil keyEquivalent:@""];
  item.submenu = menu_;
  [bar addItem:item];
  NSApp.mainMenu = bar;
}

ApplicationMenu::~ApplicationMenu() {
  if (NSApp.mainMenu == menu_.supermenu) NSApp.mainMenu = nil;
}

void ApplicationMenu::setCanCheckForUpdates(bool canCheck) {
  const auto entries = applicationMenu(canCheck);
  for (std::size_t i = 0; i < entries.size(); ++i)
    if (entries[i].action) [menu_ itemAtIndex:static_cast<NSInteger>(i)].enabled = entries[i].isEnabled;
}

}  // namespace tallyfox::mac_os
