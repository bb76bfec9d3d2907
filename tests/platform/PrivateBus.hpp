#pragma once

// A session bus of the test's own, and programs on it.

#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

#include <atomic>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>

#include "platform/TemporaryFolder.hpp"
#include "platform/linux/SdBus.hpp"

namespace tallyfox {

/// A dbus-daemon on a socket in a folder of its own.
class PrivateBus {
 public:
  PrivateBus() : address_("unix:path=" + (folder_ / "bus").string()) {
    // A configuration of its own: no program of the machine is started by a call.
    const auto configuration = folder_ / "bus.conf";
    writeFile(configuration, "<busconfig><type>session</type><listen>" + address_ +
                                 "</listen><policy context=\"default\"><allow send_destination=\"*\"/>"
                                 "<allow eavesdrop=\"true\"/><allow own=\"*\"/></policy></busconfig>");
    const std::string option = "--config-file=" + configuration.string();
    const char* arguments[] = {"dbus-daemon", "--nofork", "--nosyslog", option.c_str(), nullptr};
    if (::posix_spawnp(&process_, "dbus-daemon", nullptr, nullptr, const_cast<char* const*>(arguments), environ) != 0)
      throw std::runtime_error("dbus-daemon cannot be started");
  }
  ~PrivateBus() {
    ::kill(process_, SIGTERM);
    ::waitpid(process_, nullptr, 0);
  }
  PrivateBus(const PrivateBus&) = delete;
  PrivateBus& operator=(const PrivateBus&) = delete;

  [[nodiscard]] const std::string& address() const { return address_; }
  void setStopped(bool isStopped) const { ::kill(process_, isStopped ? SIGSTOP : SIGCONT); }
  /// A connection, once the daemon listens.
  [[nodiscard]] linux_os::SdBusHandle connect() const {
    for (int round = 0; round < 1000; ++round) {
      auto bus = linux_os::connectedBus(address_, std::chrono::milliseconds(5000));
      if (bus) return std::move(*bus);
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    throw std::runtime_error("the bus does not answer");
  }

 private:
  TemporaryFolder folder_;
  std::string address_;
  pid_t process_ = -1;
};

/// A program that owns a name and answers the calls to one object and those below it.
class BusProgram {
 public:
  using Answer = std::function<int(sd_bus_message* call)>;

  BusProgram(const PrivateBus& bus, const char* name, const char* object, Answer answer)
      : answer_(std::move(answer)), bus_(bus.connect()) {
    sd_bus_add_fallback(bus_.get(), nullptr, object, handle, this);
    if (sd_bus_request_name(bus_.get(), name, 0) < 0) throw std::runtime_error("the name is taken");
    thread_ = std::thread([this] {
      while (!isOver_) {
        while (sd_bus_process(bus_.get(), nullptr) > 0) {
        }
        if (sd_bus_wait(bus_.get(), 20'000) < 0) return;
      }
    });
  }
  ~BusProgram() {
    isOver_ = true;
    thread_.join();
  }

 private:
  static int handle(sd_bus_message* message, void* self, sd_bus_error*) {
    return static_cast<BusProgram*>(self)->answer_(message);
  }
  Answer answer_;
  linux_os::SdBusHandle bus_;
  std::atomic<bool> isOver_ = false;
  std::thread thread_;
};

}  // namespace tallyfox
