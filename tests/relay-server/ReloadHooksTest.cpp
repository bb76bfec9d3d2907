// New settings reach every part of a running relay, or none of them.
#include "ReloadHooks.hpp"

#include <gtest/gtest.h>

#include <string>

namespace tallyfox::server {
namespace {

TEST(ReloadHooks, prepareEveryPartBeforeOneIsChanged) {
  std::string story;
  ReloadHooks hooks;
  for (const std::string name : {"a", "b"}) {
    hooks.add([&story, name](const RelayOptions& options) -> ReloadHooks::Prepared {
      story += "prepare " + name + " for " + options.address + ", ";
      return [&story, name] { story += "apply " + name + ", "; };
    });
  }
  RelayOptions options;
  options.address = "::1";
  EXPECT_TRUE(hooks.run(options));
  EXPECT_EQ(story, "prepare a for ::1, prepare b for ::1, apply a, apply b, ");
}

TEST(ReloadHooks, changeNothingWhenOnePartCannot) {
  bool changed = false;
  ReloadHooks hooks;
  hooks.add([&](const RelayOptions&) -> ReloadHooks::Prepared { return [&changed] { changed = true; }; });
  hooks.add(
      [](const RelayOptions&) -> ReloadHooks::Prepared { return std::unexpected(SettingsError{"no certificate"}); });
  EXPECT_EQ(hooks.run({}), (std::expected<void, SettingsError>(std::unexpected(SettingsError{"no certificate"}))));
  EXPECT_FALSE(changed);
}

}  // namespace
}  // namespace tallyfox::server
