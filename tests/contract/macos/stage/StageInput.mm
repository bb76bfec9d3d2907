#import "contract/macos/stage/StageInput.hpp"

#include <cmath>

namespace {

NSString* mouseEntry(NSEvent* event, NSString* what) {
  const CGPoint place = CGEventGetLocation(event.CGEvent);
  return [NSString stringWithFormat:@"mouse %@ %ld,%ld", what, std::lround(place.x), std::lround(place.y)];
}

NSString* entry(NSEvent* event) {
  switch (event.type) {
    case NSEventTypeKeyDown:
      return [NSString stringWithFormat:@"key %d down", static_cast<int>(event.keyCode)];
    case NSEventTypeKeyUp:
      return [NSString stringWithFormat:@"key %d up", static_cast<int>(event.keyCode)];
    case NSEventTypeLeftMouseDown:
      return mouseEntry(event, @"leftDown");
    case NSEventTypeLeftMouseUp:
      return mouseEntry(event, @"leftUp");
    default:
      return mouseEntry(event, @"moved");
  }
}

}  // namespace

@implementation StageInput {
  NSMutableArray<NSString*>* _entries;
  id _monitor;
}

- (instancetype)init {
  self = [super init];
  if (self == nil) return nil;
  NSMutableArray<NSString*>* const entries = [NSMutableArray array];
  _entries = entries;
  const NSEventMask kinds = NSEventMaskKeyDown | NSEventMaskKeyUp | NSEventMaskLeftMouseDown | NSEventMaskLeftMouseUp |
                            NSEventMaskMouseMoved | NSEventMaskLeftMouseDragged;
  _monitor = [NSEvent addLocalMonitorForEventsMatchingMask:kinds
                                                   handler:^NSEvent*(NSEvent* event) {
                                                     [entries addObject:entry(event)];
                                                     return event;
                                                   }];
  return self;
}

- (NSArray<NSString*>*)entries {
  return [_entries copy];
}

@end
