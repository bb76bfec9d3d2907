#include "platform/linux/SecretServiceKeychain.hpp"

#include <libsecret/secret.h>

#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <vector>

#include "base/Text.hpp"
#include "platform/linux/GObjectHandle.hpp"
#include "platform/linux/PromptlessSecretService.hpp"
#include "platform/linux/WorkerThread.hpp"

namespace tallyfox::linux_os {
namespace {

using namespace keychain_status;
template <typename Value>
using Attempt = std::expected<Value, KeychainStatus>;

/// For everything that one keychain call asks. A service that is started by this very call may take a moment; the main
/// thread may wait for it.
constexpr std::chrono::milliseconds answerTime{3000};

struct TableReleaser {
  void operator()(GHashTable* table) const { ::g_hash_table_unref(table); }
};
using Attributes = std::unique_ptr<GHashTable, TableReleaser>;
struct ValueReleaser {
  void operator()(SecretValue* value) const { ::secret_value_unref(value); }
};
/// A copy of a secret in memory that libsecret keeps from the swap file and wipes.
using Secret = std::unique_ptr<SecretValue, ValueReleaser>;

const SecretSchema* schema() {
  static const SecretSchema* const made =
      ::secret_schema_new("com.tallyfox.agent", SECRET_SCHEMA_NONE, "service", SECRET_SCHEMA_ATTRIBUTE_STRING,
                          "account", SECRET_SCHEMA_ATTRIBUTE_STRING, nullptr);
  return made;
}

Attributes attributesOf(const KeychainItem& item) {
  return Attributes(
      ::secret_attributes_build(schema(), "service", item.service.c_str(), "account", item.account.c_str(), nullptr));
}

Secret secretOf(ByteView value) {
  return Secret(::secret_value_new(reinterpret_cast<const char*>(value.data()), static_cast<gssize>(value.size()),
                                   "application/octet-stream"));
}

KeychainStatus statusOf(const GErrorHolder& error) {
  return error.matches(SECRET_ERROR, SECRET_ERROR_IS_LOCKED) ? interactionNotAllowed : notAvailable;
}

/// The unlocked default collection, and what of it matches an item.
struct Opened {
  GObjectHandle<SecretService> service;  ///< the others know it only weakly
  GObjectHandle<SecretCollection> collection;
  std::vector<GObjectHandle<SecretItem>> items;
};

Attempt<GObjectHandle<SecretService>> reachedService(const std::string& address, GCancellable* cancellable) {
  constexpr auto asClient = static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                                              G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
  GErrorHolder error;
  const GObjectHandle<GDBusConnection> bus(
      ::g_dbus_connection_new_for_address_sync(address.c_str(), asClient, nullptr, cancellable, error.out()));
  if (!bus) return std::unexpected(error.matches(G_IO_ERROR, G_IO_ERROR_CANCELLED) ? notAvailable : missingEntitlement);
  GErrorHolder refused;
  GObjectHandle<SecretService> service(static_cast<SecretService*>(
      ::g_initable_new(promptlessSecretServiceType(), cancellable, refused.out(), "g-connection", bus.get(), "g-name",
                       "org.freedesktop.secrets", "g-object-path", "/org/freedesktop/secrets", "g-interface-name",
                       "org.freedesktop.Secret.Service", nullptr)));
  if (!service) return std::unexpected(statusOf(refused));
  const std::unique_ptr<char, decltype(&::g_free)> owner(::g_dbus_proxy_get_name_owner(G_DBUS_PROXY(service.get())),
                                                         ::g_free);
  if (!owner) return std::unexpected(missingEntitlement);
  return service;
}

Attempt<Opened> openedFor(const KeychainItem& item, const std::string& address, GCancellable* cancellable) {
  auto service = reachedService(address, cancellable);
  if (!service) return std::unexpected(service.error());
  Opened opened{.service = std::move(*service), .collection = nullptr, .items = {}};
  GErrorHolder error;
  opened.collection.reset(::secret_collection_for_alias_sync(opened.service.get(), SECRET_COLLECTION_DEFAULT,
                                                             SECRET_COLLECTION_NONE, cancellable, error.out()));
  if (error.isSet()) return std::unexpected(statusOf(error));
  if (!opened.collection) return std::unexpected(missingEntitlement);
  if (::secret_collection_get_locked(opened.collection.get()) != 0) return std::unexpected(interactionNotAllowed);

  GErrorHolder unsearched;
  GList* const found = ::secret_collection_search_sync(opened.collection.get(), schema(), attributesOf(item).get(),
                                                       SECRET_SEARCH_ALL, cancellable, unsearched.out());
  for (GList* entry = found; entry != nullptr; entry = entry->next)
    opened.items.emplace_back(static_cast<SecretItem*>(entry->data));
  ::g_list_free(found);
  if (unsearched.isSet()) return std::unexpected(statusOf(unsearched));
  for (const auto& match : opened.items)
    if (::secret_item_get_locked(match.get()) != 0) return std::unexpected(interactionNotAllowed);
  return opened;
}

bool isText(const std::string& name) {
  return name.find('\0') == std::string::npos && isValidUtf8(name);
}

/// Opens the keychain for an item and does `work` there, on a thread of its own, within the time of one call.
template <typename Value>
Attempt<Value> withItem(const KeychainItem& item, const std::string& address,
                        const std::function<Attempt<Value>(const Opened&, GCancellable*)>& work) {
  if (!isText(item.service) || !isText(item.account)) return std::unexpected(notAvailable);
  const GObjectHandle<GCancellable> cancellable(::g_cancellable_new());
  std::promise<Attempt<Value>> promise;
  auto result = promise.get_future();
  std::thread thread = startWorkerThread("keychain", [&] {
    const ThreadMainContext context;
    const auto opened = openedFor(item, address, cancellable.get());
    promise.set_value(opened ? work(*opened, cancellable.get()) : std::unexpected(opened.error()));
  });
  if (result.wait_for(answerTime) != std::future_status::ready) ::g_cancellable_cancel(cancellable.get());
  thread.join();
  return result.get();
}

template <typename Value>
KeychainStatus statusOf(const Attempt<Value>& attempt) {
  return attempt ? success : attempt.error();
}

}  // namespace

KeychainStatus SecretServiceKeychain::update(const KeychainItem& item, ByteView value) {
  return statusOf(
      withItem<bool>(item, sessionBusAddress_, [&](const Opened& opened, GCancellable* cancellable) -> Attempt<bool> {
        if (opened.items.empty()) return std::unexpected(itemNotFound);
        GErrorHolder error;
        if (::secret_item_set_secret_sync(opened.items.front().get(), secretOf(value).get(), cancellable,
                                          error.out()) == 0)
          return std::unexpected(statusOf(error));
        return true;
      }));
}

KeychainStatus SecretServiceKeychain::add(const KeychainItem& item, ByteView value) {
  return statusOf(
      withItem<bool>(item, sessionBusAddress_, [&](const Opened& opened, GCancellable* cancellable) -> Attempt<bool> {
        if (!opened.items.empty()) return std::unexpected(duplicateItem);
        const std::string label = "Tallyfox (" + item.account + ")";
        GErrorHolder error;
        const GObjectHandle<SecretItem> created(
            ::secret_item_create_sync(opened.collection.get(), schema(), attributesOf(item).get(), label.c_str(),
                                      secretOf(value).get(), SECRET_ITEM_CREATE_NONE, cancellable, error.out()));
        if (!created) return std::unexpected(statusOf(error));
        return true;
      }));
}

std::expected<Bytes, KeychainStatus> SecretServiceKeychain::copyMatching(const KeychainItem& item) {
  return withItem<Bytes>(item, sessionBusAddress_,
                         [](const Opened& opened, GCancellable* cancellable) -> Attempt<Bytes> {
                           if (opened.items.empty()) return std::unexpected(itemNotFound);
                           SecretItem* const match = opened.items.front().get();
                           GErrorHolder error;
                           if (::secret_item_load_secret_sync(match, cancellable, error.out()) == 0)
                             return std::unexpected(statusOf(error));
                           const Secret secret(::secret_item_get_secret(match));
                           if (!secret) return std::unexpected(notAvailable);
                           gsize length = 0;
                           const char* const bytes = ::secret_value_get(secret.get(), &length);
                           return Bytes(bytes, bytes + length);
                         });
}

KeychainStatus SecretServiceKeychain::remove(const KeychainItem& item) {
  return statusOf(
      withItem<bool>(item, sessionBusAddress_, [](const Opened& opened, GCancellable* cancellable) -> Attempt<bool> {
        if (opened.items.empty()) return std::unexpected(itemNotFound);
        for (const auto& match : opened.items) {
          GErrorHolder error;
          if (::secret_item_delete_sync(match.get(), cancellable, error.out()) == 0)
            return std::unexpected(statusOf(error));
        }
        return true;
      }));
}

std::string sessionBusAddress(Environment& environment) {
  if (const auto address = environment.value("DBUS_SESSION_BUS_ADDRESS"); address && !address->empty()) return *address;
  const auto runtime = environment.value("XDG_RUNTIME_DIR");
  if (!runtime || !runtime->starts_with('/')) return {};
  const std::unique_ptr<char, decltype(&::g_free)> escaped(::g_dbus_address_escape_value((*runtime + "/bus").c_str()),
                                                           ::g_free);
  return std::string("unix:path=") + escaped.get();
}

}  // namespace tallyfox::linux_os
