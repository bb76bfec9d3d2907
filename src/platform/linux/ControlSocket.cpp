#include "platform/linux/ControlSocket.hpp"

#include <fmt/format.h>
#include <unistd.h>

#include "base/Require.hpp"

namespace tallyfox::linux_os {

std::expected<PrivateDirectory, FileError> controlDirectory(const UserDirectories& directories, bool create) {
  const auto base = PrivateDirectory::open(directories.runtime.value_or(directories.temporary), false);
  if (!base) return std::unexpected(base.error());
  return base->inside(directories.runtime ? "tallyfox" : fmt::format("tallyfox-{}", ::geteuid()), create);
}

sockaddr_un socketAddress(const PrivateDirectory& directory, const std::string& name) {
  // By the descriptor: an address has room for 107 bytes, and nobody can turn the path aside meanwhile.
  const std::string path = fmt::format("/proc/self/fd/{}/{}", directory.descriptor(), name);
  sockaddr_un address{};
  require(path.size() < sizeof address.sun_path, "the name of a socket is short");
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, path.size());
  return address;
}

std::optional<ucred> peerCredentials(int socket) {
  ucred credentials{};
  socklen_t size = sizeof credentials;
  if (::getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &credentials, &size) != 0) return std::nullopt;
  return credentials;
}

}  // namespace tallyfox::linux_os
