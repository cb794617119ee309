#include "logframe.h"

#include "window/windowicon.h"

#include <corekit/file.h>
#include <corekit/log.h>
#include <corekit/threadpool.h>
#include <corekit/uniquefd.h>
#include <vorlan/fileserver.h>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>
#include <wx/app.h>
#include <wx/filename.h>
#include <wx/intl.h>
#include <wx/sizer.h>
#include <wx/wxtextlinectrl.h>
#include <wx/wxvbutton.h>
#include <wx/wxvcolors.h>
#include <wx/wxvstatictext.h>
#include <wx/wxvtext.h>

namespace vorlan {

namespace {
wxSize const k_LogSize(900, 600);
constexpr char k_Group[] = "Log Files";
constexpr int k_Gap = 8;
constexpr int k_QuietWords = 3; // date, time, process

// By the level, which stands after date and time.
ColorName ColorOf(std::string_view line) {
    constexpr size_t k_LevelEnd = 40;
    std::string_view const begin = line.substr(0, k_LevelEnd);
    if (begin.find(" Error ") != std::string_view::npos)
        return ColorName::TextRed;
    return begin.find(" Warning ") != std::string_view::npos ? ColorName::TextOrange : ColorName::Text;
}

} // namespace

std::map<unsigned, LogFrame*>& LogFrame::OpenFrames() {
    static std::map<unsigned, LogFrame*> s_frames;
    return s_frames;
}

LogTail ReadLogTail(Path const& path, int64_t mostBytes) {
    UniqueFd const file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!file)
        throw File::Failure("read", path, errno);
    off_t const size = ::lseek(file.Get(), 0, SEEK_END);
    if (size < 0)
        throw File::Failure("read", path, errno);
    LogTail tail;
    tail.skippedBytes = std::max<int64_t>(0, size - mostBytes);
    tail.text.resize(static_cast<size_t>(size - tail.skippedBytes));
    size_t have = 0;
    while (have < tail.text.size()) {
        ssize_t const got = ::pread(file.Get(), tail.text.data() + have, tail.text.size() - have,
                                    tail.skippedBytes + static_cast<int64_t>(have));
        if (got < 0 && errno != EINTR)
            throw File::Failure("read", path, errno);
        if (got == 0)
            break; // it was begun anew meanwhile
        have += got > 0 ? static_cast<size_t>(got) : 0;
    }
    tail.text.resize(have);
    if (tail.skippedBytes > 0) {
        size_t const line = tail.text.Find('\n');
        size_t const cut = line == String::npos ? 0 : line + 1;
        tail.text = tail.text.Mid(cut);
        tail.skippedBytes += static_cast<int64_t>(cut);
    }
    return tail;
}

LogFrame::LogFrame(wxWindow* parent, wxString const& title, Path file)
    : wxVorlanFrame(parent, title, wxDefaultPosition, wxDefaultSize, k_Group), m_file(std::move(file)) {
    Build();
}

LogFrame::LogFrame(wxWindow* parent, wxString const& title, UID const& served)
    : wxVorlanFrame(parent, title, wxDefaultPosition, wxDefaultSize, k_Group), m_served(served) {
    FileReceivedEvt::Signal().Connect(static_cast<HasSlots*>(this),
                                      [this](FileReceivedEvt& event) { OnReceivedEvt(event); });
    Build();
}

LogFrame::~LogFrame() {
    FileReceivedEvt::Signal().Disconnect(static_cast<HasSlots*>(this));
    ReleaseRequest();
    OpenFrames().erase(m_number);
}

void LogFrame::Build() {
    static unsigned s_lastNumber = 0;
    m_number = ++s_lastNumber;
    OpenFrames()[m_number] = this;
    SetIcons(WindowIcons());
    SetBackgroundColour(wxvGetColor(ColorName::WindowBG));
    m_refresh = new wxvButton(this, wxID_REFRESH, _("Refresh"));
    m_note = new wxvStaticText(this, wxString(), ColorName::TextGrey);
    m_text = new wxTextLineCtrl(this);
    m_text->SetType(wxTextLineCtrl::Type::Monospaced);
    m_text->SetFollowEnd(true);
    m_text->SetQuietWords(k_QuietWords);
    int const gap = FromDIP(k_Gap);
    auto* bar = new wxBoxSizer(wxHORIZONTAL);
    bar->Add(m_refresh, wxSizerFlags().Centre().Border(wxALL, gap));
    bar->Add(m_note, wxSizerFlags(1).Centre().Border(wxTOP | wxBOTTOM | wxRIGHT, gap));
    auto* content = new wxBoxSizer(wxVERTICAL);
    content->Add(bar, wxSizerFlags().Expand());
    content->Add(m_text, wxSizerFlags(1).Expand());
    SetSizer(content);
    SetSize(FromDIP(k_LogSize));
    LoadWindowPosition();
    Bind(
        wxEVT_BUTTON, [this](wxCommandEvent&) { Load(); }, wxID_REFRESH);
    Bind(wxEVT_CHAR_HOOK, [this](wxKeyEvent& event) {
        if (event.GetKeyCode() == WXK_ESCAPE)
            Close();
        else if (event.GetKeyCode() == WXK_F5)
            Load();
        else if (event.GetKeyCode() == 'F' && event.ControlDown())
            m_text->ShowFindBar();
        else
            event.Skip();
    });
    Bind(wxEVT_CLOSE_WINDOW, [this](wxCloseEvent&) {
        SaveWindowPosition();
        Destroy();
    });
    Load();
}

void LogFrame::Load() {
    if (!m_refresh->IsEnabled())
        return;
    if (m_served.IsNull()) {
        SetBusy(true, _("Reading the file..."));
        Read(m_file);
        return;
    }
    SetBusy(true, _("Waiting for downloaded file..."));
    ReleaseRequest();
    m_request = UID(true);
    if (!FileServer::Request(m_request, m_served, false))
        ShowFailure("The request for the file could not be made. Try again.");
}

void LogFrame::ReleaseRequest() {
    if (!m_request.IsNull())
        FileServer::Release(m_request);
    m_request = UID::Null;
}

void LogFrame::OnReceivedEvt(FileReceivedEvt& event) {
    // On the request's thread: the window looks whether it is its own.
    CallAfter([this, request = event.request, error = event.error] { OnReceived(request, error); });
}

void LogFrame::OnReceived(UID const& request, String const& error) {
    if (request != m_request)
        return;
    if (error.Empty())
        Read(FileServer::LocalPath(request));
    else
        ShowFailure("Could not download requested log file: " + error);
}

void LogFrame::Read(Path const& path) {
    bool const taken = ThreadPool::Queue([path, number = m_number] {
        auto const tail = std::make_shared<LogTail>();
        auto const failure = std::make_shared<String>();
        try {
            *tail = ReadLogTail(path, k_ShownBytes);
        } catch (Exception const& exception) {
            *failure = exception.what();
        }
        wxTheApp->CallAfter([number, tail, failure] {
            auto const frame = OpenFrames().find(number);
            if (frame == OpenFrames().end())
                return; // closed meanwhile
            if (failure->Empty())
                frame->second->ShowTail(*tail);
            else
                frame->second->ShowFailure(*failure);
        });
    });
    if (!taken)
        ShowFailure("The program is ending.");
}

void LogFrame::ShowTail(LogTail const& tail) {
    ReleaseRequest();
    m_text->Clear();
    for (std::string_view rest = tail.text; !rest.empty();) {
        std::string_view const line = rest.substr(0, rest.find('\n'));
        m_text->Append(line, false, ColorOf(line));
        rest.remove_prefix(std::min(rest.size(), line.size() + 1));
    }
    m_text->SetEmptyText(_("The file is empty."));
    m_text->EnsureVisible(m_text->GetLineCount() - 1);
    if (tail.skippedBytes > 0)
        SetBusy(false, wxString::Format(_("The end of the file; %s before it are left out."),
                                        wxFileName::GetHumanReadableSize(
                                            wxULongLong(static_cast<wxULongLong_t>(tail.skippedBytes)))));
    else
        SetBusy(false, wxString());
}

void LogFrame::ShowFailure(String const& reason) {
    ReleaseRequest();
    LogWarning(reason);
    m_text->Clear();
    m_text->AppendString(reason, ColorName::TextRed);
    SetBusy(false, wxString());
}

void LogFrame::SetBusy(bool busy, wxString const& note) {
    m_refresh->Enable(!busy);
    m_note->SetLabel(note);
}

} // namespace vorlan
