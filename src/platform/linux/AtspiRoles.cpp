#include "platform/linux/AtspiRoles.hpp"

#include <algorithm>
#include <array>

namespace tallyfox::linux_os {
namespace {

using enum AtspiNature;

/// Sorted by number.
constexpr auto table = std::to_array<AtspiRoleInfo>({
    {1, "AXStaticText", text},           // accelerator label
    {2, "AXGroup", dialog},              // alert; Qt's "alert message"
    {7, "AXCheckBox", check},            // check box
    {8, "AXMenuItem", plain},            // check menu item
    {9, "AXGroup", chooser},             // colour chooser
    {11, "AXComboBox", plain},           // combo box
    {16, "AXGroup", dialog},             // dialog
    {17, "AXGroup", plain},              // directory pane
    {19, "AXGroup", chooser},            // file chooser
    {20, "AXGroup", plain},              // filler
    {22, "AXGroup", chooser},            // font chooser
    {23, "AXGroup", window},             // frame
    {26, "AXImage", plain},              // icon
    {27, "AXImage", plain},              // image
    {28, "AXGroup", plain},              // internal frame
    {29, "AXStaticText", text},          // label
    {30, "AXGroup", plain},              // layered pane
    {31, "AXList", plain},               // list
    {32, "AXGroup", plain},              // list item
    {33, "AXMenu", plain},               // menu
    {34, "AXMenuBar", plain},            // menu bar
    {35, "AXMenuItem", plain},           // menu item
    {36, "AXGroup", plain},              // option pane
    {37, "AXRadioButton", plain},        // page tab
    {38, "AXTabGroup", plain},           // page tab list
    {39, "AXGroup", plain},              // panel
    {40, "AXTextField", password},       // password text
    {41, "AXMenu", plain},               // popup menu
    {42, "AXProgressIndicator", plain},  // progress bar
    {43, "AXButton", button},            // push button
    {44, "AXRadioButton", check},        // radio button
    {45, "AXMenuItem", plain},           // radio menu item
    {46, "AXGroup", plain},              // root pane
    {48, "AXScrollBar", plain},          // scroll bar
    {49, "AXScrollArea", plain},         // scroll pane
    {50, "AXSplitter", plain},           // separator
    {51, "AXSlider", plain},             // slider
    {52, "AXIncrementor", plain},        // spin button
    {53, "AXSplitGroup", plain},         // split pane
    {54, "AXGroup", plain},              // status bar
    {55, "AXTable", plain},              // table
    {56, "AXCell", plain},               // table cell
    {60, "AXTextArea", plain},           // terminal: its screen is nobody's message
    {61, "AXTextField", field},          // text
    {62, "AXCheckBox", check},           // toggle button
    {63, "AXToolbar", plain},            // tool bar
    {64, "AXHelpTag", plain},            // tool tip
    {65, "AXOutline", plain},            // tree
    {66, "AXOutline", plain},            // tree table
    {68, "AXGroup", plain},              // viewport
    {69, "AXGroup", window},             // window
    {71, "AXGroup", plain},              // header
    {72, "AXGroup", plain},              // footer
    {73, "AXGroup", textContainer},      // paragraph
    {75, "AXApplication", plain},        // application
    {77, "AXTextField", field},          // edit bar
    {79, "AXTextField", field},          // entry
    {81, "AXGroup", textContainer},      // caption
    {82, "AXWebArea", plain},            // document frame
    {83, "AXHeading", textContainer},    // heading
    {85, "AXGroup", plain},              // section
    {87, "AXGroup", plain},              // form
    {88, "AXLink", plain},               // link
    {90, "AXRow", plain},                // table row
    {91, "AXRow", plain},                // tree item
    {94, "AXWebArea", plain},            // document text
    {95, "AXWebArea", plain},            // document web
    {98, "AXList", plain},               // list box
    {99, "AXGroup", plain},              // grouping
    {101, "AXGroup", plain},             // notification
    {102, "AXGroup", plain},             // info bar
    {104, "AXGroup", plain},             // title bar
    {116, "AXStaticText", text},         // static
    {129, "AXMenuButton", plain},        // push button with a menu
    {130, "AXCheckBox", check},          // switch
});
static_assert(std::ranges::is_sorted(table, {}, &AtspiRoleInfo::role));

}  // namespace

AtspiRoleInfo roleInfo(std::uint32_t role) {
  const auto* entry = std::ranges::lower_bound(table, role, {}, &AtspiRoleInfo::role);
  if (entry != table.end() && entry->role == role) return *entry;
  return {.role = role, .axRole = "AXUnknown", .nature = plain};
}

bool canBeWindow(AtspiNature nature) {
  return nature == window || nature == dialog || nature == chooser;
}

}  // namespace tallyfox::linux_os
