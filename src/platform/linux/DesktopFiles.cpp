#include "platform/linux/DesktopFiles.hpp"

#include <algorithm>
#include <fstream>
#include <system_error>

#include "base/Text.hpp"

namespace tallyfox::linux_os {
namespace {

constexpr std::string_view suffix = ".desktop";
/// Real files are a few KiB, translations included.
constexpr std::size_t fileBytes = 256 * 1024;
/// Folders below "applications"; two are in use anywhere.
constexpr int folderDepth = 4;
constexpr std::size_t cachedMatches = 1024;

std::optional<std::string> lookUp(const std::map<std::string, std::string>& map, const std::string& name) {
  if (name.empty()) return std::nullopt;
  const auto found = map.find(lowercased(name));
  if (found == map.end()) return std::nullopt;
  return found->second;
}

std::string fileContents(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  std::string text(fileBytes, '\0');
  file.read(text.data(), static_cast<std::streamsize>(text.size()));
  text.resize(static_cast<std::size_t>(std::max<std::streamsize>(file.gcount(), 0)));
  return text;
}

/// "org.example.Editor" from itself, with ".desktop" or as the path of a file.
std::string identifierIn(const std::string& applicationID) {
  std::string name = applicationID.substr(applicationID.rfind('/') + 1);
  if (name.ends_with(suffix)) name.resize(name.size() - suffix.size());
  return name;
}

std::filesystem::file_time_type modificationTime(const std::filesystem::path& folder) {
  std::error_code error;
  const auto time = std::filesystem::last_write_time(folder, error);
  return error ? std::filesystem::file_time_type::min() : time;
}

/// The parts between semicolons, empty ones left out.
std::vector<std::string> listed(std::string_view value) {
  std::vector<std::string> parts;
  while (!value.empty()) {
    const std::size_t end = std::min(value.find(';'), value.size());
    if (end > 0) parts.push_back(trimmed(value.substr(0, end)));
    value.remove_prefix(std::min(end + 1, value.size()));
  }
  return parts;
}

}  // namespace

DesktopFiles::DesktopFiles(const std::vector<std::filesystem::path>& dataDirectories) {
  for (const auto& directory : dataDirectories)
    folders_.push_back(directory / "applications");
}

std::optional<std::string> DesktopFiles::identifier(const DesktopFileClues& clues) {
  const std::scoped_lock lock(mutex_);
  refresh();
  const auto known = matches_.find(clues);
  if (known != matches_.end()) return known->second;
  // Classes are whatever a program writes: a program that makes up new ones must not fill the memory.
  if (matches_.size() >= cachedMatches) matches_.clear();
  return matches_[clues] = match(clues);
}

std::optional<std::string> DesktopFiles::match(const DesktopFileClues& clues) const {
  if (const auto own = lookUp(byIdentifier_, identifierIn(clues.applicationID))) return own;
  for (const auto* map : {&byStartupClass_, &byIdentifier_})
    for (const auto* name : {&clues.className, &clues.instanceName})
      if (const auto found = lookUp(*map, *name)) return found;
  return std::nullopt;
}

void DesktopFiles::refresh() {
  const bool isCurrent = !folderTimes_.empty() && std::ranges::all_of(folderTimes_, [](const auto& folder) {
    return modificationTime(folder.first) == folder.second;
  });
  if (isCurrent || folders_.empty()) return;
  folderTimes_.clear();
  byIdentifier_.clear();
  byStartupClass_.clear();
  seen_.clear();
  matches_.clear();
  for (const auto& folder : folders_)
    readFolder(folder, "", folderDepth);
}

void DesktopFiles::readFolder(const std::filesystem::path& folder, const std::string& prefix, int depth) {
  folderTimes_.emplace_back(folder, modificationTime(folder));
  std::vector<std::filesystem::path> entries;
  std::error_code error;
  for (std::filesystem::directory_iterator i(folder, error), end; !error && i != end; i.increment(error))
    entries.push_back(i->path());
  std::ranges::sort(entries);
  for (const auto& entry : entries) {
    const std::string name = entry.filename().string();
    if (name.size() > suffix.size() && name.ends_with(suffix)) {
      if (std::filesystem::is_regular_file(entry, error))
        readFile(entry, prefix + name.substr(0, name.size() - suffix.size()));
    } else if (depth > 0 && std::filesystem::is_directory(entry, error)) {
      readFolder(entry, prefix + name + "-", depth - 1);
    }
  }
}

void DesktopFiles::readFile(const std::filesystem::path& file, const std::string& identifier) {
  // An earlier directory's file stands for all later ones of the same id, also when it hides them.
  if (!isValidUtf8(identifier) || !seen_.insert(identifier).second) return;
  const auto entry = parsedDesktopFile(fileContents(file));
  if (!entry || entry->isHidden) return;
  byIdentifier_.emplace(lowercased(identifier), identifier);
  if (!entry->startupClass.empty()) byStartupClass_.emplace(lowercased(entry->startupClass), identifier);
}

bool isShownIn(const DesktopFileEntry& entry, const std::vector<std::string>& desktopNames) {
  for (const std::string& name : desktopNames) {
    if (entry.onlyShowIn && std::ranges::find(*entry.onlyShowIn, name) != entry.onlyShowIn->end()) return true;
    if (std::ranges::find(entry.notShowIn, name) != entry.notShowIn.end()) return false;
  }
  return !entry.onlyShowIn;
}

std::optional<DesktopFileEntry> parsedDesktopFile(std::string_view text) {
  DesktopFileEntry entry;
  bool hasGroup = false;
  bool isInGroup = false;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    const std::string line = trimmed(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
    if (line.starts_with('[')) {
      isInGroup = line == "[Desktop Entry]";
      hasGroup = hasGroup || isInGroup;
      continue;
    }
    const std::size_t equals = line.find('=');
    if (!isInGroup || line.starts_with('#') || equals == std::string::npos) continue;
    const std::string key = trimmed(std::string_view(line).substr(0, equals));
    const std::string value = trimmed(std::string_view(line).substr(equals + 1));
    if (key == "Hidden") entry.isHidden = value == "true";
    if (key == "X-GNOME-Autostart-enabled") entry.isAutostartEnabled = value != "false";
    if (key == "StartupWMClass") entry.startupClass = repairedUtf8(value);
    if (key == "Exec") entry.exec = value;
    if (key == "TryExec") entry.tryExec = value;
    if (key == "OnlyShowIn") entry.onlyShowIn = listed(value);
    if (key == "NotShowIn") entry.notShowIn = listed(value);
  }
  if (!hasGroup) return std::nullopt;
  return entry;
}

}  // namespace tallyfox::linux_os
