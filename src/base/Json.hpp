#pragma once

#include <cstdint>
#include <expected>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Date.hpp"
#include "base/Uuid.hpp"

namespace tallyfox {

/// Members keep the order in which they are written.
using Json = nlohmann::ordered_json;

/// Why a text or record could not be decoded; shown in log lines, so it never quotes values.
struct DecodingError {
  std::string description;
  bool operator==(const DecodingError&) const = default;
};

/// Parses one JSON text. Refuses texts over limits::frameBytes, nesting over limits::jsonDepth and ill-formed UTF-8.
/// Of a key that occurs twice the last value counts.
[[nodiscard]] std::expected<Json, DecodingError> parsedJson(std::string_view text);

/// Compact UTF-8 text; ill-formed UTF-8 in strings is written as U+FFFD.
[[nodiscard]] std::string jsonText(const Json& value);

/// Reads the members of one object and remembers the first failure, so that a decoder reads all its fields in a row and
/// asks once. A failed read gives an empty value. Absent and null optional members are both absent.
class JsonObjectReader {
 public:
  explicit JsonObjectReader(const Json& value);

  [[nodiscard]] std::string string(std::string_view key);
  [[nodiscard]] std::optional<std::string> optionalString(std::string_view key);
  [[nodiscard]] bool boolean(std::string_view key);
  [[nodiscard]] std::optional<bool> optionalBoolean(std::string_view key);
  /// An integral number in range, also when written as 3.0.
  [[nodiscard]] std::int64_t integer(std::string_view key, std::int64_t lowest, std::int64_t highest);
  [[nodiscard]] double number(std::string_view key);
  [[nodiscard]] Uuid uuid(std::string_view key);
  [[nodiscard]] std::optional<Uuid> optionalUuid(std::string_view key);
  [[nodiscard]] Date date(std::string_view key);
  [[nodiscard]] std::optional<Date> optionalDate(std::string_view key);
  [[nodiscard]] std::vector<std::string> strings(std::string_view key);
  /// The member as it is, or null when missing (which is remembered as a failure). Lives as long as the object.
  [[nodiscard]] const Json& member(std::string_view key);
  /// The member, or no pointer when absent or null.
  [[nodiscard]] const Json* optionalMember(std::string_view key);

  /// Records a failure found by the caller (for example in a nested record); the first one stays.
  void fail(DecodingError error);
  [[nodiscard]] const std::optional<DecodingError>& error() const { return error_; }

  /// The record when nothing failed.
  template <typename Record>
  [[nodiscard]] std::expected<Record, DecodingError> finish(Record record) const {
    if (error_) return std::unexpected(*error_);
    return record;
  }

 private:
  const Json* object_ = nullptr;
  std::optional<DecodingError> error_;
};

}  // namespace tallyfox
