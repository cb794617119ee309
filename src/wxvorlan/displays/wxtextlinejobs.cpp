// What a text display has done on threads of the pool: searching, copying and saving.
#include "textexport.h"
#include "textfindbar.h"
#include "textlinepainter.h"
#include "textsearch.h"

#include <corekit/callentry.h>
#include <corekit/exception.h>
#include <corekit/threadpool.h>
#include <wx/app.h>
#include <wx/filedlg.h>
#include <wx/filename.h>
#include <wx/sizer.h>
#include <wx/wxtextlinectrl.h>
#include <wx/wxvclipboard.h>
#include <wx/wxvtext.h>

using corekit::String;

namespace {

constexpr int k_BarMargin = 8;
constexpr int k_MarginAroundHit = 64;
constexpr int k_ProgressMs = 100;

wxString Percent(wxString const& doing, double done) {
    return wxString::Format("%s... %d %%", doing, static_cast<int>(done * 100));
}

} // namespace

// --- Search.

void wxTextLineCtrl::ShowFindBar() {
    if (!m_findBar)
        m_findBar = new TextFindBar(*this);
    PlaceFindBar();
    m_findBar->Show();
    m_findBar->Start();
}

bool wxTextLineCtrl::HideFindBar() {
    if (!m_findBar || !m_findBar->IsShown())
        return false;
    m_findBar->Hide();
    Find(String());
    SetFocus();
    return true;
}

void wxTextLineCtrl::PlaceFindBar() {
    if (!m_findBar)
        return;
    wxSize const size = m_findBar->GetSizer()->CalcMin();
    wxSize const client = GetClientSize();
    m_findBar->SetSize(std::max(client.x - size.x - FromDIP(k_BarMargin), 0), 0, std::min(size.x, client.x), size.y);
}

void wxTextLineCtrl::SetMatchCase(bool matchCase) { m_matchCase = matchCase; }

void wxTextLineCtrl::Find(String const& term, bool backward) {
    m_wanted = term;
    m_state->term = TextTerm(term, m_matchCase);
    m_state->hitLine = -1;
    CountHits();
    m_seekWaits = m_searchWaits;
    TextPosition const top{m_state->layout.top, 0};
    if (m_state->From() < m_state->To())
        SeekHit(backward ? m_state->To() : m_state->From(), backward);
    else
        SeekHit(top, backward);
    Refresh(false);
}

void wxTextLineCtrl::FindNext(bool backward) {
    if (m_search)
        SeekHit(backward ? m_state->From() : m_state->To(), backward);
}

void wxTextLineCtrl::StopSearch() {
    if (m_search)
        m_search->Stop();
    m_search.reset();
    m_target.reset();
    m_searchWaits = false;
}

void wxTextLineCtrl::CountHits() {
    StopSearch();
    if (m_state->term.Empty())
        return;
    std::shared_ptr<TextSnapshot const> const text = m_state->Text().Snapshot();
    m_searchWaits = !text;
    if (!text)
        return;
    m_searchedLines = text->Lines();
    m_searchedBytes = m_state->file ? m_state->file->News().bytes : 0;
    m_search = std::make_shared<TextSearch>(m_state->term, text, [] { wxWakeUpIdle(); });
    RunSearch();
}

void wxTextLineCtrl::RunSearch() {
    if (m_search->TakeStart())
        corekit::ThreadPool::Queue([search = m_search] { search->Run(); });
}

void wxTextLineCtrl::SeekHit(TextPosition from, bool backward) {
    if (!m_search)
        return;
    // The number of the first hit behind the place, and of the last one before it.
    TextHit hit{from.line, 0};
    bool const isCurrent =
        m_state->hitLine == from.line && (backward ? m_state->hit.first : m_state->hit.second) == from.character;
    if (isCurrent) {
        hit.number = m_state->hitNumber + (backward ? 0 : 1);
    } else if (from.character > 0) {
        for (auto const& [begin, end] : FindInLine(m_state->Shown(from.line), m_state->term))
            hit.number += (backward ? end <= from.character : begin < from.character) ? 1 : 0;
    }
    m_search->Seek(hit, backward ? TextDirection::Backward : TextDirection::Forward);
    RunSearch();
}

void wxTextLineCtrl::TakeSearchNews() {
    if (m_searchWaits && m_state->file && m_state->file->News().isCounted) {
        CountHits();
        if (std::exchange(m_seekWaits, false))
            SeekHit({m_state->layout.top, 0}, false);
    }
    if (!m_search)
        return;
    int64_t const bytes = m_state->file ? m_state->file->News().bytes : 0;
    if (!m_search->GetState().isRunning && (m_searchedLines != m_state->Text().Count() || m_searchedBytes != bytes)) {
        m_searchedLines = m_state->Text().Count();
        m_searchedBytes = bytes;
        m_search->Extend(m_state->Text().Snapshot());
        RunSearch();
    }
    if (std::optional<TextHit> const hit = m_search->TakeHit()) {
        m_target = std::make_unique<TextHit>(*hit);
        // Its line may have to be read first.
        TextLineLayout const& layout = m_state->layout;
        // Not at the very edge, where people see nothing around it, nor under the find bar.
        int const covered = m_findBar && m_findBar->IsShown() ? m_findBar->GetSize().y / layout.lineHeight + 1 : 0;
        bool const inSight =
            hit->line >= layout.top + std::min(covered, layout.top) && hit->line < layout.top + layout.WholeLines();
        ScrollTo(inSight ? layout.top : hit->line - layout.WholeLines() / 3, layout.left);
    }
    ShowHit();
    if (m_findBar && m_findBar->IsShown())
        m_findBar->ShowState();
}

void wxTextLineCtrl::ShowHit() {
    TextLine const* const at = m_target ? m_state->Text().At(m_target->line) : nullptr;
    if (!at)
        return;
    ShownLine const shown = ShowLine(*at);
    auto const hits = FindInLine(shown, m_state->term);
    auto const number = static_cast<size_t>(m_target->number);
    int const length = static_cast<int>(shown.text.length());
    // One that stands in what is cut is shown as the mark there.
    m_state->hit = number < hits.size() ? hits[number] : std::pair(std::max(length - 1, 0), length);
    m_state->hitLine = m_target->line;
    m_state->hitNumber = m_target->number;
    m_target.reset();
    int const line = m_state->hitLine;
    auto const [from, to] = m_state->hit;
    m_state->anchor = {line, from};
    m_state->caret = {line, to};
    if (m_state->selectsLines)
        Select(line);
    TextLineLayout const& layout = m_state->layout;
    wxClientDC dc(this);
    dc.SetFont(m_state->font);
    int const begin = m_painter->XOf(dc, shown.text, from);
    int const end = m_painter->XOf(dc, shown.text, to) + 2 * layout.padding;
    m_state->widest = std::max(m_state->widest, m_painter->WidthOf(dc, shown.text));
    int left = layout.left;
    if (begin < left || end > left + layout.size.x)
        left = end <= layout.size.x ? 0 : begin - FromDIP(k_MarginAroundHit);
    ScrollTo(layout.top, left);
    Refresh(false);
}

wxTextLineCtrl::FindState wxTextLineCtrl::GetFindState() const {
    if (!m_search)
        return {m_searchWaits, 0, 0, -1, {}};
    TextSearch::State const state = m_search->GetState();
    return {!state.isComplete, state.done, state.hits, state.rank, state.failure};
}

bool wxTextLineCtrl::IsMissing() const {
    FindState const state = GetFindState();
    return !state.isSearching && state.hits == 0 && state.failure.Empty();
}

// --- Copying and saving.

void wxTextLineCtrl::Export(wxString const& doing, std::function<String(TextExport&)> work,
                            std::function<wxString(String const&)> done) {
    if (m_export)
        m_export->Stop();
    auto const job = std::make_shared<TextExport>();
    m_export = job;
    m_exportDoing = doing;
    m_exported = {};
    bool const isTaken = corekit::ThreadPool::Queue([this, job, work, done, alive = m_isAlive] {
        String result;
        String failure;
        try {
            result = work(*job);
        } catch (corekit::Exception const& exception) {
            failure = exception.what();
        }
        if (job->IsStopped())
            return;
        wxTheApp->CallAfter([this, job, result, failure, done, alive] {
            if (!*alive || m_export != job)
                return;
            m_export.reset();
            m_exportTick.Stop();
            m_exported = failure.Empty() ? Status{done(result), ColorName::TextGrey}
                                         : Status{wxvText(failure), ColorName::TextRed};
            TellStatus();
        });
    });
    if (!isTaken)
        m_export.reset(); // the program is ending
    else
        m_exportTick.Start(k_ProgressMs);
    TellStatus();
}

bool wxTextLineCtrl::CopySelection() {
    if (!HasSelection())
        return false;
    std::string text;
    if (m_state->CopySelected(text))
        return wxCopyTextToClipboard(wxvText(text));
    std::shared_ptr<TextSnapshot const> const snapshot = m_state->Text().Snapshot();
    if (!snapshot)
        return false;
    Export(
        _("Copying"),
        [snapshot, from = m_state->From(), to = m_state->To()](TextExport& job) {
            return job.Copy(*snapshot, from, to);
        },
        [](String const& copied) {
            return wxCopyTextToClipboard(wxvText(copied)) ? _("Copied") : _("The clipboard cannot be had now.");
        });
    return true;
}

void wxTextLineCtrl::AskAndSave() {
    CALL_ENTRY();
    wxFileDialog dialog(this, _("Save As"), wxString(), wxString(), wxFileSelectorDefaultWildcardStr,
                        wxFD_SAVE | wxFD_OVERWRITE_PROMPT);
    if (dialog.ShowModal() == wxID_OK)
        Save(wxvString(dialog.GetPath()));
}

void wxTextLineCtrl::Save(corekit::Path const& path) {
    std::shared_ptr<TextSnapshot const> const snapshot = m_state->Text().Snapshot();
    if (!snapshot)
        return;
    Export(
        _("Saving"),
        [snapshot, path](TextExport& job) {
            job.Save(*snapshot, path);
            return String();
        },
        [path](String const&) { return wxString::Format(_("Saved as %s"), wxvText(path)); });
}

// --- The status.

wxString wxTextLineCtrl::DescribeText() const {
    int const count = m_state->Text().Count();
    wxString const lines = count == 1 ? wxString(_("1 line")) : wxString::Format(_("%s lines"), wxvGrouped(count));
    if (!m_state->file)
        return lines;
    FileNews const& news = m_state->file->News();
    if (news.file && !news.isCounted)
        return Percent(_("Counting lines"), news.counted);
    return lines + ", " +
           wxFileName::GetHumanReadableSize(wxULongLong(static_cast<wxULongLong_t>(news.bytes)), "0 B", 1);
}

wxTextLineCtrl::Status wxTextLineCtrl::GetStatus() const {
    if (m_export)
        return {Percent(m_exportDoing, m_export->Done()), ColorName::TextGrey};
    FileFate const fate = m_state->file ? m_state->file->News().fate : FileFate::Grows;
    if (fate == FileFate::Grows && m_exported.text.empty())
        return {DescribeText(), ColorName::TextGrey};
    if (fate == FileFate::Grows)
        return {m_exported.text + "  " + DescribeText(), m_exported.color};
    FileNews const& news = m_state->file->News();
    if (fate == FileFate::Failed)
        return {wxvText(news.failure), ColorName::TextRed};
    wxString const since = wxvText(news.since.Format(corekit::k_DefaultTime));
    wxString const text = fate == FileFate::Gone       ? _("The file is gone since %s. What was read of it stays.")
                          : fate == FileFate::Replaced ? _("Another file took its place at %s and is shown now.")
                                                       : _("The file was begun anew at %s.");
    return {wxString::Format(text, since) + " " + DescribeText(), ColorName::TextOrange};
}

void wxTextLineCtrl::TellStatus() {
    Status const status = GetStatus();
    if (status.text == m_told)
        return;
    m_told = status.text;
    wxCommandEvent event(wxEVT_TEXTLINE_STATUS, GetId());
    event.SetEventObject(this);
    ProcessWindowEvent(event);
}
