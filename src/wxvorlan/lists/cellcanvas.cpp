#include "cellcanvas.h"
#include "pangocanvas.h"
#include "textcache.h"

#include <algorithm>
#include <wx/control.h>
#include <wx/dc.h>
#include <wx/window.h>
#include <wx/wxvfont.h>
#include <wx/wxvtext.h>

namespace {

// PlainCanvas draws by the means of every toolkit.
class PlainCanvas final : public CellCanvas {
public:
    void Begin(wxDC& dc, wxWindow&) override { m_dc = &dc; }
    void End() override { m_dc = nullptr; }

    void Fill(wxRect const& place, wxColour const& colour) override {
        m_dc->SetPen(*wxTRANSPARENT_PEN);
        m_dc->SetBrush(colour);
        m_dc->DrawRectangle(place);
    }

    void Text(std::string_view text, wxRect const& place, wxColour const& colour, CellStyle const& style) override {
        if (text.empty() || place.width <= 0)
            return;
        wxDCFontChanger const font(*m_dc, Font(style.bold));
        wxDCTextColourChanger const colours(*m_dc, colour);
        Entry& entry = m_cache.Get(text, style.bold ? 1 : 0, [&] { return NewEntry(*m_dc, text); });
        if (entry.width > place.width && entry.fittedTo != place.width) {
            entry.fitting = wxControl::Ellipsize(entry.text, *m_dc, wxELLIPSIZE_END, place.width);
            entry.fittingWidth = m_dc->GetTextExtent(entry.fitting).x;
            entry.fittedTo = place.width;
        }
        bool const fits = entry.width <= place.width;
        int const room = std::max(0, place.width - (fits ? entry.width : entry.fittingWidth));
        int const shift = style.align == Align::Left ? 0 : style.align == Align::Right ? room : room / 2;
        m_dc->DrawText(fits ? entry.text : entry.fitting, place.x + shift,
                       place.y + (place.height - m_dc->GetCharHeight()) / 2);
    }

    int TextWidth(wxWindow& window, std::string_view text, CellStyle const& style) override {
        int width = 0;
        int height = 0;
        wxFont const font = Font(style.bold);
        window.GetTextExtent(wxvText(DrawableText(text)), &width, &height, nullptr, nullptr, &font);
        return width;
    }

    int LineHeight(wxWindow& window) override {
        int width = 0;
        int height = 0;
        wxFont const font = Font(true);
        window.GetTextExtent("Ag", &width, &height, nullptr, nullptr, &font);
        return height;
    }

    void Forget() override { m_cache.Clear(); }

private:
    static constexpr size_t k_Capacity = 8000;

    struct Entry {
        wxString text;
        wxString fitting;
        int width = 0;
        int fittingWidth = 0;
        int fittedTo = -1;
    };

    static wxFont Font(bool bold) { return wxvFont(0, bold ? FontWeight::Medium : FontWeight::Normal); }
    static Entry NewEntry(wxDC& dc, std::string_view text) {
        Entry entry;
        entry.text = wxvText(DrawableText(text));
        entry.width = dc.GetTextExtent(entry.text).x;
        return entry;
    }

    wxDC* m_dc = nullptr;
    TextCache<Entry> m_cache{k_Capacity};
};

// The length of the character that begins there, 0 if it is not valid.
size_t CharacterLength(std::string_view text, size_t at) {
    auto const byte = [&](size_t i) { return static_cast<unsigned char>(text[i]); };
    unsigned char const first = byte(at);
    size_t const length = first < 0x80                      ? 1
                          : (first >= 0xC2 && first < 0xE0) ? 2
                          : (first >= 0xE0 && first < 0xF0) ? 3
                          : (first >= 0xF0 && first < 0xF5) ? 4
                                                            : 0;
    if (length == 0 || at + length > text.size())
        return 0;
    for (size_t i = 1; i < length; ++i) {
        if ((byte(at + i) & 0xC0) != 0x80)
            return 0;
    }
    if (length < 3)
        return length;
    unsigned char const second = byte(at + 1);
    bool const overlong = (first == 0xE0 && second < 0xA0) || (first == 0xF0 && second < 0x90);
    bool const surrogate = first == 0xED && second >= 0xA0;
    bool const tooLarge = first == 0xF4 && second >= 0x90;
    return overlong || surrogate || tooLarge ? 0 : length;
}

} // namespace

std::string DrawableText(std::string_view text) {
    constexpr char k_Ellipsis[] = "\xE2\x80\xA6";
    constexpr char k_Unreadable[] = "\xEF\xBF\xBD";
    std::string result;
    result.reserve(std::min(text.size(), CellCanvas::k_MaxText) + sizeof k_Ellipsis);
    for (size_t i = 0; i < text.size();) {
        if (result.size() >= CellCanvas::k_MaxText)
            return result + k_Ellipsis;
        size_t const length = CharacterLength(text, i);
        if (length == 0)
            result += k_Unreadable;
        else if (length == 1 && (static_cast<unsigned char>(text[i]) < 0x20 || text[i] == 0x7F))
            result += ' ';
        else
            result += text.substr(i, length);
        i += std::max<size_t>(1, length);
    }
    return result;
}

std::unique_ptr<CellCanvas> CellCanvas::NewPlain() { return std::make_unique<PlainCanvas>(); }

std::shared_ptr<CellCanvas> CellCanvas::Shared() {
    // It goes with the last list, while the toolkit is still there.
    static std::weak_ptr<CellCanvas> s_shared;
    std::shared_ptr<CellCanvas> shared = s_shared.lock();
    if (!shared) {
        std::unique_ptr<CellCanvas> fast = NewPangoCanvas();
        shared = fast ? std::move(fast) : NewPlain();
        s_shared = shared;
    }
    return shared;
}
