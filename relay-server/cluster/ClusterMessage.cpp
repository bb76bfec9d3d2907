#include "ClusterMessage.hpp"

#include <algorithm>
#include <array>
#include <limits>
#include <utility>

namespace tallyfox::server {
namespace {

using Kind = ClusterMessage::Kind;

constexpr std::array<std::pair<Kind, std::string_view>, 10> names{{
    {Kind::alive, "alive"},
    {Kind::leaving, "leaving"},
    {Kind::presence, "presence"},
    {Kind::changed, "changed"},
    {Kind::frame, "frame"},
    {Kind::snapshot, "snapshot"},
    {Kind::who, "who"},
    {Kind::request, "request"},
    {Kind::delivered, "delivered"},
    {Kind::refused, "refused"},
}};

constexpr std::int64_t greatestNumber = std::numeric_limits<std::int64_t>::max();

}  // namespace

std::string ClusterMessage::encoded() const {
  const auto name = std::ranges::find(names, kind, &std::pair<Kind, std::string_view>::first);
  Json head{{"kind", name->second}, {"node", node}};
  if (!pairing.empty()) head["pairing"] = pairing;
  if (number != 0) head["number"] = number;
  if (claim != 0) head["claim"] = claim;
  if (!devices.empty()) head["devices"] = devices;
  if (asks) head["asks"] = true;
  std::string text = jsonText(head);
  text.reserve(text.size() + 1 + frame.size());
  text += '\n';
  text += frame;
  return text;
}

std::expected<ClusterMessage, DecodingError> ClusterMessage::decoded(std::string_view text) {
  const std::size_t end = text.find('\n');
  if (end == std::string_view::npos || end > greatestEnvelope) {
    return std::unexpected(DecodingError{"The envelope has no end."});
  }
  const auto head = parsedJson(text.substr(0, end));
  if (!head) return std::unexpected(head.error());
  JsonObjectReader reader(*head);
  ClusterMessage message;
  const std::string kind = reader.string("kind");
  const auto name = std::ranges::find(names, kind, &std::pair<Kind, std::string_view>::second);
  if (name == names.end()) {
    reader.fail({"The kind is unknown."});
  } else {
    message.kind = name->first;
  }
  const auto natural = [&](const char* key) -> std::uint64_t {
    if (reader.optionalMember(key) == nullptr) return 0;
    return static_cast<std::uint64_t>(reader.integer(key, 0, greatestNumber));
  };
  message.node = reader.string("node");
  message.pairing = reader.optionalString("pairing").value_or("");
  message.number = natural("number");
  message.claim = natural("claim");
  if (reader.optionalMember("devices") != nullptr) {
    const auto devices = reader.strings("devices");
    message.devices.insert(devices.begin(), devices.end());
  }
  message.asks = reader.optionalBoolean("asks").value_or(false);
  message.frame = text.substr(end + 1);
  return reader.finish(std::move(message));
}

}  // namespace tallyfox::server
