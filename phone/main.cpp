// The phone on the command line: reads arguments, connects the parts, and exits as the command says.

#include <fmt/format.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <iterator>

#include "base/Limits.hpp"
#include "phone/PhoneCommand.hpp"
#include "platform/linux/BeastWebSocketTransport.hpp"
#include "platform/linux/LinuxClock.hpp"
#include "platform/linux/MainEventLoop.hpp"
#include "platform/linux/NetworkThread.hpp"
#include "platform/linux/ProcessEnvironment.hpp"
#include "platform/linux/UserDirectories.hpp"
#include "platform/posix/StandardOutputConsole.hpp"

namespace tallyfox::phone {
namespace {

constexpr int interrupted = 130;

std::string contentOf(std::istream& stream) {
  std::string content(limits::storedFileBytes, '\0');
  stream.read(content.data(), static_cast<std::streamsize>(content.size()));
  content.resize(static_cast<std::size_t>(stream.gcount()));
  return content;
}

/// The pairing code from the named file, or from standard input.
std::optional<std::string> readPairingCode(const PhoneOptions& options) {
  if (options.operands.empty() || options.operands.front() == "-") return contentOf(std::cin);
  std::ifstream file(options.operands.front(), std::ios::binary);
  if (!file) return std::nullopt;
  return contentOf(file);
}

std::string machineName() {
  std::string name(64, '\0');
  if (::gethostname(name.data(), name.size()) != 0) return "Command line";
  name.resize(name.find('\0') == std::string::npos ? name.size() : name.find('\0'));
  return name.empty() ? "Command line" : name + " (command line)";
}

int run(const PhoneOptions& options) {
  posix_os::StandardOutputConsole lines;
  posix_os::StandardOutputConsole errors(STDERR_FILENO);
  linux_os::LinuxClock clock;
  linux_os::ProcessEnvironment environment;
  PhoneOutput output(lines, errors, clock, options.json);
  std::string code;
  if (options.verb == PhoneVerb::pair) {
    auto read = readPairingCode(options);
    if (!read) {
      output.error("The file with the pairing code cannot be read.");
      return exit_status::error;
    }
    code = std::move(*read);
  }
  PhoneStore store(linux_os::UserDirectories::from(environment).dataHome);
  linux_os::MainEventLoop loop;
  linux_os::NetworkThread network(linux_os::ProxySettings::from(environment));
  linux_os::BeastWebSocketTransport transport(network);
  int status = exit_status::error;
  const auto finish = [&](int exitStatus) {
    status = exitStatus;
    loop.quit();
  };
  const auto signals = loop.watchTerminationSignals([&] { finish(interrupted); });
  const auto command =
      makePhoneCommand(options, std::move(code), machineName(), {transport, loop, clock, store, output}, finish);
  loop.post([&command] { command->start(); });
  loop.run();
  return status;
}

}  // namespace
}  // namespace tallyfox::phone

int main(int argc, char** argv) {
  using namespace tallyfox::phone;
  std::signal(SIGPIPE, SIG_IGN);
  const auto options = PhoneOptions::parsed(std::vector<std::string>(argv + 1, argv + argc));
  if (!options) {
    fmt::print(stderr, "tallyfox-phone: {} See tallyfox-phone --help.\n", options.error());
    return exit_status::usage;
  }
  if (options->verb == PhoneVerb::help) {
    fmt::print("{}", phoneUsage());
    return exit_status::done;
  }
  if (options->verb == PhoneVerb::version) {
    fmt::print("tallyfox-phone {}\n", TALLYFOX_VERSION);
    return exit_status::done;
  }
  return run(*options);
}
