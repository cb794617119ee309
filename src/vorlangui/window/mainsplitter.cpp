#include "mainsplitter.h"

#include "client/options.h"

#include <cmath>

namespace vorlan {

namespace {
// How much of a change of the width the views get.
constexpr double k_Gravity = 0.5;
} // namespace

_MainSplitter::_MainSplitter(wxWindow* parent) : wxvSplitterWindow(parent, SashDoubleClick::Unsplit) {
    SetMinimumPaneSize(FromDIP(k_SmallestPane));
    SetSashGravity(k_Gravity);
    Bind(wxEVT_SPLITTER_SASH_POS_CHANGING, &_MainSplitter::OnDragSash, this);
    Bind(wxEVT_SPLITTER_SASH_POS_CHANGED, &_MainSplitter::OnMoveSash, this);
    Bind(wxEVT_SIZE, &_MainSplitter::OnResize, this);
}

double _MainSplitter::StoredPart() {
    double const part = k_OptionSplitter.Get();
    return part > 0 && part < 1 ? part : k_OptionSplitter.Default();
}

void _MainSplitter::Fill(wxWindow* views, wxWindow* info, bool showInfo) {
    m_views = views;
    m_info = info;
    m_info->Hide();
    Initialize(m_views);
    if (showInfo)
        ShowInfo(true);
}

void _MainSplitter::ShowInfo(bool show) {
    if (show == IsSplit())
        return;
    if (!show) {
        Unsplit(m_info);
        return;
    }
    m_info->Show();
    NotePlace(static_cast<int>(std::lround(GetClientSize().x * StoredPart())));
    SplitVertically(m_views, m_info, m_putAt);
}

void _MainSplitter::NotePlace(int sash) {
    m_putAt = sash;
    m_putWidth = GetClientSize().x;
}

void _MainSplitter::OnDragSash(wxSplitterEvent& event) {
    m_dragged = true;
    event.Skip();
}

void _MainSplitter::OnMoveSash(wxSplitterEvent& event) {
    event.Skip();
    // A sash that follows the window's size says nothing about the user's wish.
    int const width = GetClientSize().x;
    if (!std::exchange(m_dragged, false) || width <= 0)
        return;
    NotePlace(event.GetSashPosition());
    k_OptionSplitter.Set(static_cast<double>(event.GetSashPosition()) / width);
}

void _MainSplitter::OnResize(wxSizeEvent& event) {
    // The splitter moves the sash with the size first.
    OnSize(event);
    int const width = GetClientSize().x;
    if (width < 2 * GetMinimumPaneSize())
        return;
    if (!m_placed && IsShownOnScreen()) {
        m_placed = true;
        NotePlace(static_cast<int>(std::lround(width * StoredPart())));
    }
    if (IsSplit())
        SetSashPosition(m_putAt + static_cast<int>(std::lround((width - m_putWidth) * k_Gravity)));
}

} // namespace vorlan
