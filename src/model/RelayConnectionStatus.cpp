#include "model/RelayConnectionStatus.hpp"

#include <utility>

namespace tallyfox {

Json RelayPhoneStatus::json() const {
  Json value = {{"deviceID", deviceID}, {"deviceName", deviceName}};
  if (platform) value["platform"] = *platform;
  if (connected) value["connected"] = *connected;
  return value;
}

std::expected<RelayPhoneStatus, DecodingError> RelayPhoneStatus::decoded(const Json& value) {
  JsonObjectReader reader(value);
  RelayPhoneStatus phone;
  phone.deviceID = reader.string("deviceID");
  phone.deviceName = reader.string("deviceName");
  phone.platform = reader.optionalString("platform");
  phone.connected = reader.optionalBoolean("connected");
  return reader.finish(std::move(phone));
}

}  // namespace tallyfox
