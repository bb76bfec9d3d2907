#pragma once

#include <unordered_map>
#include <vector>

#include "platform/linux/X11Connection.hpp"
#include "platform/linux/X11WindowReader.hpp"

namespace tallyfox::linux_os {

/// Reads the same windows again and again over one connection: their properties, which seldom change, only when the
/// server told of a change; their places each time. The connection's events are its own to take. Used by one thread at
/// a time.
class X11WindowMemory {
 public:
  X11WindowMemory(const X11Connection& connection, const X11WindowReader& reader)
      : connection_(connection), reader_(reader) {}

  /// As X11WindowReader::read, for managed windows, of the moment of `screen` or later.
  [[nodiscard]] std::vector<XWindow> read(const std::vector<XWindowID>& windows, const X11Screen& screen);

 private:
  void forgetWhatChanged();
  void learn(const std::vector<XWindowID>& windows);

  const X11Connection& connection_;
  const X11WindowReader& reader_;
  std::unordered_map<XWindowID, X11WindowAnswers> known_;
};

}  // namespace tallyfox::linux_os
