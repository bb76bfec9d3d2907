#include "platform/linux/AutostartEntry.hpp"

#include <unistd.h>

#include <cerrno>
#include <string_view>
#include <utility>

#include "base/Limits.hpp"
#include "platform/linux/DesktopFiles.hpp"
#include "platform/linux/PrivateFiles.hpp"

namespace tallyfox::linux_os {
namespace {

constexpr const char* fileName = "com.tallyfox.agent.desktop";

/// The executable as the value of an Exec key: an argument in quotes, then escaped as every value is.
std::string execValue(const std::string& executable) {
  std::string argument = "\"";
  for (const char c : executable) {
    if (std::string_view("\"`$\\").find(c) != std::string_view::npos) argument += '\\';
    if (c == '%') argument += '%';
    argument += c;
  }
  argument += '"';
  std::string value;
  for (const char c : argument) {
    if (c == '\n') {
      value += "\\n";
      continue;
    }
    if (c == '\\') value += '\\';
    value += c;
  }
  return value;
}

}  // namespace

AutostartEntry::AutostartEntry(std::string configHome, std::string executable, std::vector<std::string> desktopNames,
                               ProgramLauncher launcher)
    : folder_(std::move(configHome) + "/autostart"),
      executable_(std::move(executable)),
      desktopNames_(std::move(desktopNames)),
      launcher_(std::move(launcher)) {}

LoginItemServiceStatus AutostartEntry::status() {
  const auto folder = PrivateDirectory::open(folder_, false);
  const auto content =
      folder ? folder->read(fileName, limits::storedFileBytes, false) : std::unexpected(folder.error());
  if (!content) {
    const bool isAbsent = content.error().isMissing() || content.error().code == ENOTDIR;
    return isAbsent ? LoginItemServiceStatus::notRegistered : LoginItemServiceStatus::unknown;
  }
  const auto entry = parsedDesktopFile(textOf(*content)).value_or(DesktopFileEntry{});
  if (entry.isHidden || !entry.isAutostartEnabled) return LoginItemServiceStatus::requiresApproval;
  if (entry.exec != execValue(executable_)) return LoginItemServiceStatus::notRegistered;
  if (!isShownIn(entry, desktopNames_)) return LoginItemServiceStatus::requiresApproval;
  const bool canStart = ::access(executable_.c_str(), X_OK) == 0 && isProgram(entry.tryExec);
  return canStart ? LoginItemServiceStatus::enabled : LoginItemServiceStatus::notFound;
}

bool AutostartEntry::isProgram(const std::string& tryExec) const {
  if (tryExec.empty()) return true;
  if (tryExec.starts_with('/')) return ::access(tryExec.c_str(), X_OK) == 0;
  return launcher_.pathOf(tryExec).has_value();
}

std::expected<void, std::string> AutostartEntry::registerItem() {
  // What the owner changed in an entry that is there, stays.
  const LoginItemServiceStatus before = status();
  if (before == LoginItemServiceStatus::requiresApproval || before == LoginItemServiceStatus::enabled) return {};
  const auto folder = PrivateDirectory::open(folder_, true);
  const auto written = folder ? folder->replace(fileName, bytesOf(text())) : std::unexpected(folder.error());
  if (!written) return std::unexpected(written.error().description());
  return {};
}

std::string AutostartEntry::text() const {
  return "[Desktop Entry]\nType=Application\nName=Tallyfox\nComment=Answer approval dialogs from a paired "
         "phone\nExec=" +
         execValue(executable_) + "\nX-GNOME-Autostart-enabled=true\n";
}

}  // namespace tallyfox::linux_os
