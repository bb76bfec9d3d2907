#include "platform/macos/MacEnvironment.hpp"

#import <Foundation/Foundation.h>
#include <fmt/format.h>

#include <cstdlib>

#include "platform/macos/FoundationText.hpp"

namespace tallyfox::mac_os {

std::optional<std::string> MacEnvironment::value(const std::string& name) {
  const char* text = std::getenv(name.c_str());
  if (text == nullptr) return std::nullopt;
  return text;
}

std::string MacEnvironment::timeZoneIdentifier() {
  @autoreleasepool {
    // What the process once learnt would otherwise hold for the rest of its life.
    [NSTimeZone resetSystemTimeZone];
    NSTimeZone* const zone = NSTimeZone.systemTimeZone;
    std::string name = utf8Text(zone.name);
    // Zones that are no more than an offset are named without a colon ("GMT+0530").
    if (!name.empty() && !(name.starts_with("GMT") && name.size() > 3)) return name;
    const NSInteger offset = zone.secondsFromGMT;
    const NSInteger minutes = (offset < 0 ? -offset : offset) / 60;
    return fmt::format("GMT{}{:02}:{:02}", offset < 0 ? '-' : '+', minutes / 60, minutes % 60);
  }
}

}  // namespace tallyfox::mac_os
