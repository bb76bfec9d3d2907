#pragma once

#include <cstddef>

/// Every fixed bound of the system, each with its reason.
namespace tallyfox::limits {

/// A relay frame that is larger is refused before it is parsed: a snapshot of a hundred long dialogs stays below 1 MiB.
inline constexpr std::size_t frameBytes = 8U * 1024U * 1024U;
/// Bytes that may wait to be sent on one connection: a few whole frames; a peer that takes no more is as good as gone.
inline constexpr std::size_t outgoingBytes = 4 * frameBytes;
/// The head of an HTTP answer; relays and the proxies before them send a few hundred bytes.
inline constexpr std::size_t httpHeadBytes = 16U * 1024U;
/// Nesting of any JSON text that is read; our own messages nest 4 deep.
inline constexpr std::size_t jsonDepth = 64;
/// Members of one JSON object that is read: our records have at most 16, and members are looked up one by one.
inline constexpr std::size_t jsonMembers = 1024;
/// Configuration and key files beyond this are not ours: they hold a few hundred bytes.
inline constexpr std::size_t storedFileBytes = 1U * 1024U * 1024U;
/// The preferences, which grow with every dialog that is muted: 40 bytes each, so that a million of them fit. More is
/// neither written nor read.
inline constexpr std::size_t preferencesBytes = 64U * 1024U * 1024U;

/// One line of a command to the running agent; ours have below 100 bytes.
inline constexpr std::size_t controlRequestBytes = 4U * 1024U;
/// One line that the agent answers: a status with a dozen phones has below 4 KiB. What any local socket takes at once,
/// so that nobody who does not read can keep the agent waiting.
inline constexpr std::size_t controlAnswerBytes = 64U * 1024U;
/// Commands under way at once: an owner types one at a time, scripts a few.
inline constexpr std::size_t controlConnections = 16;

/// Pixels along a side of one module of a pairing code: the largest code has 185 modules a side with its margin, so an
/// image stays below 36 MB.
inline constexpr int qrModulePixels = 32;

/// Ancestors walked to find a window; deeper nesting has not been seen in any toolkit's dialogs.
inline constexpr int windowAncestors = 20;
/// Ancestors walked from a hit-tested element to its button: a button's own decoration is at most a few deep.
inline constexpr int buttonAncestors = 8;
/// Descendants looked at to find a dialog container inside a window.
inline constexpr int containerDescendants = 40;
/// Descendants read for buttons, texts and navigation chrome.
inline constexpr int contentDescendants = 80;
/// Descendants searched for the approved button when it is found again: wider than a scan, so that a dialog which
/// gained elements since still yields its button.
inline constexpr int refindDescendants = 120;
/// Coordinates and lengths beyond this many points are on no screen: window systems count in 16 or 32 bits, and the
/// widest wall of displays stays far below. What lies beyond is a broken program's, and nothing is computed from it.
inline constexpr double screenExtent = 1'000'000;

}  // namespace tallyfox::limits
