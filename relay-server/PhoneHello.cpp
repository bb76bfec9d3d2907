#include "PhoneHello.hpp"

#include <algorithm>

#include "Identifiers.hpp"

namespace tallyfox::server {
namespace {

/// Unicode scalar values of well-formed UTF-8.
std::size_t characterCount(std::string_view text) {
  return static_cast<std::size_t>(std::ranges::count_if(text, [](char c) { return (c & 0xC0) != 0x80; }));
}

}  // namespace

std::expected<PhoneHello, DecodingError> PhoneHello::decoded(std::string_view frame) {
  const auto message = parsedJson(frame);
  if (!message) return std::unexpected(message.error());
  JsonObjectReader reader(*message);
  if (reader.string("type") != "phone.hello") reader.fail({"The first frame is no phone.hello."});
  static_cast<void>(reader.integer("version", 1, 1));
  PhoneHello hello{.pairingID = reader.string("pairingID"),
                   .relaySecret = reader.string("relaySecret"),
                   .deviceID = reader.string("deviceID"),
                   .deviceName = reader.string("deviceName"),
                   .platform = reader.optionalString("platform")};
  if (!isIdentifier(hello.pairingID, pairingIDCharacters)) reader.fail({"The pairing id is no identifier."});
  if (!isIdentifier(hello.deviceID, deviceIDCharacters)) reader.fail({"The device id is no identifier."});
  const std::size_t nameCharacters = characterCount(hello.deviceName);
  if (nameCharacters == 0 || nameCharacters > deviceNameCharacters) reader.fail({"The device name has a bad length."});
  if (characterCount(hello.platform.value_or("")) > deviceNameCharacters) reader.fail({"The platform is too long."});
  return reader.finish(std::move(hello));
}

}  // namespace tallyfox::server
