#include "KeyedTurns.hpp"

#include <boost/asio/as_tuple.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/this_coro.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <utility>

namespace tallyfox::server {

namespace asio = boost::asio;

/// A place in a queue, as long as its coroutine lives.
class KeyedTurns::Waiting {
 public:
  Waiting(KeyedTurns& turns, const std::string& key, const asio::any_io_executor& executor)
      : turns_(turns), key_(key), wake_(executor, asio::steady_timer::time_point::max()) {
    auto& queue = turns_.waiting_.at(key_);
    place_ = queue.insert(queue.end(), this);
  }
  ~Waiting() {
    if (!granted_) {
      turns_.waiting_.at(key_).erase(place_);
    } else if (!taken_) {
      turns_.release(key_);
    }
  }
  Waiting(const Waiting&) = delete;
  Waiting& operator=(const Waiting&) = delete;

  asio::awaitable<void> wait() {
    while (!granted_)
      co_await wake_.async_wait(asio::as_tuple(asio::use_awaitable));
    taken_ = true;
  }
  void grant() {
    granted_ = true;
    wake_.cancel();
  }

 private:
  KeyedTurns& turns_;
  const std::string& key_;
  asio::steady_timer wake_;
  std::list<Waiting*>::iterator place_;
  bool granted_ = false;
  bool taken_ = false;
};

KeyedTurns::Turn::Turn(Turn&& other) noexcept
    : turns_(std::exchange(other.turns_, nullptr)), key_(std::move(other.key_)) {}

KeyedTurns::Turn::~Turn() {
  if (turns_ != nullptr) turns_->release(key_);
}

asio::awaitable<KeyedTurns::Turn> KeyedTurns::take(std::string key) {
  if (!waiting_.try_emplace(key).second) {
    Waiting place(*this, key, co_await asio::this_coro::executor);
    co_await place.wait();
  }
  co_return Turn(*this, std::move(key));
}

void KeyedTurns::release(const std::string& key) {
  const auto queue = waiting_.find(key);
  if (queue->second.empty()) {
    waiting_.erase(queue);
    return;
  }
  Waiting* const next = queue->second.front();
  queue->second.pop_front();
  next->grant();
}

}  // namespace tallyfox::server
