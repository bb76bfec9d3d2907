#include "platform/macos/window/CodeView.hpp"

#include <algorithm>
#include <vector>

#include "platform/macos/window/Localized.hpp"
#include "ui/PairingCodeDrawing.hpp"
#include "ui/StatusWindowLayout.hpp"

using namespace tallyfox;

namespace {

constexpr CGFloat gap = 6;  ///< kept free above and below the white ground

}  // namespace

@implementation TFCodeView {
  std::optional<GrayscaleImage> _image;
  std::size_t _modules;  ///< in a row
  std::vector<CodeRun> _runs;
}

- (instancetype)initWithFrame:(NSRect)frame {
  self = [super initWithFrame:frame];
  if (self != nil) {
    self.hidden = YES;
    self.accessibilityElement = YES;
    self.accessibilityRole = NSAccessibilityImageRole;
    self.accessibilityLabel = mac_os::localized("Pairing code");
  }
  return self;
}

- (void)apply:(const std::optional<GrayscaleImage>&)image caption:(const std::string&)caption {
  self.accessibilityHelp = mac_os::localized(caption);
  if (image == _image) return;
  _image = image;
  const GrayscaleImage modules = image ? codeModules(*image) : GrayscaleImage();
  _modules = modules.width;
  _runs = codeRuns(modules);
  self.hidden = !image.has_value();
  self.needsDisplay = YES;
}

- (BOOL)isFlipped {
  return YES;
}

/// The side of a module in points: whole pixels of the screen that the window is on.
- (CGFloat)moduleSide {
  const CGFloat scale = self.window != nil ? self.window.backingScaleFactor : 1;
  return pixelsPerModule(_modules, status_window_layout::codeSide, scale) / scale;
}

- (CGFloat)plateSide {
  return std::max(static_cast<CGFloat>(status_window_layout::codeSide),
                  static_cast<CGFloat>(_modules) * self.moduleSide);
}

- (CGFloat)heightForWidth:(CGFloat)__unused width {
  return self.plateSide + 2 * gap;
}

- (void)viewDidChangeBackingProperties {
  [super viewDidChangeBackingProperties];
  // Another screen's pixels may have another size, and with them the code.
  self.needsDisplay = YES;
}

- (void)drawRect:(NSRect)__unused dirtyRect {
  const CGFloat plate = self.plateSide;
  const NSRect bounds = self.bounds;
  const NSRect ground = NSMakeRect(NSMidX(bounds) - plate / 2, NSMidY(bounds) - plate / 2, plate, plate);
  constexpr CGFloat radius = status_window_layout::cardCornerRadius;
  [NSColor.whiteColor setFill];
  [[NSBezierPath bezierPathWithRoundedRect:ground xRadius:radius yRadius:radius] fill];
  const CGFloat module = self.moduleSide;
  const CGFloat side = static_cast<CGFloat>(_modules) * module;
  // The first module begins on a pixel; all others follow in whole ones.
  const NSRect code =
      [self backingAlignedRect:NSMakeRect(NSMidX(bounds) - side / 2, NSMidY(bounds) - side / 2, side, side)
                       options:NSAlignMinXNearest | NSAlignMinYNearest | NSAlignWidthNearest | NSAlignHeightNearest];
  NSGraphicsContext* context = NSGraphicsContext.currentContext;
  [context saveGraphicsState];
  context.shouldAntialias = NO;
  [NSColor.blackColor setFill];
  for (const CodeRun& run : _runs)
    NSRectFill(NSMakeRect(NSMinX(code) + static_cast<CGFloat>(run.x) * module,
                          NSMinY(code) + static_cast<CGFloat>(run.y) * module,
                          static_cast<CGFloat>(run.length) * module, module));
  [context restoreGraphicsState];
}

@end
