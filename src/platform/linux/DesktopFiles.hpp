#pragma once

#include <filesystem>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tallyfox::linux_os {

/// How a window names its application.
struct DesktopFileClues {
  std::string applicationID = {};  ///< as the application tells it: an id, or the path of its desktop file
  std::string className = {};
  std::string instanceName = {};
  auto operator<=>(const DesktopFileClues&) const = default;
};

/// The installed desktop files: finds the id (the file's name without ".desktop", folders below "applications" joined
/// with "-") of the application that a window belongs to. Read when first asked, and again after one of the folders was
/// modified. Any thread.
class DesktopFiles {
 public:
  /// XDG data directories, the most important first; their "applications" folders are read.
  explicit DesktopFiles(const std::vector<std::filesystem::path>& dataDirectories);

  /// The first match of: the application's own id; StartupWMClass equal to the class, then to the instance; an id equal
  /// to the class, then to the instance. Upper and lower case count as equal. Absent when no file matches.
  [[nodiscard]] std::optional<std::string> identifier(const DesktopFileClues& clues);

 private:
  using Times = std::vector<std::pair<std::filesystem::path, std::filesystem::file_time_type>>;
  void refresh();
  void readFolder(const std::filesystem::path& folder, const std::string& prefix, int depth);
  void readFile(const std::filesystem::path& file, const std::string& identifier);
  [[nodiscard]] std::optional<std::string> match(const DesktopFileClues& clues) const;

  std::mutex mutex_;
  std::vector<std::filesystem::path> folders_;
  Times folderTimes_;
  std::map<std::string, std::string> byIdentifier_;    ///< lower-case id to id
  std::map<std::string, std::string> byStartupClass_;  ///< lower-case class to id
  std::set<std::string> seen_;                         ///< every id met, hidden ones too
  std::map<DesktopFileClues, std::optional<std::string>> matches_;
};

/// What counts of a desktop file's text.
struct DesktopFileEntry {
  bool isHidden = false;           ///< the owner deleted it
  bool isAutostartEnabled = true;  ///< of an entry that is started at login
  std::string startupClass = {};
  std::string exec = {};     ///< the command line as it is written
  std::string tryExec = {};  ///< the program without which the entry does not count; empty for none
  std::optional<std::vector<std::string>> onlyShowIn = {};  ///< the desktops that it is for
  std::vector<std::string> notShowIn = {};                  ///< the desktops that it is not for
  bool operator==(const DesktopFileEntry&) const = default;
};
/// Absent when the text has no "Desktop Entry" group.
[[nodiscard]] std::optional<DesktopFileEntry> parsedDesktopFile(std::string_view text);
/// Whether a desktop of these names regards the entry; the first name that the entry mentions decides.
[[nodiscard]] bool isShownIn(const DesktopFileEntry& entry, const std::vector<std::string>& desktopNames);

}  // namespace tallyfox::linux_os
