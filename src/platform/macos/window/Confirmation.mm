#include "platform/macos/window/Confirmation.hpp"

#include <utility>

#include "platform/macos/window/CallOut.hpp"
#include "platform/macos/window/Localized.hpp"

namespace tallyfox::mac_os {
namespace {

/// Escape, or Command and period.
bool isCancelling(NSEvent* event) {
  NSString* const key = event.charactersIgnoringModifiers;
  const bool isWithCommand = (event.modifierFlags & NSEventModifierFlagCommand) != 0;
  return [key isEqualToString:@"\033"] || (isWithCommand && [key isEqualToString:@"."]);
}

/// A button has one key only, and Return is the cancelling one's: the other keys that cancel press it by this monitor.
id monitorOfCancelling(NSWindow* sheet, NSButton* cancel) {
  __weak NSWindow* watched = sheet;
  __weak NSButton* pressed = cancel;
  return [NSEvent addLocalMonitorForEventsMatchingMask:NSEventMaskKeyDown
                                               handler:^NSEvent*(NSEvent* event) {
                                                 if (watched == nil || event.window != watched || !isCancelling(event))
                                                   return event;
                                                 [pressed performClick:nil];
                                                 return nil;
                                               }];
}

}  // namespace

void askOnSheet(NSWindow* window, const ConfirmationModel& question, std::function<void()> onConfirmed) {
  NSAlert* alert = [[NSAlert alloc] init];
  alert.messageText = localized(question.title);
  alert.informativeText = localized(question.detail);
  NSButton* confirm = [alert addButtonWithTitle:localized(question.confirmTitle)];
  confirm.hasDestructiveAction = YES;
  confirm.keyEquivalent = @"";
  NSButton* cancel = [alert addButtonWithTitle:localized(question.cancelTitle)];
  cancel.keyEquivalent = @"\r";
  // A question is no reason to outlive a logout, or a newer agent.
  alert.window.preventsApplicationTerminationWhenModal = NO;
  id monitor = monitorOfCancelling(alert.window, cancel);
  const std::function<void()> confirmed = std::move(onConfirmed);
  [alert beginSheetModalForWindow:window
                completionHandler:^(NSModalResponse response) {
                  if (monitor != nil) [NSEvent removeMonitor:monitor];
                  if (response == NSAlertFirstButtonReturn) callOut(confirmed);
                }];
}

}  // namespace tallyfox::mac_os
