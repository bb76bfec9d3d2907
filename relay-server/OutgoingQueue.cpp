#include "OutgoingQueue.hpp"

#include <utility>

namespace tallyfox::server {

bool OutgoingQueue::push(Frame frame) {
  if (frames_.size() >= greatestFrames_ || frame->size() > greatestBytes_ - bytes_) return false;
  bytes_ += frame->size();
  frames_.push_back(std::move(frame));
  return true;
}

Frame OutgoingQueue::pop() {
  if (frames_.empty()) return nullptr;
  Frame frame = std::move(frames_.front());
  frames_.pop_front();
  bytes_ -= frame->size();
  return frame;
}

void OutgoingQueue::clear() {
  frames_.clear();
  bytes_ = 0;
}

}  // namespace tallyfox::server
