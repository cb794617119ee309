#pragma once

#include "liststate.h"

#include <chrono>
#include <wx/cursor.h>
#include <wx/timer.h>

// wxDBListInput turns what mouse and keyboard do into what the list does.
// Owner: its list, whose window events it takes.
// Works with: the list's layout, to know what is under the pointer.
// Thread: the GUI thread.
// Always: the mouse is captured just while a button that matters is down.
class wxDBListInput {
public:
    wxDBListInput(wxDBListCtrl& list, wxDBListState& state);
    ~wxDBListInput();

    // The rows under the pointer have moved or gone.
    void ContentMoved();

private:
    enum class Drag { None, HeaderPress, ColumnMove, ColumnWidth, Rows };
    enum class Extend { No, Range, AddRange };

    class FollowTimer : public wxTimer {
    public:
        explicit FollowTimer(wxDBListInput& input) : m_input(input) {}
        void Notify() override { m_input.FollowPointer(); }

    private:
        wxDBListInput& m_input;
    };

    void OnLeftDown(wxMouseEvent& event);
    void OnLeftDouble(wxMouseEvent& event);
    void OnLeftUp(wxMouseEvent& event);
    void OnRightDown(wxMouseEvent& event);
    void OnMotion(wxMouseEvent& event);
    void OnLeave(wxMouseEvent& event);
    void OnWheel(wxMouseEvent& event);
    void OnCaptureLost(wxMouseCaptureLostEvent& event);
    void OnKeyDown(wxKeyEvent& event);
    void OnChar(wxKeyEvent& event);

    void Press(wxMouseEvent& event, wxDBListHit const& hit);
    void PressRow(wxMouseEvent& event, wxDBListHit const& hit);
    void Begin(Drag drag);
    void End();
    void Cancel();

    void DragRows(int y);
    void FollowPointer();
    void Hover(wxPoint const& point);
    void ShowCursor(wxDBListHit const& hit, wxPoint const& point);
    void ShowToolTip(wxDBListHit const& hit);

    // Only that row is selected; its event is sent even if it was before.
    void SelectOnly(int row);
    void SelectRange(int from, int to, Extend extend);
    void Toggle(int row);
    // The keyboard goes to a row.
    void MoveTo(int row, wxKeyEvent const& event);
    void ShowRowMenu();
    bool Navigate(wxKeyEvent& event);
    void TypeAhead(wxUniChar character);
    // The next row from `from` on whose text begins so, or -1.
    int FindRow(wxString const& prefix, int from);

    bool IsSingle() const;

    wxDBListCtrl& m_list;
    wxDBListState& m_state;
    FollowTimer m_timer{*this};
    wxCursor const m_edgeCursor{wxCURSOR_SIZEWE};

    Drag m_drag = Drag::None;
    wxPoint m_pressed;     // where the button went down
    int m_column = -1;     // that is pressed, moved or resized
    int m_widthBefore = 0; // of it
    int m_shownBefore = 0; // its width on the screen
    bool m_addRange = false;
    int m_wheelX = 0; // parts of a pixel that are left, in wheel units
    int m_wheelY = 0;
    // What the pointer's tool tip is for.
    int m_tipRow = -1;
    int m_tipColumn = -1;
    wxString m_typed;
    std::chrono::steady_clock::time_point m_typedAt;
    // The row event that is being sent tells where the click was.
    wxPoint m_clickPoint = wxDefaultPosition;
    int m_clickColumn = -1;

    friend class wxDBListCtrl;
};
