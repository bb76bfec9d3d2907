#include "base/Json.hpp"

#include <fmt/format.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <utility>

#include "base/Limits.hpp"
#include "base/Text.hpp"

namespace tallyfox {
namespace {

/// The first bound that the brackets and commas of a text break, seen without parsing it. A text that is no JSON may
/// pass: the parser refuses it.
class BoundsScanner {
 public:
  std::optional<DecodingError> broken(std::string_view text) {
    for (std::size_t at = 0; at < text.size(); ++at) {
      const char c = text[at];
      if (inString_) {
        if (c == '\\')
          ++at;
        else if (c == '"')
          inString_ = false;
      } else if (c == '"') {
        inString_ = true;
      } else if (!enter(c)) {
        return DecodingError{"The text is nested too deeply."};
      } else if (!separate(c)) {
        return DecodingError{"An object has too many members."};
      }
    }
    return std::nullopt;
  }

 private:
  bool enter(char c) {
    if (c == '[' || c == '{') {
      if (depth_ == limits::jsonDepth) return false;
      levels_[depth_++] = {c == '{', 1};
    } else if ((c == ']' || c == '}') && depth_ > 0) {
      --depth_;
    }
    return true;
  }
  bool separate(char c) {
    if (c != ',' || depth_ == 0) return true;
    Level& level = levels_[depth_ - 1];
    return !level.isObject || ++level.members <= limits::jsonMembers;
  }

  struct Level {
    bool isObject = false;
    std::size_t members = 0;
  };
  std::array<Level, limits::jsonDepth> levels_{};
  std::size_t depth_ = 0;
  bool inString_ = false;
};

DecodingError missing(std::string_view key) {
  return {fmt::format("The member \"{}\" is missing.", key)};
}

DecodingError wrongType(std::string_view key, std::string_view expected) {
  return {fmt::format("The member \"{}\" is not {}.", key, expected)};
}

const Json& nullJson() {
  static const Json null;
  return null;
}

}  // namespace

std::expected<Json, DecodingError> parsedJson(std::string_view text) {
  if (text.size() > limits::frameBytes) return std::unexpected(DecodingError{"The text is too large."});
  if (!isValidUtf8(text)) return std::unexpected(DecodingError{"The text is not valid UTF-8."});
  // The parser would take a NUL byte for the end of the text and not look at what follows.
  if (text.find('\0') != std::string_view::npos) return std::unexpected(DecodingError{"The text holds a NUL byte."});
  if (auto error = BoundsScanner().broken(text)) return std::unexpected(std::move(*error));
  Json value = Json::parse(text, nullptr, false);
  if (value.is_discarded()) return std::unexpected(DecodingError{"The text is not valid JSON."});
  return value;
}

std::string jsonText(const Json& value) {
  return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

JsonObjectReader::JsonObjectReader(const Json& value) {
  if (value.is_object())
    object_ = &value;
  else
    error_ = DecodingError{"The value is not an object."};
}

const Json* JsonObjectReader::optionalMember(std::string_view key) {
  if (object_ == nullptr) return nullptr;
  const auto found = object_->find(std::string(key));
  return found == object_->end() || found->is_null() ? nullptr : &*found;
}

const Json& JsonObjectReader::member(std::string_view key) {
  if (const Json* found = optionalMember(key)) return *found;
  fail(missing(key));
  return nullJson();
}

void JsonObjectReader::fail(DecodingError error) {
  if (!error_) error_ = std::move(error);
}

std::optional<std::string> JsonObjectReader::optionalString(std::string_view key) {
  const Json* found = optionalMember(key);
  if (found == nullptr) return std::nullopt;
  if (found->is_string()) return found->get<std::string>();
  fail(wrongType(key, "a string"));
  return std::nullopt;
}

std::string JsonObjectReader::string(std::string_view key) {
  static_cast<void>(member(key));
  return optionalString(key).value_or("");
}

std::optional<bool> JsonObjectReader::optionalBoolean(std::string_view key) {
  const Json* found = optionalMember(key);
  if (found == nullptr) return std::nullopt;
  if (found->is_boolean()) return found->get<bool>();
  fail(wrongType(key, "a boolean"));
  return std::nullopt;
}

bool JsonObjectReader::boolean(std::string_view key) {
  static_cast<void>(member(key));
  return optionalBoolean(key).value_or(false);
}

std::int64_t JsonObjectReader::integer(std::string_view key, std::int64_t lowest, std::int64_t highest) {
  const Json& value = member(key);
  if (value.is_null()) return 0;
  std::optional<std::int64_t> number;
  if (value.is_number_unsigned()) {
    const auto wide = value.get<std::uint64_t>();
    if (wide <= static_cast<std::uint64_t>(INT64_MAX)) number = static_cast<std::int64_t>(wide);
  } else if (value.is_number_integer()) {
    number = value.get<std::int64_t>();
  } else if (value.is_number_float()) {
    const auto real = value.get<double>();
    if (real == std::trunc(real) && std::abs(real) <= 0x1p53) number = static_cast<std::int64_t>(real);
  }
  if (number && *number >= lowest && *number <= highest) return *number;
  fail(wrongType(key, "an integer in range"));
  return 0;
}

double JsonObjectReader::number(std::string_view key) {
  const Json& value = member(key);
  if (value.is_null()) return 0;
  if (value.is_number()) return value.get<double>();
  fail(wrongType(key, "a number"));
  return 0;
}

std::optional<Uuid> JsonObjectReader::optionalUuid(std::string_view key) {
  const auto text = optionalString(key);
  if (!text) return std::nullopt;
  const auto id = Uuid::parsed(*text);
  if (!id) fail(wrongType(key, "a UUID"));
  return id;
}

Uuid JsonObjectReader::uuid(std::string_view key) {
  static_cast<void>(member(key));
  return optionalUuid(key).value_or(Uuid{});
}

std::optional<Date> JsonObjectReader::optionalDate(std::string_view key) {
  const auto text = optionalString(key);
  if (!text) return std::nullopt;
  const auto date = parsedISO8601(*text);
  if (!date) fail({std::string(expectedISO8601Text)});
  return date;
}

Date JsonObjectReader::date(std::string_view key) {
  static_cast<void>(member(key));
  return optionalDate(key).value_or(Date{});
}

std::vector<std::string> JsonObjectReader::strings(std::string_view key) {
  const Json& value = member(key);
  if (value.is_null()) return {};
  std::vector<std::string> texts;
  if (value.is_array()) {
    for (const Json& element : value)
      if (element.is_string()) texts.push_back(element.get<std::string>());
    if (texts.size() == value.size()) return texts;
  }
  fail(wrongType(key, "an array of strings"));
  return {};
}

}  // namespace tallyfox
