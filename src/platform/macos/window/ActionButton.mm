#include "platform/macos/window/ActionButton.hpp"

#include <utility>

#include "platform/macos/window/CallOut.hpp"
#include "platform/macos/window/Localized.hpp"

using namespace tallyfox;

@implementation TFActionButton {
  mac_os::ActionHandler _handler;
  std::optional<ButtonModel> _model;
}

- (instancetype)initWithHandler:(mac_os::ActionHandler)handler {
  self = [super initWithFrame:NSZeroRect];
  if (self != nil) {
    _handler = std::move(handler);
    self.buttonType = NSButtonTypeMomentaryPushIn;
    self.bezelStyle = NSBezelStyleRounded;
    self.lineBreakMode = NSLineBreakByTruncatingTail;
    self.target = self;
    self.action = @selector(press:);
    self.hidden = YES;
  }
  return self;
}

- (void)apply:(const std::optional<ButtonModel>&)model subject:(const std::string&)subject {
  self.accessibilityHelp = mac_os::localized(subject);
  if (model == _model) return;
  _model = model;
  if (model) {
    self.title = mac_os::localized(model->title);
    self.accessibilityLabel = self.title;
    self.enabled = model->isEnabled;
  }
  self.hidden = !model.has_value();
}

- (void)press:(id)__unused sender {
  if (_model) mac_os::callOut(_handler, _model->action, self);
}

@end
