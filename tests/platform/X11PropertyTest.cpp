// Whatever bytes a program puts into a window property, what is read is in bounds and, for texts, valid UTF-8.

#include "platform/linux/X11Property.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/Text.hpp"

namespace tallyfox::linux_os {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(X11Property, readsItemsOfItsOwnWidthOnly) {
  const std::string seven("\7\0\0\0\1\0\0\0", 8);
  EXPECT_THAT(X11Property(32, seven, false).values(), ElementsAre(7U, 1U));
  EXPECT_EQ(X11Property(32, seven, false).value(), 7U);
  EXPECT_TRUE(X11Property(32, seven, false).contains(1));
  EXPECT_FALSE(X11Property(32, seven, false).contains(2));
  EXPECT_THAT(X11Property(8, seven, false).values(), IsEmpty());
  EXPECT_THAT(X11Property(16, seven, false).values(), IsEmpty());
  EXPECT_EQ(X11Property(8, seven, false).value(), std::nullopt);
}

TEST(X11Property, dropsACutOffItem) {
  EXPECT_THAT(X11Property(32, std::string("\7\0\0\0\1\0", 6), false).values(), ElementsAre(7U));
  EXPECT_EQ(X11Property(32, std::string("\7\0\0", 3), false).value(), std::nullopt);
}

TEST(X11Property, isEmptyWhenThereIsNone) {
  const X11Property none;
  EXPECT_FALSE(none.exists());
  EXPECT_EQ(none.text(), "");
  EXPECT_THAT(none.texts(), IsEmpty());
  EXPECT_EQ(none.value(), std::nullopt);
  EXPECT_TRUE(X11Property(32, "", false).exists()) << "an empty list is a list";
}

TEST(X11Property, readsTextsAsUtf8ElseAsLatin1) {
  EXPECT_EQ(X11Property(8, "Caf\xC3\xA9", true).text(), "Café");
  EXPECT_EQ(X11Property(8, "Caf\xC3\xA9", false).text(), "Café");
  EXPECT_EQ(X11Property(8, "Caf\xE9", false).text(), "Café");
  EXPECT_EQ(X11Property(8, "Caf\xE9 au lait", true).text(), "Caf\xEF\xBF\xBD au lait");
  EXPECT_EQ(X11Property(32, "Cafe", true).text(), "");
}

TEST(X11Property, endsATextAtAZeroByte) {
  EXPECT_EQ(X11Property(8, std::string("Save\0d", 6), true).text(), "Save");
  EXPECT_THAT(X11Property(8, std::string("zenity\0Zenity\0", 14), false).texts(), ElementsAre("zenity", "Zenity"));
  EXPECT_THAT(X11Property(8, std::string("\0Zenity", 7), false).texts(), ElementsAre("", "Zenity"));
  EXPECT_THAT(X11Property(8, "zenity", false).texts(), ElementsAre("zenity"));
}

TEST(X11Property, givesValidUtf8ForEveryByte) {
  for (int first = 0; first < 256; ++first)
    for (const bool isUtf8 : {false, true}) {
      const std::string bytes = {static_cast<char>(first), static_cast<char>(0xF0), 'a', static_cast<char>(first)};
      for (const std::string& text : X11Property(8, bytes, isUtf8).texts())
        EXPECT_TRUE(isValidUtf8(text)) << first;
    }
}

}  // namespace
}  // namespace tallyfox::linux_os
