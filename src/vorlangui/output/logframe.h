#pragma once

#include <corekit/path.h>
#include <corekit/signal.h>
#include <corekit/uid.h>
#include <map>
#include <vorlan/events.h>
#include <vorlan/fwd.h>
#include <wx/wxvorlanframe.h>

class wxButton;
class wxStaticText;
class wxTextLineCtrl;

namespace vorlan {

// The end of a log that is shown: whole lines, the first of a cut file left out.
struct LogTail {
    String text;
    int64_t skippedBytes = 0;
};
// Throws FileException. Waits for the disk.
LogTail ReadLogTail(Path const& path, int64_t mostBytes);

// LogFrame shows the end of a log file, of this machine or of the Master's.
// Owner: the toolkit, until it is closed.
// Works with: ThreadPool, which reads; FileServer, which brings the Master's file.
// Thread: the GUI thread; the events of FileServer come on another and only pass on.
class LogFrame : public wxVorlanFrame, public HasSlots<ThreadPolicy::LocalThreaded> {
public:
    static constexpr int64_t k_ShownBytes = 16 * 1024 * 1024;

    LogFrame(wxWindow* parent, wxString const& title, Path file);
    // Of the Master, by the id under which it gives the file away.
    LogFrame(wxWindow* parent, wxString const& title, UID const& served);
    ~LogFrame() override;

private:
    friend class GuiTester;

    // Those that stand, by their number; GUI thread only.
    static std::map<unsigned, LogFrame*>& OpenFrames();

    void Build();
    // Reads it anew.
    void Load();
    void Read(Path const& path);
    void ShowTail(LogTail const& tail);
    void ShowFailure(String const& reason);
    void SetBusy(bool busy, wxString const& note);
    void ReleaseRequest();
    void OnReceivedEvt(FileReceivedEvt& event);
    void OnReceived(UID const& request, String const& error);

    // Constant after construction.
    Path const m_file;
    UID const m_served;

    // GUI thread only.
    unsigned m_number = 0;
    UID m_request; // under way; null: none
    wxTextLineCtrl* m_text = nullptr;
    wxStaticText* m_note = nullptr;
    wxButton* m_refresh = nullptr;
};

} // namespace vorlan
