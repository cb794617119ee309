#include <wx/wxtextlinectrl.h>

#include "textfindbar.h"
#include "textlineinput.h"
#include "textlinepainter.h"

#include <corekit/callentry.h>
#include <wx/app.h>
#include <wx/dcbuffer.h>
#include <wx/menu.h>
#include <wx/sizer.h>
#include <wx/wxvclipboard.h>
#include <wx/wxvfont.h>
#include <wx/wxvtext.h>

namespace {

constexpr int k_Padding = 8;
constexpr int k_LineGap = 3;
constexpr int k_RowGap = 6;
constexpr int k_MarginAroundHit = 64;
// Lines that a search looks at before the program may do something else.
constexpr int k_SearchLines = 20'000;

} // namespace

wxTextLineCtrl::wxTextLineCtrl(wxWindow* parent, wxWindowID id, Selecting selecting)
    : wxWindow(parent, id, wxDefaultPosition, wxDefaultSize,
               wxVSCROLL | wxHSCROLL | wxNO_BORDER | wxWANTS_CHARS | wxFULL_REPAINT_ON_RESIZE | wxCLIP_CHILDREN),
      m_state(std::make_unique<TextLineState>()),
      m_painter(std::make_unique<TextLinePainter>(*m_state)) {
    m_state->selectsLines = selecting == Selecting::Line;
    m_state->batch = k_DefaultBatch;
    m_input = std::make_unique<TextLineInput>(*this, *m_state);
    SetBackgroundStyle(wxBG_STYLE_PAINT);
    SetBackgroundColour(wxvGetColor(ColorName::WindowBGDarker));
    if (!m_state->selectsLines)
        SetCursor(wxCursor(wxCURSOR_IBEAM));
    SetType(Type::Proportional);
    Bind(wxEVT_PAINT, &wxTextLineCtrl::OnPaint, this);
    Bind(wxEVT_CONTEXT_MENU, &wxTextLineCtrl::OnContextMenu, this);
    for (auto const& type :
         {wxEVT_SCROLLWIN_TOP, wxEVT_SCROLLWIN_BOTTOM, wxEVT_SCROLLWIN_LINEUP, wxEVT_SCROLLWIN_LINEDOWN,
          wxEVT_SCROLLWIN_PAGEUP, wxEVT_SCROLLWIN_PAGEDOWN, wxEVT_SCROLLWIN_THUMBTRACK, wxEVT_SCROLLWIN_THUMBRELEASE})
        Bind(type, &wxTextLineCtrl::OnScroll, this);
    Bind(wxEVT_SIZE, [this](wxSizeEvent& event) {
        event.Skip();
        Changed();
        PlaceFindBar();
    });
    for (auto const& type : {wxEVT_SET_FOCUS, wxEVT_KILL_FOCUS})
        Bind(type, [this](wxFocusEvent& event) {
            event.Skip();
            m_state->focused = event.GetEventType() == wxEVT_SET_FOCUS;
            Refresh(false);
        });
    Bind(wxEVT_DPI_CHANGED, [this](wxDPIChangedEvent& event) {
        event.Skip();
        TakeMetrics();
    });
    Bind(wxEVT_SYS_COLOUR_CHANGED, [this](wxSysColourChangedEvent& event) {
        event.Skip();
        SetBackgroundColour(wxvGetColor(ColorName::WindowBGDarker));
        Refresh(false);
    });
}

wxTextLineCtrl::~wxTextLineCtrl() { m_input->CancelSelecting(); }

void wxTextLineCtrl::SetType(Type type) {
    wxFont font = wxvFont();
    if (type == Type::Monospaced)
        font = wxFont(wxFontInfo(font.GetPointSize()).Family(wxFONTFAMILY_TELETYPE));
    SetFont(font);
    TakeMetrics();
}

void wxTextLineCtrl::TakeMetrics() {
    m_state->font = GetFont();
    m_state->widest = 0;
    m_state->layout.padding = FromDIP(k_Padding);
    m_state->layout.textTop = FromDIP(m_state->selectsLines ? k_RowGap : k_LineGap) / 2;
    // From many characters: one alone has a rounded width.
    wxString const sample('x', 100);
    m_state->evenWidth =
        m_state->font.IsFixedWidth() ? GetTextExtent(sample).x / static_cast<double>(sample.length()) : 0.0;
    m_state->layout.lineHeight = GetCharHeight() + FromDIP(m_state->selectsLines ? k_RowGap : k_LineGap);
    Changed();
}

void wxTextLineCtrl::SetFollowEnd(bool follow) { m_state->follow = follow; }

void wxTextLineCtrl::SetUpdateBatch(int lines) { m_state->batch = std::max(lines, 1); }

void wxTextLineCtrl::SetQuietWords(int words) {
    m_state->quietWords = words;
    Refresh(false);
}

void wxTextLineCtrl::SetEmptyText(wxString const& text) {
    m_state->emptyText = text;
    Refresh(false);
}

// --- Lines.

int wxTextLineCtrl::Append(corekit::String const& line, bool sorted, ColorName color) {
    if (sorted) {
        int const row = m_state->lines.SortedPlace(line);
        Insert(row, line, color);
        return row;
    }
    m_state->lines.Append(line, color);
    ++m_state->unshown;
    if (m_state->lines.Count() > k_MaxLines)
        Drop();
    if (m_state->unshown >= m_state->batch)
        Settle();
    else
        Changed();
    return m_state->lines.Count() - 1;
}

void wxTextLineCtrl::AppendString(corekit::String const& text, ColorName color) {
    size_t begin = 0;
    do {
        size_t const end = text.Find('\n', begin);
        corekit::String line = text.Mid(begin, end == corekit::String::npos ? end : end - begin);
        if (line.EndsWith("\r"))
            line.pop_back();
        Append(line, false, color);
        begin = end == corekit::String::npos ? text.size() : end + 1;
    } while (begin < text.size());
}

void wxTextLineCtrl::Insert(int row, corekit::String const& line, ColorName color) {
    row = std::clamp(row, 0, m_state->lines.Count());
    m_state->lines.Insert(row, line, color);
    m_state->ForgetPlaces();
    if (m_state->row >= row)
        ++m_state->row;
    Changed();
}

void wxTextLineCtrl::Remove(int row) {
    if (!m_state->lines.Has(row))
        return;
    m_state->lines.Remove(row);
    m_state->ForgetPlaces();
    if (m_state->row == row)
        m_state->row = -1;
    else if (m_state->row > row)
        --m_state->row;
    Changed();
}

void wxTextLineCtrl::Drop() {
    m_state->lines.RemoveFront(k_DropLines);
    auto move = [](int& line) { line = std::max(line - k_DropLines, -1); };
    bool const cut = m_state->From().line < k_DropLines;
    move(m_state->anchor.line);
    move(m_state->caret.line);
    move(m_state->hitLine);
    move(m_state->row);
    m_state->search.Stop();
    if (cut)
        m_state->ForgetPlaces();
    m_state->layout.top = std::max(m_state->layout.top - k_DropLines, 0);
}

void wxTextLineCtrl::Clear() {
    m_input->CancelSelecting();
    m_state->lines.Clear();
    m_state->ForgetPlaces();
    m_state->row = -1;
    m_state->widest = 0;
    m_state->unshown = 0;
    Changed();
}

void wxTextLineCtrl::Swap(int row, int other) {
    if (!m_state->lines.Has(row) || !m_state->lines.Has(other))
        return;
    std::swap(m_state->lines.At(row), m_state->lines.At(other));
    m_state->ForgetPlaces();
    if (m_state->row == row)
        m_state->row = other;
    else if (m_state->row == other)
        m_state->row = row;
    Changed();
}

int wxTextLineCtrl::GetLineCount() const { return m_state->lines.Count(); }

corekit::String wxTextLineCtrl::GetText(int row) const {
    return m_state->lines.Has(row) ? m_state->lines.At(row).text : corekit::String();
}

void wxTextLineCtrl::SetText(int row, corekit::String const& line) {
    if (!m_state->lines.Has(row) || m_state->lines.At(row).text == line)
        return;
    m_state->lines.At(row).text = line;
    if (row >= m_state->From().line && row <= m_state->To().line)
        m_state->ForgetPlaces();
    Changed();
}

void wxTextLineCtrl::SetLineColor(int row, ColorName color) {
    if (!m_state->lines.Has(row))
        return;
    m_state->lines.At(row).color = color;
    Changed();
}

// --- Selection.

int wxTextLineCtrl::GetSelection() const { return m_state->row; }

void wxTextLineCtrl::Select(int row) {
    m_state->row = m_state->selectsLines && m_state->lines.Has(row) ? row : -1;
    Refresh(false);
}

wxString wxTextLineCtrl::GetSelectedText() const {
    if (m_state->selectsLines)
        return m_state->row >= 0 ? wxvText(m_state->lines.At(m_state->row).text) : wxString();
    return m_state->lines.Between(m_state->From(), m_state->To());
}

bool wxTextLineCtrl::HasSelection() const {
    return m_state->selectsLines ? m_state->row >= 0 : m_state->From() < m_state->To();
}

void wxTextLineCtrl::SelectAll() {
    if (m_state->selectsLines)
        return;
    m_state->anchor = {};
    m_state->caret = m_state->lines.End();
    Refresh(false);
}

bool wxTextLineCtrl::IsSelecting() const { return m_input->IsSelecting(); }

bool wxTextLineCtrl::CopySelection() { return HasSelection() && wxCopyTextToClipboard(GetSelectedText()); }

void wxTextLineCtrl::SendSelected(wxEventType type) {
    wxCommandEvent event(type, GetId());
    event.SetEventObject(this);
    event.SetInt(m_state->row);
    event.SetString(GetSelectedText());
    ProcessWindowEvent(event);
}

// --- Place.

int wxTextLineCtrl::LineAt(wxPoint const& point) const {
    if (!wxRect(GetClientSize()).Contains(point))
        return -1;
    int const line = m_state->layout.LineAt(point.y);
    return m_state->lines.Has(line) ? line : -1;
}

void wxTextLineCtrl::EnsureVisible(int row) {
    if (!m_state->lines.Has(row))
        return;
    TextLineLayout const& layout = m_state->layout;
    if (row < layout.top)
        ScrollTo(row, layout.left);
    else if (row >= layout.top + layout.WholeLines())
        ScrollTo(row - layout.WholeLines() + 1, layout.left);
}

int wxTextLineCtrl::GetTopLine() const { return m_state->layout.top; }

bool wxTextLineCtrl::IsAtEnd() const { return m_state->AtEnd(m_state->lines.Count()); }

void wxTextLineCtrl::Redraw() { Changed(); }

bool wxTextLineCtrl::Enable(bool enable) {
    bool const changed = wxWindow::Enable(enable);
    Refresh(false);
    return changed;
}

void wxTextLineCtrl::Changed() {
    if (m_state->unsettled)
        return;
    m_state->unsettled = true;
    wxWakeUpIdle();
}

void wxTextLineCtrl::Settle() {
    m_state->unsettled = false;
    TextLineLayout& layout = m_state->layout;
    int const count = m_state->lines.Count();
    int const shown = std::max(count - m_state->unshown, 0);
    m_state->unshown = 0;
    bool const follows = m_state->follow && m_state->AtEnd(shown);
    layout.size = GetClientSize();
    ScrollTo(follows ? layout.LastTop(count) : layout.top, layout.left);
    Refresh(false);
}

void wxTextLineCtrl::ScrollTo(int line, int left) {
    TextLineLayout& layout = m_state->layout;
    int const count = m_state->lines.Count();
    int const width = m_state->widest + 2 * layout.padding;
    line = std::clamp(line, 0, layout.LastTop(count));
    left = std::clamp(left, 0, std::max(width - layout.size.x, 0));
    if (line != layout.top || left != layout.left)
        Refresh(false);
    layout.top = line;
    layout.left = left;
    auto set = [this](int orientation, int position, int thumb, int range) {
        if (GetScrollPos(orientation) != position || GetScrollThumb(orientation) != thumb ||
            GetScrollRange(orientation) != range)
            SetScrollbar(orientation, position, thumb, range);
    };
    set(wxVERTICAL, line, layout.WholeLines(), count);
    set(wxHORIZONTAL, left, layout.size.x, width);
}

void wxTextLineCtrl::OnInternalIdle() {
    wxWindow::OnInternalIdle();
    if (m_state->unsettled || m_state->layout.size != GetClientSize())
        Settle();
    SearchSome();
}

void wxTextLineCtrl::OnPaint(wxPaintEvent&) {
    CALL_ENTRY();
    wxAutoBufferedPaintDC dc(this);
    m_state->layout.size = GetClientSize();
    m_state->enabled = IsEnabled(); // with what it stands in
    int const widest = m_state->widest;
    m_painter->Paint(dc);
    // A wider line than before: the scroll bar has to know.
    if (m_state->widest != widest)
        Changed();
}

void wxTextLineCtrl::OnScroll(wxScrollWinEvent& event) {
    TextLineLayout const& layout = m_state->layout;
    bool const sideways = event.GetOrientation() == wxHORIZONTAL;
    int const page = sideways ? layout.size.x : layout.WholeLines();
    int const step = sideways ? layout.lineHeight : 1;
    int place = sideways ? layout.left : layout.top;
    wxEventType const type = event.GetEventType();
    if (type == wxEVT_SCROLLWIN_TOP)
        place = 0;
    else if (type == wxEVT_SCROLLWIN_BOTTOM)
        place = sideways ? m_state->widest : m_state->lines.Count();
    else if (type == wxEVT_SCROLLWIN_LINEUP)
        place -= step;
    else if (type == wxEVT_SCROLLWIN_LINEDOWN)
        place += step;
    else if (type == wxEVT_SCROLLWIN_PAGEUP)
        place -= page;
    else if (type == wxEVT_SCROLLWIN_PAGEDOWN)
        place += page;
    else
        place = event.GetPosition();
    ScrollTo(sideways ? layout.top : place, sideways ? place : layout.left);
}

// --- Search.

void wxTextLineCtrl::ShowFindBar() {
    if (!m_findBar)
        m_findBar = new TextFindBar(*this);
    PlaceFindBar();
    m_findBar->Show();
    m_findBar->Start();
}

void wxTextLineCtrl::HideFindBar() {
    if (!m_findBar || !m_findBar->IsShown())
        return;
    m_findBar->Hide();
    Find(corekit::String());
    SetFocus();
}

void wxTextLineCtrl::PlaceFindBar() {
    if (!m_findBar)
        return;
    wxSize const size = m_findBar->GetSizer()->CalcMin();
    wxSize const client = GetClientSize();
    m_findBar->SetSize(std::max(client.x - size.x - FromDIP(k_Padding), 0), 0, std::min(size.x, client.x), size.y);
}

void wxTextLineCtrl::Find(corekit::String const& term, bool backward) {
    m_state->term = term;
    m_state->hitLine = -1;
    m_state->search.Begin(term, backward ? m_state->To() : m_state->From(),
                          backward ? TextDirection::Backward : TextDirection::Forward);
    Refresh(false);
    SearchSome();
}

void wxTextLineCtrl::FindNext(bool backward) {
    if (m_state->term.Empty())
        return;
    m_state->search.Begin(m_state->term, backward ? m_state->From() : m_state->To(),
                          backward ? TextDirection::Backward : TextDirection::Forward);
    SearchSome();
}

bool wxTextLineCtrl::IsSearching() const { return m_state->search.GetState() == TextSearch::State::Searching; }

bool wxTextLineCtrl::IsMissing() const { return m_state->search.GetState() == TextSearch::State::Missing; }

void wxTextLineCtrl::SearchSome() {
    if (!IsSearching())
        return;
    TextSearch& search = m_state->search;
    if (search.Step(m_state->lines, k_SearchLines) == TextSearch::State::Searching)
        wxWakeUpIdle();
    else if (search.GetState() == TextSearch::State::Found)
        ShowHit(search.Line(), search.Hit().first, search.Hit().second);
    else
        m_state->hitLine = -1;
    if (m_findBar)
        m_findBar->ShowState();
}

void wxTextLineCtrl::ShowHit(int line, int from, int to) {
    m_state->hitLine = line;
    m_state->hit = {from, to};
    m_state->anchor = {line, from};
    m_state->caret = {line, to};
    if (m_state->selectsLines)
        Select(line);
    TextLineLayout const& layout = m_state->layout;
    // Not at the very edge, where people see nothing around it, nor under the find bar.
    int const covered = m_findBar && m_findBar->IsShown() ? m_findBar->GetSize().y / layout.lineHeight + 1 : 0;
    bool const inSight = line >= layout.top + std::min(covered, layout.top) && line < layout.top + layout.WholeLines();
    int const top = inSight ? layout.top : line - layout.WholeLines() / 3;
    wxClientDC dc(this);
    dc.SetFont(m_state->font);
    wxString const shown = m_state->lines.Shown(line);
    int const begin = m_painter->XOf(dc, shown, from);
    int const end = m_painter->XOf(dc, shown, to) + 2 * layout.padding;
    m_state->widest = std::max(m_state->widest, m_painter->WidthOf(dc, shown));
    int left = layout.left;
    if (begin < left || end > left + layout.size.x)
        left = end <= layout.size.x ? 0 : begin - FromDIP(k_MarginAroundHit);
    ScrollTo(top, left);
    Refresh(false);
}

// --- The menu.

void wxTextLineCtrl::OnContextMenu(wxContextMenuEvent&) {
    CALL_ENTRY();
    wxMenu menu;
    menu.Append(wxID_COPY, _("Copy\tCtrl+C"))->Enable(HasSelection());
    if (!m_state->selectsLines)
        menu.Append(wxID_SELECTALL, _("Select All\tCtrl+A"));
    menu.Append(wxID_FIND, _("Find...\tCtrl+F"));
    menu.Bind(wxEVT_MENU, [this](wxCommandEvent& event) {
        if (event.GetId() == wxID_COPY)
            CopySelection();
        else if (event.GetId() == wxID_SELECTALL)
            SelectAll();
        else
            ShowFindBar();
    });
    PopupMenu(&menu);
}
