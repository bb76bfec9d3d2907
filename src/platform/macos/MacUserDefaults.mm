#include "platform/macos/MacUserDefaults.hpp"

#import <Foundation/Foundation.h>

#include "platform/macos/FoundationText.hpp"
#include "platform/macos/ReferenceDate.hpp"

namespace tallyfox::mac_os {
namespace {

std::optional<DefaultsValue> number(NSNumber* value) {
  if (CFGetTypeID((__bridge CFTypeRef)value) == CFBooleanGetTypeID()) return DefaultsValue(value.boolValue != NO);
  return DefaultsValue(value.doubleValue);
}

std::optional<DefaultsValue> texts(NSArray* value) {
  std::vector<std::string> result;
  for (id entry in value) {
    if (![entry isKindOfClass:NSString.class]) return std::nullopt;
    result.push_back(utf8Text(entry));
  }
  return DefaultsValue(std::move(result));
}

std::optional<DefaultsValue> bytes(NSData* value) {
  const auto* const first = static_cast<const std::uint8_t*>(value.bytes);
  return DefaultsValue(value.length == 0 ? Bytes{} : Bytes(first, first + value.length));
}

std::optional<DefaultsValue> defaultsValue(id value) {
  if ([value isKindOfClass:NSNumber.class]) return number(value);
  if ([value isKindOfClass:NSString.class]) return DefaultsValue(utf8Text(value));
  if ([value isKindOfClass:NSArray.class]) return texts(value);
  if ([value isKindOfClass:NSData.class]) return bytes(value);
  if (![value isKindOfClass:NSDate.class]) return std::nullopt;
  const auto date = dateFromReferenceSeconds(static_cast<NSDate*>(value).timeIntervalSinceReferenceDate);
  return date ? std::optional<DefaultsValue>(*date) : std::nullopt;
}

/// The property list object of each kind of value.
struct Stored {
  id operator()(bool value) const { return value ? @YES : @NO; }
  id operator()(double value) const { return @(value); }
  id operator()(const std::string& value) const { return foundationText(value); }
  id operator()(const std::vector<std::string>& value) const {
    NSMutableArray<NSString*>* const result = [NSMutableArray arrayWithCapacity:value.size()];
    for (const std::string& text : value)
      [result addObject:foundationText(text)];
    return result;
  }
  id operator()(Date value) const { return [NSDate dateWithTimeIntervalSinceReferenceDate:referenceSeconds(value)]; }
  id operator()(const Bytes& value) const { return [NSData dataWithBytes:value.data() length:value.size()]; }
};

}  // namespace

struct MacUserDefaults::Impl {
  NSUserDefaults* defaults;
};

MacUserDefaults::MacUserDefaults(const std::string& domain) : impl_(std::make_unique<Impl>()) {
  @autoreleasepool {
    impl_->defaults = domain.empty() ? NSUserDefaults.standardUserDefaults
                                     : [[NSUserDefaults alloc] initWithSuiteName:foundationText(domain)];
  }
}

MacUserDefaults::~MacUserDefaults() = default;

std::optional<DefaultsValue> MacUserDefaults::object(const std::string& key) {
  @autoreleasepool {
    return defaultsValue([impl_->defaults objectForKey:foundationText(key)]);
  }
}

void MacUserDefaults::setObject(const std::string& key, const DefaultsValue& value) {
  @autoreleasepool {
    [impl_->defaults setObject:std::visit(Stored{}, value) forKey:foundationText(key)];
  }
}

void MacUserDefaults::removeObject(const std::string& key) {
  @autoreleasepool {
    [impl_->defaults removeObjectForKey:foundationText(key)];
  }
}

}  // namespace tallyfox::mac_os
