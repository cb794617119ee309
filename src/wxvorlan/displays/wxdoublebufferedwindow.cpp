#include <corekit/callentry.h>
#include <wx/dcclient.h>
#include <wx/dcmemory.h>
#include <wx/wxdoublebufferedwindow.h>
#include <wx/wxvcolors.h>
#include <wx/wxvfont.h>

wxDoubleBufferedWindow::wxDoubleBufferedWindow(wxWindow* parent, wxWindowID id, long style)
    : wxWindow(parent, id, wxDefaultPosition, wxDefaultSize, style | wxNO_BORDER | wxFULL_REPAINT_ON_RESIZE) {
    SetBackgroundStyle(wxBG_STYLE_PAINT);
    SetBackgroundColour(wxvGetColor(ColorName::WindowBGDarker));
    SetFont(wxvFont());
    Bind(wxEVT_PAINT, &wxDoubleBufferedWindow::OnPaint, this);
    Bind(wxEVT_SYS_COLOUR_CHANGED, [this](wxSysColourChangedEvent& event) {
        event.Skip();
        SetBackgroundColour(wxvGetColor(ColorName::WindowBGDarker));
        Redraw();
    });
}

void wxDoubleBufferedWindow::Redraw() {
    m_dirty = true;
    Refresh(false);
}

void wxDoubleBufferedWindow::FitBuffer() {
    wxSize const size = GetClientSize();
    double const scale = GetContentScaleFactor();
    if (m_buffer.IsOk() && m_buffer.GetScaleFactor() == scale && m_buffer.GetLogicalSize() == wxSize(size))
        return;
    m_buffer = wxBitmap();
    m_buffer.CreateWithDIPSize(size, scale);
    {
        wxMemoryDC dc(m_buffer);
        dc.SetBackground(GetBackgroundColour());
        dc.Clear();
    }
    m_dirty = true;
    BufferChanged();
}

void wxDoubleBufferedWindow::OnPaint(wxPaintEvent&) {
    CALL_ENTRY();
    wxPaintDC dc(this);
    wxSize const size = GetClientSize();
    if (size.x <= 0 || size.y <= 0)
        return;
    FitBuffer();
    if (m_dirty) {
        // A change that comes while it is drawn is drawn with the next paint.
        m_dirty = false;
        DrawToBuffer();
    }
    dc.DrawBitmap(m_buffer, 0, 0);
}
