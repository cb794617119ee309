#include <wx/wxtextlinectrl.h>

#include "textlineinput.h"
#include "textlinepainter.h"
#include "textsearch.h"

#include <corekit/callentry.h>
#include <wx/app.h>
#include <wx/dcbuffer.h>
#include <wx/menu.h>
#include <wx/wxvfont.h>
#include <wx/wxvtext.h>

namespace {

constexpr int k_Padding = 8;
constexpr int k_LineGap = 3;
constexpr int k_RowGap = 6;
// How long the picture stays when its lines have to be read first.
constexpr int k_PatienceMs = 150;

} // namespace

wxDEFINE_EVENT(wxEVT_TEXTLINE_STATUS, wxCommandEvent);

wxTextLineCtrl::wxTextLineCtrl(wxWindow* parent, wxWindowID id, Selecting selecting)
    : wxWindow(parent, id, wxDefaultPosition, wxDefaultSize,
               wxVSCROLL | wxHSCROLL | wxNO_BORDER | wxWANTS_CHARS | wxFULL_REPAINT_ON_RESIZE | wxCLIP_CHILDREN),
      m_state(std::make_unique<TextLineState>()),
      m_painter(std::make_unique<TextLinePainter>(*m_state)),
      m_isAlive(std::make_shared<bool>(true)) {
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
    Bind(wxEVT_CHAR_HOOK, [this](wxKeyEvent& event) {
        if (event.GetKeyCode() != WXK_ESCAPE || !HideFindBar())
            event.Skip();
    });
    m_patience.Bind(wxEVT_TIMER, [this](wxTimerEvent&) { Refresh(false); });
    m_exportTick.Bind(wxEVT_TIMER, [this](wxTimerEvent&) { TellStatus(); });
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

wxTextLineCtrl::~wxTextLineCtrl() {
    m_input->CancelSelecting();
    *m_isAlive = false;
    StopSearch();
    if (m_export)
        m_export->Stop();
}

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

void wxTextLineCtrl::SetLineColors(std::function<ColorName(std::string_view)> colorOf) {
    m_state->colorOf = std::move(colorOf);
    Refresh(false);
}

// --- A file.

void wxTextLineCtrl::ShowFile(corekit::Path const& file) {
    m_nextFile = std::make_unique<FileText>(file);
    wxWakeUpIdle();
}

bool wxTextLineCtrl::IsFileShown() const { return m_state->file != nullptr; }

void wxTextLineCtrl::CloseFile() {
    m_nextFile.reset();
    if (!m_state->file)
        return;
    m_state->file.reset();
    Clear();
}

void wxTextLineCtrl::TakeFileNews() {
    if (m_nextFile) {
        m_nextFile->Update();
        if (m_nextFile->IsReady()) {
            std::unique_ptr<FileText> ready = std::move(m_nextFile);
            Clear();
            m_state->file = std::move(ready);
            CountHits();
            m_state->layout.top = m_state->follow ? m_state->layout.LastTop(m_state->Text().Count()) : 0;
        }
        return;
    }
    if (!m_state->file)
        return;
    int const before = m_state->file->Count();
    FileText::Change const change = m_state->file->Update();
    if (!change.any)
        return;
    int const now = m_state->file->Count();
    if (change.isAnew) {
        m_input->CancelSelecting();
        StopSearch();
        m_state->ForgetPlaces();
        m_state->row = -1;
        m_state->unshown = 0;
        m_state->layout.top = m_state->follow ? m_state->layout.LastTop(now) : 0;
        CountHits();
    } else {
        if (change.moved > 0)
            m_state->MoveRows(change.moved);
        m_state->unshown += std::max(now - before - change.moved, 0);
    }
    Changed();
}

// --- Lines.

int wxTextLineCtrl::Append(corekit::String const& line, bool sorted, ColorName color) {
    CloseFile();
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
    CloseFile();
    row = std::clamp(row, 0, m_state->lines.Count());
    m_state->lines.Insert(row, line, color);
    m_state->ForgetPlaces();
    if (m_state->row >= row)
        ++m_state->row;
    CountHits();
    Changed();
}

void wxTextLineCtrl::Remove(int row) {
    CloseFile();
    if (!m_state->lines.Has(row))
        return;
    m_state->lines.Remove(row);
    m_state->ForgetPlaces();
    if (m_state->row == row)
        m_state->row = -1;
    else if (m_state->row > row)
        --m_state->row;
    CountHits();
    Changed();
}

void wxTextLineCtrl::Drop() {
    m_state->lines.RemoveFront(k_DropLines);
    m_state->MoveRows(-k_DropLines);
    StopSearch();
    CountHits();
}

void wxTextLineCtrl::Clear() {
    m_input->CancelSelecting();
    StopSearch();
    m_nextFile.reset();
    m_state->file.reset();
    m_state->lines.Clear();
    m_state->ForgetPlaces();
    m_state->row = -1;
    m_state->widest = 0;
    m_state->unshown = 0;
    m_exported = {};
    Changed();
    CountHits();
}

void wxTextLineCtrl::Swap(int row, int other) {
    TextLine const* const one = m_state->lines.At(row);
    TextLine const* const two = m_state->lines.At(other);
    if (!one || !two)
        return;
    TextLine kept = *one;
    m_state->lines.Set(row, *two);
    m_state->lines.Set(other, std::move(kept));
    m_state->ForgetPlaces();
    if (m_state->row == row)
        m_state->row = other;
    else if (m_state->row == other)
        m_state->row = row;
    CountHits();
    Changed();
}

int wxTextLineCtrl::GetLineCount() const { return m_state->Text().Count(); }

corekit::String wxTextLineCtrl::GetText(int row) const {
    TextLine const* const line = m_state->Text().At(row);
    return line ? line->text : corekit::String();
}

void wxTextLineCtrl::SetText(int row, corekit::String const& line) {
    TextLine const* const at = m_state->lines.At(row);
    if (!at || at->text == line)
        return;
    m_state->lines.Set(row, {line, at->color, false});
    if (row >= m_state->From().line && row <= m_state->To().line)
        m_state->ForgetPlaces();
    CountHits();
    Changed();
}

void wxTextLineCtrl::SetLineColor(int row, ColorName color) {
    TextLine const* const at = m_state->lines.At(row);
    if (!at)
        return;
    m_state->lines.Set(row, {at->text, color, false});
    Changed();
}

// --- Selection.

int wxTextLineCtrl::GetSelection() const { return m_state->row; }

void wxTextLineCtrl::Select(int row) {
    m_state->row = m_state->selectsLines && m_state->Text().Has(row) ? row : -1;
    Refresh(false);
}

wxString wxTextLineCtrl::GetSelectedText() const {
    std::string text;
    m_state->CopySelected(text);
    return wxvText(text);
}

bool wxTextLineCtrl::HasSelection() const {
    return m_state->selectsLines ? m_state->row >= 0 : m_state->From() < m_state->To();
}

void wxTextLineCtrl::SelectAll() {
    if (m_state->selectsLines)
        return;
    m_state->anchor = {};
    m_state->caret = m_state->End();
    Refresh(false);
}

bool wxTextLineCtrl::IsSelecting() const { return m_input->IsSelecting(); }

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
    return m_state->Text().Has(line) ? line : -1;
}

void wxTextLineCtrl::EnsureVisible(int row) {
    if (!m_state->Text().Has(row))
        return;
    TextLineLayout const& layout = m_state->layout;
    if (row < layout.top)
        ScrollTo(row, layout.left);
    else if (row >= layout.top + layout.WholeLines())
        ScrollTo(row - layout.WholeLines() + 1, layout.left);
}

int wxTextLineCtrl::GetTopLine() const { return m_state->layout.top; }

bool wxTextLineCtrl::IsAtEnd() const { return m_state->AtEnd(m_state->Text().Count()); }

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
    int const count = m_state->Text().Count();
    int const shown = std::max(count - m_state->unshown, 0);
    m_state->unshown = 0;
    bool const follows = m_state->follow && m_state->AtEnd(shown);
    layout.size = GetClientSize();
    ScrollTo(follows ? layout.LastTop(count) : layout.top, layout.left);
    DrawLines();
}

void wxTextLineCtrl::ScrollTo(int line, int left) {
    TextLineLayout& layout = m_state->layout;
    int const count = m_state->Text().Count();
    int const width = m_state->widest + 2 * layout.padding;
    line = std::clamp(line, 0, layout.LastTop(count));
    left = std::clamp(left, 0, std::max(width - layout.size.x, 0));
    bool const isMoved = line != layout.top || left != layout.left;
    layout.top = line;
    layout.left = left;
    if (isMoved)
        DrawLines();
    auto set = [this](int orientation, int position, int thumb, int range) {
        if (GetScrollPos(orientation) != position || GetScrollThumb(orientation) != thumb ||
            GetScrollRange(orientation) != range)
            SetScrollbar(orientation, position, thumb, range);
    };
    set(wxVERTICAL, line, layout.WholeLines(), count);
    set(wxHORIZONTAL, left, layout.size.x, width);
}

void wxTextLineCtrl::DrawLines() {
    TextLineLayout const& layout = m_state->layout;
    bool const atEnd = m_state->follow && m_state->AtEnd(m_state->Text().Count());
    if (m_state->Text().Want(layout.top, layout.WholeLines() + 1, atEnd)) {
        m_patience.Stop();
        Refresh(false);
    } else if (!m_patience.IsRunning()) {
        m_patience.StartOnce(k_PatienceMs);
    }
}

void wxTextLineCtrl::OnInternalIdle() {
    wxWindow::OnInternalIdle();
    TakeFileNews();
    if (m_state->unsettled || m_state->layout.size != GetClientSize())
        Settle();
    TakeSearchNews();
    TellStatus();
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
        place = sideways ? m_state->widest : m_state->Text().Count();
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

// --- The menu.

void wxTextLineCtrl::OnContextMenu(wxContextMenuEvent&) {
    CALL_ENTRY();
    wxMenu menu;
    menu.Append(wxID_COPY, _("Copy\tCtrl+C"))->Enable(HasSelection());
    if (!m_state->selectsLines)
        menu.Append(wxID_SELECTALL, _("Select All\tCtrl+A"));
    menu.Append(wxID_FIND, _("Find...\tCtrl+F"));
    if (!m_state->selectsLines)
        menu.Append(wxID_SAVEAS, _("Save As...\tCtrl+S"))->Enable(m_state->Text().Count() > 0);
    menu.Bind(wxEVT_MENU, [this](wxCommandEvent& event) {
        if (event.GetId() == wxID_COPY)
            CopySelection();
        else if (event.GetId() == wxID_SELECTALL)
            SelectAll();
        else if (event.GetId() == wxID_SAVEAS)
            AskAndSave();
        else
            ShowFindBar();
    });
    PopupMenu(&menu);
}
