#include "logframe.h"

#include <corekit/file.h>
#include <corekit/log.h>
#include <corekit/threadpool.h>
#include <vorlan/fileserver.h>

#include <wx/intl.h>
#include <wx/sizer.h>
#include <wx/wxtextlinectrl.h>
#include <wx/wxvbutton.h>
#include <wx/wxvcolors.h>

namespace vorlan {

namespace {
wxSize const k_LogSize(900, 600);
constexpr int k_LogGap = 8;
constexpr int k_QuietWords = 3; // date, time, process

// By the level, which stands after date and time.
ColorName ColorOfLevel(std::string_view line) {
    constexpr size_t k_LevelEnd = 40;
    std::string_view const begin = line.substr(0, k_LevelEnd);
    if (begin.find(" Error ") != std::string_view::npos)
        return ColorName::TextRed;
    return begin.find(" Warning ") != std::string_view::npos ? ColorName::TextOrange : ColorName::Text;
}

// Ends a request, and deletes its file without waiting for the disk.
void DropRequest(UID const& request) {
    if (request.IsNull())
        return;
    FileServer::Release(request);
    ThreadPool::Queue([path = FileServer::LocalPath(request)] { File::Delete(path); });
}

} // namespace

LogFrame::LogFrame(wxWindow* parent, wxString const& title) : TextFrame(parent, title, "Log Files", k_LogSize) {
    Text().SetFollowEnd(true);
    Text().SetQuietWords(k_QuietWords);
    Text().SetLineColors(ColorOfLevel);
    Text().SetEmptyText(_("The file is empty."));
}

LogFrame::LogFrame(wxWindow* parent, wxString const& title, Path const& file) : LogFrame(parent, title) {
    Text().ShowFile(file);
}

LogFrame::LogFrame(wxWindow* parent, wxString const& title, UID const& served) : LogFrame(parent, title) {
    m_served = served;
    m_refresh = new wxvButton(this, wxID_REFRESH, _("Refresh"));
    Bar().Insert(0, m_refresh, wxSizerFlags().Centre().Border(wxLEFT | wxTOP | wxBOTTOM, FromDIP(k_LogGap)));
    Layout();
    Bind(
        wxEVT_BUTTON, [this](wxCommandEvent&) { OnRefresh(); }, wxID_REFRESH);
    FileReceivedEvt::Signal().Connect(static_cast<HasSlots*>(this),
                                      [this](FileReceivedEvt& event) { OnReceivedEvt(event); });
    Text().SetEmptyText(wxString());
    OnRefresh();
}

LogFrame::~LogFrame() {
    FileReceivedEvt::Signal().Disconnect(static_cast<HasSlots*>(this));
    DropRequest(m_request);
    DropRequest(m_shown);
}

void LogFrame::OnRefresh() {
    if (!m_refresh || !m_request.IsNull())
        return;
    m_refresh->Disable();
    SetNote(_("Waiting for downloaded file..."));
    m_request = UID(true);
    if (!FileServer::Request(m_request, m_served, false))
        ShowFailure("The request for the file could not be made. Try again.");
}

void LogFrame::OnReceivedEvt(FileReceivedEvt& event) {
    // On the request's thread: the window looks whether it is its own.
    CallAfter([this, request = event.request, error = event.error] { OnReceived(request, error); });
}

void LogFrame::OnReceived(UID const& request, String const& error) {
    if (request != m_request)
        return;
    if (!error.Empty()) {
        ShowFailure("Could not download requested log file: " + error);
        return;
    }
    DropRequest(std::exchange(m_shown, std::exchange(m_request, UID::Null)));
    Text().SetEmptyText(_("The file is empty."));
    Text().ShowFile(FileServer::LocalPath(m_shown));
    m_refresh->Enable();
    SetNote(wxString());
}

void LogFrame::ShowFailure(String const& reason) {
    DropRequest(std::exchange(m_request, UID::Null));
    LogWarning(reason);
    Text().Clear();
    Text().AppendString(reason, ColorName::TextRed);
    m_refresh->Enable();
    SetNote(wxString());
}

} // namespace vorlan
