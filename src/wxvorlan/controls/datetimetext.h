#pragma once

// The text of a date and time of the local zone: 2026-11-21 06:43:00.

#include <corekit/string.h>
#include <corekit/time.h>

#include <wx/datetime.h>

// Empty for the unset time.
corekit::String DateTimeText(corekit::Time time);

// Reads "2026-11-21", with a time or without, the time with seconds or without. Empty
// text is the unset time. False, `time` unchanged, when it is no date and time.
bool ReadDateTime(corekit::String const& text, corekit::Time& time);

// The text with the part at the caret (in characters) moved by `count`; text that is no
// date and time comes back as it is.
corekit::String StepDateTime(corekit::String const& text, size_t caret, int count);

// The text with another day, its time kept; midnight where it has none.
corekit::String WithDay(corekit::String const& text, wxDateTime const& day);
