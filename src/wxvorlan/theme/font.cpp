#include <wx/fontenum.h>
#include <wx/settings.h>
#include <wx/wxvfont.h>

namespace {

constexpr char k_Face[] = "Inter";
constexpr int k_ListPoints = 9;

bool HasFace() {
    static bool const s_has = wxFontEnumerator::IsValidFacename(k_Face);
    return s_has;
}

} // namespace

wxFont wxvFont(int points, FontWeight weight) {
    wxFontWeight const wanted = weight == FontWeight::Medium ? wxFONTWEIGHT_MEDIUM : wxFONTWEIGHT_NORMAL;
    if (HasFace())
        return wxFont(wxFontInfo(k_ListPoints + points).FaceName(k_Face).Weight(wanted));
    wxFont font = wxSystemSettings::GetFont(wxSYS_DEFAULT_GUI_FONT);
    font.SetPointSize(k_ListPoints + points);
    font.SetWeight(wanted);
    return font;
}

wxString wxvNativeFontName() { return HasFace() ? wxString::Format("%s %d", k_Face, k_ListPoints) : wxString(); }
