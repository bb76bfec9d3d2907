#include "platform/linux/DesktopSettings.hpp"

#include <algorithm>
#include <iterator>
#include <map>
#include <utility>

#include "base/Text.hpp"

namespace tallyfox::linux_os {
namespace {

using Command = std::vector<std::string>;
using Commands = std::vector<Command>;

constexpr const char* accessibilityAnchor = "?Privacy_Accessibility";
constexpr const char* loginItemsAddress = "x-apple.systempreferences:com.apple.LoginItems-Settings.extension";

Command gnomeSetting(const std::string& schema, const std::string& key) {
  return {"gsettings", "set", schema, key, "true"};
}

/// Starts the first of them that is there.
void startFirst(const Commands& commands, const ProgramLauncher& launcher) {
  [[maybe_unused]] const bool isStarted =
      std::ranges::any_of(commands, [&](const Command& command) { return launcher.start(command); });
}

}  // namespace

Commands startupSettingsCommands(const std::string& desktopName) {
  static const Commands gnome = {
      {"gnome-session-properties"}, {"gnome-tweaks"}, {"gnome-control-center", "applications"}};
  static const std::map<std::string, Commands> byDesktop = {
      {"gnome", gnome},
      {"unity", gnome},
      {"budgie", gnome},
      {"kde",
       {{"systemsettings", "kcm_autostart"}, {"systemsettings5", "kcm_autostart"}, {"kcmshell5", "kcm_autostart"}}},
      {"xfce", {{"xfce4-session-settings"}}},
      {"lxqt", {{"lxqt-config-session"}}},
      {"lxde", {{"lxsession-edit"}}},
      {"mate", {{"mate-session-properties"}}},
      {"x-cinnamon", {{"cinnamon-settings", "startup"}}},
  };
  const auto found = byDesktop.find(lowercased(desktopName));
  return found == byDesktop.end() ? Commands{} : found->second;
}

Command keepAccessibilityCommand(const std::string& desktopName) {
  static const Command gnome = gnomeSetting("org.gnome.desktop.interface", "toolkit-accessibility");
  static const std::map<std::string, Command> byDesktop = {
      {"gnome", gnome},
      {"unity", gnome},
      {"budgie", gnome},
      {"x-cinnamon", gnomeSetting("org.cinnamon.desktop.interface", "toolkit-accessibility")},
      {"mate", gnomeSetting("org.mate.interface", "accessibility")},
      {"xfce",
       {"xfconf-query", "--channel", "xfce4-session", "--property", "/general/StartAssistiveTechnologies", "--create",
        "--type", "bool", "--set", "true"}},
  };
  const auto found = byDesktop.find(lowercased(desktopName));
  return found == byDesktop.end() ? Command{} : found->second;
}

DesktopSettings::DesktopSettings(const std::vector<std::string>& desktopNames, ProgramLauncher launcher,
                                 std::string sessionBusAddress)
    : launcher_(std::move(launcher)), status_(std::make_shared<SessionStatus>(std::move(sessionBusAddress))) {
  for (const std::string& name : desktopNames) {
    if (Command command = keepAccessibilityCommand(name); !command.empty())
      keepAccessibility_.push_back(std::move(command));
    std::ranges::move(startupSettingsCommands(name), std::back_inserter(showStartupPrograms_));
  }
}

void DesktopSettings::open(const std::string& address) {
  if (address.ends_with(accessibilityAnchor)) {
    worker_.post([status = status_] { (void)status->enable(); });
    startFirst(keepAccessibility_, launcher_);
  } else if (address == loginItemsAddress) {
    startFirst(showStartupPrograms_, launcher_);
  }
}

}  // namespace tallyfox::linux_os
