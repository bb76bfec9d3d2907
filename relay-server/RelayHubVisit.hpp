#pragma once

#include <string>
#include <utility>

#include "RelayHub.hpp"

namespace tallyfox::server {

/// Keeps the room of a pairing while a call that waits needs it.
class RelayHub::Visit {
 public:
  Visit(RelayHub& hub, std::string pairingID) : hub_(hub), pairingID_(std::move(pairingID)) {
    ++hub_.rooms_[pairingID_].visits;
  }
  ~Visit() {
    --hub_.rooms_[pairingID_].visits;
    hub_.discardWhenEmpty(pairingID_);
  }
  Visit(const Visit&) = delete;
  Visit& operator=(const Visit&) = delete;

 private:
  RelayHub& hub_;
  std::string pairingID_;
};

}  // namespace tallyfox::server
