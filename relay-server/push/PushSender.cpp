#include "push/PushSender.hpp"

#include <algorithm>
#include <boost/asio/as_tuple.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <exception>
#include <utility>

#include "base/Crypto.hpp"

namespace tallyfox::server {
namespace {

namespace asio = boost::asio;

constexpr auto resultOf = asio::as_tuple(asio::use_awaitable);
/// No service is believed when it wants to be left alone for longer.
constexpr std::chrono::hours greatestRest{24};

}  // namespace

bool PushSender::wake(const PhoneAddress& target) {
  if (const auto found = phones_.find(target); found != phones_.end()) {
    found->second.wanted = true;
    return true;
  }
  if (stopping_ || phones_.size() >= client_.limits().phones) return false;
  Phone& phone = phones_[target];
  asio::co_spawn(executor_, serve(target, phone), [this, target](const std::exception_ptr& failure) {
    if (failure) phones_.erase(target);
  });
  return true;
}

void PushSender::stop() {
  stopping_ = true;
  client_.abort();
  for (auto& [target, phone] : phones_) {
    if (phone.pause != nullptr) phone.pause->cancel();
  }
  for (asio::steady_timer* const turn : std::exchange(waiting_, {}))
    turn->cancel();
}

asio::awaitable<void> PushSender::serve(PhoneAddress target, Phone& phone) {
  asio::steady_timer pause(executor_);
  phone.pause = &pause;
  while (phone.wanted && !stopping_) {
    const auto rest = co_await ask(target, phone, pause);
    // Stopping ends no wait that begins after it.
    if (stopping_) break;
    pause.expires_after(std::max(rest, client_.limits().interval));
    co_await pause.async_wait(resultOf);
  }
  phones_.erase(target);
}

asio::awaitable<std::chrono::milliseconds> PushSender::ask(const PhoneAddress& target, Phone& phone,
                                                           asio::steady_timer& pause) {
  const PushLimits& limits = client_.limits();
  auto delay = limits.retryDelay;
  for (unsigned count = 1; !stopping_; ++count, delay *= 2) {
    phone.wanted = false;
    const auto tried = co_await attempt(target);
    if (!tried) co_return std::chrono::milliseconds(0);
    const std::chrono::milliseconds rest =
        std::min<std::chrono::seconds>(tried->outcome.retryAfter.value_or(std::chrono::seconds(0)), greatestRest);
    const auto wait = std::max(rest, delay);
    if (tried->outcome.kind != PushOutcome::Kind::later || count >= limits.attempts || wait > limits.greatestDelay) {
      co_await recipients_.ended(target, tried->endpoint, tried->outcome);
      co_return rest;
    }
    if (stopping_) break;
    pause.expires_after(wait);
    co_await pause.async_wait(resultOf);
  }
  co_return std::chrono::milliseconds(0);
}

asio::awaitable<std::optional<PushSender::Attempt>> PushSender::attempt(const PhoneAddress& target) {
  if (!co_await takeSlot()) co_return std::nullopt;
  // Given back also when a call below throws.
  const std::unique_ptr<PushSender, void (*)(PushSender*)> slot(this, [](PushSender* sender) { sender->giveSlot(); });
  auto endpoint = co_await recipients_.endpoint(target);
  if (!endpoint || stopping_ || !client_.allows(*endpoint)) co_return std::nullopt;
  PushOutcome outcome = co_await client_.post(*endpoint, pushTopic(target.pairingID));
  if (stopping_) co_return std::nullopt;
  co_return Attempt{.endpoint = std::move(*endpoint), .outcome = std::move(outcome)};
}

asio::awaitable<bool> PushSender::takeSlot() {
  if (free_ > 0) {
    --free_;
    co_return true;
  }
  asio::steady_timer turn(executor_, asio::steady_timer::time_point::max());
  waiting_.push_back(&turn);
  co_await turn.async_wait(resultOf);
  co_return !stopping_;
}

void PushSender::giveSlot() {
  if (stopping_ || waiting_.empty()) {
    ++free_;
    return;
  }
  waiting_.front()->cancel();
  waiting_.pop_front();
}

std::string pushTopic(std::string_view pairingID) {
  // The longest that there may be is 32 characters, which is 24 bytes.
  const Sha256Digest digest = sha256(bytesOf(pairingID));
  return base64UrlEncoded({reinterpret_cast<const char*>(digest.data()), 24});
}

}  // namespace tallyfox::server
