#include <wx/wxvtext.h>

wxString wxvText(corekit::String const& text) {
    wxString result = wxString::FromUTF8(text.data(), text.size());
    if (result.empty() && !text.Empty())
        result = wxString(text.c_str(), wxConvISO8859_1, text.size());
    return result;
}

corekit::String wxvString(wxString const& text) {
    wxScopedCharBuffer const bytes = text.utf8_str();
    return corekit::String(bytes.data(), bytes.length());
}

wxString wxvGrouped(int64_t number) {
    std::string digits = std::to_string(number);
    size_t const first = number < 0 ? 1 : 0;
    for (size_t at = digits.size(); at > first + 3;) {
        at -= 3;
        digits.insert(at, 1, ',');
    }
    return wxString::FromAscii(digits.c_str());
}
