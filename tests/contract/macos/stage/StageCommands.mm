#import "contract/macos/stage/StageCommands.hpp"

#import "contract/macos/stage/StageInput.hpp"
#import "contract/macos/stage/StageWindows.hpp"

using Fields = NSArray<NSString*>*;

@implementation StageCommands {
  void (^_answer)(NSString*);
  NSMutableArray<NSWindow*>* _windows;
  NSMutableArray<NSString*>* _journal;
  NSDictionary<NSString*, void (^)(Fields)>* _commands;
  StageInput* _input;
  dispatch_semaphore_t _woken;
}

- (instancetype)initWithAnswer:(void (^)(NSString*))answer {
  self = [super init];
  if (self == nil) return nil;
  _answer = [answer copy];
  _windows = [NSMutableArray array];
  _journal = [NSMutableArray array];
  _input = [[StageInput alloc] init];
  _woken = dispatch_semaphore_create(0);
  __weak StageCommands* const weakSelf = self;
  NSMutableDictionary<NSString*, void (^)(Fields)>* const commands = [NSMutableDictionary dictionary];
  [commands addEntriesFromDictionary:[StageCommands openingCommandsOf:weakSelf]];
  [commands addEntriesFromDictionary:[StageCommands windowCommandsOf:weakSelf]];
  [commands addEntriesFromDictionary:[StageCommands programCommandsOf:weakSelf]];
  _commands = commands;
  return self;
}

- (void)perform:(NSString*)line {
  Fields const fields = [line componentsSeparatedByString:@"\t"];
  void (^const command)(Fields) = _commands[fields.firstObject];
  if (command == nil) return _answer(@"failed\tno such command");
  @try {
    command(fields);
  } @catch (NSException* exception) {
    _answer([@"failed\t" stringByAppendingString:exception.reason != nil ? exception.reason : exception.name]);
  }
}

- (void)wake {
  dispatch_semaphore_signal(_woken);
}

- (void)hang {
  _answer(@"ok");
  dispatch_semaphore_wait(_woken, DISPATCH_TIME_FOREVER);
}

- (void)done {
  _answer(@"ok");
}

- (void)answerWith:(Fields)fields {
  _answer([[@[ @"ok" ] arrayByAddingObjectsFromArray:fields] componentsJoinedByString:@"\t"]);
}

- (NSWindow*)windowIn:(Fields)fields {
  return _windows[static_cast<NSUInteger>(fields[1].integerValue)];
}

/// Answers when the system tells this of the object, which `begin` brings about.
- (void)after:(NSNotificationName)name of:(id)object begin:(void (^)(void))begin {
  __block id token = nil;
  void (^const answer)(NSString*) = _answer;
  token = [NSNotificationCenter.defaultCenter addObserverForName:name
                                                          object:object
                                                           queue:nil
                                                      usingBlock:^(NSNotification* __unused notification) {
                                                        [NSNotificationCenter.defaultCenter removeObserver:token];
                                                        answer(@"ok");
                                                      }];
  begin();
}

- (void)show:(NSWindow*)window {
  [_windows addObject:window];
  [window orderFrontRegardless];
  if (window.level == NSNormalWindowLevel) [window makeKeyWindow];
  [self answerWith:@[ @(_windows.count - 1).stringValue ]];
}

- (void)showSheetOn:(NSWindow*)window {
  [self after:NSWindowWillBeginSheetNotification
           of:window
        begin:^{
          [window beginSheet:tallyfox::stage::sheetPanel(self.note) completionHandler:nil];
        }];
}

- (StageNote)note {
  NSMutableArray<NSString*>* const journal = _journal;
  return ^(NSString* entry) {
    [journal addObject:entry];
  };
}

- (void)showDialog:(NSString*)kind {
  [NSApp activateIgnoringOtherApps:YES];
  void (^const answer)(NSString*) = _answer;
  void (^const isUp)(void) = ^{
    answer(@"ok");
  };
  if ([kind isEqualToString:@"alert"]) return tallyfox::stage::runAlert(self.note, isUp);
  CFRunLoopPerformBlock(CFRunLoopGetMain(), (__bridge CFStringRef)NSModalPanelRunLoopMode, isUp);
  [NSApp runModalForWindow:tallyfox::stage::dialogPanel(self.note)];
}

- (void)activate {
  [NSApp activateIgnoringOtherApps:YES];
  NSWindow* const front = NSApp.modalWindow != nil ? NSApp.modalWindow : _windows.firstObject;
  [front makeKeyAndOrderFront:nil];
  [self done];
}

- (void)tellFocus {
  const BOOL hasFocus = NSApp.active && NSApp.keyWindow != nil;
  [self answerWith:@[ hasFocus ? @"yes" : @"no" ]];
}

+ (NSDictionary*)openingCommandsOf:(__weak StageCommands*)stage {
  return @{@"open" : ^(Fields fields){
      const NSRect frame = tallyfox::stage::frameFromTopLeft(fields[2].doubleValue, fields[3].doubleValue,
                                                             fields[4].doubleValue, fields[5].doubleValue);
  [stage show:tallyfox::stage::plainWindow(fields[1], frame, fields[6].integerValue, fields[7].doubleValue)];
}
,
    @"dialog" : ^(Fields fields) {
      [stage showDialog:fields[1]];
    },
    @"controls" : ^(Fields __unused fields) {
      [stage show:tallyfox::stage::controlsWindow(stage.note)];
    },
    @"sheet" : ^(Fields fields) {
      [stage showSheetOn:[stage windowIn:fields]];
    },
}
;
}

+ (NSDictionary*)windowCommandsOf:(__weak StageCommands*)stage {
  const auto awaited = ^(NSNotificationName name, void (^act)(NSWindow*)) {
    return ^(Fields fields) {
      NSWindow* const window = [stage windowIn:fields];
      [stage after:name
                of:window
             begin:^{
               act(window);
             }];
    };
  };
  const auto immediate = ^(void (^act)(NSWindow*, Fields)) {
    return ^(Fields fields) {
      act([stage windowIn:fields], fields);
      [stage done];
    };
  };
  const auto toggle = ^(NSWindow* window) {
    [window toggleFullScreen:nil];
  };
  return @{@"minimize" : awaited(NSWindowDidMiniaturizeNotification,
                                 ^(NSWindow* window) {
                                   [window miniaturize:nil];
                                 }),
           @"restore" : awaited(NSWindowDidDeminiaturizeNotification,
                                ^(NSWindow* window) {
                                  [window deminiaturize:nil];
                                }),
           @"enter-space" : awaited(NSWindowDidEnterFullScreenNotification, toggle),
           @"leave-space" : awaited(NSWindowDidExitFullScreenNotification, toggle),
           @"rename" : immediate(^(NSWindow* window, Fields fields) {
             window.title = fields[2];
           }),
           @"move" : immediate(^(NSWindow* window, Fields fields) {
             const NSRect place = tallyfox::stage::frameFromTopLeft(fields[2].doubleValue, fields[3].doubleValue, 0, 0);
             [window setFrameTopLeftPoint:place.origin];
           }),
           @"raise" : immediate(^(NSWindow* window, Fields __unused fields) {
             [window orderFrontRegardless];
           }),
           @"close" : ^(Fields fields){
               [stage closeWindowAt:static_cast<NSUInteger>(fields[1].integerValue)];
}
,
}
;
}

/// Something else takes its place: the window itself is to go from memory, and from accessibility with that.
- (void)closeWindowAt:(NSUInteger)index {
  @autoreleasepool {
    [_windows[index] close];
    _windows[index] = [[NSWindow alloc] init];
  }
  [self done];
}

+ (NSDictionary*)programCommandsOf:(__weak StageCommands*)stage {
  return @{@"activate" : ^(Fields __unused fields){
      [stage activate];
}
,
    @"has-focus" : ^(Fields __unused fields) {
      [stage tellFocus];
    },
    @"hide" : ^(Fields __unused fields) {
      [stage after:NSApplicationDidHideNotification
                of:NSApp
             begin:^{
               [NSApp hide:nil];
             }];
    },
    @"unhide" : ^(Fields __unused fields) {
      [stage after:NSApplicationDidUnhideNotification
                of:NSApp
             begin:^{
               [NSApp unhideWithoutActivation];
             }];
    },
    @"hang" : ^(Fields __unused fields) {
      [stage hang];
    },
    @"input" : ^(Fields __unused fields) {
      [stage answerWith:stage.input.entries];
    },
    @"journal" : ^(Fields __unused fields) {
      [stage answerWith:stage.journal];
    },
}
;
}

- (StageInput*)input {
  return _input;
}

- (Fields)journal {
  return [_journal copy];
}

@end
