#include "listinput.h"
#include "listpainter.h"

#include <algorithm>
#include <cstdlib>
#include <wx/cursor.h>
#include <wx/tooltip.h>
#include <wx/wxvtext.h>

namespace {

constexpr int k_DragDistance = 5; // device-independent pixels
constexpr int k_FollowPeriodMs = 30;
constexpr std::chrono::milliseconds k_TypePause{1000};
// A search through endless rows is given up.
constexpr std::chrono::milliseconds k_SearchTime{50};

using Area = wxDBListHit::Area;

} // namespace

wxDBListInput::wxDBListInput(wxDBListCtrl& list, wxDBListState& state) : m_list(list), m_state(state) {
    list.Bind(wxEVT_LEFT_DOWN, &wxDBListInput::OnLeftDown, this);
    list.Bind(wxEVT_LEFT_DCLICK, &wxDBListInput::OnLeftDouble, this);
    list.Bind(wxEVT_LEFT_UP, &wxDBListInput::OnLeftUp, this);
    list.Bind(wxEVT_RIGHT_DOWN, &wxDBListInput::OnRightDown, this);
    list.Bind(wxEVT_RIGHT_DCLICK, &wxDBListInput::OnRightDown, this);
    list.Bind(wxEVT_MOTION, &wxDBListInput::OnMotion, this);
    list.Bind(wxEVT_LEAVE_WINDOW, &wxDBListInput::OnLeave, this);
    list.Bind(wxEVT_MOUSEWHEEL, &wxDBListInput::OnWheel, this);
    list.Bind(wxEVT_MOUSE_CAPTURE_LOST, &wxDBListInput::OnCaptureLost, this);
    list.Bind(wxEVT_KEY_DOWN, &wxDBListInput::OnKeyDown, this);
    list.Bind(wxEVT_CHAR, &wxDBListInput::OnChar, this);
}

wxDBListInput::~wxDBListInput() {
    if (m_list.HasCapture())
        m_list.ReleaseMouse();
}

bool wxDBListInput::IsSingle() const { return (m_state.style & wxLC_SINGLE_SEL) != 0; }

void wxDBListInput::ContentMoved() {
    m_tipRow = m_tipColumn = -1;
    if (m_state.hoverRow < 0)
        return;
    Hover(m_list.ScreenToClient(wxGetMousePosition()));
}

// --- Mouse

void wxDBListInput::OnLeftDown(wxMouseEvent& event) {
    wxDBListHit const hit = m_state.layout.HitTest(event.GetPosition());
    m_list.SetFocus();
    Press(event, hit);
}

void wxDBListInput::OnLeftDouble(wxMouseEvent& event) {
    wxDBListHit const hit = m_state.layout.HitTest(event.GetPosition());
    if (hit.area == Area::HeaderEdge) {
        m_list.SetColumnWidth(hit.column, -1);
        m_list.SendEvent(wxEVT_LIST_COL_END_DRAG, -1, hit.column, event.GetPosition());
    } else if ((hit.area == Area::Cell || hit.area == Area::BesideCells) && !event.HasAnyModifiers() &&
               !(hit.column >= 0 &&
                 m_list.m_painter->ExpanderRect(hit.row, hit.column).Contains(event.GetPosition()))) {
        m_list.Activate(hit.row, hit.column);
    } else {
        Press(event, hit); // quick clicks are clicks
    }
}

void wxDBListInput::Press(wxMouseEvent& event, wxDBListHit const& hit) {
    m_pressed = event.GetPosition();
    m_column = hit.column;
    switch (hit.area) {
    case Area::HeaderEdge:
        m_widthBefore = m_list.GetColumnWidth(static_cast<size_t>(hit.column));
        m_shownBefore = m_state.layout.HeaderCell(hit.column).width;
        Begin(Drag::ColumnWidth);
        break;
    case Area::Header:
        if (hit.column < 0)
            return;
        m_state.pressedHeader = hit.column;
        m_list.RefreshRect(m_state.layout.Header());
        Begin(Drag::HeaderPress);
        break;
    case Area::Cell:
    case Area::BesideCells:
        PressRow(event, hit);
        break;
    case Area::BelowRows:
        if (!event.ControlDown() && !event.ShiftDown())
            m_list.DeselectAll();
        break;
    case Area::Outside:
        break;
    }
}

void wxDBListInput::PressRow(wxMouseEvent& event, wxDBListHit const& hit) {
    if (hit.column >= 0 && m_list.m_painter->ExpanderRect(hit.row, hit.column).Contains(event.GetPosition())) {
        m_list.OnExpander(hit.row, hit.column);
        return;
    }
    m_clickPoint = event.GetPosition();
    m_clickColumn = hit.column;
    if (m_list.HandleClick(hit.row, hit.column, event)) {
        bool const range = event.ShiftDown() && !IsSingle();
        m_addRange = range && event.ControlDown();
        // Before the events: who hears them may end it by clearing the list.
        if (!IsSingle() && (range || !event.ControlDown()))
            Begin(Drag::Rows);
        if (range)
            SelectRange(m_state.anchor < 0 ? hit.row : m_state.anchor, hit.row,
                        m_addRange ? Extend::AddRange : Extend::Range);
        else if (event.ControlDown())
            Toggle(hit.row);
        else
            SelectOnly(hit.row);
    }
    m_clickPoint = wxDefaultPosition;
    m_clickColumn = -1;
}

void wxDBListInput::OnLeftUp(wxMouseEvent& event) {
    Drag const drag = m_drag;
    int const column = m_column;
    int const dropPosition = m_state.dropPosition;
    End();
    if (drag == Drag::HeaderPress) {
        if (m_state.layout.HitTest(event.GetPosition()).column == column && m_state.IsColumn(column))
            m_list.SendEvent(wxEVT_LIST_COL_CLICK, -1, column, event.GetPosition());
    } else if (drag == Drag::ColumnMove) {
        if (dropPosition != column) {
            m_list.MoveColumn(column, dropPosition - column);
            m_list.SendEvent(wxEVT_LIST_COL_END_DRAG, -1, dropPosition, event.GetPosition());
        }
    } else if (drag == Drag::ColumnWidth) {
        if (m_state.IsColumn(column) && m_list.GetColumnWidth(static_cast<size_t>(column)) != m_widthBefore)
            m_list.SendEvent(wxEVT_LIST_COL_END_DRAG, -1, column, event.GetPosition());
    }
    Hover(event.GetPosition());
}

void wxDBListInput::OnRightDown(wxMouseEvent& event) {
    Cancel();
    m_list.SetFocus();
    wxDBListHit const hit = m_state.layout.HitTest(event.GetPosition());
    if (hit.area == Area::Header || hit.area == Area::HeaderEdge) {
        m_list.SendEvent(wxEVT_LIST_COL_RIGHT_CLICK, -1, hit.column, event.GetPosition());
        return;
    }
    if (hit.row < 0)
        m_list.DeselectAll();
    else if (!m_list.IsRowSelected(hit.row))
        SelectOnly(hit.row);
    m_list.SendEvent(wxEVT_LIST_ITEM_RIGHT_CLICK, hit.row, hit.column, event.GetPosition());
}

void wxDBListInput::Begin(Drag drag) {
    m_drag = drag;
    if (drag == Drag::Rows)
        m_timer.Start(k_FollowPeriodMs);
    if (!m_list.HasCapture())
        m_list.CaptureMouse();
}

void wxDBListInput::End() {
    m_timer.Stop();
    if (m_list.HasCapture())
        m_list.ReleaseMouse();
    m_drag = Drag::None;
    m_column = -1;
    m_state.pressedHeader = m_state.dragColumn = m_state.dropPosition = -1;
    m_list.RefreshRect(m_state.layout.Header());
}

void wxDBListInput::Cancel() {
    if (m_drag == Drag::ColumnWidth && m_state.IsColumn(m_column))
        m_list.SetColumnWidth(m_column, m_widthBefore);
    if (m_drag != Drag::None)
        End();
}

void wxDBListInput::OnCaptureLost(wxMouseCaptureLostEvent&) { Cancel(); }

void wxDBListInput::OnMotion(wxMouseEvent& event) {
    wxPoint const point = event.GetPosition();
    if (m_drag != Drag::None && !event.LeftIsDown()) {
        Cancel(); // the button went up where nobody saw it
        return;
    }
    switch (m_drag) {
    case Drag::None:
        Hover(point);
        break;
    case Drag::ColumnWidth:
        m_list.SetColumnWidth(m_column, std::max(0, m_shownBefore + point.x - m_pressed.x));
        break;
    case Drag::HeaderPress:
        if (std::abs(point.x - m_pressed.x) < m_list.FromDIP(k_DragDistance) || m_list.GetColumnCount() < 2 ||
            !m_list.MayMoveColumns())
            return;
        m_drag = Drag::ColumnMove;
        m_state.dragColumn = m_column;
        [[fallthrough]];
    case Drag::ColumnMove:
        m_state.dropPosition = m_state.layout.DropPosition(m_column, point.x);
        m_list.RefreshRect(m_state.layout.Header());
        break;
    case Drag::Rows:
        DragRows(point.y);
        break;
    }
}

void wxDBListInput::DragRows(int y) {
    wxRect const body = m_state.layout.Body();
    int const row = m_state.layout.NearestRow(std::clamp(y, body.y, body.GetBottom()));
    if (row < 0 || row == m_state.current)
        return;
    int const from = m_state.IsRow(m_state.anchor) ? m_state.anchor : row;
    SelectRange(from, row, m_addRange ? Extend::AddRange : Extend::Range);
}

// The last movement out of the window may have told nobody: the pointer is asked.
void wxDBListInput::FollowPointer() {
    if (!wxGetMouseState().LeftIsDown()) {
        Cancel();
        return;
    }
    wxRect const body = m_state.layout.Body();
    int const y = m_list.ScreenToClient(wxGetMousePosition()).y;
    if (int const distance = y < body.y ? y - body.y : std::max(0, y - body.GetBottom()); distance != 0) {
        // The farther out, the faster.
        int const most = 3 * m_state.layout.Metrics().rowHeight;
        int const step = std::clamp(distance / 2, -most, most) + (distance < 0 ? -2 : 2);
        m_list.ScrollTo(m_state.layout.Origin() + wxPoint(0, step));
    }
    DragRows(y);
}

void wxDBListInput::OnLeave(wxMouseEvent& event) {
    event.Skip();
    if (m_drag == Drag::None)
        Hover(wxPoint(-1, -1));
}

void wxDBListInput::OnWheel(wxMouseEvent& event) {
    if (event.ControlDown() || event.GetWheelDelta() == 0) {
        event.Skip();
        return;
    }
    bool const horizontal = event.GetWheelAxis() == wxMOUSE_WHEEL_HORIZONTAL || event.ShiftDown();
    int const page = m_state.layout.RowsPerPage();
    int const rows = event.IsPageScroll() ? page : std::min(page, std::max(1, event.GetLinesPerAction()));
    int const pixels = rows * m_state.layout.Metrics().rowHeight;
    // Fine wheels turn by parts of a step; parts of a pixel add up.
    int const sign = event.GetWheelAxis() == wxMOUSE_WHEEL_HORIZONTAL ? 1 : -1;
    int& left = horizontal ? m_wheelX : m_wheelY;
    left += sign * event.GetWheelRotation() * pixels;
    int const move = left / event.GetWheelDelta();
    left -= move * event.GetWheelDelta();
    m_list.ScrollTo(m_state.layout.Origin() + (horizontal ? wxPoint(move, 0) : wxPoint(0, move)));
}

// --- What is under the pointer

void wxDBListInput::Hover(wxPoint const& point) {
    wxDBListHit const hit = m_state.layout.HitTest(point);
    bool const header = hit.area == Area::Header || hit.area == Area::HeaderEdge;
    if (int const column = header ? hit.column : -1; column != m_state.hoverHeader) {
        m_state.hoverHeader = column;
        m_list.RefreshRect(m_state.layout.Header());
    }
    if (hit.row != m_state.hoverRow) {
        m_list.RefreshRow(m_state.hoverRow);
        m_state.hoverRow = hit.row;
        m_list.RefreshRow(hit.row);
    }
    ShowCursor(hit, point);
    ShowToolTip(hit);
}

void wxDBListInput::ShowCursor(wxDBListHit const& hit, wxPoint const& point) {
    if (hit.area == Area::HeaderEdge) {
        m_list.SetCursor(m_edgeCursor);
    } else if (hit.area == Area::Cell) {
        wxRect const cell = m_state.layout.Cell(hit.row, hit.column);
        m_list.SetCursor(m_list.CustomizeCursor(hit.row, hit.column, point.x - cell.x, point.y - cell.y));
    } else {
        m_list.SetCursor(wxNullCursor);
    }
}

void wxDBListInput::ShowToolTip(wxDBListHit const& hit) {
    if (hit.row == m_tipRow && hit.column == m_tipColumn)
        return;
    m_tipRow = hit.row;
    m_tipColumn = hit.column;
    corekit::String tip;
    if (hit.area == Area::Cell) {
        tip = m_list.GetCellToolTip(hit.row, hit.column);
        corekit::String text;
        if (tip.Empty() && m_list.m_painter->IsClipped(hit.row, hit.column, text))
            tip = std::move(text);
    } else if (hit.area == Area::Header && m_state.IsColumn(hit.column) &&
               m_list.m_painter->LabelWidth(hit.column) > m_state.layout.HeaderCell(hit.column).width) {
        tip = m_list.GetColumnName(hit.column);
    }
    wxString const text = wxvText(tip);
    if (text.empty() && m_list.GetToolTip())
        m_list.UnsetToolTip();
    else if (!text.empty() && m_list.GetToolTipText() != text)
        m_list.SetToolTip(text);
}

// --- Selection

void wxDBListInput::SelectOnly(int row) {
    m_state.anchor = row;
    int const before = std::exchange(m_state.current, row);
    m_list.RefreshRow(before);
    m_list.DeselectAll();
    m_list.SetRowSelected(row, true);
    m_list.RefreshRow(row);
    m_list.EnsureVisible(row);
}

void wxDBListInput::SelectRange(int from, int to, Extend extend) {
    m_state.anchor = from;
    m_list.RefreshRow(std::exchange(m_state.current, to));
    int const first = std::min(from, to);
    int const last = std::max(from, to);
    if (extend == Extend::Range) {
        for (int const row : m_list.GetSelection()) {
            if (row >= 0 && (row < first || row > last))
                m_list.SetRowSelected(row, false);
        }
    }
    // From the anchor on, so that the last word is on the row of the pointer.
    int const step = from <= to ? 1 : -1;
    for (int row = from; row != to + step; row += step)
        m_list.SetRowSelected(row, true);
    m_list.RefreshRow(to);
    if (m_drag != Drag::Rows)
        m_list.EnsureVisible(to);
}

void wxDBListInput::Toggle(int row) {
    bool const selected = m_list.IsRowSelected(row);
    m_list.RefreshRow(m_state.current);
    m_state.anchor = m_state.current = row;
    if (IsSingle() && !selected)
        m_list.DeselectAll();
    m_list.SetRowSelected(row, !selected);
    m_list.RefreshRow(row);
}

// --- Keyboard

void wxDBListInput::OnKeyDown(wxKeyEvent& event) {
    if (m_list.HandleKey(event))
        return;
    if (event.GetKeyCode() == WXK_ESCAPE && m_drag != Drag::None) {
        Cancel();
        return;
    }
    if (!Navigate(event))
        event.Skip();
}

bool wxDBListInput::Navigate(wxKeyEvent& event) {
    int const last = m_list.GetItemCount() - 1;
    int const page = m_state.layout.RowsPerPage();
    int const current = std::min(m_state.current, last);
    int const columnStep = m_list.FromDIP(40);
    switch (event.GetKeyCode()) {
    case WXK_UP:
    case WXK_NUMPAD_UP:
        MoveTo(current < 0 ? last : current - 1, event);
        return true;
    case WXK_DOWN:
    case WXK_NUMPAD_DOWN:
        MoveTo(current + 1, event);
        return true;
    case WXK_PAGEUP:
    case WXK_NUMPAD_PAGEUP:
        MoveTo(current - page, event);
        return true;
    case WXK_PAGEDOWN:
    case WXK_NUMPAD_PAGEDOWN:
        MoveTo(current + page, event);
        return true;
    case WXK_HOME:
    case WXK_NUMPAD_HOME:
        MoveTo(0, event);
        return true;
    case WXK_END:
    case WXK_NUMPAD_END:
        MoveTo(last, event);
        return true;
    case WXK_LEFT:
    case WXK_NUMPAD_LEFT:
    case WXK_RIGHT:
    case WXK_NUMPAD_RIGHT: {
        if (event.HasModifiers())
            return false; // for a menu
        bool const left = event.GetKeyCode() == WXK_LEFT || event.GetKeyCode() == WXK_NUMPAD_LEFT;
        m_list.ScrollTo(m_state.layout.Origin() + wxPoint(left ? -columnStep : columnStep, 0));
        return true;
    }
    case WXK_RETURN:
    case WXK_NUMPAD_ENTER:
        if (event.HasModifiers() || current < 0)
            return false;
        m_list.Activate(current, 0);
        return true;
    case WXK_SPACE:
        if (current < 0 || (!m_typed.empty() && std::chrono::steady_clock::now() - m_typedAt < k_TypePause))
            return false; // part of a text that is being typed
        if (event.ControlDown())
            Toggle(current);
        else
            SelectOnly(current);
        return true;
    case WXK_TAB:
        m_list.Navigate(event.ShiftDown() ? wxNavigationKeyEvent::IsBackward : wxNavigationKeyEvent::IsForward);
        return true;
    case WXK_MENU:
    case WXK_WINDOWS_MENU:
        ShowRowMenu();
        return true;
    case WXK_F10:
        if (!event.ShiftDown())
            return false;
        ShowRowMenu();
        return true;
    case 'A':
        if (event.GetModifiers() != wxMOD_CONTROL)
            return false;
        m_list.SelectAll();
        return true;
    default:
        return false;
    }
}

void wxDBListInput::MoveTo(int row, wxKeyEvent const& event) {
    int const last = m_list.GetItemCount() - 1;
    if (last < 0)
        return;
    row = std::clamp(row, 0, last);
    if (event.ShiftDown() && !IsSingle()) {
        SelectRange(m_state.IsRow(m_state.anchor) ? m_state.anchor : row, row,
                    event.ControlDown() ? Extend::AddRange : Extend::Range);
    } else if (event.ControlDown()) {
        m_list.RefreshRow(std::exchange(m_state.current, row));
        m_list.RefreshRow(row);
        m_list.EnsureVisible(row);
    } else if (row != m_state.current || !m_list.IsRowSelected(row) || m_list.GetSelection().size() > 1) {
        SelectOnly(row);
    }
}

void wxDBListInput::ShowRowMenu() {
    int const row = m_state.current;
    wxPoint point = m_state.layout.Body().GetTopLeft();
    if (m_state.IsRow(row)) {
        m_list.EnsureVisible(row);
        if (!m_list.IsRowSelected(row))
            SelectOnly(row);
        point = m_state.layout.Row(row).GetBottomLeft() + wxPoint(m_state.layout.Metrics().padding, 0);
    }
    m_list.SendEvent(wxEVT_LIST_ITEM_RIGHT_CLICK, m_state.IsRow(row) ? row : -1, 0, point);
}

void wxDBListInput::OnChar(wxKeyEvent& event) {
    wxUniChar const character = event.GetUnicodeKey();
    if (event.ControlDown() || event.AltDown() || event.MetaDown() || character == WXK_NONE || character < WXK_SPACE ||
        character == WXK_DELETE)
        event.Skip();
    else
        TypeAhead(character);
}

void wxDBListInput::TypeAhead(wxUniChar character) {
    auto const now = std::chrono::steady_clock::now();
    if (now - m_typedAt >= k_TypePause)
        m_typed.clear();
    m_typedAt = now;
    m_typed += character;
    m_typed.MakeLower();
    int const from = std::max(0, m_state.current);
    int row = -1;
    // The same letter again and again goes from one such row to the next.
    if (m_typed == wxString(m_typed[0], m_typed.length()) && !m_typed.empty())
        row = FindRow(wxString(m_typed[0]), m_typed.length() == 1 && m_state.current < 0 ? from : from + 1);
    else
        row = FindRow(m_typed, from);
    if (row >= 0)
        SelectOnly(row);
}

int wxDBListInput::FindRow(wxString const& prefix, int from) {
    int const count = m_list.GetItemCount();
    if (count == 0 || m_list.GetColumnCount() == 0)
        return -1;
    int const column = std::max(0, m_list.GetHighlightColumn());
    auto const until = std::chrono::steady_clock::now() + k_SearchTime;
    for (int i = 0; i < count; ++i) {
        int const row = (from + i) % count;
        m_list.PrepareToDraw(row);
        corekit::String const text = m_list.GetDisplayText(row, column);
        m_list.CleanupAfterDraw(row);
        if (wxvText(text).Lower().StartsWith(prefix))
            return row;
        if (i % 256 == 255 && std::chrono::steady_clock::now() > until)
            return -1;
    }
    return -1;
}
