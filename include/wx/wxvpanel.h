#pragma once

#include <wx/panel.h>
#include <wx/wxvcolors.h>

// wxvPanel is a panel in the scheme's colours that knows whether it can be seen.
// Owner: its parent window. Thread: the GUI thread.
// Always: OnInView and OnOutOfView take turns, beginning with OnInView.
class wxvPanel : public wxPanel {
public:
    explicit wxvPanel(wxWindow* parent, ColorName background = ColorName::WindowBG, wxWindowID id = wxID_ANY,
                      long style = wxTAB_TRAVERSAL | wxNO_BORDER);

    // Takes the colours of the scheme; called for each change of it.
    virtual void ApplyColors();

    void OnInternalIdle() override;

protected:
    // The panel comes into view or leaves it, by itself or with a window around it.
    // What stays hidden should cost nothing.
    virtual void OnInView() {}
    virtual void OnOutOfView() {}

private:
    void OnVisibility(bool visible);
    void OnSysColorChange(wxSysColourChangedEvent& event);

    ColorName const m_background;
    bool m_visible = false;
};
