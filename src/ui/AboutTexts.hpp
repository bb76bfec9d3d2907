#pragma once

namespace tallyfox::about_texts {

/// What an about box says on every desktop; whose work the program stands on is each desktop's own to say.
inline constexpr const char* purpose = "Answer this computer's approval dialogs from a paired phone.";
inline constexpr const char* licence =
    "Licensed under the Apache License, Version 2.0. It comes without warranty of any kind.";

}  // namespace tallyfox::about_texts
