#pragma once

#include <corekit/string.h>
#include <memory>
#include <wx/window.h>
#include <wx/wxvcolors.h>

class TextFindBar;
class TextLineInput;
class TextLinePainter;
struct TextLineState;

// wxTextLineCtrl shows lines of text: a log that grows, an output, a list of names.
// It draws the lines in sight and no others, so that a million of them cost no time.
// Owner: its parent window.
// Works with: its parents, which get wxEVT_LISTBOX and wxEVT_LISTBOX_DCLICK (the row in
// GetInt) where lines are selected as a whole.
// Thread: the GUI thread.
// Always: a change shows at the latest when the program is idle again.
class wxTextLineCtrl : public wxWindow {
public:
    // What the mouse selects: characters, for copying, or one line.
    enum class Selecting { Text, Line };
    enum class Type { Proportional, Monospaced };

    // A text that grows further loses its oldest lines, k_DropLines at a time.
    static constexpr int k_MaxLines = 4'000'000;
    static constexpr int k_DropLines = 400'000;
    static constexpr int k_DefaultBatch = 1000;

    explicit wxTextLineCtrl(wxWindow* parent, wxWindowID id = wxID_ANY, Selecting selecting = Selecting::Text);
    ~wxTextLineCtrl() override;

    void SetType(Type type);
    // The first words of each line are drawn in grey: a date, a time.
    void SetQuietWords(int words);
    // Keeps the end in sight while lines are appended, as long as it is in sight.
    void SetFollowEnd(bool follow);
    // Appended lines show at the latest when there are so many of them.
    void SetUpdateBatch(int lines);
    // A grey line in the middle while there are no lines.
    void SetEmptyText(wxString const& text);

    // --- Lines. A row that is none does nothing, or gives an empty text.

    // Gives the row. `sorted`: where it belongs by its text, any case, else at the end.
    int Append(corekit::String const& line, bool sorted = false, ColorName color = ColorName::Text);
    // Each line of the text by itself; a line feed at its end adds no empty line.
    void AppendString(corekit::String const& text, ColorName color = ColorName::Text);
    void Insert(int row, corekit::String const& line, ColorName color = ColorName::Text);
    void Remove(int row);
    void Clear();
    // Changes places; the selection goes with its line.
    void Swap(int row, int other);
    int GetLineCount() const;
    corekit::String GetText(int row) const;
    void SetText(int row, corekit::String const& line);
    void SetLineColor(int row, ColorName color);

    // --- Selection.

    // The selected line, or -1. Only where lines are selected.
    int GetSelection() const;
    // Sends no event. -1: none.
    void Select(int row);
    // The selected characters, or the selected line.
    wxString GetSelectedText() const;
    bool HasSelection() const;
    void SelectAll();
    // The mouse is held and selects.
    bool IsSelecting() const;
    // Puts the selected text on the clipboard; false when there is none.
    bool CopySelection();

    // --- Place.

    // The row at a point in client coordinates, or -1.
    int LineAt(wxPoint const& point) const;
    void EnsureVisible(int row);
    // The first row in sight.
    int GetTopLine() const;
    bool IsAtEnd() const;
    void Redraw();

    // --- Search, any case. All hits in sight are marked.

    void ShowFindBar();
    void HideFindBar();
    // Looks for the term from the selection on and round; large texts take some idle
    // moments. An empty term ends the search and its marks.
    void Find(corekit::String const& term, bool backward = false);
    // The next hit of the last term.
    void FindNext(bool backward = false);
    bool IsSearching() const;
    // The last search has come to its end without a hit.
    bool IsMissing() const;

    bool AcceptsFocus() const override { return true; }
    bool Enable(bool enable = true) override;
    void OnInternalIdle() override;

private:
    friend class TextLineInput;

    void Changed();
    void Settle();
    void ScrollTo(int line, int left);
    void Drop();
    void SearchSome();
    void ShowHit(int line, int from, int to);
    void PlaceFindBar();
    void TakeMetrics();
    void SendSelected(wxEventType type);
    void OnPaint(wxPaintEvent& event);
    void OnScroll(wxScrollWinEvent& event);
    void OnContextMenu(wxContextMenuEvent& event);

    std::unique_ptr<TextLineState> m_state;
    std::unique_ptr<TextLinePainter> m_painter;
    std::unique_ptr<TextLineInput> m_input;
    TextFindBar* m_findBar = nullptr;
};
