#pragma once

// The distances in dialogs and on their pages, at plain resolution: use them through
// FromDIP.
inline constexpr int k_wxvMargin = 12;
inline constexpr int k_wxvLabelGap = 8; // between a label and its field, and between rows
inline constexpr int k_wxvGroupGap = 16;
inline constexpr int k_wxvButtonWidth = 88; // at least
