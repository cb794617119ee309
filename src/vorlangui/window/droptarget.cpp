#include "droptarget.h"

#include "client/options.h"
#include "mainwindow.h"

#include <corekit/callentry.h>
#include <wx/filename.h>
#include <wx/wxvtext.h>

namespace vorlan {

bool JobDropTarget::OnDropFiles(wxCoord, wxCoord, wxArrayString const& files) {
    CALL_ENTRY();
    std::vector<Path> jobFiles;
    for (wxString const& file : files) {
        if (wxFileName(file).GetExt().IsSameAs("VJ", false))
            jobFiles.push_back(Path(wxvString(file)));
    }
    bool const immediate = k_OptionDropImmediateAtDrop.Get();
    m_window.LoadJobFiles(jobFiles, immediate);
    return !jobFiles.empty();
}

} // namespace vorlan
