#pragma once

#include <compare>
#include <string>

namespace tallyfox::server {

/// A phone's place: its pairing and its device id.
struct PhoneAddress {
  std::string pairingID;
  std::string deviceID;
  auto operator<=>(const PhoneAddress&) const = default;
};

}  // namespace tallyfox::server
