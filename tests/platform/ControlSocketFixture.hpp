#pragma once

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "platform/TemporaryFolder.hpp"
#include "platform/linux/ControlSocket.hpp"
#include "platform/linux/FileDescriptorWatcher.hpp"

namespace tallyfox::linux_os {

/// Watches descriptors that a test looks at when it likes.
class ManualWatcher : public FileDescriptorWatcher {
 public:
  std::unique_ptr<Subscription> watchReadable(int fd, std::function<void()> onReadable) override {
    const std::uint64_t number = ++count_;
    (*watches_)[number] = {fd, std::move(onReadable)};
    return std::make_unique<Watch>(watches_, number);
  }

  /// Calls back until nothing is readable any more, and gives how many calls that took.
  int pump() {
    for (int calls = 0; calls < 1000; ++calls)
      if (!callOne()) return calls;
    ADD_FAILURE() << "a watch is never read empty";
    return 0;
  }

 private:
  using Watches = std::map<std::uint64_t, std::pair<int, std::function<void()>>>;
  struct Watch : Subscription {
    Watch(std::shared_ptr<Watches> all, std::uint64_t own) : watches(std::move(all)), number(own) {}
    ~Watch() override { watches->erase(number); }
    std::shared_ptr<Watches> watches;
    std::uint64_t number;
  };

  bool callOne() {
    for (const auto& [number, watch] : *watches_) {
      pollfd readable{watch.first, POLLIN, 0};
      if (::poll(&readable, 1, 0) != 1) continue;
      const auto callback = watch.second;  // which may end its own watch
      callback();
      return true;
    }
    return false;
  }

  std::shared_ptr<Watches> watches_ = std::make_shared<Watches>();
  std::uint64_t count_ = 0;
};

/// A program at the other end of the socket; never waits.
class TestClient {
 public:
  explicit TestClient(const UserDirectories& directories)
      : socket_(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)) {
    const auto directory = controlDirectory(directories, false);
    if (!directory) return;
    const sockaddr_un address = socketAddress(*directory, controlSocketName);
    isConnected_ = ::connect(socket_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
  }

  [[nodiscard]] bool isConnected() const { return isConnected_; }
  void send(const std::string& text) const {
    EXPECT_EQ(::send(socket_.get(), text.data(), text.size(), MSG_NOSIGNAL), static_cast<ssize_t>(text.size()));
  }
  /// What has come since; sets atEnd() where nothing more can.
  [[nodiscard]] std::string received() {
    std::string text;
    std::array<char, 65536> buffer{};
    ssize_t count = 0;
    while ((count = ::recv(socket_.get(), buffer.data(), buffer.size(), MSG_DONTWAIT)) > 0)
      text.append(buffer.data(), static_cast<std::size_t>(count));
    atEnd_ = count == 0 || errno != EAGAIN;
    return text;
  }
  [[nodiscard]] bool atEnd() const { return atEnd_; }

 private:
  posix_os::FileDescriptor socket_;
  bool isConnected_ = false;
  bool atEnd_ = false;
};

/// User directories in a folder of their own.
struct ControlFolder {
  ControlFolder() { directories.runtime = folder.path(); }
  [[nodiscard]] PrivateDirectory directory() const { return controlDirectory(directories, true).value(); }

  TemporaryFolder folder;
  UserDirectories directories;
};

}  // namespace tallyfox::linux_os
