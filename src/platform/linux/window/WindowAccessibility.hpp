#pragma once

namespace tallyfox::linux_os {

/// Lets assistive programs see our own widgets for what they are: the window as a window, cards as groups, the
/// pairing code as an image. From then on, for the whole process; calling it again changes nothing.
void describeOwnWidgets();

}  // namespace tallyfox::linux_os
