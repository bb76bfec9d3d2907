#include "UnauthenticatedConnections.hpp"

#include <utility>

namespace tallyfox::server {

UnauthenticatedConnections::Ticket::Ticket(UnauthenticatedConnections& all, std::function<void(CloseCode)> turnAway)
    : all_(all), turnAway_(std::move(turnAway)), place_(all.tickets_.insert(all.tickets_.end(), this)) {}

UnauthenticatedConnections::Ticket::~Ticket() {
  if (listed_) all_.tickets_.erase(place_);
}

std::unique_ptr<UnauthenticatedConnections::Ticket> UnauthenticatedConnections::admit(
    std::function<void(CloseCode)> turnAway) {
  auto ticket = std::make_unique<Ticket>(*this, std::move(turnAway));
  turnAwayBeyondLimit();
  return ticket;
}

void UnauthenticatedConnections::turnAllAway(CloseCode code) {
  limit_ = 0;
  reason_ = code;
  turnAwayBeyondLimit();
}

void UnauthenticatedConnections::turnAwayBeyondLimit() {
  while (tickets_.size() > limit_) {
    Ticket& oldest = *tickets_.front();
    tickets_.pop_front();
    oldest.listed_ = false;
    oldest.turnAway_(reason_);
  }
}

}  // namespace tallyfox::server
