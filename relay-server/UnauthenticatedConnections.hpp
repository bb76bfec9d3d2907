#pragma once

#include <cstddef>
#include <functional>
#include <list>
#include <memory>

#include "CloseCode.hpp"

namespace tallyfox::server {

/// Bounds the connections that have not yet shown who they are: one more than the limit turns the oldest away, so that
/// silent strangers cannot keep a phone out. Must outlive its tickets.
class UnauthenticatedConnections {
 public:
  /// A place among them; given up when destroyed.
  class Ticket {
   public:
    Ticket(UnauthenticatedConnections& all, std::function<void(CloseCode)> turnAway);
    ~Ticket();
    Ticket(const Ticket&) = delete;
    Ticket& operator=(const Ticket&) = delete;

   private:
    friend class UnauthenticatedConnections;
    UnauthenticatedConnections& all_;
    std::function<void(CloseCode)> turnAway_;
    std::list<Ticket*>::iterator place_;
    bool listed_ = true;
  };

  explicit UnauthenticatedConnections(std::size_t limit) : limit_(limit) {}
  /// `turnAway` is called at most once, with the reason; it must not wait and must not destroy the ticket before
  /// returning.
  [[nodiscard]] std::unique_ptr<Ticket> admit(std::function<void(CloseCode)> turnAway);
  /// From now on newcomers are turned away at once, for the same reason.
  void turnAllAway(CloseCode code);
  [[nodiscard]] std::size_t count() const { return tickets_.size(); }

 private:
  void turnAwayBeyondLimit();

  std::size_t limit_;
  CloseCode reason_ = CloseCode::tryAgainLater;
  std::list<Ticket*> tickets_;
};

}  // namespace tallyfox::server
