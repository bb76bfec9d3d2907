#pragma once

namespace tallyfox {

/// What a look at a dialog, or at one element of it, proves. A program that does not answer in time proves nothing: its
/// dialog may still be on the screen.
enum class PromptPresence { present, gone, unknown };

}  // namespace tallyfox
