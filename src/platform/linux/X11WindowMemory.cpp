#include "platform/linux/X11WindowMemory.hpp"

#include <algorithm>
#include <cstdint>
#include <utility>

#include "platform/linux/XcbReply.hpp"

namespace tallyfox::linux_os {
namespace {

constexpr std::uint8_t sentByAnotherClient = 0x80;
/// Windows that are remembered; beyond, all are asked anew. A desktop shows some dozens.
constexpr std::size_t rememberedWindows = 512;

}  // namespace

/// The server sends an event before its next answer, and the answers about the screen are in: no change is missed.
void X11WindowMemory::forgetWhatChanged() {
  while (const auto event = owned(xcb_poll_for_event(connection_.get()))) {
    const int kind = event->response_type & ~sentByAnotherClient;
    if (kind == XCB_PROPERTY_NOTIFY) known_.erase(reinterpret_cast<const xcb_property_notify_event_t&>(*event).window);
    if (kind == XCB_DESTROY_NOTIFY) known_.erase(reinterpret_cast<const xcb_destroy_notify_event_t&>(*event).window);
  }
  if (known_.size() > rememberedWindows) known_.clear();
}

void X11WindowMemory::learn(const std::vector<XWindowID>& windows) {
  // A number may be given to another window once its window is gone.
  constexpr std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE | XCB_EVENT_MASK_STRUCTURE_NOTIFY;
  for (const XWindowID window : windows)
    xcb_change_window_attributes(connection_.get(), window, XCB_CW_EVENT_MASK, &mask);
  for (X11WindowAnswers& answers : reader_.ask(windows))
    known_[answers.id] = std::move(answers);
}

std::vector<XWindow> X11WindowMemory::read(const std::vector<XWindowID>& windows, const X11Screen& screen) {
  forgetWhatChanged();
  std::vector<X11WindowAnswers> remembered;
  std::vector<XWindowID> unknown;
  for (const XWindowID window : windows) {
    const auto known = known_.find(window);
    if (known == known_.end()) {
      unknown.push_back(window);
    } else {
      remembered.push_back(known->second);
    }
  }
  reader_.renew(remembered);
  if (!unknown.empty()) learn(unknown);

  std::unordered_map<XWindowID, XWindow> described;
  for (const X11WindowAnswers& answers : remembered)
    described.emplace(answers.id, reader_.described(answers, screen));
  std::vector<XWindow> read;
  for (const XWindowID window : windows) {
    if (const auto known = described.find(window); known != described.end()) {
      read.push_back(std::move(known->second));
    } else if (const auto learnt = known_.find(window);
               learnt != known_.end() && std::ranges::find(unknown, window) != unknown.end()) {
      read.push_back(reader_.described(learnt->second, screen));
    }
  }
  return read;
}

}  // namespace tallyfox::linux_os
