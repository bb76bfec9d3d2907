#include "platform/linux/AtspiHitTest.hpp"

#include <cmath>
#include <cstdint>
#include <optional>

namespace tallyfox::linux_os {
namespace {

/// Levels that one toolkit's answers may take to reach the deepest object.
constexpr int mostLevels = 40;
constexpr std::uint32_t screenCoordinates = 0;
constexpr std::uint32_t windowCoordinates = 1;

std::optional<AtspiWindow> topWindowAt(AXPoint point, AtspiReading& reading) {
  X11Desktop* desktop = reading.session().desktop();
  const auto top = desktop == nullptr ? std::nullopt : desktop->topWindowAt(point);
  if (!top || !top->processIdentifier) return std::nullopt;
  const auto windows = reading.windowsOf(*top->processIdentifier);
  if (!windows) return std::nullopt;
  // In doubt it is none of them: a click would go to whichever is really there.
  for (const AtspiWindow& window : *windows) {
    if (window.isScreenWindowCertain && window.screenWindow->id == top->id) return window;
  }
  return std::nullopt;
}

std::expected<AtspiReference, AXError> childAt(const AtspiReference& object, std::int32_t x, std::int32_t y,
                                               std::uint32_t coordinates, AtspiReading& reading) {
  std::expected<AtspiReference, AXError> child = std::unexpected(AXError::notTrusted);
  AtspiBus* bus = reading.session().bus();
  if (bus == nullptr) return child;
  bus->send({object, "org.a11y.atspi.Component", "GetAccessibleAtPoint", {x, y, coordinates}},
            [&child](AtspiBus::Answer answer) { child = reply::reference(answer); });
  bus->run();
  return child;
}

}  // namespace

std::expected<AtspiReference, AXError> objectAt(AXPoint point, AtspiReading& reading) {
  const auto window = topWindowAt(point, reading);
  if (!window) return std::unexpected(AXError::noValue);
  const bool isRelative = reading.toolkitOf(window->reference) == Toolkit::gtk4;
  const DialogFrame& client = window->screenWindow->clientFrame;
  const auto x = static_cast<std::int32_t>(std::floor(isRelative ? point.x - client.x : point.x));
  const auto y = static_cast<std::int32_t>(std::floor(isRelative ? point.y - client.y : point.y));

  AtspiReference deepest = window->reference;
  for (int level = 0; level < mostLevels; ++level) {
    const auto child = childAt(deepest, x, y, isRelative ? windowCoordinates : screenCoordinates, reading);
    if (!child && child.error() == AXError::cannotComplete) return std::unexpected(child.error());
    if (!child || child->isNull() || *child == deepest) break;
    deepest = *child;
  }
  return deepest;
}

}  // namespace tallyfox::linux_os
