#pragma once

#include <xcb/res.h>

#include <optional>
#include <vector>

#include "platform/linux/X11Connection.hpp"
#include "platform/linux/X11Desktop.hpp"
#include "platform/linux/X11Property.hpp"
#include "platform/linux/X11WindowAnswers.hpp"

namespace tallyfox::linux_os {

/// What the display looks like at this moment.
struct X11Screen {
  std::vector<XWindowID> managed;  ///< bottom to top, each once
  std::optional<XWindowID> active;
  std::optional<std::uint32_t> currentDesktop;
};

/// Reads windows over one connection, many questions in flight. Used by one thread at a time.
class X11WindowReader {
 public:
  explicit X11WindowReader(const X11Connection& connection) : connection_(connection) {}

  /// One round. Without a window manager, the mapped children of the root that ask to be managed count as managed.
  [[nodiscard]] X11Screen screen() const;
  /// In the order given, windows that are gone left out. One round, and a short one for what some windows do not tell.
  [[nodiscard]] std::vector<XWindow> read(const std::vector<XWindowID>& windows, const X11Screen& screen) const;
  /// The same before it is described.
  [[nodiscard]] std::vector<X11WindowAnswers> ask(const std::vector<XWindowID>& windows) const;
  /// Asks anew for what no property tells: where each is and whether it is mapped. One round; leaves out what is gone.
  void renew(std::vector<X11WindowAnswers>& windows) const;
  [[nodiscard]] XWindow described(const X11WindowAnswers& answers, const X11Screen& screen) const;
  /// The window among these that the child of the root holds, at whatever depth, or is itself.
  [[nodiscard]] std::optional<XWindowID> windowWithin(XWindowID topLevel, const std::vector<XWindowID>& windows) const;
  /// The topmost mapped child of the root whose rectangle holds the point; also one that only takes input, because a
  /// click would go there. Windows are rectangles here: what is cut out of their shape still counts.
  [[nodiscard]] std::optional<XWindowID> topLevelAt(AXPoint point) const;
  /// See X11Desktop::clientProcessIdentifiers.
  [[nodiscard]] std::vector<std::int32_t> clientProcesses() const;

 private:
  struct Place;
  [[nodiscard]] Place askForPlace(XWindowID window) const;
  [[nodiscard]] bool collect(const Place& place, X11WindowAnswers& answers) const;
  void askForTheMissing(std::vector<X11WindowAnswers>& windows) const;
  [[nodiscard]] std::vector<XWindowID> unframedWindows() const;
  [[nodiscard]] std::vector<std::int32_t> clientProcesses(xcb_res_query_client_ids_cookie_t question) const;
  [[nodiscard]] X11Property property(xcb_get_property_cookie_t question) const;

  const X11Connection& connection_;
};

}  // namespace tallyfox::linux_os
