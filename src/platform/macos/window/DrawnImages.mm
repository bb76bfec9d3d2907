#include "platform/macos/window/DrawnImages.hpp"

#include <variant>
#include <vector>

#include "platform/macos/window/ThemeColors.hpp"

namespace tallyfox::mac_os {
namespace {

NSRect nsRect(const drawing::Rectangle& rectangle) {
  return NSMakeRect(rectangle.x, rectangle.y, rectangle.width, rectangle.height);
}

void stroke(NSBezierPath* path, double width, drawing::Ends ends = drawing::Ends::butt) {
  const bool isRound = ends == drawing::Ends::round;
  path.lineWidth = width;
  path.lineCapStyle = isRound ? NSLineCapStyleRound : NSLineCapStyleButt;
  path.lineJoinStyle = isRound ? NSLineJoinStyleRound : NSLineJoinStyleMiter;
  [path stroke];
}

/// Draws commands in the colour that is set, in a context with the y axis upwards, as they are meant.
struct CommandPainter {
  void operator()(const drawing::StrokedRoundedRectangle& command) const {
    stroke([NSBezierPath bezierPathWithRoundedRect:nsRect(command.rectangle)
                                           xRadius:command.cornerRadius
                                           yRadius:command.cornerRadius],
           command.strokeWidth);
  }
  void operator()(const drawing::StrokedLines& command) const {
    NSBezierPath* path = [NSBezierPath bezierPath];
    for (const std::vector<drawing::Point>& line : command.lines)
      for (std::size_t i = 0; i < line.size(); ++i) {
        const NSPoint point = NSMakePoint(line[i].x, line[i].y);
        if (i == 0) {
          [path moveToPoint:point];
        } else {
          [path lineToPoint:point];
        }
      }
    stroke(path, command.strokeWidth, command.ends);
  }
  void operator()(const drawing::StrokedOval& command) const {
    stroke([NSBezierPath bezierPathWithOvalInRect:nsRect(command.rectangle)], command.strokeWidth);
  }
  void operator()(const drawing::FilledOval& command) const {
    [[NSBezierPath bezierPathWithOvalInRect:nsRect(command.rectangle)] fill];
  }
  void operator()(const drawing::StrokedArc& command) const {
    NSBezierPath* path = [NSBezierPath bezierPath];
    [path appendBezierPathWithArcWithCenter:NSMakePoint(command.centre.x, command.centre.y)
                                     radius:command.radius
                                 startAngle:command.startAngle
                                   endAngle:command.endAngle
                                  clockwise:NO];
    stroke(path, command.strokeWidth, command.ends);
  }
};

void drawCommands(const TemplateImage& image, NSColor* color) {
  [color set];
  for (const drawing::Command& command : image.commands)
    std::visit(CommandPainter{}, command);
}

void drawApplicationIcon(const ApplicationIcon& icon, NSRect place) {
  NSAffineTransform* scale = [NSAffineTransform transform];
  [scale translateXBy:NSMinX(place) yBy:NSMinY(place)];
  [scale scaleXBy:NSWidth(place) / icon.side yBy:NSHeight(place) / icon.side];
  [scale concat];
  NSGradient* shade = [[NSGradient alloc] initWithStartingColor:nsColor(icon.plateTop)
                                                    endingColor:nsColor(icon.plateBottom)];
  constexpr CGFloat downwards = -90;
  [shade drawInBezierPath:[NSBezierPath bezierPathWithRoundedRect:nsRect(icon.plate)
                                                          xRadius:icon.plateCornerRadius
                                                          yRadius:icon.plateCornerRadius]
                    angle:downwards];
  for (const IconLayer& layer : icon.layers)
    drawCommands(layer.image, nsColor(layer.color));
}

}  // namespace

NSImage* templateImage(const TemplateImage& image) {
  // A block keeps the address of what it knows by reference, and this one is called long afterwards.
  const TemplateImage kept = image;
  NSImage* drawn = [NSImage imageWithSize:NSMakeSize(image.width, image.height)
                                  flipped:NO
                           drawingHandler:^BOOL(NSRect /*place*/) {
                             drawCommands(kept, NSColor.labelColor);
                             return YES;
                           }];
  [drawn setTemplate:YES];
  return drawn;
}

NSImage* applicationIconImage() {
  constexpr CGFloat side = 128;
  const ApplicationIcon icon = applicationIcon(side);
  return [NSImage imageWithSize:NSMakeSize(side, side)
                        flipped:NO
                 drawingHandler:^BOOL(NSRect place) {
                   drawApplicationIcon(icon, place);
                   return YES;
                 }];
}

}  // namespace tallyfox::mac_os
