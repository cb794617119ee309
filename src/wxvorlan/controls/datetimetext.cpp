#include "controls/datetimetext.h"

#include <array>
#include <charconv>
#include <string_view>

namespace {

// The offsets at which the parts end: year, month, day, hour, minute, second.
constexpr std::array<size_t, 6> k_Ends{4, 7, 10, 13, 16, 19};
constexpr size_t k_DateLength = 10;
constexpr char k_Pattern[] = "dddd-dd-dd dd:dd:dd";
constexpr int k_FirstYear = 1;

bool FitsPattern(std::string_view text) {
    if (text.size() != k_DateLength && text.size() != k_Ends[4] && text.size() != k_Ends[5])
        return false;
    for (size_t i = 0; i < text.size(); ++i) {
        bool const digit = text[i] >= '0' && text[i] <= '9';
        if (k_Pattern[i] == 'd' ? !digit : text[i] != k_Pattern[i])
            return false;
    }
    return true;
}

int Part(std::string_view text, size_t index) {
    size_t const begin = index == 0 ? 0 : k_Ends[index - 1] + 1;
    int number = 0;
    if (begin < text.size())
        std::from_chars(text.data() + begin, text.data() + k_Ends[index], number);
    return number;
}

bool ReadLocal(std::string_view text, wxDateTime& result) {
    if (!FitsPattern(text))
        return false;
    int const year = Part(text, 0);
    int const month = Part(text, 1);
    int const day = Part(text, 2);
    if (year < k_FirstYear || month < 1 || month > 12 || Part(text, 3) > 23 || Part(text, 4) > 59 || Part(text, 5) > 59)
        return false;
    auto const named = static_cast<wxDateTime::Month>(month - 1);
    if (day < 1 || day > wxDateTime::GetNumberOfDays(named, year))
        return false;
    result = wxDateTime(
        static_cast<wxDateTime::wxDateTime_t>(day), named, year, static_cast<wxDateTime::wxDateTime_t>(Part(text, 3)),
        static_cast<wxDateTime::wxDateTime_t>(Part(text, 4)), static_cast<wxDateTime::wxDateTime_t>(Part(text, 5)));
    return result.IsValid();
}

corekit::Time ToTime(wxDateTime const& local) { return corekit::Time::FromUnixMs(local.GetValue().GetValue()); }

} // namespace

corekit::String DateTimeText(corekit::Time time) { return time.Format(corekit::k_DateTimeNoMS, true, true); }

bool ReadDateTime(corekit::String const& text, corekit::Time& time) {
    corekit::String const trimmed = text.Trim();
    if (trimmed.Empty()) {
        time = corekit::Time();
        return true;
    }
    wxDateTime local;
    if (!ReadLocal(std::string_view(trimmed.data(), trimmed.size()), local))
        return false;
    time = ToTime(local);
    return true;
}

corekit::String StepDateTime(corekit::String const& text, size_t caret, int count) {
    wxDateTime local;
    if (!ReadLocal(std::string_view(text.data(), text.size()), local))
        return text;
    size_t part = 0;
    while (part + 1 < k_Ends.size() && caret > k_Ends[part])
        ++part;
    switch (part) {
    case 0:
        local += wxDateSpan::Years(count);
        break;
    case 1:
        local += wxDateSpan::Months(count);
        break;
    case 2:
        local += wxDateSpan::Days(count);
        break;
    case 3:
        local += wxTimeSpan::Hours(count);
        break;
    case 4:
        local += wxTimeSpan::Minutes(count);
        break;
    default:
        local += wxTimeSpan::Seconds(count);
    }
    corekit::String const stepped = DateTimeText(ToTime(local));
    // A step out of the years that can be written is none.
    return local.GetYear() < k_FirstYear || stepped.size() < text.size() ? text : stepped.Mid(0, text.size());
}

corekit::String WithDay(corekit::String const& text, wxDateTime const& day) {
    wxDateTime local;
    if (!ReadLocal(std::string_view(text.data(), text.size()), local))
        local = wxDateTime(1, wxDateTime::Jan, 2000, 0, 0, 0);
    local =
        wxDateTime(day.GetDay(), day.GetMonth(), day.GetYear(), local.GetHour(), local.GetMinute(), local.GetSecond());
    return DateTimeText(ToTime(local));
}
