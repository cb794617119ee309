#pragma once

#include <corekit/path.h>
#include <corekit/string.h>
#include <functional>
#include <memory>
#include <optional>
#include <wx/timer.h>
#include <wx/window.h>
#include <wx/wxvcolors.h>

class FileText;
class TextExport;
class TextFindBar;
class TextLineInput;
class TextLinePainter;
class TextSearch;
struct TextHit;
struct TextLineState;
struct TextPosition;

// GetStatus says something else now.
wxDECLARE_EVENT(wxEVT_TEXTLINE_STATUS, wxCommandEvent);

// wxTextLineCtrl shows lines of text: a log that grows, an output, a list of names. They
// are appended one by one, or are those of a file, which is shown through an index of
// its lines and followed while it grows. It draws the lines in sight and no others, so
// that a million of them cost no time.
// Owner: its parent window.
// Works with: its parents, which get wxEVT_LISTBOX and wxEVT_LISTBOX_DCLICK (the row in
// GetInt) where lines are selected as a whole, and wxEVT_TEXTLINE_STATUS; ThreadPool,
// which searches, copies and saves; a thread of its own for a file.
// Thread: the GUI thread. Nothing waits for a file.
// Always: a change shows at the latest when the program is idle again; of a line its
// first 4,096 characters are drawn, and a mark where more follow.
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
    // The colour of a line that was given none, by its text.
    void SetLineColors(std::function<ColorName(std::string_view)> colorOf);

    // --- A file.

    // Shows the file in place of all lines, beginning at its end if the end is followed,
    // and what becomes of it. What was there stays until there is something to show.
    // Whatever changes lines afterwards closes it.
    void ShowFile(corekit::Path const& file);
    bool IsFileShown() const;
    // A line about the text: how much it is, what became of its file, what was saved.
    struct Status {
        wxString text;
        ColorName color = ColorName::TextGrey;
    };
    Status GetStatus() const;

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
    // Of a file the lines around those in sight; an empty text for others.
    corekit::String GetText(int row) const;
    void SetText(int row, corekit::String const& line);
    void SetLineColor(int row, ColorName color);

    // --- Selection.

    // The selected line, or -1. Only where lines are selected.
    int GetSelection() const;
    // Sends no event. -1: none.
    void Select(int row);
    // The selected characters, or the selected line; of a file as far as it is at hand.
    wxString GetSelectedText() const;
    bool HasSelection() const;
    void SelectAll();
    // The mouse is held and selects.
    bool IsSelecting() const;
    // Puts the selected text on the clipboard, without escape sequences; false when there
    // is none. What is not at hand is read first, at most 64 MB; GetStatus tells.
    bool CopySelection();
    // Asks where to, and saves the whole text.
    void AskAndSave();
    // All bytes as they stand; GetStatus tells how it went.
    void Save(corekit::Path const& path);

    // --- Place.

    // The row at a point in client coordinates, or -1.
    int LineAt(wxPoint const& point) const;
    void EnsureVisible(int row);
    // The first row in sight.
    int GetTopLine() const;
    bool IsAtEnd() const;
    void Redraw();

    // --- Search. All hits in sight are marked.

    void ShowFindBar();
    // False when there is none to hide.
    bool HideFindBar();
    // For the next Find; at first any case.
    void SetMatchCase(bool matchCase);
    // Looks for the term from the selection, or else the first line in sight, on and
    // round, and counts its hits, on a thread of the pool. An empty term ends the search
    // and its marks.
    void Find(corekit::String const& term, bool backward = false);
    // The next hit of the last term.
    void FindNext(bool backward = false);

    struct FindState {
        bool isSearching = false;
        double done = 0;   // of the text, 0 to 1
        int64_t hits = 0;  // so far
        int64_t rank = -1; // of the shown one, from 0; -1: not known
        corekit::String failure;
    };
    FindState GetFindState() const;
    bool IsSearching() const { return GetFindState().isSearching; }
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
    // Draws what is in sight, as soon as it is at hand.
    void DrawLines();
    void Drop();
    // Lines are changed from now on.
    void CloseFile();
    void TakeFileNews();
    void TakeMetrics();
    void SendSelected(wxEventType type);
    void OnPaint(wxPaintEvent& event);
    void OnScroll(wxScrollWinEvent& event);
    void OnContextMenu(wxContextMenuEvent& event);

    // Counts the hits of the term, if there is one, in what is shown now.
    void CountHits();
    void SeekHit(TextPosition from, bool backward);
    void RunSearch();
    void TakeSearchNews();
    void ShowHit();
    void StopSearch();
    void PlaceFindBar();
    // Works on a thread of the pool; `done` gets the result and says what to tell.
    void Export(wxString const& doing, std::function<corekit::String(TextExport&)> work,
                std::function<wxString(corekit::String const&)> done);
    wxString DescribeText() const;
    void TellStatus();

    std::unique_ptr<TextLineState> m_state;
    std::unique_ptr<TextLinePainter> m_painter;
    std::unique_ptr<TextLineInput> m_input;
    std::unique_ptr<FileText> m_nextFile; // is opened, and not shown yet
    TextFindBar* m_findBar = nullptr;

    std::shared_ptr<TextSearch> m_search;
    corekit::String m_wanted;
    bool m_matchCase = false;
    bool m_seekWaits = false;   // the same for going to the first hit
    bool m_searchWaits = false; // for the lines to be counted
    int m_searchedLines = 0;    // when it was begun or extended
    int64_t m_searchedBytes = 0;
    std::unique_ptr<TextHit> m_target; // a hit whose line is not at hand yet

    std::shared_ptr<TextExport> m_export;
    wxString m_exportDoing;
    Status m_exported;
    wxString m_told;                 // of the status
    std::shared_ptr<bool> m_isAlive; // for what comes back from the pool
    wxTimer m_patience;              // how long a picture waits for its lines
    wxTimer m_exportTick;            // while something is copied or saved
};
