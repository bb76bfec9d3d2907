#include "OutgoingQueue.hpp"

#include <utility>

namespace tallyfox::server {

bool OutgoingQueue::push(Frame frame) {
  if (frames_.size() - first_ >= greatestFrames_ || frame->size() > greatestBytes_ - bytes_) return false;
  if (first_ >= greatestFrames_) {
    // A queue that never runs empty must not grow for ever.
    frames_.erase(frames_.begin(), frames_.begin() + static_cast<std::ptrdiff_t>(std::exchange(first_, 0)));
  }
  bytes_ += frame->size();
  frames_.push_back(std::move(frame));
  return true;
}

Frame OutgoingQueue::pop() {
  if (empty()) return nullptr;
  Frame frame = std::move(frames_[first_++]);
  bytes_ -= frame->size();
  if (empty()) clear();
  return frame;
}

void OutgoingQueue::clear() {
  // Not only emptied: most peers have nothing waiting most of the time.
  frames_ = {};
  first_ = 0;
  bytes_ = 0;
}

}  // namespace tallyfox::server
