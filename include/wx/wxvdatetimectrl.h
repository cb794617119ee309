#pragma once

#include <corekit/time.h>

#include <wx/wxvpanel.h>

class wxButton;
class wxvTextCtrl;

// wxvDateTimeCtrl sets a point in time of the local zone, by typing or from a calendar.
// Owner: its parent window. Works with: the functions of datetimetext.h.
// Thread: the GUI thread.
// Always: the value is the last text that was a time; while the text is none it is
// shown in red. An empty text is the unset time. A change by the user sends wxEVT_TEXT
// with the control's own id; SetValue sends nothing.
class wxvDateTimeCtrl : public wxvPanel {
public:
    explicit wxvDateTimeCtrl(wxWindow* parent, wxWindowID id = wxID_ANY);

    void SetValue(corekit::Time value);
    // Exactly what was set, as long as nobody changes the text.
    corekit::Time GetValue() const { return m_value; }

    bool Enable(bool enable = true) override;
    void SetFocus() override;
    void ApplyColors() override;

    wxvTextCtrl* Text() { return m_text; }

private:
    class Calendar;

    void OnText();
    void OnKey(wxKeyEvent& event);
    void OpenCalendar();

    wxvTextCtrl* m_text;
    wxButton* m_open;
    corekit::Time m_value;
    bool m_valid = true;
};
