#pragma once

#include <wx/bitmap.h>
#include <wx/window.h>

// wxDoubleBufferedWindow is the base of displays that draw themselves as a whole: they
// draw into a bitmap when something has changed, and paint the bitmap.
// Owner: its parent window. Thread: the GUI thread.
// Always: the bitmap is as large as the client area, at the screen's own resolution.
// What cannot be seen is not drawn.
class wxDoubleBufferedWindow : public wxWindow {
public:
    explicit wxDoubleBufferedWindow(wxWindow* parent, wxWindowID id = wxID_ANY, long style = 0);

    // The content has changed; it is drawn anew with the next paint.
    void Redraw();

protected:
    // Draws the content into Buffer(), through a wxMemoryDC in client coordinates. A
    // display that draws nothing now keeps the picture it had.
    virtual void DrawToBuffer() = 0;
    // The bitmap is another one, filled with the background.
    virtual void BufferChanged() {}

    wxBitmap& Buffer() { return m_buffer; }

private:
    void OnPaint(wxPaintEvent& event);
    void FitBuffer();

    wxBitmap m_buffer;
    bool m_dirty = true;
};
