#include <algorithm>
#include <wx/button.h>
#include <wx/jobselector.h>
#include <wx/popupwin.h>
#include <wx/sizer.h>
#include <wx/wxvlistbox.h>
#include <wx/wxvtext.h>
#include <wx/wxvtextctrl.h>

namespace vorlan {

namespace {

constexpr int k_Gap = 4;
constexpr int k_TextWidth = 180;
constexpr size_t k_MostRows = 200;
constexpr int k_RowsShown = 10;
constexpr int k_PageStep = 10;
constexpr char k_OpenLabel[] = "\xE2\x96\xBE"; // a small triangle that points down

std::vector<String> Words(String const& text) {
    std::vector<String> words;
    for (size_t from = text.FindOneNotOf(" \t"); from != String::npos;) {
        size_t const end = std::min(text.FindOneOf(" \t", from), text.size());
        words.push_back(text.Mid(from, end - from));
        from = text.FindOneNotOf(" \t", end);
    }
    return words;
}

wxString RowText(JobOffer const& offer) {
    return wxvText(offer.detail.Empty() ? offer.name : offer.name + "  (" + offer.detail + ")");
}

} // namespace

std::vector<size_t> FindJobs(std::vector<JobOffer> const& offers, String const& typed, size_t limit) {
    String const start = typed.Trim();
    std::vector<String> const words = Words(start);
    std::vector<size_t> first;
    std::vector<size_t> rest;
    for (size_t i = 0; i < offers.size() && first.size() < limit; ++i) {
        JobOffer const& offer = offers[i];
        bool const found = std::all_of(words.begin(), words.end(), [&offer](String const& word) {
            return offer.name.ContainsNoCase(word) || offer.detail.ContainsNoCase(word);
        });
        if (found)
            (offer.name.FindNoCase(start) == 0 ? first : rest).push_back(i);
    }
    first.insert(first.end(), rest.begin(), rest.end());
    first.resize(std::min(first.size(), limit));
    return first;
}

// List is the list of Jobs below the field. It takes no focus: the keys go to the field.
// Owner: the toolkit. Thread: the GUI thread.
class JobSelector::List : public wxPopupWindow {
public:
    explicit List(JobSelector& owner) : wxPopupWindow(&owner, wxBORDER_SIMPLE) {
        m_rows = new wxvListBox(this, wxID_ANY, wxArrayString(), wxLB_SINGLE);
        auto* around = new wxBoxSizer(wxVERTICAL);
        around->Add(m_rows, wxSizerFlags(1).Expand());
        SetSizer(around);
        // The toolkit tells of selections that nobody made, too: the mouse alone chooses.
        m_rows->Bind(wxEVT_LEFT_UP, [this, &owner](wxMouseEvent& event) {
            event.Skip();
            int const row = m_rows->HitTest(event.GetPosition());
            // The list ends with the choice, in the middle of its own event.
            if (row != wxNOT_FOUND)
                owner.CallAfter([&owner, row] { owner.ChooseRow(static_cast<size_t>(row)); });
        });
    }

    void Show(wxArrayString const& rows, int selected, wxRect const& field) {
        m_rows->Set(rows);
        m_rows->SetSelection(selected);
        m_rows->EnsureVisible(selected);
        int const rowHeight = m_rows->GetCharHeight() + FromDIP(6);
        int const count = std::clamp(static_cast<int>(rows.size()), 1, k_RowsShown);
        SetSize(wxRect(field.x, field.GetBottom() + 1, field.width, count * rowHeight + FromDIP(4)));
        Layout();
        if (!IsShown())
            wxPopupWindow::Show();
    }

    int Row() const { return m_rows->GetSelection(); }
    void Move(int by) {
        int const count = static_cast<int>(m_rows->GetCount());
        if (count == 0)
            return;
        int const row = std::clamp(Row() + by, 0, count - 1);
        m_rows->SetSelection(row);
        m_rows->EnsureVisible(row);
    }

private:
    wxvListBox* m_rows;
};

JobSelector::JobSelector(wxWindow* parent, Source source, wxWindowID id)
    : wxvPanel(parent, ColorName::WindowBG, id), m_source(std::move(source)) {
    m_text = new wxvTextCtrl(this, wxID_ANY, wxString(), wxTE_PROCESS_ENTER, _("Type a part of the name"));
    m_text->SetMinSize(FromDIP(wxSize(k_TextWidth, -1)));
    m_open =
        new wxButton(this, wxID_ANY, wxString::FromUTF8(k_OpenLabel), wxDefaultPosition, wxDefaultSize, wxBU_EXACTFIT);
    m_open->DisableFocusFromKeyboard();
    auto* row = new wxBoxSizer(wxHORIZONTAL);
    row->Add(m_text, wxSizerFlags(1).CentreVertical());
    row->Add(m_open, wxSizerFlags().CentreVertical().Border(wxLEFT, FromDIP(k_Gap)));
    SetSizer(row);

    m_text->Bind(wxEVT_TEXT, [this](wxCommandEvent&) { OnText(); });
    m_text->Bind(wxEVT_KEY_DOWN, &JobSelector::OnKey, this);
    m_text->Bind(wxEVT_KILL_FOCUS, [this](wxFocusEvent& event) {
        event.Skip();
        // A click into the list has taken the focus to nobody, or to the list itself.
        if (m_list && m_list->GetScreenRect().Contains(wxGetMousePosition()))
            return;
        CloseList();
        ShowSelected();
    });
    m_open->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) {
        bool const open = m_list == nullptr;
        m_text->SetFocus();
        if (open)
            OpenList(String());
        else
            CloseList();
    });
}

JobSelector::~JobSelector() = default;

void JobSelector::Clear() {
    CloseList();
    m_offers.clear();
    SelectJob(UID());
}

void JobSelector::Fill(UID const& except) {
    m_offers = m_source ? m_source() : std::vector<JobOffer>();
    std::erase_if(m_offers, [&except](JobOffer const& offer) { return offer.id == except; });
    ShowSelected();
}

void JobSelector::SelectJob(UID const& id) {
    m_selected = id;
    ShowSelected();
}

void JobSelector::ShowSelected() {
    auto const offer = std::find_if(m_offers.begin(), m_offers.end(),
                                    [this](JobOffer const& known) { return known.id == m_selected; });
    String const unknown = m_selected.IsNull() ? String() : m_selected.ToString();
    m_text->ChangeValue(wxvText(offer == m_offers.end() ? unknown : offer->name));
}

std::vector<UID> JobSelector::Shown() const {
    std::vector<UID> shown;
    for (size_t const index : m_found)
        shown.push_back(m_offers[index].id);
    return shown;
}

void JobSelector::OnText() {
    // An empty field is the choice of none. Typing over a selection empties it, too, but
    // not for long.
    if (m_text->IsEmpty())
        CallAfter([this] {
            if (m_text->IsEmpty() && !m_selected.IsNull()) {
                m_selected = UID();
                Tell();
            }
        });
    OpenList(wxvString(m_text->GetValue()));
}

void JobSelector::Tell() {
    wxCommandEvent event(wxEVT_CHOICE, GetId());
    event.SetEventObject(this);
    event.SetString(m_text->GetValue());
    HandleWindowEvent(event);
}

void JobSelector::OpenList(String const& typed) {
    m_found = FindJobs(m_offers, typed, k_MostRows);
    if (m_found.empty()) {
        CloseList();
        return;
    }
    wxArrayString rows;
    for (size_t const index : m_found)
        rows.Add(RowText(m_offers[index]));
    if (!m_list)
        m_list = new List(*this);
    auto const current =
        std::find_if(m_found.begin(), m_found.end(), [this](size_t index) { return m_offers[index].id == m_selected; });
    bool const marksCurrent = typed.Empty() && current != m_found.end();
    m_list->Show(rows, marksCurrent ? static_cast<int>(current - m_found.begin()) : 0, GetScreenRect());
}

void JobSelector::CloseList() {
    m_found.clear();
    if (m_list)
        std::exchange(m_list, nullptr)->Destroy();
}

void JobSelector::OnKey(wxKeyEvent& event) {
    int const key = event.GetKeyCode();
    if (!m_list) {
        if (key == WXK_DOWN || key == WXK_NUMPAD_DOWN)
            OpenList(String());
        else
            event.Skip();
        return;
    }
    switch (key) {
    case WXK_DOWN:
    case WXK_NUMPAD_DOWN:
        m_list->Move(1);
        break;
    case WXK_UP:
    case WXK_NUMPAD_UP:
        m_list->Move(-1);
        break;
    case WXK_PAGEDOWN:
    case WXK_NUMPAD_PAGEDOWN:
        m_list->Move(k_PageStep);
        break;
    case WXK_PAGEUP:
    case WXK_NUMPAD_PAGEUP:
        m_list->Move(-k_PageStep);
        break;
    case WXK_RETURN:
    case WXK_NUMPAD_ENTER:
        ChooseRow(static_cast<size_t>(std::max(0, m_list->Row())));
        break;
    case WXK_ESCAPE:
        CloseList();
        ShowSelected();
        break;
    default:
        event.Skip();
    }
}

void JobSelector::ChooseRow(size_t row) {
    if (row >= m_found.size())
        return;
    m_selected = m_offers[m_found[row]].id;
    CloseList();
    ShowSelected();
    m_text->SetFocus();
    m_text->SetInsertionPointEnd();
    Tell();
}

bool JobSelector::Enable(bool enable) {
    m_text->Enable(enable);
    m_open->Enable(enable);
    return wxvPanel::Enable(enable);
}

void JobSelector::SetFocus() { m_text->SetFocus(); }

} // namespace vorlan
