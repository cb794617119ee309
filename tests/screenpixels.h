#pragma once

// What a window shows on the screen, and how it would look drawn anew.

#include "wxtools.h"

#include <wx/dcclient.h>

// The pixels that are on the screen now; nothing is drawn for it.
inline wxImage ScreenPixels(wxWindow& window) {
    wxSize const size = window.GetClientSize();
    wxBitmap bitmap(size.x, size.y);
    wxMemoryDC memory(bitmap);
    wxClientDC screen(&window);
    memory.Blit(wxPoint(0, 0), size, &screen, wxPoint(0, 0));
    memory.SelectObject(wxNullBitmap);
    return bitmap.ConvertToImage();
}

inline bool IsSame(wxImage const& one, wxImage const& other) {
    size_t const bytes = static_cast<size_t>(one.GetWidth()) * static_cast<size_t>(one.GetHeight()) * 3;
    return one.GetSize() == other.GetSize() && std::memcmp(one.GetData(), other.GetData(), bytes) == 0;
}

// Until nothing waits to be done or drawn.
inline void PumpAndDraw(wxWindow& window) {
    for (int i = 0; i < 3; ++i) {
        Pump();
        window.wxWindow::Update();
    }
}

// The first pixel on the screen that a full paint changes, as "x, y", or nothing. All is
// drawn then.
inline std::string FirstStalePixel(wxWindow& window) {
    PumpAndDraw(window);
    wxImage const before = ScreenPixels(window);
    window.Refresh(false);
    PumpAndDraw(window);
    wxImage const after = ScreenPixels(window);
    if (before.GetSize() != after.GetSize())
        return "another size";
    size_t const bytes = static_cast<size_t>(before.GetWidth()) * static_cast<size_t>(before.GetHeight()) * 3;
    unsigned char const* const first = before.GetData();
    unsigned char const* const end = first + bytes;
    unsigned char const* const stale = std::mismatch(first, end, std::as_const(after).GetData()).first;
    if (stale == end)
        return {};
    int const pixel = static_cast<int>((stale - first) / 3);
    return std::to_string(pixel % before.GetWidth()) + ", " + std::to_string(pixel / before.GetWidth());
}
