#include <algorithm>
#include <wx/arrstr.h>
#include <wx/wxvwrap.h>

namespace {

constexpr size_t k_LongestLine = 1000; // no longer one is measured
constexpr char k_Dots[] = "...";

using WidthOf = std::function<int(wxString const&)>;

// How many characters of the line fit with the tail behind them, at least one.
size_t Fitting(wxString const& line, wxString const& tail, int most, WidthOf const& widthOf) {
    size_t fits = 1;
    size_t tooLong = std::min(line.length(), k_LongestLine) + 1;
    while (fits + 1 < tooLong) {
        size_t const middle = (fits + tooLong) / 2;
        (widthOf(line.Left(middle) + tail) <= most ? fits : tooLong) = middle;
    }
    return fits;
}

// Where to break a line of which that much fits.
size_t BreakAt(wxString const& line, size_t fits) {
    if (fits >= line.length())
        return line.length();
    size_t const blank = line.rfind(' ', fits);
    if (blank != wxString::npos && blank > 0)
        return blank;
    size_t const joint = line.find_last_of("/_", fits - 1);
    return joint != wxString::npos && joint > 0 ? joint + 1 : fits;
}

} // namespace

wxString wxvWrapped(wxString const& text, int most, int mostLines, WidthOf const& widthOf) {
    wxArrayString rest = wxSplit(text, '\n', '\0');
    wxString wrapped;
    for (int number = 1; !rest.empty(); ++number) {
        wxString& line = rest.front();
        size_t const end = BreakAt(line, Fitting(line, wxString(), most, widthOf));
        wrapped += number > 1 ? "\n" : "";
        if (number == mostLines && (end < line.length() || rest.size() > 1))
            return wrapped + line.Left(Fitting(line, k_Dots, most, widthOf)) + k_Dots;
        wrapped += line.Left(end);
        line.erase(0, line.Mid(end).StartsWith(" ") ? end + 1 : end);
        if (line.empty())
            rest.RemoveAt(0);
    }
    return wrapped;
}
