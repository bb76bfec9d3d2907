#include "platform/macos/MainBundle.hpp"

#import <Foundation/Foundation.h>

#include "platform/macos/FoundationText.hpp"

namespace tallyfox::mac_os {
namespace {

std::optional<std::string> text(id value) {
  if (![value isKindOfClass:NSString.class]) return std::nullopt;
  return utf8Text(value);
}

std::map<std::string, std::string> stringMembers(NSDictionary* list) {
  std::map<std::string, std::string> members;
  for (id key in list) {
    const auto name = text(key);
    const auto value = text(list[key]);
    if (name && value) members.emplace(*name, *value);
  }
  return members;
}

}  // namespace

std::optional<std::string> MainBundle::bundleIdentifier() {
  @autoreleasepool {
    return text(NSBundle.mainBundle.bundleIdentifier);
  }
}

bool MainBundle::isApplicationBundle() {
  @autoreleasepool {
    return [NSBundle.mainBundle.bundleURL.pathExtension isEqualToString:@"app"] != NO;
  }
}

std::optional<std::string> MainBundle::informationValue(const std::string& key) {
  @autoreleasepool {
    return text([NSBundle.mainBundle objectForInfoDictionaryKey:foundationText(key)]);
  }
}

std::string MainBundle::path() {
  @autoreleasepool {
    return utf8Text(NSBundle.mainBundle.bundleURL.URLByResolvingSymlinksInPath.path);
  }
}

std::vector<std::string> MainBundle::applicationDirectories() {
  @autoreleasepool {
    NSURL* const home = NSFileManager.defaultManager.homeDirectoryForCurrentUser;
    NSURL* const own = [home URLByAppendingPathComponent:@"Applications" isDirectory:YES].standardizedURL;
    return {"/Applications", utf8Text(own.path)};
  }
}

std::optional<std::expected<std::map<std::string, std::string>, std::string>> MainBundle::propertyList(
    const std::string& name) {
  using Result = std::expected<std::map<std::string, std::string>, std::string>;
  @autoreleasepool {
    if (name.empty() || name.contains('/')) return std::nullopt;
    NSString* const path = [NSBundle.mainBundle pathForResource:foundationText(name) ofType:@"plist"];
    if (path == nil) return std::nullopt;
    NSError* error = nil;
    NSData* const content = [NSData dataWithContentsOfFile:path options:0 error:&error];
    if (content == nil) return Result(std::unexpected(errorText(error)));
    id list = [NSPropertyListSerialization propertyListWithData:content
                                                        options:NSPropertyListImmutable
                                                         format:nil
                                                          error:&error];
    if (list == nil) return Result(std::unexpected(errorText(error)));
    if (![list isKindOfClass:NSDictionary.class])
      return Result(std::unexpected("The property list is not a dictionary."));
    return Result(stringMembers(list));
  }
}

}  // namespace tallyfox::mac_os
