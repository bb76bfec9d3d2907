#include "phone/PhoneStore.hpp"

#include "base/Limits.hpp"
#include "base/Text.hpp"
#include "base/Url.hpp"
#include "base/Uuid.hpp"
#include "pairing/PairingPayload.hpp"
#include "platform/linux/PrivateFiles.hpp"

namespace tallyfox::phone {
namespace {

using linux_os::FileError;
using linux_os::PrivateDirectory;

constexpr const char* folderName = "tallyfox-phone";
constexpr const char* fileName = "phone.json";
constexpr std::size_t longestDeviceName = 100;

std::expected<PrivateDirectory, FileError> folder(const std::string& dataHome, bool create) {
  auto base = PrivateDirectory::open(dataHome, create);
  if (!base) return base;
  return base->inside(folderName, create);
}

std::string unreadable(const std::string& why) {
  return "Unable to read the pairing: " + why;
}

std::size_t characterCount(const std::string& text) {
  std::size_t count = 0;
  for (const char c : text)
    count += (static_cast<unsigned char>(c) & 0xC0U) != 0x80U ? 1 : 0;
  return count;
}

}  // namespace

Json PhonePairing::json() const {
  return Json{{"backendURL", backendURL}, {"pairingID", pairingID}, {"relaySecret", relaySecret},
              {"e2eSecret", e2eSecret},   {"deviceID", deviceID},   {"deviceName", deviceName}};
}

std::expected<PhonePairing, DecodingError> PhonePairing::decoded(const Json& value) {
  JsonObjectReader reader(value);
  PhonePairing pairing;
  pairing.backendURL = reader.string("backendURL");
  pairing.pairingID = reader.string("pairingID");
  pairing.relaySecret = reader.string("relaySecret");
  pairing.e2eSecret = reader.string("e2eSecret");
  pairing.deviceID = reader.string("deviceID");
  pairing.deviceName = reader.string("deviceName");
  return reader.finish(std::move(pairing));
}

std::expected<PhonePairing, std::string> pairingFromCode(const std::string& code, std::string deviceName) {
  const auto json = parsedJson(trimmed(code));
  const auto payload = json ? PairingPayload::decoded(*json) : std::unexpected(json.error());
  if (!payload) return std::unexpected("This is not a pairing code: " + payload.error().description);
  if (payload->pairingID.empty() || trimmed(payload->relaySecret).empty() || trimmed(payload->e2eSecret).empty())
    return std::unexpected("The pairing code carries no credentials.");
  const auto url = Url::parsed(payload->backendURL);
  if (!url || !url->host || (url->scheme != "http" && url->scheme != "https"))
    return std::unexpected("The pairing code carries no valid relay address.");
  if (trimmed(deviceName).empty() || characterCount(deviceName) > longestDeviceName || !isValidUtf8(deviceName))
    return std::unexpected("A phone's name has 1 to 100 characters.");
  return PhonePairing{payload->backendURL, payload->pairingID,    payload->relaySecret,
                      payload->e2eSecret,  Uuid::random().text(), std::move(deviceName)};
}

std::expected<std::optional<PhonePairing>, std::string> PhoneStore::load() const {
  const auto place = folder(dataHome_, false);
  const auto content = place ? place->read(fileName, limits::storedFileBytes, true) : std::unexpected(place.error());
  if (!content && content.error().isMissing()) return std::nullopt;
  if (!content) return std::unexpected(unreadable(content.error().description()));
  const auto json = parsedJson(textOf(*content));
  if (!json) return std::unexpected(unreadable(json.error().description));
  auto pairing = PhonePairing::decoded(*json);
  if (!pairing) return std::unexpected(unreadable(pairing.error().description));
  return std::move(*pairing);
}

std::expected<void, std::string> PhoneStore::save(const PhonePairing& pairing) const {
  const auto place = folder(dataHome_, true);
  const auto saved =
      place ? place->replace(fileName, bytesOf(jsonText(pairing.json()))) : std::unexpected(place.error());
  if (!saved) return std::unexpected("Unable to save the pairing: " + saved.error().description());
  return {};
}

std::expected<void, std::string> PhoneStore::forget() const {
  const auto place = folder(dataHome_, false);
  const auto removed = place ? place->remove(fileName) : std::unexpected(place.error());
  if (!removed && !removed.error().isMissing())
    return std::unexpected("Unable to forget the pairing: " + removed.error().description());
  return {};
}

}  // namespace tallyfox::phone
