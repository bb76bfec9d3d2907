#include "platform/linux/window/TemplateImagePainter.hpp"

#include <QPainter>
#include <QPainterPath>
#include <variant>

namespace tallyfox::linux_os {
namespace {

QRectF qtRectangle(const drawing::Rectangle& rectangle) {
  return {rectangle.x, rectangle.y, rectangle.width, rectangle.height};
}

/// The outline of a stroke. The curves of one that the painter makes itself are off by more than can be seen in a large
/// drawing.
QPainterPath stroked(const QPainterPath& path, double width, drawing::Ends ends = drawing::Ends::butt) {
  constexpr double curveThreshold = 0.01;
  const bool isRound = ends == drawing::Ends::round;
  QPainterPathStroker stroker;
  stroker.setWidth(width);
  stroker.setCapStyle(isRound ? Qt::RoundCap : Qt::FlatCap);
  stroker.setJoinStyle(isRound ? Qt::RoundJoin : Qt::MiterJoin);
  stroker.setCurveThreshold(curveThreshold);
  return stroker.createStroke(path);
}

/// Draws commands with the y axis upwards.
struct CommandPainter {
  QPainter& painter;
  QColor color;

  void operator()(const drawing::StrokedRoundedRectangle& command) const {
    QPainterPath path;
    path.addRoundedRect(qtRectangle(command.rectangle), command.cornerRadius, command.cornerRadius);
    painter.fillPath(stroked(path, command.strokeWidth), color);
  }
  void operator()(const drawing::StrokedLines& command) const {
    QPainterPath path;
    for (const std::vector<drawing::Point>& line : command.lines) {
      QPolygonF points;
      for (const drawing::Point& point : line)
        points << QPointF(point.x, point.y);
      path.addPolygon(points);
    }
    painter.fillPath(stroked(path, command.strokeWidth, command.ends), color);
  }
  void operator()(const drawing::StrokedOval& command) const {
    QPainterPath path;
    path.addEllipse(qtRectangle(command.rectangle));
    painter.fillPath(stroked(path, command.strokeWidth), color);
  }
  void operator()(const drawing::FilledOval& command) const {
    QPainterPath path;
    path.addEllipse(qtRectangle(command.rectangle));
    painter.fillPath(path, color);
  }
  void operator()(const drawing::StrokedArc& command) const {
    const QRectF circle(command.centre.x - command.radius, command.centre.y - command.radius, 2 * command.radius,
                        2 * command.radius);
    // Qt counts angles counter-clockwise as seen with y downwards.
    QPainterPath path;
    path.arcMoveTo(circle, -command.startAngle);
    path.arcTo(circle, -command.startAngle, command.startAngle - command.endAngle);
    painter.fillPath(stroked(path, command.strokeWidth, command.ends), color);
  }
};

}  // namespace

QColor qtColor(const Color& color) {
  return QColor::fromRgbF(static_cast<float>(color.red), static_cast<float>(color.green),
                          static_cast<float>(color.blue));
}

void drawTemplateImage(QPainter& painter, const TemplateImage& image, const QColor& color) {
  painter.save();
  painter.setRenderHint(QPainter::Antialiasing);
  painter.translate(0, image.height);
  painter.scale(1, -1);
  for (const drawing::Command& command : image.commands)
    std::visit(CommandPainter{.painter = painter, .color = color}, command);
  painter.restore();
}

}  // namespace tallyfox::linux_os
