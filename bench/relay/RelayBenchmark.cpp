// usage: bench_relay idle|rate [--sockets N] [--rounds N]
#include <fmt/format.h>
#include <sys/resource.h>

#include <csignal>
#include <exception>
#include <string>
#include <string_view>

#include "Scenes.hpp"

namespace {

int run(int argc, char** argv) {
  tallyfox::bench::Settings settings;
  for (int index = 2; index + 1 < argc; index += 2) {
    const std::string_view option = argv[index];
    const std::size_t value = std::stoul(argv[index + 1]);
    if (option == "--sockets") settings.sockets = value;
    if (option == "--rounds") settings.rounds = value;
    if (option == "--idle") settings.idle = std::chrono::seconds(value);
  }
  const std::string_view scene = argc > 1 ? argv[1] : "";
  if (scene == "idle") {
    tallyfox::bench::idleScene(settings);
  } else if (scene == "rate") {
    tallyfox::bench::rateScene(settings);
  } else {
    fmt::print(stderr, "usage: bench_relay idle|rate [--sockets N] [--rounds N] [--idle SECONDS]\n");
    return 2;
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  std::signal(SIGPIPE, SIG_IGN);
  rlimit descriptors{};
  getrlimit(RLIMIT_NOFILE, &descriptors);
  descriptors.rlim_cur = descriptors.rlim_max;
  setrlimit(RLIMIT_NOFILE, &descriptors);
  try {
    return run(argc, argv);
  } catch (const std::exception& failure) {
    fmt::print(stderr, "bench_relay: {}\n", failure.what());
    return 1;
  }
}
