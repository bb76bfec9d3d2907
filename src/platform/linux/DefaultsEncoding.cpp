#include "platform/linux/DefaultsEncoding.hpp"

#include <cmath>
#include <limits>

#include "base/Encoding.hpp"

namespace tallyfox::linux_os {
namespace {

Json typed(const char* type, Json value) {
  return Json{{"type", type}, {"value", std::move(value)}};
}

Json encoded(double value) {
  if (std::isfinite(value)) return value;
  if (std::isnan(value)) return "nan";
  return value > 0 ? "inf" : "-inf";
}

struct Encoder {
  Json operator()(bool value) const { return typed("bool", value); }
  Json operator()(double value) const { return typed("double", encoded(value)); }
  Json operator()(const std::string& value) const { return typed("string", value); }
  Json operator()(const std::vector<std::string>& value) const { return typed("strings", value); }
  Json operator()(Date value) const {
    return typed("date", static_cast<std::int64_t>(value.time_since_epoch().count()));
  }
  Json operator()(const Bytes& value) const { return typed("data", base64Encoded(value)); }
};

double decodedDouble(JsonObjectReader& reader) {
  const Json& value = reader.member("value");
  if (!value.is_string()) return reader.number("value");
  if (value == "inf") return std::numeric_limits<double>::infinity();
  if (value == "-inf") return -std::numeric_limits<double>::infinity();
  if (value != "nan") reader.fail({"A number is not readable."});
  return std::numeric_limits<double>::quiet_NaN();
}

Bytes decodedData(JsonObjectReader& reader) {
  auto bytes = base64Decoded(reader.string("value"));
  if (!bytes) reader.fail({"Stored data is not readable."});
  return bytes.value_or(Bytes{});
}

Date decodedDate(JsonObjectReader& reader) {
  const auto microseconds =
      reader.integer("value", std::numeric_limits<std::int64_t>::min(), std::numeric_limits<std::int64_t>::max());
  return Date(std::chrono::microseconds(microseconds));
}

DefaultsValue decodedValue(JsonObjectReader& reader) {
  const std::string type = reader.string("type");
  if (type == "bool") return reader.boolean("value");
  if (type == "double") return decodedDouble(reader);
  if (type == "string") return reader.string("value");
  if (type == "strings") return reader.strings("value");
  if (type == "date") return decodedDate(reader);
  if (type == "data") return decodedData(reader);
  reader.fail({"A value has an unknown type."});
  return false;
}

}  // namespace

Json defaultsJson(const std::map<std::string, DefaultsValue>& values) {
  Json stored = Json::object();
  for (const auto& [key, value] : values)
    stored[key] = std::visit(Encoder{}, value);
  return stored;
}

std::expected<std::map<std::string, DefaultsValue>, DecodingError> decodedDefaults(const Json& stored) {
  if (!stored.is_object()) return std::unexpected(DecodingError{"The file holds no preferences."});
  std::map<std::string, DefaultsValue> values;
  for (const auto& [key, entry] : stored.items()) {
    JsonObjectReader reader(entry);
    DefaultsValue value = decodedValue(reader);
    if (reader.error()) return std::unexpected(*reader.error());
    values.insert_or_assign(key, std::move(value));
  }
  return values;
}

}  // namespace tallyfox::linux_os
