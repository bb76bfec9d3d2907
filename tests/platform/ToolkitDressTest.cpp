// What toolkits put around texts is taken off, and nothing else is.

#include "platform/linux/ToolkitDress.hpp"

#include <gtest/gtest.h>

namespace tallyfox::linux_os {
namespace {

TEST(ToolkitDress, gtk4ButtonNamesLoseTheirMarkedHalf) {
  struct Case {
    std::string_view name;
    std::string_view label;
  };
  for (const Case& one : {Case{"_No No", "No"}, Case{"_Cancel Cancel", "Cancel"}, Case{"Save _As Save As", "Save As"},
                          Case{"_Replace", "Replace"}, Case{"No No", "No No"}, Case{"a__b", "a_b"},
                          Case{"Delete", "Delete"}, Case{"_No Nope", "No Nope"}, Case{"", ""}, Case{"_", "_"}})
    EXPECT_EQ(undressedLabel(one.name, Toolkit::gtk4), one.label) << one.name;
}

TEST(ToolkitDress, browsersAreKnownByTheirToolkit) {
  for (const std::string_view browser : {"Chromium", "Gecko"})
    EXPECT_EQ(toolkitNamed(browser), Toolkit::browser);
  for (const std::string_view other : {"gtk", "GTK", "Qt", "VCL", "chromium", ""})
    EXPECT_NE(toolkitNamed(other), Toolkit::browser) << other;
}

TEST(ToolkitDress, otherToolkitsUnderscoresAreShown) {
  EXPECT_EQ(undressedLabel("my_file", Toolkit::gtk3), "my_file");
  EXPECT_EQ(undressedLabel("_No No", Toolkit::qt), "_No No");
  EXPECT_EQ(undressedText("my_file", Toolkit::gtk4), "my_file");
}

TEST(ToolkitDress, richTextIsReadAsItsText) {
  struct Case {
    std::string_view source;
    std::string_view text;
  };
  for (const Case& one :
       {Case{"<b>Erase</b> the disk?", "Erase the disk?"}, Case{"<qt>First<br/>second</qt>", "First\nsecond"},
        Case{"<p>One</p><p>Two</p>", "One\n\nTwo"},
        Case{"<html><head><title>x</title></head><body>Hi</body></html>", "Hi"},
        Case{"<p>a &amp; b &lt;c&gt; &#65;&#x42; &nope; d</p>", "a & b <c> AB &nope; d"},
        Case{"<a href=\"https://example.org/a>b\">link</a>", "b\">link"}, Case{"<!-- no --><i>yes</i>", "yes"},
        Case{"<p>many\n   blanks</p>", "many blanks"}, Case{"<p>\xC3\xA9t\xC3\xA9</p>", "\xC3\xA9t\xC3\xA9"},
        Case{"<p>bad &#xD800; &#1114112;</p>", "bad \xEF\xBF\xBD \xEF\xBF\xBD"}})
    EXPECT_EQ(withoutMarkup(one.source), one.text) << one.source;
}

TEST(ToolkitDress, textsThatOnlyLookLikeMarkupStay) {
  for (const std::string_view text : {"1 < 2 and 3 > 2", "Use <name> here", "<unknown>x</unknown>", "a &amp; b", "<",
                                      "<b", "", "<>", "line\nbreak  kept"})
    EXPECT_EQ(withoutMarkup(text), text);
}

TEST(ToolkitDress, onlyQtTextsAndDescriptionsAreRichText) {
  EXPECT_EQ(undressedText("<b>x</b>", Toolkit::qt), "x");
  EXPECT_EQ(undressedText("<b>x</b>", Toolkit::gtk3), "<b>x</b>");
  EXPECT_EQ(undressedDescription("<b>x</b>"), "x");
}

TEST(ToolkitDress, objectMarksAndIllFormedBytesDoNotReachTheReader) {
  EXPECT_EQ(undressedText("a\xEF\xBF\xBC"
                          "b\xEF\xBF\xBC",
                          Toolkit::gtk3),
            "ab");
  EXPECT_EQ(undressedText("a\xFF", Toolkit::gtk3), "a\xEF\xBF\xBD");
}

TEST(ToolkitDress, toolkitsAreKnownByTheirNames) {
  EXPECT_EQ(toolkitNamed("gtk"), Toolkit::gtk3);
  EXPECT_EQ(toolkitNamed("GTK"), Toolkit::gtk4);
  EXPECT_EQ(toolkitNamed("Qt"), Toolkit::qt);
  EXPECT_EQ(toolkitNamed("VCL"), Toolkit::other);
  EXPECT_EQ(toolkitNamed(""), Toolkit::unknown);
}

}  // namespace
}  // namespace tallyfox::linux_os
