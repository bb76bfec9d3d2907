#include "platform/linux/FileUserDefaults.hpp"

#include <cerrno>

#include "base/Limits.hpp"
#include "platform/linux/DefaultsEncoding.hpp"
#include "platform/linux/PrivateFiles.hpp"

namespace tallyfox::linux_os {
namespace {

constexpr const char* folderName = "tallyfox";
constexpr const char* fileName = "defaults.json";
constexpr const char* brokenFileName = "defaults.json.broken";

std::expected<PrivateDirectory, FileError> folder(const std::string& configHome, bool create) {
  auto base = PrivateDirectory::open(configHome, create);
  if (!base) return base;
  return base->inside(folderName, create);
}

}  // namespace

FileUserDefaults::FileUserDefaults(std::string configHome, Console& console)
    : configHome_(std::move(configHome)), console_(console) {
  load();
}

void FileUserDefaults::load() {
  const auto unreadable = [this](const std::string& why) {
    console_.printLine("Unable to read preferences: " + why);
    isStoredFileBroken_ = true;
  };
  const auto place = folder(configHome_, false);
  const auto content = place ? place->read(fileName, limits::preferencesBytes, false) : std::unexpected(place.error());
  if (!content) {
    if (!content.error().isMissing()) unreadable(content.error().description());
    return;
  }
  const auto json = parsedJson(textOf(*content));
  if (!json) return unreadable(json.error().description);
  auto values = decodedDefaults(*json);
  if (!values) return unreadable(values.error().description);
  values_ = std::move(*values);
}

std::optional<DefaultsValue> FileUserDefaults::object(const std::string& key) {
  const std::scoped_lock lock(mutex_);
  const auto found = values_.find(key);
  if (found == values_.end()) return std::nullopt;
  return found->second;
}

void FileUserDefaults::setObject(const std::string& key, const DefaultsValue& value) {
  const std::scoped_lock lock(mutex_);
  const auto found = values_.find(key);
  if (found != values_.end() && found->second == value) return;
  values_.insert_or_assign(key, value);
  save();
}

void FileUserDefaults::removeObject(const std::string& key) {
  const std::scoped_lock lock(mutex_);
  if (values_.erase(key) > 0) save();
}

void FileUserDefaults::save() {
  const auto saved = [this]() -> std::expected<void, FileError> {
    const auto place = folder(configHome_, true);
    if (!place) return std::unexpected(place.error());
    if (isStoredFileBroken_) {
      const auto kept = place->rename(fileName, brokenFileName);
      if (!kept && !kept.error().isMissing()) return kept;
      isStoredFileBroken_ = false;
    }
    const std::string text = jsonText(defaultsJson(values_));
    if (text.size() > limits::preferencesBytes) return std::unexpected(FileError{EFBIG});
    return place->replace(fileName, bytesOf(text));
  }();
  if (saved || hasToldOfFailure_) return;
  hasToldOfFailure_ = true;
  console_.printLine("Unable to save preferences: " + saved.error().description());
}

}  // namespace tallyfox::linux_os
