#pragma once

// The keyring of a Linux desktop on a bus of the test's own, with all its files in a folder of the test's own.

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstring>
#include <stdexcept>
#include <string>

#include "platform/PrivateBus.hpp"

namespace tallyfox {

/// A gnome-keyring daemon. Its "login" collection, the default one, is made by the first start with its password.
class KeyringDaemon {
 public:
  explicit KeyringDaemon(const PrivateBus& bus) : bus_(bus), connection_(bus.connect()) {
    for (const char* name : {"home", "run", "data", "control"})
      std::filesystem::create_directory(folder_ / name);
    std::filesystem::permissions(folder_ / "control", std::filesystem::perms::owner_all);
    writeFile(folder_ / "password", password);
  }
  ~KeyringDaemon() { end(); }
  KeyringDaemon(const KeyringDaemon&) = delete;
  KeyringDaemon& operator=(const KeyringDaemon&) = delete;

  void startUnlocked() { start("--unlock", folder_ / "password"); }
  /// What was made before is there but locked; before the first unlocked start there is no collection.
  void startLocked() { start(nullptr, "/dev/null"); }

  void lock() {
    const int result =
        sd_bus_call_method(connection_.get(), service, "/org/freedesktop/secrets", "org.freedesktop.Secret.Service",
                           "Lock", nullptr, nullptr, "ao", 1, "/org/freedesktop/secrets/collection/login");
    if (result < 0) throw std::runtime_error("the keyring does not lock");
  }

  /// As the owner's login does it: through the daemon's control socket, without a dialog.
  void unlock() {
    const int end = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string path = (folder_ / "control/control").string();
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    // A zero byte for the credentials; then length, operation and password, each number with four bytes.
    std::string request(1, '\0');
    for (const std::size_t number : {12 + password.size(), std::size_t{1}, password.size()})
      request += {'\0', '\0', '\0', static_cast<char>(number)};
    request += password;
    std::array<char, 8> answer{};
    const bool isUnlocked = ::connect(end, reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0 &&
                            ::send(end, request.data(), request.size(), MSG_NOSIGNAL) > 0 &&
                            ::recv(end, answer.data(), answer.size(), MSG_WAITALL) == 8 && answer[7] == 0;
    ::close(end);
    if (!isUnlocked) throw std::runtime_error("the keyring does not unlock");
  }

  void setStopped(bool isStopped) const { ::kill(process_, isStopped ? SIGSTOP : SIGCONT); }
  void end() {
    if (process_ < 0) return;
    ::kill(process_, SIGKILL);
    ::waitpid(process_, nullptr, 0);
    process_ = -1;
    awaitOwner(false);
  }

 private:
  static constexpr const char* service = "org.freedesktop.secrets";
  inline static const std::string password = "correct horse";

  void start(const char* option, const std::filesystem::path& input) {
    const std::string control = "--control-directory=" + (folder_ / "control").string();
    std::array<std::string, 6> variables{"PATH=/usr/bin:/bin",
                                         "HOME=" + (folder_ / "home").string(),
                                         "XDG_RUNTIME_DIR=" + (folder_ / "run").string(),
                                         "XDG_DATA_HOME=" + (folder_ / "data").string(),
                                         "DBUS_SESSION_BUS_ADDRESS=" + bus_.address(),
                                         "LANG=C.UTF-8"};
    std::array<char*, 7> environment{};
    for (std::size_t i = 0; i < variables.size(); ++i)
      environment[i] = variables[i].data();
    const char* arguments[] = {"gnome-keyring-daemon", "--foreground", "--components=secrets",
                               control.c_str(),        option,         nullptr};
    posix_spawn_file_actions_t files;
    ::posix_spawn_file_actions_init(&files);
    ::posix_spawn_file_actions_addopen(&files, STDIN_FILENO, input.c_str(), O_RDONLY, 0);
    for (const int output : {STDOUT_FILENO, STDERR_FILENO})
      ::posix_spawn_file_actions_addopen(&files, output, "/dev/null", O_WRONLY, 0);
    const int result = ::posix_spawnp(&process_, arguments[0], &files, nullptr, const_cast<char* const*>(arguments),
                                      environment.data());
    ::posix_spawn_file_actions_destroy(&files);
    if (result != 0) throw std::runtime_error("gnome-keyring-daemon cannot be started");
    awaitOwner(true);
  }

  void awaitOwner(bool isOwned) {
    for (int round = 0; round < 2000; ++round) {
      sd_bus_creds* owner = nullptr;
      const int result = sd_bus_get_name_creds(connection_.get(), service, SD_BUS_CREDS_UNIQUE_NAME, &owner);
      sd_bus_creds_unref(owner);
      if ((result >= 0) == isOwned) return;
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    throw std::runtime_error("the keyring did not come or go");
  }

  const PrivateBus& bus_;
  linux_os::SdBusHandle connection_;
  TemporaryFolder folder_;
  pid_t process_ = -1;
};

}  // namespace tallyfox
