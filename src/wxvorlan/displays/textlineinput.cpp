#include "textlineinput.h"

#include "textlinepainter.h"

#include <corekit/callentry.h>
#include <wx/dcclient.h>
#include <wx/utils.h>
#include <wx/wxtextlinectrl.h>
#include <wx/wxvtext.h>

namespace {

constexpr int k_DragPeriodMs = 40;
constexpr int k_StepWidth = 24;
constexpr std::chrono::milliseconds k_LineTypePause{1000};

} // namespace

TextLineInput::TextLineInput(wxTextLineCtrl& display, TextLineState& state) : m_display(display), m_state(state) {
    m_display.Bind(wxEVT_LEFT_DOWN, &TextLineInput::OnLeftDown, this);
    m_display.Bind(wxEVT_LEFT_DCLICK, &TextLineInput::OnDoubleClick, this);
    m_display.Bind(wxEVT_LEFT_UP, &TextLineInput::OnLeftUp, this);
    m_display.Bind(wxEVT_MOTION, &TextLineInput::OnMotion, this);
    m_display.Bind(wxEVT_MOUSEWHEEL, &TextLineInput::OnWheel, this);
    m_display.Bind(wxEVT_KEY_DOWN, &TextLineInput::OnKey, this);
    m_display.Bind(wxEVT_CHAR, &TextLineInput::OnChar, this);
    m_display.Bind(wxEVT_RIGHT_DOWN, &TextLineInput::OnRightDown, this);
    m_display.Bind(wxEVT_MOUSE_CAPTURE_LOST, [this](wxMouseCaptureLostEvent&) {
        m_selecting = false;
        Stop();
    });
}

void TextLineInput::CancelSelecting() {
    if (!m_selecting)
        return;
    m_selecting = false;
    Stop();
    if (m_display.HasCapture())
        m_display.ReleaseMouse();
}

TextPosition TextLineInput::PositionAt(wxPoint const& point) const {
    int const line = m_state.layout.LineAt(point.y);
    if (line < 0 || m_state.Text().Count() == 0)
        return {};
    if (line >= m_state.Text().Count())
        return m_state.End();
    wxClientDC dc(&m_display);
    dc.SetFont(m_state.font);
    return {line, m_display.m_painter->CharacterAt(dc, m_state.Shown(line).text, point.x - m_state.layout.XOfText())};
}

void TextLineInput::MoveRow(int row) {
    if (m_state.Text().Count() == 0)
        return;
    row = std::clamp(row, 0, m_state.Text().Count() - 1);
    m_display.EnsureVisible(row);
    if (row == m_state.row)
        return;
    m_display.Select(row);
    m_display.SendSelected(wxEVT_LISTBOX);
}

void TextLineInput::OnLeftDown(wxMouseEvent& event) {
    CALL_ENTRY();
    m_display.SetFocus();
    if (m_state.selectsLines) {
        if (int const row = m_display.LineAt(event.GetPosition()); row >= 0)
            MoveRow(row);
    } else {
        m_state.caret = PositionAt(event.GetPosition());
        if (!event.ShiftDown())
            m_state.anchor = m_state.caret;
        m_display.Refresh(false);
    }
    m_selecting = true;
    if (!m_display.HasCapture())
        m_display.CaptureMouse();
}

void TextLineInput::OnDoubleClick(wxMouseEvent& event) {
    CALL_ENTRY();
    if (m_state.selectsLines) {
        if (m_display.LineAt(event.GetPosition()) >= 0)
            m_display.SendSelected(wxEVT_LISTBOX_DCLICK);
        return;
    }
    TextPosition const place = PositionAt(event.GetPosition());
    auto const word = WordAt(m_state.Shown(place.line).text, place.character);
    m_state.anchor = {place.line, word.first};
    m_state.caret = {place.line, word.second};
    m_display.Refresh(false);
}

void TextLineInput::OnLeftUp(wxMouseEvent& event) {
    event.Skip();
    CancelSelecting();
}

void TextLineInput::DragTo(wxPoint const& point) {
    if (m_state.selectsLines) {
        if (m_state.Text().Count() > 0)
            MoveRow(m_state.layout.LineAt(point.y));
        return;
    }
    TextPosition const place = PositionAt(point);
    if (place == m_state.caret)
        return;
    m_state.caret = place;
    m_display.Refresh(false);
}

void TextLineInput::OnMotion(wxMouseEvent& event) {
    event.Skip();
    if (!m_selecting)
        return;
    DragTo(event.GetPosition());
    bool const outside = !wxRect(m_state.layout.size).Contains(event.GetPosition());
    if (outside && !IsRunning())
        Start(k_DragPeriodMs);
    else if (!outside)
        Stop();
}

void TextLineInput::Notify() {
    CALL_ENTRY();
    wxPoint const point = m_display.ScreenToClient(wxGetMousePosition());
    TextLineLayout const& layout = m_state.layout;
    int const lines = point.y < 0 ? -1 : point.y >= layout.size.y ? 1 : 0;
    int const step = m_display.FromDIP(k_StepWidth);
    int const pixels = point.x < 0 ? -step : point.x >= layout.size.x ? step : 0;
    m_display.ScrollTo(layout.top + lines, layout.left + pixels);
    DragTo(point);
}

void TextLineInput::OnWheel(wxMouseEvent& event) {
    CALL_ENTRY();
    bool const sideways = event.GetWheelAxis() == wxMOUSE_WHEEL_HORIZONTAL || event.ShiftDown();
    int& wheel = m_wheel[sideways ? 1 : 0];
    int const delta = std::max(event.GetWheelDelta(), 1);
    // Fine wheels turn by parts of a notch, which add up to lines.
    wheel += event.GetWheelRotation() * std::max(event.GetLinesPerAction(), 1);
    int const steps = wheel / delta;
    wheel -= steps * delta;
    TextLineLayout const& layout = m_state.layout;
    if (sideways) {
        // To the right is positive on a horizontal wheel.
        int const sign = event.GetWheelAxis() == wxMOUSE_WHEEL_HORIZONTAL ? 1 : -1;
        m_display.ScrollTo(layout.top, layout.left + sign * steps * m_display.FromDIP(k_StepWidth));
    } else {
        m_display.ScrollTo(layout.top - steps, layout.left);
    }
}

bool TextLineInput::HandleCommandKey(wxKeyEvent& event) {
    int const key = event.GetKeyCode();
    if (event.GetModifiers() == wxMOD_CONTROL) {
        if (key == 'C' || key == WXK_INSERT)
            m_display.CopySelection();
        else if (key == 'A')
            m_display.SelectAll();
        else if (key == 'F')
            m_display.ShowFindBar();
        else if (key == 'S' && !m_state.selectsLines)
            m_display.AskAndSave();
        else
            return false;
        return true;
    }
    if (key == WXK_F3)
        m_display.FindNext(event.ShiftDown());
    else if (key == WXK_TAB)
        m_display.Navigate(event.ShiftDown() ? wxNavigationKeyEvent::IsBackward : wxNavigationKeyEvent::IsForward);
    else if ((key == WXK_RETURN || key == WXK_NUMPAD_ENTER) && m_state.selectsLines && m_state.row >= 0)
        m_display.SendSelected(wxEVT_LISTBOX_DCLICK);
    else
        return false;
    return true;
}

bool TextLineInput::HandleMoveKey(int key) {
    TextLineLayout const& layout = m_state.layout;
    int const count = m_state.Text().Count();
    int const page = layout.WholeLines();
    int const from = m_state.selectsLines ? std::max(m_state.row, -1) : layout.top;
    int to = from;
    int left = layout.left;
    switch (key) {
    case WXK_UP:
    case WXK_NUMPAD_UP:
        to = from - 1;
        break;
    case WXK_DOWN:
    case WXK_NUMPAD_DOWN:
        to = from + 1;
        break;
    case WXK_PAGEUP:
    case WXK_NUMPAD_PAGEUP:
        to = from - page;
        break;
    case WXK_PAGEDOWN:
    case WXK_NUMPAD_PAGEDOWN:
        to = from + page;
        break;
    case WXK_HOME:
    case WXK_NUMPAD_HOME:
        to = 0;
        left = 0;
        break;
    case WXK_END:
    case WXK_NUMPAD_END:
        to = count - 1;
        break;
    case WXK_LEFT:
    case WXK_NUMPAD_LEFT:
        left -= m_display.FromDIP(k_StepWidth);
        break;
    case WXK_RIGHT:
    case WXK_NUMPAD_RIGHT:
        left += m_display.FromDIP(k_StepWidth);
        break;
    default:
        return false;
    }
    m_display.ScrollTo(m_state.selectsLines ? layout.top : to, left);
    if (m_state.selectsLines && to != from)
        MoveRow(to);
    return true;
}

void TextLineInput::OnKey(wxKeyEvent& event) {
    CALL_ENTRY();
    bool const plain = (event.GetModifiers() & (wxMOD_ALT | wxMOD_META)) == 0;
    if (!plain || (!HandleCommandKey(event) && !HandleMoveKey(event.GetKeyCode())))
        event.Skip();
}

// In a list of lines, typing goes to the next one that begins so.
void TextLineInput::OnChar(wxKeyEvent& event) {
    CALL_ENTRY();
    wxUniChar const character = event.GetUnicodeKey();
    if (!m_state.selectsLines || event.HasModifiers() || character < WXK_SPACE || character == WXK_DELETE) {
        event.Skip();
        return;
    }
    auto const now = std::chrono::steady_clock::now();
    bool const goesOn = now - m_typedAt < k_LineTypePause;
    m_typedAt = now;
    m_typed = goesOn ? m_typed + character : wxString(character);
    corekit::String const wanted = wxvString(m_typed);
    int const count = m_state.Text().Count();
    for (int i = goesOn ? 0 : 1; i <= count; ++i) {
        int const row = (std::max(m_state.row, goesOn ? 0 : -1) + i) % std::max(count, 1);
        TextLine const* const line = m_state.Text().At(row);
        if (line && corekit::String::CompareNoCase(line->text.Mid(0, wanted.size()), wanted) == 0) {
            MoveRow(row);
            return;
        }
    }
}

// The menu is that of the line under the pointer.
void TextLineInput::OnRightDown(wxMouseEvent& event) {
    event.Skip();
    m_display.SetFocus();
    if (int const row = m_display.LineAt(event.GetPosition()); m_state.selectsLines && row >= 0)
        MoveRow(row);
}
