#pragma once

#include <cstdlib>
#include <memory>

namespace tallyfox::linux_os {

struct XcbFree {
  void operator()(void* memory) const { std::free(memory); }
};

/// A reply or event that the X library allocated. Empty when the question failed: the window is gone, or the server.
template <typename Reply>
using XcbReply = std::unique_ptr<Reply, XcbFree>;

template <typename Reply>
[[nodiscard]] XcbReply<Reply> owned(Reply* reply) {
  return XcbReply<Reply>(reply);
}

}  // namespace tallyfox::linux_os
