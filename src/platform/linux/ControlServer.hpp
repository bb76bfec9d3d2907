#pragma once

#include <sys/types.h>
#include <unistd.h>

#include <cstdint>
#include <expected>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "base/Lifetime.hpp"
#include "base/Queue.hpp"
#include "platform/linux/FileDescriptorWatcher.hpp"
#include "platform/linux/PrivateFiles.hpp"
#include "platform/posix/FileDescriptor.hpp"

namespace tallyfox::linux_os {

/// Takes commands on a local socket of mode 0600: one line in, one line out, then the connection ends. Connections of
/// other users are closed unheard. No client can hold up the main queue: nothing here waits for one, and one that has
/// not sent its line in time is sent away. Main thread.
class ControlServer {
 public:
  /// Gives the answer to a line, both without the line break. The answer has at most limits::controlAnswerBytes.
  using Handler = std::function<std::string(std::string_view line)>;

  struct Dependencies {
    FileDescriptorWatcher& watcher;
    SerialQueue& mainQueue;
    Handler handler;
    uid_t user = ::geteuid();       ///< whose connections are taken
    Seconds patience = Seconds(2);  ///< for a client's whole line; ours send it with the connection
  };

  /// Puts its socket in the place of whatever has the name in `directory`: the socket of an agent that died, or of an
  /// older one, whose clients it then gets. Fails with the reason when that cannot be.
  [[nodiscard]] static std::expected<std::unique_ptr<ControlServer>, FileError> open(PrivateDirectory directory,
                                                                                     Dependencies dependencies);
  /// Takes its own socket away, never that of another server.
  ~ControlServer();
  ControlServer(const ControlServer&) = delete;
  ControlServer& operator=(const ControlServer&) = delete;

 private:
  struct Connection {
    posix_os::FileDescriptor socket;
    std::string received;
    std::unique_ptr<Subscription> readable;
    ScheduledHandle deadline;
  };

  ControlServer(PrivateDirectory directory, posix_os::FileDescriptor socket, ino_t file, Dependencies dependencies);
  void listen();
  void acceptOne();
  void receive(std::uint64_t number);
  void giveUp(std::uint64_t number);
  void finish(std::uint64_t number, const std::string& answer);
  void close(std::uint64_t number);

  PrivateDirectory directory_;
  posix_os::FileDescriptor socket_;
  ino_t file_;
  Dependencies dependencies_;
  std::unique_ptr<Subscription> acceptable_;
  ScheduledHandle relief_;  ///< while there is no descriptor left for one more connection
  std::map<std::uint64_t, Connection> connections_;
  std::uint64_t connectionCount_ = 0;
  Lifetime lifetime_;
};

}  // namespace tallyfox::linux_os
