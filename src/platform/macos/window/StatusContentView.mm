#include "platform/macos/window/StatusContentView.hpp"

#include "platform/macos/window/ColumnsView.hpp"
#include "platform/macos/window/HeadingView.hpp"
#include "platform/macos/window/PairingCard.hpp"
#include "platform/macos/window/StatusRowCard.hpp"

using namespace tallyfox;

namespace {

namespace sizes = status_window_layout;

constexpr CGFloat headlineSize = 1.7;
constexpr CGFloat headerSpacing = 2;

}  // namespace

@implementation TFStatusContentView {
  TFTextLabel* _title;
  TFHeadingView* _headline;
  TFTextLabel* _detail;
  TFStatusRowCard* _update;
  TFPairingCard* _pairing;
  TFStatusRowCard* _installLocation;
  TFStatusRowCard* _accessibility;
  TFStatusRowCard* _loginItem;
  TFStatusRowCard* _notificationPause;
  TFColumnsView* _columns;
}

- (instancetype)initWithHandler:(const mac_os::ActionHandler&)handler {
  self = [super
      initWithSpacing:sizes::spacing
               insets:NSEdgeInsetsMake(sizes::topMargin, sizes::sideMargin, sizes::bottomMargin, sizes::sideMargin)];
  if (self != nil) {
    _update = [[TFStatusRowCard alloc] initWithHandler:handler];
    _pairing = [[TFPairingCard alloc] initWithHandler:handler];
    _installLocation = [[TFStatusRowCard alloc] initWithHandler:handler];
    _accessibility = [[TFStatusRowCard alloc] initWithHandler:handler];
    _loginItem = [[TFStatusRowCard alloc] initWithHandler:handler];
    _notificationPause = [[TFStatusRowCard alloc] initWithHandler:handler];
    TFVerticalStackView* rows = [[TFVerticalStackView alloc] initWithSpacing:sizes::spacing insets:NSEdgeInsetsZero];
    for (TFStatusRowCard* row in @[ _installLocation, _accessibility, _loginItem, _notificationPause ])
      [rows addArrangedView:row];
    _columns = [[TFColumnsView alloc] initWithFirst:_pairing second:rows];
    [self addArrangedView:[self makeHeader]];
    [self addArrangedView:_update];
    [self addArrangedView:_columns];
  }
  return self;
}

- (TFVerticalStackView*)makeHeader {
  _title = [[TFTextLabel alloc] initWithLook:{.role = TextRole::secondary, .weight = NSFontWeightSemibold}];
  _headline = [[TFHeadingView alloc]
      initWithTitle:[[TFTextLabel alloc] initWithLook:{.relativeSize = headlineSize, .weight = NSFontWeightBold}]];
  _detail = [[TFTextLabel alloc] initWithLook:{.role = TextRole::secondary}];
  TFVerticalStackView* header =
      [[TFVerticalStackView alloc] initWithSpacing:headerSpacing insets:NSEdgeInsetsMake(0, 0, sizes::spacing / 2, 0)];
  [header addArrangedView:_title];
  [header addArrangedView:_headline];
  [header addArrangedView:_detail];
  return header;
}

- (StatusWindowLayout)kind {
  return _columns.isSideBySide ? StatusWindowLayout::wide : StatusWindowLayout::compact;
}

- (void)setKind:(StatusWindowLayout)kind {
  _columns.sideBySide = kind == StatusWindowLayout::wide;
}

- (void)apply:(const StatusWindowModel&)model theme:(const AppTheme&)theme {
  [_title showText:model.title];
  [_headline.title showText:model.headline];
  [_headline applyPill:model.pill];
  [_detail showText:model.detail];
  [_update apply:model.update];
  [_pairing apply:model.pairing theme:theme];
  [_installLocation apply:model.installLocation];
  [_accessibility apply:model.accessibility];
  [_loginItem apply:model.loginItem];
  [_notificationPause apply:model.notificationPause];
}

- (NSArray<TFCardView*>*)cards {
  return @[ _update, _pairing, _installLocation, _accessibility, _loginItem, _notificationPause ];
}

- (void)applyTheme:(const AppTheme&)theme {
  for (TFTextLabel* label in @[ _title, _headline.title, _detail ])
    [label applyTheme:theme];
  for (TFCardView* card in self.cards)
    [card applyTheme:theme];
}

- (NSArray<TFActionButton*>*)buttons {
  NSMutableArray<TFActionButton*>* buttons = [NSMutableArray arrayWithArray:_update.buttons];
  [buttons addObjectsFromArray:_pairing.buttons];
  for (TFStatusRowCard* row in @[ _installLocation, _accessibility, _loginItem, _notificationPause ])
    [buttons addObjectsFromArray:row.buttons];
  return buttons;
}

@end
