#include "desktop/DesktopSession.hpp"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <systemd/sd-bus.h>
#include <unistd.h>
#include <xcb/xcb.h>

#include <charconv>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string_view>
#include <thread>

#include "platform/posix/FileDescriptor.hpp"

namespace tallyfox::testing {
namespace {

using SteadyClock = std::chrono::steady_clock;

std::vector<char*> pointersTo(const std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  for (const std::string& text : texts)
    pointers.push_back(const_cast<char*>(text.c_str()));
  pointers.push_back(nullptr);
  return pointers;
}

/// Runs in the new process: only calls that are safe after fork.
[[noreturn]] void becomeCommand(char* const* arguments, char* const* environment, int standardOutput,
                                int standardInput) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  setpgid(0, 0);
  const int null = open("/dev/null", O_RDWR);
  dup2(standardInput < 0 ? null : standardInput, STDIN_FILENO);
  dup2(standardOutput < 0 ? null : standardOutput, STDOUT_FILENO);
  dup2(null, STDERR_FILENO);
  for (int descriptor = 3; descriptor < 256; ++descriptor)
    close(descriptor);
  execvpe(arguments[0], arguments, environment);
  _exit(127);
}

struct Pipe {
  Pipe() {
    if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  }
  ~Pipe() {
    closeWriting();
    close(ends[0]);
  }
  void closeWriting() {
    if (ends[1] >= 0) close(ends[1]);
    ends[1] = -1;
  }
  /// Everything written until the writers are gone, the text holds `end`, or the time is up.
  std::string read(Seconds atMost, std::string_view end = {}) {
    std::string text;
    const auto deadline = SteadyClock::now() + std::chrono::duration_cast<SteadyClock::duration>(atMost);
    while (SteadyClock::now() < deadline) {
      pollfd waiting{ends[0], POLLIN, 0};
      if (poll(&waiting, 1, 50) <= 0) continue;
      char buffer[4096];
      const ssize_t count = ::read(ends[0], buffer, sizeof(buffer));
      if (count <= 0) break;
      text.append(buffer, static_cast<std::size_t>(count));
      if (!end.empty() && text.find(end) != std::string::npos) break;
    }
    return text;
  }
  int ends[2] = {-1, -1};
};

bool hasWindowManager(const std::string& display) {
  xcb_connection_t* connection = xcb_connect(display.c_str(), nullptr);
  bool found = false;
  if (xcb_connection_has_error(connection) == 0) {
    constexpr std::string_view name = "_NET_SUPPORTING_WM_CHECK";
    const auto cookie = xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.data());
    if (auto* atom = xcb_intern_atom_reply(connection, cookie, nullptr)) {
      const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
      const auto question = xcb_get_property(connection, 0, root, atom->atom, XCB_ATOM_WINDOW, 0, 1);
      if (auto* property = xcb_get_property_reply(connection, question, nullptr)) {
        found = xcb_get_property_value_length(property) == 4;
        std::free(property);
      }
      std::free(atom);
    }
  }
  xcb_disconnect(connection);
  return found;
}

/// Whether somebody listens at a socket; its file is there a moment earlier.
bool isListening(const std::filesystem::path& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.native().copy(address.sun_path, sizeof address.sun_path - 1) != path.native().size()) return false;
  const posix_os::FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  return ::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

void writeFile(const std::filesystem::path& path, const std::string& text) {
  std::ofstream(path) << text;
}

}  // namespace

DesktopProcess::DesktopProcess(const std::vector<std::string>& command, const std::vector<std::string>& environment,
                               std::optional<int> standardOutput, std::optional<int> standardInput) {
  const std::vector<char*> arguments = pointersTo(command);
  const std::vector<char*> variables = pointersTo(environment);
  pid_ = fork();
  if (pid_ == 0)
    becomeCommand(arguments.data(), variables.data(), standardOutput.value_or(-1), standardInput.value_or(-1));
  if (pid_ < 0) throw std::runtime_error("cannot start " + command.front());
}

DesktopProcess::~DesktopProcess() {
  if (!isRunning()) return;
  signal(SIGCONT);
  signal(SIGTERM);
  if (waitForExit(Seconds(1))) return;
  signal(SIGKILL);
  (void)waitForExit(Seconds(10));
}

void DesktopProcess::signal(int number) const {
  if (!exitStatus_) kill(pid_, number);
}

void DesktopProcess::setStopped(bool isStopped) const {
  signal(isStopped ? SIGSTOP : SIGCONT);
  siginfo_t ignored{};
  if (isStopped && !exitStatus_) waitid(P_PID, static_cast<id_t>(pid_), &ignored, WSTOPPED | WEXITED | WNOWAIT);
}

std::optional<int> DesktopProcess::waitForExit(Seconds atMost) {
  (void)DesktopSession::waitUntil(
      [this] {
        int status = 0;
        if (!exitStatus_ && waitpid(pid_, &status, WNOHANG) == pid_)
          exitStatus_ = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
        return exitStatus_.has_value();
      },
      atMost);
  return exitStatus_;
}

bool DesktopSession::waitUntil(const std::function<bool()>& condition, Seconds atMost) {
  const auto deadline = SteadyClock::now() + std::chrono::duration_cast<SteadyClock::duration>(atMost);
  while (!condition()) {
    if (SteadyClock::now() >= deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return true;
}

DesktopSession::DesktopSession() : DesktopSession(Options{}) {}

DesktopSession::DesktopSession(Options options) {
  makeDirectory();
  startDisplay();
  startSessionBus();
  if (options.windowManager) startWindowManager();
  if (options.accessibility) setAccessibilityEnabled(true);
}

DesktopSession::~DesktopSession() {
  windowManager_.reset();
  stopBuses();
  server_.reset();
  std::error_code ignored;
  std::filesystem::remove_all(directory_, ignored);
}

void DesktopSession::makeDirectory() {
  std::string pattern = (std::filesystem::temp_directory_path() / "tallyfox-desktop-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no temporary directory");
  directory_ = pattern;
  std::filesystem::create_directories(directory_ / "home");
  std::filesystem::create_directories(directory_ / "run");
  std::filesystem::permissions(directory_ / "run", std::filesystem::perms::owner_all);
  std::filesystem::create_directories(directory_ / "services");
  std::filesystem::copy_file("/usr/share/dbus-1/services/org.a11y.Bus.service",
                             directory_ / "services/org.a11y.Bus.service");
  busAddress_ = "unix:path=" + (directory_ / "run/bus").string();
  const std::string home = (directory_ / "home").string();
  environment_ = {"PATH=/usr/local/bin:/usr/bin:/bin",
                  "LANG=C.UTF-8",
                  "HOME=" + home,
                  "XDG_RUNTIME_DIR=" + (directory_ / "run").string(),
                  "XDG_CONFIG_HOME=" + home + "/.config",
                  "XDG_DATA_HOME=" + home + "/.local/share",
                  "XDG_CACHE_HOME=" + home + "/.cache",
                  "XDG_DATA_DIRS=/usr/local/share:/usr/share",
                  "DBUS_SESSION_BUS_ADDRESS=" + busAddress_,
                  "GSETTINGS_BACKEND=memory",
                  "GDK_BACKEND=x11",
                  "QT_QPA_PLATFORM=xcb"};
}

void DesktopSession::startDisplay() {
  Pipe number;
  server_ = std::make_unique<DesktopProcess>(std::vector<std::string>{"Xvfb", "-displayfd", "1", "-screen", "0",
                                                                      "1280x800x24", "-nolisten", "tcp", "-noreset"},
                                             environment_, number.ends[1]);
  number.closeWriting();
  const std::string line = number.read(Seconds(20), "\n");
  if (line.find('\n') == std::string::npos) throw std::runtime_error("the X server did not start");
  display_ = std::string(":").append(line, 0, line.find('\n'));
  environment_.push_back("DISPLAY=" + display_);
}

void DesktopSession::startSessionBus() {
  const std::filesystem::path configuration = directory_ / "session.conf";
  writeFile(configuration,
            "<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN\"\n"
            " \"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">\n"
            "<busconfig><type>session</type><listen>" +
                busAddress_ + "</listen><auth>EXTERNAL</auth><servicedir>" + (directory_ / "services").string() +
                "</servicedir><policy context=\"default\"><allow send_destination=\"*\" eavesdrop=\"true\"/>"
                "<allow eavesdrop=\"true\"/><allow own=\"*\"/></policy></busconfig>\n");
  std::filesystem::remove(directory_ / "run/bus");
  bus_ = start({"dbus-daemon", "--config-file=" + configuration.string(), "--nofork", "--nopidfile"});
  if (!waitUntil([this] { return isListening(directory_ / "run/bus"); }))
    throw std::runtime_error("the session bus did not start");
}

void DesktopSession::startWindowManager() {
  windowManager_ = start({"openbox", "--sm-disable"});
  if (!waitUntil([this] { return hasWindowManager(display_); }))
    throw std::runtime_error("the window manager did not start");
}

void DesktopSession::stopBuses() {
  bus_.reset();
  endStrayProcesses();
}

void DesktopSession::endStrayProcesses() const {
  // What the buses started by themselves carries this session's run directory in its environment.
  const std::string mark = "XDG_RUNTIME_DIR=" + (directory_ / "run").string();
  for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
    const std::string name = entry.path().filename().string();
    pid_t pid = 0;
    const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), pid);
    if (error != std::errc() || end != name.data() + name.size()) continue;
    if ((server_ && pid == server_->pid()) || (windowManager_ && pid == windowManager_->pid())) continue;
    std::ifstream file(entry.path() / "environ", std::ios::binary);
    const std::string variables{std::istreambuf_iterator<char>(file), {}};
    if (variables.find(mark) == std::string::npos || variables.find("dbus") == std::string::npos) continue;
    std::ifstream commandFile(entry.path() / "comm");
    std::string command;
    std::getline(commandFile, command);
    if (command.starts_with("at-spi") || command.starts_with("dbus-daemon")) kill(pid, SIGKILL);
  }
}

std::unique_ptr<DesktopProcess> DesktopSession::start(const std::vector<std::string>& command,
                                                      const std::vector<std::string>& moreEnvironment) const {
  std::vector<std::string> variables = environment_;
  variables.insert(variables.end(), moreEnvironment.begin(), moreEnvironment.end());
  return std::make_unique<DesktopProcess>(command, variables);
}

std::string DesktopSession::outputOf(const std::vector<std::string>& command, Seconds atMost) const {
  Pipe output;
  DesktopProcess process(command, environment_, output.ends[1]);
  output.closeWriting();
  return output.read(atMost);
}

void DesktopSession::setAccessibilityEnabled(bool enabled) const {
  sd_bus* bus = nullptr;
  sd_bus_new(&bus);
  int result = sd_bus_set_address(bus, busAddress_.c_str());
  if (result >= 0) result = sd_bus_set_bus_client(bus, 1);
  if (result >= 0) result = sd_bus_start(bus);
  if (result >= 0)
    result = sd_bus_set_property(bus, "org.a11y.Bus", "/org/a11y/bus", "org.a11y.Status", "IsEnabled", nullptr, "b",
                                 enabled ? 1 : 0);
  sd_bus_flush_close_unref(bus);
  if (result < 0) throw std::runtime_error(std::string("the accessibility bus did not start: ") + strerror(-result));
}

}  // namespace tallyfox::testing
