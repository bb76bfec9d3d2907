// Opening the accessibility settings turns accessibility on, for this session and for later ones; opening those of the
// login items shows what the desktop has for them. Unknown desktops, missing programs and a missing bus do nothing.

#include "platform/linux/DesktopSettings.hpp"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <condition_variable>
#include <mutex>
#include <string>

#include "platform/LoopbackServers.hpp"
#include "platform/PrivateBus.hpp"
#include "platform/linux/CurrentDesktop.hpp"
#include "platform/memory/MemoryServices.hpp"

namespace tallyfox::linux_os {
namespace {

using Names = std::vector<std::string>;
using Commands = std::vector<std::vector<std::string>>;
using testing_network::waitUntil;

constexpr const char* privacy = "x-apple.systempreferences:com.apple.preference.security?Privacy_Accessibility";
constexpr const char* loginItems = "x-apple.systempreferences:com.apple.LoginItems-Settings.extension";
constexpr const char* nowhere = "unix:path=/nonexistent/bus";

/// The launcher of the accessibility bus, as far as its switch goes.
class Launcher {
 public:
  explicit Launcher(const PrivateBus& bus)
      : program_(bus, "org.a11y.Bus", "/org/a11y/bus", [this](sd_bus_message* call) { return answer(call); }) {}
  /// What was set, once something is.
  std::string awaitSetting() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return !setting_.empty(); });
    return setting_;
  }

 private:
  int answer(sd_bus_message* call) {
    const char* interface = nullptr;
    const char* property = nullptr;
    int value = 0;
    if (sd_bus_message_is_method_call(call, "org.freedesktop.DBus.Properties", "Set") <= 0 ||
        sd_bus_message_read(call, "ssv", &interface, &property, "b", &value) <= 0)
      return 0;
    const std::scoped_lock lock(mutex_);
    setting_ += std::string(interface) + "." + property + "=" + std::to_string(value) + ";";
    changed_.notify_all();
    return sd_bus_reply_method_return(call, "");
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  std::string setting_;
  BusProgram program_;
};

/// Programs of a desktop that only note how they were started.
class DesktopPrograms {
 public:
  void install(const std::string& name) const {
    writeFile(folder_ / "bin" / name, "#!/bin/sh\necho $0 \"$@\" > " + (folder_ / "new").string() + "; mv " +
                                          (folder_ / "new").string() + " " + (folder_ / "started").string() + "\n");
    std::filesystem::permissions(folder_ / "bin" / name, std::filesystem::perms::owner_all);
  }
  [[nodiscard]] ProgramLauncher launcher() const { return ProgramLauncher((folder_ / "bin").string()); }
  /// The command line of what was started, once something is; each once.
  [[nodiscard]] std::string awaitStart() const {
    EXPECT_TRUE(waitUntil([&] { return std::filesystem::exists(folder_ / "started"); }));
    std::string line = fileText(folder_ / "started");
    std::filesystem::remove(folder_ / "started");
    const std::string prefix = (folder_ / "bin").string() + "/";
    EXPECT_EQ(line.substr(0, prefix.size()), prefix);
    return line.substr(prefix.size());
  }

 private:
  TemporaryFolder folder_;
};

TEST(DesktopSettings, turnsAccessibilityOn) {
  const PrivateBus bus;
  Launcher launcher(bus);
  const DesktopPrograms programs;
  DesktopSettings settings({"Unknown"}, programs.launcher(), bus.address());
  settings.open(loginItems);
  settings.open(privacy);
  EXPECT_EQ(launcher.awaitSetting(), "org.a11y.Status.IsEnabled=1;");
}

TEST(DesktopSettings, turnsAccessibilityOnForLaterSessionsToo) {
  const PrivateBus bus;
  Launcher launcher(bus);
  const DesktopPrograms programs;
  programs.install("gsettings");
  DesktopSettings settings({"ubuntu", "GNOME"}, programs.launcher(), bus.address());
  settings.open(privacy);
  EXPECT_EQ(programs.awaitStart(), "gsettings set org.gnome.desktop.interface toolkit-accessibility true\n");
  EXPECT_EQ(launcher.awaitSetting(), "org.a11y.Status.IsEnabled=1;");
}

TEST(DesktopSettings, isUnderstoodByTheDesktopsOwnSettings) {
  const TemporaryFolder home;
  ::setenv("GSETTINGS_BACKEND", "keyfile", 1);
  ::setenv("XDG_CONFIG_HOME", home.path().c_str(), 1);
  DesktopSettings settings({"GNOME"}, ProgramLauncher("/usr/bin:/bin"), nowhere);
  settings.open(privacy);
  ::unsetenv("GSETTINGS_BACKEND");
  ::unsetenv("XDG_CONFIG_HOME");
  const auto file = home / "glib-2.0/settings/keyfile";
  EXPECT_TRUE(waitUntil([&] {
    return fileText(file).find("[org/gnome/desktop/interface]\ntoolkit-accessibility=true\n") != std::string::npos;
  })) << fileText(file);
}

TEST(DesktopSettings, showsTheStartupProgramsOfTheDesktop) {
  const DesktopPrograms programs;
  DesktopSettings settings({"pop", "GNOME"}, programs.launcher(), nowhere);
  settings.open(loginItems);  // none of its programs is there
  programs.install("gnome-control-center");
  settings.open(loginItems);
  EXPECT_EQ(programs.awaitStart(), "gnome-control-center applications\n");
  programs.install("gnome-tweaks");
  settings.open(loginItems);
  EXPECT_EQ(programs.awaitStart(), "gnome-tweaks\n");
}

TEST(DesktopSettings, knowsTheStartupSettingsOfEachDesktop) {
  const std::vector<std::pair<std::string, Commands>> cases = {
      {"GNOME", {{"gnome-session-properties"}, {"gnome-tweaks"}, {"gnome-control-center", "applications"}}},
      {"KDE",
       {{"systemsettings", "kcm_autostart"}, {"systemsettings5", "kcm_autostart"}, {"kcmshell5", "kcm_autostart"}}},
      {"XFCE", {{"xfce4-session-settings"}}},
      {"LXQt", {{"lxqt-config-session"}}},
      {"LXDE", {{"lxsession-edit"}}},
      {"MATE", {{"mate-session-properties"}}},
      {"X-Cinnamon", {{"cinnamon-settings", "startup"}}},
      {"xfce", {{"xfce4-session-settings"}}},
      {"sway", {}},
      {"", {}},
  };
  for (const auto& [name, commands] : cases)
    EXPECT_EQ(startupSettingsCommands(name), commands) << name;
}

TEST(DesktopSettings, knowsHowEachDesktopKeepsAccessibility) {
  const std::vector<std::pair<std::string, std::vector<std::string>>> cases = {
      {"GNOME", {"gsettings", "set", "org.gnome.desktop.interface", "toolkit-accessibility", "true"}},
      {"X-Cinnamon", {"gsettings", "set", "org.cinnamon.desktop.interface", "toolkit-accessibility", "true"}},
      {"MATE", {"gsettings", "set", "org.mate.interface", "accessibility", "true"}},
      {"XFCE",
       {"xfconf-query", "--channel", "xfce4-session", "--property", "/general/StartAssistiveTechnologies", "--create",
        "--type", "bool", "--set", "true"}},
      {"KDE", {}},
      {"", {}},
  };
  for (const auto& [name, command] : cases)
    EXPECT_EQ(keepAccessibilityCommand(name), command) << name;
}

TEST(DesktopSettings, doesNothingWithoutABus) {
  DesktopSettings settings({}, ProgramLauncher(""), nowhere);
  settings.open(privacy);
  SessionStatus status(nowhere);
  EXPECT_FALSE(status.enable().has_value());
}

TEST(CurrentDesktop, isNamedByTheEnvironment) {
  memory::MemoryEnvironment environment;
  EXPECT_EQ(currentDesktopNames(environment), Names());
  environment.set("XDG_CURRENT_DESKTOP", "ubuntu:GNOME");
  EXPECT_EQ(currentDesktopNames(environment), (Names{"ubuntu", "GNOME"}));
  environment.set("XDG_CURRENT_DESKTOP", "::KDE:");
  EXPECT_EQ(currentDesktopNames(environment), Names{"KDE"});
}

}  // namespace
}  // namespace tallyfox::linux_os
