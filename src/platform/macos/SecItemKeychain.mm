#include "platform/macos/SecItemKeychain.hpp"

#import <Foundation/Foundation.h>
#import <Security/Security.h>

#include "platform/macos/CFRef.hpp"
#include "platform/macos/FoundationText.hpp"

namespace tallyfox::mac_os {
namespace {

static_assert(keychain_status::success == errSecSuccess);
static_assert(keychain_status::duplicateItem == errSecDuplicateItem);
static_assert(keychain_status::itemNotFound == errSecItemNotFound);
static_assert(keychain_status::missingEntitlement == errSecMissingEntitlement);
static_assert(keychain_status::notAvailable == errSecNotAvailable);
static_assert(keychain_status::interactionNotAllowed == errSecInteractionNotAllowed);

NSMutableDictionary* query(const KeychainItem& item) {
  return [@{
    (__bridge id)kSecClass : (__bridge id)kSecClassGenericPassword,
    (__bridge id)kSecAttrService : foundationText(item.service),
    (__bridge id)kSecAttrAccount : foundationText(item.account),
    (__bridge id)kSecUseDataProtectionKeychain : item.useDataProtectionKeychain ? @YES : @NO,
  } mutableCopy];
}

/// Does not copy the secret: good as long as `value` is.
NSData* secret(ByteView value) {
  if (value.empty()) return [NSData data];
  return [NSData dataWithBytesNoCopy:const_cast<std::uint8_t*>(value.data()) length:value.size() freeWhenDone:NO];
}

}  // namespace

KeychainStatus SecItemKeychain::update(const KeychainItem& item, ByteView value) {
  @autoreleasepool {
    NSDictionary* const change = @{(__bridge id)kSecValueData : secret(value)};
    return SecItemUpdate((__bridge CFDictionaryRef)query(item), (__bridge CFDictionaryRef)change);
  }
}

KeychainStatus SecItemKeychain::add(const KeychainItem& item, ByteView value) {
  @autoreleasepool {
    NSMutableDictionary* const attributes = query(item);
    attributes[(__bridge id)kSecAttrAccessible] = (__bridge id)kSecAttrAccessibleAfterFirstUnlockThisDeviceOnly;
    attributes[(__bridge id)kSecValueData] = secret(value);
    return SecItemAdd((__bridge CFDictionaryRef)attributes, nullptr);
  }
}

std::expected<Bytes, KeychainStatus> SecItemKeychain::copyMatching(const KeychainItem& item) {
  @autoreleasepool {
    NSMutableDictionary* const wanted = query(item);
    wanted[(__bridge id)kSecReturnData] = @YES;
    wanted[(__bridge id)kSecMatchLimit] = (__bridge id)kSecMatchLimitOne;
    CFTypeRef found = nullptr;
    const OSStatus status = SecItemCopyMatching((__bridge CFDictionaryRef)wanted, &found);
    const auto result = CFRef<CFTypeRef>::adopt(found);
    if (status != errSecSuccess) return std::unexpected(status);
    // An item may have no bytes at all.
    if (!result) return Bytes{};
    if (CFGetTypeID(result.get()) != CFDataGetTypeID()) return std::unexpected(errSecDecode);
    const auto data = static_cast<CFDataRef>(result.get());
    Bytes bytes(static_cast<std::size_t>(CFDataGetLength(data)));
    CFDataGetBytes(data, CFRangeMake(0, CFDataGetLength(data)), bytes.data());
    return bytes;
  }
}

KeychainStatus SecItemKeychain::remove(const KeychainItem& item) {
  @autoreleasepool {
    return SecItemDelete((__bridge CFDictionaryRef)query(item));
  }
}

}  // namespace tallyfox::mac_os
