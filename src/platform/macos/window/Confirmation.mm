#include "platform/macos/window/Confirmation.hpp"

#include <utility>

#include "platform/macos/window/CallOut.hpp"
#include "platform/macos/window/Localized.hpp"

namespace tallyfox::mac_os {
namespace {

/// A button has one key only, and Return is the cancelling one's: Escape presses it by this monitor.
id monitorOfEscape(NSWindow* sheet, NSButton* cancel) {
  __weak NSWindow* watched = sheet;
  __weak NSButton* pressed = cancel;
  return [NSEvent addLocalMonitorForEventsMatchingMask:NSEventMaskKeyDown
                                               handler:^NSEvent*(NSEvent* event) {
                                                 const bool isEscape =
                                                     [event.charactersIgnoringModifiers isEqualToString:@"\033"];
                                                 if (!isEscape || watched == nil || event.window != watched)
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
  id monitor = monitorOfEscape(alert.window, cancel);
  const std::function<void()> confirmed = std::move(onConfirmed);
  [alert beginSheetModalForWindow:window
                completionHandler:^(NSModalResponse response) {
                  if (monitor != nil) [NSEvent removeMonitor:monitor];
                  if (response == NSAlertFirstButtonReturn) callOut(confirmed);
                }];
}

}  // namespace tallyfox::mac_os
