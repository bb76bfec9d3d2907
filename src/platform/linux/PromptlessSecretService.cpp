#include "platform/linux/PromptlessSecretService.hpp"

#include <libsecret/secret.h>

namespace tallyfox::linux_os {
namespace {

constexpr const char* refusal = "Only the owner can unlock this keyring.";

GVariant* promptNow(SecretService* /*service*/, SecretPrompt* /*prompt*/, GCancellable* /*cancellable*/,
                    const GVariantType* /*type*/, GError** error) {
  ::g_set_error_literal(error, SECRET_ERROR, SECRET_ERROR_IS_LOCKED, refusal);
  return nullptr;
}

void beginPrompt(SecretService* service, SecretPrompt* /*prompt*/, const GVariantType* /*type*/,
                 GCancellable* cancellable, GAsyncReadyCallback callback, gpointer data) {
  GTask* task = ::g_task_new(service, cancellable, callback, data);
  ::g_task_return_new_error(task, SECRET_ERROR, SECRET_ERROR_IS_LOCKED, "%s", refusal);
  ::g_object_unref(task);
}

GVariant* endPrompt(SecretService* /*service*/, GAsyncResult* result, GError** error) {
  return static_cast<GVariant*>(::g_task_propagate_pointer(G_TASK(result), error));
}

void initializeClass(gpointer created, gpointer /*data*/) {
  auto* service = static_cast<SecretServiceClass*>(created);
  // libsecret's own constructor puts the shared session bus in the place of the connection that it is given.
  G_OBJECT_CLASS(created)->constructor = G_OBJECT_CLASS(::g_type_class_peek(G_TYPE_DBUS_PROXY))->constructor;
  service->prompt_sync = promptNow;
  service->prompt_async = beginPrompt;
  service->prompt_finish = endPrompt;
}

}  // namespace

GType promptlessSecretServiceType() {
  static const GType type = ::g_type_register_static_simple(SECRET_TYPE_SERVICE, "TallyfoxPromptlessSecretService",
                                                            sizeof(SecretServiceClass), initializeClass,
                                                            sizeof(SecretService), nullptr, G_TYPE_FLAG_NONE);
  return type;
}

}  // namespace tallyfox::linux_os
