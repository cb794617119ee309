#include "controls/tabart.h"
#include "theme/followcolors.h"

#include <corekit/optionsfile.h>

#include <algorithm>
#include <charconv>
#include <wx/aui/aui.h>
#include <wx/dcclient.h>
#include <wx/wxvcolors.h>
#include <wx/wxvnotebook.h>
#include <wx/wxvoptions.h>
#include <wx/wxvtext.h>

namespace {

constexpr long k_Style = wxAUI_NB_TOP | wxAUI_NB_TAB_MOVE | wxAUI_NB_SCROLL_BUTTONS;
constexpr char k_OrderMark[] = "tabs=";

// DockArt keeps the frame around the tabs and pages in the scheme's colour.
class DockArt : public wxAuiDefaultDockArt {
public:
    DockArt() {
        SetMetric(wxAUI_DOCKART_PANE_BORDER_SIZE, 0);
        SetMetric(wxAUI_DOCKART_SASH_SIZE, 0);
    }
    void DrawBackground(wxDC& dc, wxWindow*, int, wxRect const& rect) override {
        dc.SetPen(*wxTRANSPARENT_PEN);
        dc.SetBrush(wxvGetColor(ColorName::WindowBG));
        dc.DrawRectangle(rect);
    }
    void DrawBorder(wxDC&, wxWindow*, wxRect const&, wxAuiPaneInfo&) override {}
};

// The numbers of a list such as "2,0,1" that are below `count`, each once.
std::vector<size_t> ReadOrder(std::string_view text, size_t count) {
    std::vector<size_t> order;
    char const* at = text.data();
    char const* const end = at + text.size();
    while (at < end && order.size() < count) {
        size_t number = 0;
        auto const [next, error] = std::from_chars(at, end, number);
        if (error == std::errc() && number < count && std::find(order.begin(), order.end(), number) == order.end())
            order.push_back(number);
        at = std::find(next, end, ',');
        if (at < end)
            ++at;
    }
    return order;
}

} // namespace

wxvNotebook::wxvNotebook(wxWindow* parent, wxWindowID id, wxString const& name)
    : wxAuiNotebook(parent, id, wxDefaultPosition, wxDefaultSize, k_Style), m_keepsLayout(!name.empty()) {
    if (m_keepsLayout)
        SetName(name);
    m_mgr.SetArtProvider(new DockArt);
    SetArtProvider(new TabArt);
    SetTabCtrlHeight(FromDIP(k_TabHeight));
    Bind(wxEVT_CHAR_HOOK, &wxvNotebook::OnKey, this);
    Bind(wxEVT_SIZE, [this](wxSizeEvent& event) {
        event.Skip();
        CheckOverflow();
    });
    FollowColors(*this, [this] {
        SetBackgroundColour(wxvGetColor(ColorName::WindowBG));
        Refresh();
    });
}

wxAuiTabCtrl* wxvNotebook::Tabs() const {
    // Asking the toolkit for the row of tabs makes one, also for a book without pages.
    auto* const self = const_cast<wxvNotebook*>(this);
    wxAuiTabCtrl* tabs = nullptr;
    int index = 0;
    return GetPageCount() > 0 && self->FindTab(GetPage(0), &tabs, &index) ? tabs : nullptr;
}

std::vector<size_t> wxvNotebook::TabOrder() const {
    std::vector<size_t> order;
    if (wxAuiTabCtrl const* const tabs = Tabs()) {
        for (size_t i = 0; i < tabs->GetPageCount(); ++i) {
            if (int const page = FindPage(tabs->GetWindowFromIdx(i)); page != wxNOT_FOUND)
                order.push_back(static_cast<size_t>(page));
        }
    }
    return order;
}

corekit::String wxvNotebook::SavePerspective() const {
    corekit::String text = k_OrderMark;
    char const* separator = "";
    for (size_t const page : TabOrder()) {
        text += separator;
        text += std::to_string(page);
        separator = ",";
    }
    return text;
}

void wxvNotebook::LoadPerspective(corekit::String const& perspective) {
    wxAuiTabCtrl* const tabs = Tabs();
    std::string_view text(perspective.data(), perspective.size());
    if (!tabs || !text.starts_with(k_OrderMark))
        return;
    text.remove_prefix(sizeof(k_OrderMark) - 1);
    size_t place = 0;
    for (size_t const page : ReadOrder(text, GetPageCount()))
        tabs->MovePage(GetPage(page), place++);
    if (int const selected = GetSelection(); selected != wxNOT_FOUND) {
        tabs->SetActivePage(GetPage(static_cast<size_t>(selected)));
        tabs->MakeTabVisible(tabs->GetIdxFromWindow(GetPage(static_cast<size_t>(selected))), tabs);
    }
    tabs->Refresh();
}

void wxvNotebook::SaveLayout() const {
    if (corekit::OptionsFile* const options = wxvOptions(); options && m_keepsLayout)
        k_OptionLayout.Set(*options, wxvString(GetName()), SavePerspective());
}

void wxvNotebook::LoadLayout() {
    if (corekit::OptionsFile* const options = wxvOptions(); options && m_keepsLayout)
        LoadPerspective(k_OptionLayout.Get(*options, wxvString(GetName())));
}

void wxvNotebook::SelectBeside(Direction direction) {
    std::vector<size_t> const order = TabOrder();
    if (order.size() < 2)
        return;
    auto const at = std::find(order.begin(), order.end(), static_cast<size_t>(GetSelection()));
    size_t const now = at == order.end() ? 0 : static_cast<size_t>(at - order.begin());
    size_t const step = direction == Direction::On ? 1 : order.size() - 1;
    SetSelection(order[(now + step) % order.size()]);
}

void wxvNotebook::OnKey(wxKeyEvent& event) {
    if (!event.ControlDown() || event.AltDown()) {
        event.Skip();
        return;
    }
    switch (event.GetKeyCode()) {
    case WXK_TAB:
        SelectBeside(event.ShiftDown() ? Direction::Back : Direction::On);
        break;
    case WXK_PAGEUP:
        SelectBeside(Direction::Back);
        break;
    case WXK_PAGEDOWN:
        SelectBeside(Direction::On);
        break;
    default:
        event.Skip();
    }
}

bool wxvNotebook::RemovePage(size_t page) {
    bool const removed = wxAuiNotebook::RemovePage(page);
    CheckOverflow();
    return removed;
}

bool wxvNotebook::UpdateTabCtrlHeight() {
    bool const changed = wxAuiNotebook::UpdateTabCtrlHeight();
    CheckOverflow();
    return changed;
}

void wxvNotebook::CheckOverflow() {
    wxAuiTabArt* const art = GetArtProvider();
    if (!art || IsBeingDeleted())
        return;
    wxClientDC dc(this);
    int width = 0;
    for (size_t i = 0; i < GetPageCount(); ++i)
        width += art->GetTabSize(dc, this, GetPageText(i), wxBitmapBundle(), false, 0, nullptr).x;
    bool const offers = HasFlag(wxAUI_NB_WINDOWLIST_BUTTON);
    if (bool const wanted = width > GetClientSize().x; wanted != offers)
        ToggleWindowStyle(wxAUI_NB_WINDOWLIST_BUTTON);
}
