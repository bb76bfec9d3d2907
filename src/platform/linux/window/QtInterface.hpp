#pragma once

#include <QPointer>
#include <QTranslator>
#include <filesystem>
#include <optional>
#include <string>

#include "app/AgentInterface.hpp"
#include "base/Queue.hpp"
#include "platform/linux/window/AboutBox.hpp"
#include "platform/linux/window/AppearanceObserver.hpp"
#include "platform/linux/window/ApplicationActions.hpp"
#include "platform/linux/window/StatusWindowController.hpp"
#include "platform/linux/window/TrayItem.hpp"
#include "ui/InterfaceActions.hpp"

namespace tallyfox::linux_os {

/// The agent's interface on a Linux desktop: status window, tray item and application menu, drawn by Qt. A QApplication
/// lives longer than this. Main thread.
class QtInterface : public AgentInterface {
 public:
  struct Options {
    std::string version;
    std::string sessionBusAddress;       ///< the user's own when empty
    std::filesystem::path translations;  ///< holds tallyfox_LOCALE.qm where there is a translation
  };
  QtInterface(Options options, InterfaceActions actions, SerialQueue& mainQueue);
  ~QtInterface() override;

  void configureMenus() override;
  void enableCheckForUpdates(bool enabled) override;
  void showStatusWindow() override;
  void refreshStatusWindow() override;
  void showPendingCount(std::int64_t count) override;

  [[nodiscard]] const StatusWindowController& statusWindow() const { return statusWindow_; }
  /// Null until the menus are configured.
  [[nodiscard]] const TrayItem* tray() const { return tray_ ? &*tray_ : nullptr; }
  [[nodiscard]] AboutBox* aboutBox() const { return aboutBox_; }

 private:
  void perform(ApplicationMenuAction action);
  void showAboutBox();
  void setAppearance(Appearance appearance);

  /// Before everything that has texts.
  struct Language {
    explicit Language(const std::filesystem::path& translations);
    QTranslator translator;
  };
  Options options_;
  InterfaceActions actions_;
  Language language_;
  ApplicationActions menu_;
  AppearanceObserver appearance_;
  StatusWindowController statusWindow_;
  std::optional<TrayItem> tray_;
  QPointer<AboutBox> aboutBox_;
};

}  // namespace tallyfox::linux_os
