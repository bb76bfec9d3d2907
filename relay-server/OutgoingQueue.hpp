#pragma once

#include <cstddef>
#include <vector>

#include "RelayPeer.hpp"

namespace tallyfox::server {

/// Frames waiting for one peer, bounded, so that a peer that does not read costs a known amount, and one that does
/// nothing.
class OutgoingQueue {
 public:
  OutgoingQueue(std::size_t greatestBytes, std::size_t greatestFrames)
      : greatestBytes_(greatestBytes), greatestFrames_(greatestFrames) {}

  /// False, and nothing queued, when the frame would pass a bound.
  [[nodiscard]] bool push(Frame frame);
  /// The oldest frame, or none.
  [[nodiscard]] Frame pop();
  void clear();
  [[nodiscard]] bool empty() const { return first_ == frames_.size(); }

 private:
  std::size_t greatestBytes_;
  std::size_t greatestFrames_;
  std::size_t bytes_ = 0;
  std::vector<Frame> frames_;
  std::size_t first_ = 0;  ///< of those in `frames_` that still wait
};

}  // namespace tallyfox::server
