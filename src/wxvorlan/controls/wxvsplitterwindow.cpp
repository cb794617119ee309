#include "theme/followcolors.h"

#include <wx/dc.h>
#include <wx/renderer.h>
#include <wx/wxvcolors.h>
#include <wx/wxvsplitterwindow.h>

namespace {

// SashRenderer draws the sashes of wxvSplitterWindow and leaves all else to the toolkit.
class SashRenderer : public wxDelegateRendererNative {
public:
    static void Install() {
        static bool s_installed = false;
        if (std::exchange(s_installed, true))
            return;
        // The first use takes the toolkit's own, which is a static object of its, over
        // whatever has been set; ours lives as long as the program.
        wxRendererNative::Get();
        wxRendererNative::Set(new SashRenderer);
    }

    SashRenderer() : wxDelegateRendererNative(wxRendererNative::GetDefault()) {}

    wxSplitterRenderParams GetSplitterParams(wxWindow const* window) override {
        if (!IsOurs(window))
            return wxDelegateRendererNative::GetSplitterParams(window);
        return {window->FromDIP(wxvSplitterWindow::k_SashWidth), 0, true};
    }
    void DrawSplitterBorder(wxWindow* window, wxDC& dc, wxRect const& rect, int flags) override {
        if (!IsOurs(window))
            wxDelegateRendererNative::DrawSplitterBorder(window, dc, rect, flags);
    }
    void DrawSplitterSash(wxWindow* window, wxDC& dc, wxSize const& size, wxCoord position, wxOrientation orientation,
                          int flags) override {
        if (!IsOurs(window)) {
            wxDelegateRendererNative::DrawSplitterSash(window, dc, size, position, orientation, flags);
            return;
        }
        int const width = window->FromDIP(wxvSplitterWindow::k_SashWidth);
        dc.SetPen(*wxTRANSPARENT_PEN);
        dc.SetBrush(wxvGetColor(flags & wxCONTROL_CURRENT ? ColorName::Selected : ColorName::Dark3D));
        if (orientation == wxVERTICAL)
            dc.DrawRectangle(position, 0, width, size.y);
        else
            dc.DrawRectangle(0, position, size.x, width);
    }

private:
    static bool IsOurs(wxWindow const* window) { return dynamic_cast<wxvSplitterWindow const*>(window) != nullptr; }
};

} // namespace

wxvSplitterWindow::wxvSplitterWindow(wxWindow* parent, SashDoubleClick doubleClick, wxWindowID id)
    : wxSplitterWindow(parent, id, wxDefaultPosition, wxDefaultSize, wxSP_LIVE_UPDATE | wxSP_NOBORDER),
      m_doubleClick(doubleClick) {
    SashRenderer::Install();
    // Zero would let a pane be dragged away.
    SetMinimumPaneSize(1);
    // A sash that stopped at the smallest pane has the pointer elsewhere, and nobody tells
    // it that the pointer has left.
    Bind(wxEVT_LEFT_UP, [this](wxMouseEvent& event) {
        event.Skip();
        CallAfter([this, at = event.GetPosition()] {
            if (!GetClientRect().Contains(at) || !SashHitTest(at.x, at.y))
                OnLeaveSash();
        });
    });
    FollowColors(*this, [this] {
        SetBackgroundColour(wxvGetColor(ColorName::WindowBG));
        Refresh();
    });
}

void wxvSplitterWindow::OnDoubleClickSash(int x, int y) {
    // The toolkit's own switch for it would also let a drag to the edge take a pane away.
    m_permitUnsplitAlways = m_doubleClick == SashDoubleClick::Unsplit;
    wxSplitterWindow::OnDoubleClickSash(x, y);
    m_permitUnsplitAlways = false;
}
