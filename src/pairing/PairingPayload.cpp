#include "pairing/PairingPayload.hpp"

#include <cstdint>
#include <utility>

namespace tallyfox {

std::string PairingPayload::encoded() const {
  Json value = Json::object();
  value["type"] = type;
  value["version"] = version;
  value["backendURL"] = backendURL;
  value["pairingID"] = pairingID;
  value["relaySecret"] = relaySecret;
  value["e2eSecret"] = e2eSecret;

  // In compact JSON a slash can only stand inside a string, where both spellings mean the same.
  std::string result;
  for (const char c : jsonText(value)) {
    if (c == '/') result += '\\';
    result += c;
  }
  return result;
}

std::expected<PairingPayload, DecodingError> PairingPayload::decoded(const Json& value) {
  const PairingPayload known;
  JsonObjectReader reader(value);
  PairingPayload payload;
  payload.type = reader.string("type");
  payload.version = reader.integer("version", INT64_MIN, INT64_MAX);
  payload.backendURL = reader.string("backendURL");
  payload.pairingID = reader.string("pairingID");
  payload.relaySecret = reader.string("relaySecret");
  payload.e2eSecret = reader.string("e2eSecret");
  if (payload.type != known.type || payload.version != known.version) {
    reader.fail({"This is not a pairing code of a known version."});
  }
  return reader.finish(std::move(payload));
}

}  // namespace tallyfox
