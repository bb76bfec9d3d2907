#include "platform/linux/X11Layer.hpp"

namespace tallyfox::linux_os {

// Below 0 counts as never visible, above 0 as a panel or the like; within that the numbers only keep the kinds apart,
// and are those that a Mac's window list uses for the same kinds of window.
std::int64_t windowLayer(const X11LayerTraits& traits) {
  switch (traits.type) {
    case X11WindowType::desktop:
      return -1;
    case X11WindowType::dock:
      return 20;
    case X11WindowType::notification:
    case X11WindowType::tooltip:
    case X11WindowType::dragIcon:
      return 25;
    case X11WindowType::menu:
      return 25;
    case X11WindowType::normal:
    case X11WindowType::dialog:
    case X11WindowType::utility:
    case X11WindowType::toolbar:
    case X11WindowType::splash:
      break;
  }
  if (!traits.isManaged) return 25;
  return traits.isAbove ? 3 : 0;
}

}  // namespace tallyfox::linux_os
