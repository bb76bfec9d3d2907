#include <utility>

#include "platform/memory/MemoryNetworkState.hpp"

namespace tallyfox::memory {

namespace {

class MemoryHttpExchange : public HttpExchange {
 public:
  explicit MemoryHttpExchange(std::function<void()> abandon) : abandon_(std::move(abandon)) {}
  ~MemoryHttpExchange() override { abandon_(); }

 private:
  std::function<void()> abandon_;
};

}  // namespace

std::unique_ptr<HttpExchange> MemoryNetwork::State::send(const HttpRequest& request, ResponseCompletion completion) {
  const std::scoped_lock lock(mutex);
  const std::size_t number = requests.size();
  requests.push_back({.request = request, .isAbandoned = false, .isAnswered = false});
  const auto alive = weak_from_this();
  exchanges.push_back({.completion = std::move(completion), .timeout = queue->after(request.timeout, [alive, number] {
                         const TransportError timedOut{"The request timed out."};
                         if (const auto state = alive.lock()) state->answer(number, std::unexpected(timedOut));
                       })});
  if (standingAnswer) {
    answer(number, *standingAnswer);
  } else if (onRequest) {
    onRequest(number);
  }
  return std::make_unique<MemoryHttpExchange>([alive, number] {
    if (const auto state = alive.lock()) state->abandon(number);
  });
}

void MemoryNetwork::State::answer(std::size_t request, std::expected<HttpResponse, TransportError> response) {
  const std::scoped_lock lock(mutex);
  if (requests.at(request).isAbandoned || requests[request].isAnswered) return;
  requests[request].isAnswered = true;
  exchanges[request].timeout.reset();
  queue->post([alive = weak_from_this(), request, response = std::move(response)] {
    const auto state = alive.lock();
    if (!state) return;
    // Abandoning an answered exchange takes its completion away.
    if (const ResponseCompletion completion = state->takenCompletion(request)) completion(response);
  });
}

ResponseCompletion MemoryNetwork::State::takenCompletion(std::size_t request) {
  const std::scoped_lock lock(mutex);
  return std::exchange(exchanges[request].completion, nullptr);
}

void MemoryNetwork::State::abandon(std::size_t request) {
  // What goes here may call back in while it goes.
  MemoryExchange gone;
  const std::scoped_lock lock(mutex);
  if (!requests[request].isAnswered) requests[request].isAbandoned = true;
  gone = std::exchange(exchanges[request], {});
}

}  // namespace tallyfox::memory
