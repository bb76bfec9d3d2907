#pragma once

#include <glib-object.h>

namespace tallyfox::linux_os {

/// A kind of SecretService that never opens a dialog. libsecret shows whatever prompt a service answers with, even
/// amid a harmless call whose keyring was locked a moment before; a background agent must not put a password dialog
/// before its owner (least of all one that it would then report itself), so here such a call fails with
/// SECRET_ERROR_IS_LOCKED. It also keeps to the connection that it is made with ("g-connection"): the shared one, which
/// libsecret would take, ends the process together with the bus.
[[nodiscard]] GType promptlessSecretServiceType();

}  // namespace tallyfox::linux_os
