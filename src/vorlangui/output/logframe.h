#pragma once

#include "textframe.h"

#include <corekit/path.h>
#include <corekit/signal.h>
#include <corekit/uid.h>
#include <vorlan/events.h>
#include <vorlan/fwd.h>

class wxButton;

namespace vorlan {

// LogFrame shows a log file of this machine, as it grows, or one of the Master's, as it
// was when it was fetched.
// Owner: the toolkit, until it is closed.
// Works with: FileServer, which brings the Master's file.
// Thread: the GUI thread; the events of FileServer come on another and only pass on.
class LogFrame : public TextFrame, public HasSlots<ThreadPolicy::LocalThreaded> {
public:
    LogFrame(wxWindow* parent, wxString const& title, Path const& file);
    // Of the Master, by the id under which it gives the file away.
    LogFrame(wxWindow* parent, wxString const& title, UID const& served);
    ~LogFrame() override;

private:
    LogFrame(wxWindow* parent, wxString const& title);
    // Fetches it anew. The text stays until the new one is there.
    void OnRefresh() override;
    void ShowFailure(String const& reason);
    void OnReceivedEvt(FileReceivedEvt& event);
    void OnReceived(UID const& request, String const& error);

    // Constant after construction.
    UID m_served;
    wxButton* m_refresh = nullptr; // null: a file of this machine

    // GUI thread only.
    UID m_request; // under way; null: none
    UID m_shown;   // the request whose file is shown
};

} // namespace vorlan
