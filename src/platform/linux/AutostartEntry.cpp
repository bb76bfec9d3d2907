#include "platform/linux/AutostartEntry.hpp"

#include <unistd.h>

#include <cerrno>
#include <optional>
#include <string_view>
#include <utility>

#include "base/Limits.hpp"
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

std::string_view trimmed(std::string_view text) {
  const auto first = text.find_first_not_of(" \t\r");
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

/// The value of a key of the "Desktop Entry" group as it is written.
std::optional<std::string_view> value(std::string_view text, std::string_view key) {
  bool isInGroup = false;
  while (!text.empty()) {
    const std::string_view line = trimmed(text.substr(0, text.find('\n')));
    const auto end = text.find('\n');
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    if (line.starts_with('[')) isInGroup = line == "[Desktop Entry]";
    const auto equals = line.find('=');
    if (!isInGroup || equals == std::string_view::npos) continue;
    if (trimmed(line.substr(0, equals)) == key) return trimmed(line.substr(equals + 1));
  }
  return std::nullopt;
}

}  // namespace

AutostartEntry::AutostartEntry(std::string configHome, std::string executable)
    : folder_(std::move(configHome) + "/autostart"), executable_(std::move(executable)) {}

LoginItemServiceStatus AutostartEntry::status() {
  const auto folder = PrivateDirectory::open(folder_, false);
  const auto content =
      folder ? folder->read(fileName, limits::storedFileBytes, false) : std::unexpected(folder.error());
  if (!content) {
    const bool isAbsent = content.error().isMissing() || content.error().code == ENOTDIR;
    return isAbsent ? LoginItemServiceStatus::notRegistered : LoginItemServiceStatus::unknown;
  }
  const std::string entry(textOf(*content));
  if (value(entry, "Hidden") == "true" || value(entry, "X-GNOME-Autostart-enabled") == "false")
    return LoginItemServiceStatus::requiresApproval;
  if (value(entry, "Exec") != execValue(executable_)) return LoginItemServiceStatus::notRegistered;
  return ::access(executable_.c_str(), X_OK) == 0 ? LoginItemServiceStatus::enabled : LoginItemServiceStatus::notFound;
}

std::expected<void, std::string> AutostartEntry::registerItem() {
  if (status() == LoginItemServiceStatus::requiresApproval) return {};
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
