// Which layer a window counts as, from what it says it is and how it is kept.

#include "platform/linux/X11Layer.hpp"

#include <gtest/gtest.h>

namespace tallyfox::linux_os {
namespace {

TEST(X11Layer, putsEveryKindOfWindowInItsLayer) {
  using enum X11WindowType;
  struct Row {
    X11LayerTraits traits;
    std::int64_t layer;
  };
  const Row rows[] = {
      {{.type = normal}, 0},
      {{.type = dialog}, 0},
      {{.type = utility}, 0},
      {{.type = toolbar}, 0},
      {{.type = splash}, 0},
      {{.type = normal, .isAbove = true}, 3},
      {{.type = dialog, .isAbove = true}, 3},
      {{.type = desktop}, -1},
      {{.type = dock}, 20},
      {{.type = notification}, 25},
      {{.type = tooltip}, 25},
      {{.type = menu}, 25},
      {{.type = dragIcon}, 25},
      {{.type = normal, .isManaged = false}, 25},
      {{.type = dialog, .isAbove = true, .isManaged = false}, 25},
  };
  for (const Row& row : rows)
    EXPECT_EQ(windowLayer(row.traits), row.layer) << "type " << static_cast<int>(row.traits.type);
}

TEST(X11Layer, letsTheKindDecideBeforeTheState) {
  EXPECT_EQ(windowLayer({.type = X11WindowType::desktop, .isAbove = true}), -1);
  EXPECT_EQ(windowLayer({.type = X11WindowType::desktop, .isManaged = false}), -1);
  EXPECT_EQ(windowLayer({.type = X11WindowType::dock, .isAbove = true}), 20);
}

}  // namespace
}  // namespace tallyfox::linux_os
