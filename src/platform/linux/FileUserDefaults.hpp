#pragma once

#include <map>
#include <mutex>
#include <string>

#include "base/Console.hpp"
#include "platform/UserDefaults.hpp"

namespace tallyfox::linux_os {

/// CONFIG_HOME/tallyfox/defaults.json, read once and replaced as a whole at every change. A file that cannot be read is
/// told of in one line and kept as defaults.json.broken when the first change is written.
class FileUserDefaults : public UserDefaults {
 public:
  FileUserDefaults(std::string configHome, Console& console);

  std::optional<DefaultsValue> object(const std::string& key) override;
  void setObject(const std::string& key, const DefaultsValue& value) override;
  void removeObject(const std::string& key) override;

 private:
  void load();
  void save();

  std::string configHome_;
  Console& console_;
  std::mutex mutex_;
  std::map<std::string, DefaultsValue> values_;
  bool isStoredFileBroken_ = false;
  bool hasToldOfFailure_ = false;
};

}  // namespace tallyfox::linux_os
