#pragma once

#include <wx/stattext.h>
#include <wx/wxvcolors.h>

// wxvStaticText is a label in a colour of the scheme.
// Owner: its parent window. Thread: the GUI thread.
class wxvStaticText : public wxStaticText {
public:
    explicit wxvStaticText(wxWindow* parent, wxString const& label, ColorName color = ColorName::Text,
                           wxWindowID id = wxID_ANY, long style = 0);

    void SetColor(ColorName color);

protected:
    void DoEnable(bool enable) override;

private:
    void ApplyColor();

    ColorName m_color;
};
