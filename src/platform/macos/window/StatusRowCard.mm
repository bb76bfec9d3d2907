#include "platform/macos/window/StatusRowCard.hpp"

#include <cmath>

#include "platform/macos/FoundationText.hpp"
#include "platform/macos/window/ButtonFlow.hpp"
#include "platform/macos/window/HeadingView.hpp"
#include "platform/macos/window/Localized.hpp"
#include "platform/macos/window/ThemeColors.hpp"
#include "ui/StatusWindowLayout.hpp"

using namespace tallyfox;

namespace {

constexpr CGFloat padding = status_window_layout::cardPadding;
constexpr CGFloat symbolSide = 20;
constexpr CGFloat symbolRoom = symbolSide + 10;

}  // namespace

@implementation TFStatusRowCard {
  std::optional<StatusRowModel> _model;
  NSImageView* _symbol;
  TFHeadingView* _heading;
  TFTextLabel* _detail;
}

- (instancetype)initWithHandler:(const mac_os::ActionHandler&)handler {
  self = [super initWithLeadingRoom:symbolRoom];
  if (self != nil) {
    _symbol = [[NSImageView alloc] initWithFrame:NSZeroRect];
    _symbol.imageScaling = NSImageScaleProportionallyUpOrDown;
    // It says no more than the title beside it.
    _symbol.accessibilityElement = NO;
    [self addSubview:_symbol];
    _heading =
        [[TFHeadingView alloc] initWithTitle:[[TFTextLabel alloc] initWithLook:{.weight = NSFontWeightSemibold}]];
    _detail = [[TFTextLabel alloc] initWithLook:{.role = TextRole::secondary}];
    _buttons = @[ [[TFActionButton alloc] initWithHandler:handler], [[TFActionButton alloc] initWithHandler:handler] ];
    [self.content addArrangedView:_heading];
    [self.content addArrangedView:_detail];
    [self.content addArrangedView:[[TFButtonFlow alloc] initWithButtons:_buttons]];
    self.hidden = YES;
  }
  return self;
}

- (void)apply:(const std::optional<StatusRowModel>&)model {
  if (model == _model) return;
  const bool isSymbolNew = model && (!_model || _model->symbol != model->symbol);
  _model = model;
  if (model) {
    [self setTitle:model->title];
    if (isSymbolNew)
      _symbol.image = [NSImage imageWithSystemSymbolName:mac_os::foundationText(model->symbol)
                                accessibilityDescription:nil];
    [_heading.title showText:model->title];
    [_heading applyPill:model->pill];
    [_detail showText:model->detail];
    [_buttons[0] apply:model->button subject:model->title];
    [_buttons[1] apply:model->secondaryButton subject:model->title];
  }
  self.hidden = !model.has_value();
}

- (void)applyTheme:(const AppTheme&)theme {
  [super applyTheme:theme];
  [_heading.title applyTheme:theme];
  [_detail applyTheme:theme];
  _symbol.contentTintColor = mac_os::nsColor(theme.secondaryText);
}

- (void)setFrameSize:(NSSize)size {
  [super setFrameSize:size];
  // Beside the title's first line, which a taller pill may have pushed down.
  const CGFloat middle = padding + [_heading firstLineMiddleInWidth:size.width - symbolRoom - 2 * padding];
  mac_os::lay(_symbol, NSMakeRect(padding, std::floor(middle - symbolSide / 2), symbolSide, symbolSide));
}

@end
