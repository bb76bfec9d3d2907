#include "platform/memory/MemoryServices.hpp"

namespace tallyfox::memory {

namespace {

std::string operationName(MemoryKeychain::Operation operation) {
  switch (operation) {
    case MemoryKeychain::Operation::update:
      return "update";
    case MemoryKeychain::Operation::add:
      return "add";
    case MemoryKeychain::Operation::copyMatching:
      return "copyMatching";
    case MemoryKeychain::Operation::remove:
      return "remove";
  }
  return {};
}

std::tuple<bool, std::string, std::string> keyOf(const KeychainItem& item) {
  return {item.useDataProtectionKeychain, item.service, item.account};
}

}  // namespace

/// Notes the call; gives the status when the call is to fail before it looks at any item.
std::optional<KeychainStatus> MemoryKeychain::begin(Operation operation, const KeychainItem& item) {
  calls_.push_back(operationName(operation) + (item.useDataProtectionKeychain ? " data-protection" : " legacy"));
  const auto planned = failures_.find({operation, item.useDataProtectionKeychain});
  if (planned != failures_.end() && !planned->second.empty()) {
    const KeychainStatus status = planned->second.front();
    planned->second.erase(planned->second.begin());
    return status;
  }
  if (item.useDataProtectionKeychain && !dataProtectionAvailable_) return keychain_status::missingEntitlement;
  return std::nullopt;
}

KeychainStatus MemoryKeychain::update(const KeychainItem& item, ByteView value) {
  const std::scoped_lock lock(mutex_);
  if (const auto failure = begin(Operation::update, item)) return *failure;
  const auto found = items_.find(keyOf(item));
  if (found == items_.end()) return keychain_status::itemNotFound;
  found->second.assign(value.begin(), value.end());
  return keychain_status::success;
}

KeychainStatus MemoryKeychain::add(const KeychainItem& item, ByteView value) {
  const std::scoped_lock lock(mutex_);
  if (const auto failure = begin(Operation::add, item)) return *failure;
  const bool isNew = items_.try_emplace(keyOf(item), value.begin(), value.end()).second;
  return isNew ? keychain_status::success : keychain_status::duplicateItem;
}

std::expected<Bytes, KeychainStatus> MemoryKeychain::copyMatching(const KeychainItem& item) {
  const std::scoped_lock lock(mutex_);
  if (const auto failure = begin(Operation::copyMatching, item)) return std::unexpected(*failure);
  const auto found = items_.find(keyOf(item));
  if (found == items_.end()) return std::unexpected(keychain_status::itemNotFound);
  Bytes value = found->second;
  if (corruptReads_) value.push_back(0);
  return value;
}

KeychainStatus MemoryKeychain::remove(const KeychainItem& item) {
  const std::scoped_lock lock(mutex_);
  if (const auto failure = begin(Operation::remove, item)) return *failure;
  return items_.erase(keyOf(item)) > 0 ? keychain_status::success : keychain_status::itemNotFound;
}

void MemoryKeychain::failNext(Operation operation, bool useDataProtectionKeychain, KeychainStatus status) {
  const std::scoped_lock lock(mutex_);
  failures_[{operation, useDataProtectionKeychain}].push_back(status);
}

void MemoryKeychain::put(const KeychainItem& item, Bytes value) {
  const std::scoped_lock lock(mutex_);
  items_.insert_or_assign(keyOf(item), std::move(value));
}

std::optional<Bytes> MemoryKeychain::stored(const KeychainItem& item) const {
  const std::scoped_lock lock(mutex_);
  const auto found = items_.find(keyOf(item));
  if (found == items_.end()) return std::nullopt;
  return found->second;
}

}  // namespace tallyfox::memory
