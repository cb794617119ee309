#pragma once

#include <corekit/string.h>

#include <memory>
#include <wx/wxvpanel.h>

class wxSlider;
class wxvTextCtrl;
struct NumberRange;

// wxvSlider sets a number of a range by a slider or by typing beside it.
// Owner: its parent window. Works with: NumberRange, which does the arithmetic.
// Thread: the GUI thread.
// Always: the value lies in the range. Each change by the user sends wxEVT_SLIDER with
// the control's own id; SetValue sends nothing.
class wxvSlider : public wxvPanel {
public:
    // The ends may come in either order.
    wxvSlider(wxWindow* parent, int low, int high, int value, wxWindowID id = wxID_ANY);
    wxvSlider(wxWindow* parent, double low, double high, double value, wxWindowID id = wxID_ANY);
    ~wxvSlider() override;

    // Text that is no number is read as 0, and what is out of the range as its end.
    void SetValue(corekit::String const& value);
    corekit::String GetValue() const;

    bool Enable(bool enable = true) override;
    void SetFocus() override;

    wxvTextCtrl* Text() { return m_text; }

private:
    void Build(double value);
    void OnSlide();
    // Takes what has been typed.
    void OnTyped();
    void Show(double value);
    void Tell();

    std::unique_ptr<NumberRange> const m_range;
    wxSlider* m_slider;
    wxvTextCtrl* m_text;
    double m_value = 0;
};
