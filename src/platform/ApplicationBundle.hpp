#pragma once

#include <expected>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace tallyfox {

/// The application as installed. Any thread; nothing changes while the process runs.
class ApplicationBundle {
 public:
  virtual ~ApplicationBundle() = default;
  /// "com.tallyfox.agent" when run as an installed application, absent for a bare build.
  [[nodiscard]] virtual std::optional<std::string> bundleIdentifier() = 0;
  /// Whether this is an application that the system knows as such (macOS: the path ends in ".app"; Linux: an installed
  /// tree with a desktop entry), not a bare executable.
  [[nodiscard]] virtual bool isApplicationBundle() = 0;
  /// A text of the application's information dictionary; absent for values of other types and where there is no such
  /// dictionary.
  [[nodiscard]] virtual std::optional<std::string> informationValue(const std::string& key) = 0;
  /// Where the application lies, symbolic links resolved.
  [[nodiscard]] virtual std::string path() = 0;
  /// The folders that count as "the Applications folder", in order, without trailing "/".
  [[nodiscard]] virtual std::vector<std::string> applicationDirectories() = 0;
  /// The string members of the property list resource NAME.plist. Absent without the resource; an error text when it
  /// cannot be read or is no dictionary. Members of other types are left out.
  [[nodiscard]] virtual std::optional<std::expected<std::map<std::string, std::string>, std::string>> propertyList(
      const std::string& name) = 0;
};

}  // namespace tallyfox
