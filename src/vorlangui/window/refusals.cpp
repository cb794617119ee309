#include "refusals.h"

#include "mainwindow.h"

#include <corekit/commonmutex.h>
#include <wx/app.h>
#include <wx/intl.h>
#include <wx/wxvmessagedlg.h>
#include <wx/wxvtext.h>

#include <set>

namespace vorlan {

namespace {

constexpr size_t k_MostReasons = 8; // of one box

struct Refusals {
    CommonMutex mutex;
    std::set<String> waiting CK_GUARDED_BY(mutex);
    bool isOpen = false; // GUI thread only
};

Refusals& Gathered() {
    static Refusals s_refusals;
    return s_refusals;
}

String TakeReasons() {
    Refusals& refusals = Gathered();
    CommonMutex::Lock const lock(refusals.mutex);
    String text;
    for (String const& reason : std::exchange(refusals.waiting, {}))
        text += (text.Empty() ? "" : "\n") + reason;
    return text;
}

} // namespace

void TellRefusal(String const& reason) {
    Refusals& refusals = Gathered();
    {
        CommonMutex::Lock const lock(refusals.mutex);
        if (refusals.waiting.size() < k_MostReasons)
            refusals.waiting.insert(reason);
    }
    wxWakeUpIdle();
}

void ShowRefusals() {
    if (Gathered().isOpen)
        return;
    String const reasons = TakeReasons();
    if (reasons.Empty())
        return;
    Gathered().isOpen = true;
    // Not within the idle time of others.
    wxTheApp->CallAfter([reasons] {
        // A box of a window that is going would go with it, and stands on the stack.
        if (MainWindow* const window = MainWindow::Get(); window && !window->IsClosing())
            wxvMessageDlg::Tell(window, _("The Master refused a command"), wxvText(reasons), MessageKind::Error);
        Gathered().isOpen = false;
    });
}

} // namespace vorlan
