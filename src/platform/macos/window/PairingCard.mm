#include "platform/macos/window/PairingCard.hpp"

#include <optional>

#include "platform/macos/window/ButtonFlow.hpp"
#include "platform/macos/window/CodeView.hpp"
#include "platform/macos/window/TextLabel.hpp"

using namespace tallyfox;

namespace {

constexpr CGFloat statusSize = 1.2;
constexpr CGFloat captionSize = 0.92;

}  // namespace

@implementation TFPairingCard {
  std::optional<PairingCardModel> _model;
  TFTextLabel* _title;
  TFTextLabel* _status;
  TFTextLabel* _detail;
  TFTextLabel* _problem;
  TFCodeView* _code;
  TFTextLabel* _caption;
}

- (instancetype)initWithHandler:(const mac_os::ActionHandler&)handler {
  self = [super initWithLeadingRoom:0];
  if (self != nil) {
    _title = [[TFTextLabel alloc] initWithLook:{.weight = NSFontWeightSemibold}];
    _status = [[TFTextLabel alloc] initWithLook:{.relativeSize = statusSize, .weight = NSFontWeightSemibold}];
    _detail = [[TFTextLabel alloc] initWithLook:{.role = TextRole::secondary}];
    _problem = [[TFTextLabel alloc] initWithLook:{.role = TextRole::warning}];
    _code = [[TFCodeView alloc] initWithFrame:NSZeroRect];
    _caption = [[TFTextLabel alloc]
        initWithLook:{.role = TextRole::secondary, .relativeSize = captionSize, .isCentred = true}];
    NSMutableArray<TFActionButton*>* buttons = [NSMutableArray array];
    for (int i = 0; i < 3; ++i)
      [buttons addObject:[[TFActionButton alloc] initWithHandler:handler]];
    _buttons = [buttons copy];
    for (NSView<TFArranged>* view in @[ _title, _status, _detail, _problem, _code, _caption ])
      [self.content addArrangedView:view];
    [self.content addArrangedView:[[TFButtonFlow alloc] initWithButtons:_buttons]];
  }
  return self;
}

- (void)apply:(const PairingCardModel&)model theme:(const AppTheme&)theme {
  if (model == _model) return;
  _model = model;
  [self setTitle:model.title];
  [_title showText:model.title];
  [_status showText:model.status];
  _status.role = model.statusRole;
  [_status applyTheme:theme];
  [_detail showText:model.detail];
  [_problem showText:model.problem.value_or("")];
  [_code apply:model.code caption:model.caption];
  [_caption showText:model.caption];
  [_buttons[0] apply:model.openSettings subject:model.title];
  [_buttons[1] apply:model.codeToggle subject:model.title];
  [_buttons[2] apply:model.unpair subject:model.title];
}

- (void)applyTheme:(const AppTheme&)theme {
  [super applyTheme:theme];
  for (TFTextLabel* label in @[ _title, _status, _detail, _problem, _caption ])
    [label applyTheme:theme];
}

@end
