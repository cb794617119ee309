#pragma once

#include "textlinestate.h"

#include <chrono>
#include <wx/timer.h>

class wxTextLineCtrl;

// TextLineInput turns mouse and keyboard into selections and places of a text display.
// Owner: the display. Thread: the GUI thread.
// Always: the mouse is captured exactly while it selects.
class TextLineInput : public wxTimer {
public:
    TextLineInput(wxTextLineCtrl& display, TextLineState& state);

    bool IsSelecting() const { return m_selecting; }
    void CancelSelecting();

private:
    void OnLeftDown(wxMouseEvent& event);
    void OnDoubleClick(wxMouseEvent& event);
    void OnLeftUp(wxMouseEvent& event);
    void OnMotion(wxMouseEvent& event);
    void OnWheel(wxMouseEvent& event);
    void OnKey(wxKeyEvent& event);
    void OnChar(wxKeyEvent& event);
    void OnRightDown(wxMouseEvent& event);
    // The mouse is held outside.
    void Notify() override;

    bool HandleCommandKey(wxKeyEvent& event);
    bool HandleMoveKey(int key);
    TextPosition PositionAt(wxPoint const& point) const;
    void DragTo(wxPoint const& point);
    void MoveRow(int row);

    wxTextLineCtrl& m_display;
    TextLineState& m_state;
    bool m_selecting = false;
    int m_wheel[2] = {0, 0}; // rotation that has moved nothing yet, by axis
    wxString m_typed;        // the beginning of the line that is looked for
    std::chrono::steady_clock::time_point m_typedAt;
};
