#pragma once

#include <sys/socket.h>
#include <sys/un.h>

#include <expected>
#include <optional>
#include <string>

#include "platform/linux/PrivateFiles.hpp"
#include "platform/linux/UserDirectories.hpp"

namespace tallyfox::linux_os {

/// What both ends of the local socket need on which the running agent takes commands. The socket lies in a folder that
/// only its user can enter.
inline constexpr const char* controlSocketName = "control.socket";

/// $XDG_RUNTIME_DIR/tallyfox; without that variable the folder tallyfox-UID of the temporary folder. Refused when it is
/// not this user's own. Unless `create`, a missing one is a failure with isMissing().
[[nodiscard]] std::expected<PrivateDirectory, FileError> controlDirectory(const UserDirectories& directories,
                                                                          bool create);

/// The address of a socket called `name` in `directory`, as long as that is held open.
[[nodiscard]] sockaddr_un socketAddress(const PrivateDirectory& directory, const std::string& name);

/// Who is at the other end of a local stream socket; absent when the system does not tell.
[[nodiscard]] std::optional<ucred> peerCredentials(int socket);

}  // namespace tallyfox::linux_os
