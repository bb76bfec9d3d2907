#include "ui/MenuBarIcon.hpp"

namespace tallyfox {

TemplateImage menuBarIcon(std::int64_t pendingCount) {
  using namespace drawing;
  const bool hasDot = pendingCount > 0;
  TemplateImage icon{.width = hasDot ? 30.0 : 22.0, .height = 18, .commands = {}};
  // The screen on its stand.
  icon.commands.emplace_back(StrokedRoundedRectangle{
      .rectangle = {.x = 1.5, .y = 4.5, .width = 12.5, .height = 9.5}, .cornerRadius = 2.2, .strokeWidth = 2.1});
  icon.commands.emplace_back(StrokedLines{
      .lines = {{{6.5, 4.5}, {5.5, 2.3}}, {{9.0, 4.5}, {10.0, 2.3}}, {{4.5, 2.2}, {11.1, 2.2}}}, .strokeWidth = 1.8});
  // The ring with its tick, and the signal.
  icon.commands.emplace_back(
      StrokedOval{.rectangle = {.x = 11.2, .y = 8.3, .width = 6.6, .height = 6.6}, .strokeWidth = 1.8});
  icon.commands.emplace_back(
      StrokedLines{.lines = {{{13.0, 11.6}, {14.4, 10.2}, {16.2, 12.7}}}, .strokeWidth = 1.8, .ends = Ends::round});
  icon.commands.emplace_back(StrokedArc{.centre = {17.3, 11.7},
                                        .radius = 3.0,
                                        .startAngle = -18,
                                        .endAngle = 45,
                                        .strokeWidth = 1.7,
                                        .ends = Ends::round});
  if (hasDot) icon.commands.emplace_back(FilledOval{.rectangle = {.x = 20.5, .y = 9.3, .width = 8.2, .height = 8.2}});
  return icon;
}

double menuBarItemLength(std::int64_t pendingCount) {
  constexpr double plain = 24;
  constexpr double withDot = 30;
  return pendingCount < 1 ? plain : withDot;
}

std::string menuBarLabel(std::int64_t pendingCount) {
  return pendingCount < 1 ? menuBarToolTip : "Tallyfox, approvals pending";
}

}  // namespace tallyfox
