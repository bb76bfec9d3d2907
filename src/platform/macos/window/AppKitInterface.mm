#include "platform/macos/window/AppKitInterface.hpp"

#import <AppKit/AppKit.h>

#include <optional>
#include <utility>

#include "platform/macos/window/AboutPanel.hpp"
#include "platform/macos/window/ApplicationMenu.hpp"
#include "platform/macos/window/DrawnImages.hpp"
#include "platform/macos/window/StatusItem.hpp"
#include "platform/macos/window/StatusWindowController.hpp"

namespace tallyfox::mac_os {

struct AppKitInterface::Impl {
  Impl(Settings givenSettings, InterfaceActions givenActions, SerialQueue& mainQueue)
      : settings(std::move(givenSettings)),
        actions(std::move(givenActions)),
        statusWindow({.actions = actions, .mainQueue = mainQueue}) {}

  void perform(ApplicationMenuAction action) const {
    switch (action) {
      case ApplicationMenuAction::about:
        return showAboutPanel(settings.version);
      case ApplicationMenuAction::checkForUpdates:
        return actions.onCheckForUpdates();
      case ApplicationMenuAction::quit:
        return actions.quit();
    }
  }

  Settings settings;
  InterfaceActions actions;
  StatusWindowController statusWindow;
  bool canCheckForUpdates = false;
  std::optional<ApplicationMenu> menu;
  std::optional<StatusItem> statusItem;
};

AppKitInterface::AppKitInterface(Settings settings, InterfaceActions actions, SerialQueue& mainQueue)
    : impl_(std::make_unique<Impl>(std::move(settings), std::move(actions), mainQueue)) {
  // Else a program outside a bundle has the system's plain icon in the Dock and in the about panel.
  if ([NSBundle.mainBundle objectForInfoDictionaryKey:@"CFBundleIconFile"] == nil)
    NSApp.applicationIconImage = applicationIconImage();
}

AppKitInterface::~AppKitInterface() = default;

void AppKitInterface::configureMenus() {
  if (impl_->menu) return;
  Impl& impl = *impl_;
  impl.menu.emplace([&impl](ApplicationMenuAction action) { impl.perform(action); });
  impl.menu->setCanCheckForUpdates(impl.canCheckForUpdates);
  impl.statusItem.emplace([&impl] { impl.statusWindow.show(); });
}

void AppKitInterface::enableCheckForUpdates(bool enabled) {
  impl_->canCheckForUpdates = enabled;
  if (impl_->menu) impl_->menu->setCanCheckForUpdates(enabled);
}

void AppKitInterface::showStatusWindow() {
  impl_->statusWindow.show();
}

void AppKitInterface::refreshStatusWindow() {
  impl_->statusWindow.refresh();
}

void AppKitInterface::showPendingCount(std::int64_t count) {
  if (impl_->statusItem) impl_->statusItem->showPendingCount(count);
}

}  // namespace tallyfox::mac_os
