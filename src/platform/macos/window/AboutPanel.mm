#include "platform/macos/window/AboutPanel.hpp"

#import <AppKit/AppKit.h>

#include "platform/macos/FoundationText.hpp"
#include "platform/macos/window/Localized.hpp"
#include "ui/AboutTexts.hpp"

namespace tallyfox::mac_os {
namespace {

constexpr const char* notices =
    "This program uses OpenSSL under the Apache License, ICU under the Unicode License, and fmt, JSON for Modern C++, "
    "the QR Code generator library and Sparkle under the MIT License.";

NSAttributedString* credits() {
  NSMutableParagraphStyle* style = [[NSMutableParagraphStyle alloc] init];
  style.alignment = NSTextAlignmentCenter;
  style.paragraphSpacing = NSFont.smallSystemFontSize / 2;
  NSString* text = [@[ localized(about_texts::purpose), localized(about_texts::licence), localized(notices) ]
      componentsJoinedByString:@"\n"];
  return [[NSAttributedString alloc] initWithString:text
                                         attributes:@{
                                           NSFontAttributeName : [NSFont systemFontOfSize:NSFont.smallSystemFontSize],
                                           NSForegroundColorAttributeName : NSColor.labelColor,
                                           NSParagraphStyleAttributeName : style
                                         }];
}

}  // namespace

void showAboutPanel(const std::string& version) {
  [NSApp orderFrontStandardAboutPanelWithOptions:@{
    NSAboutPanelOptionApplicationName : localized("Tallyfox"),
    NSAboutPanelOptionApplicationVersion : foundationText(version),
    // Else the bundle's, which is the same, stands behind it once more.
    NSAboutPanelOptionVersion : @"",
    NSAboutPanelOptionCredits : credits()
  }];
  [NSApp activateIgnoringOtherApps:YES];
}

}  // namespace tallyfox::mac_os
