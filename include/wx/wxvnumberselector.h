#pragma once

#include <corekit/optionmap.h>
#include <corekit/string.h>

#include <limits>
#include <memory>
#include <wx/wxvpanel.h>

class NumberChoices;
class wxvChoice;
class wxvTextCtrl;

enum class NumberKind { Integer, Float };

// The entries for a number that has no name of its own, and where each begins.
// A negative entry without a text is not offered.
struct CustomNumbers {
    corekit::String custom;
    corekit::String negative;
    corekit::String customDefault;
    corekit::String negativeDefault;
};

// wxvNumberSelector is a number field with arrows, and beside it, where some numbers
// have names, a choice of those.
// Owner: its parent window. Works with: NumberChoices, which knows the names.
// Thread: the GUI thread.
// Always: a change by the user sends wxEVT_TEXT with the control's own id; SetValue
// sends nothing. Up, Down, the page keys and the wheel over the focused field step the
// number, within the limits.
class wxvNumberSelector : public wxvPanel {
public:
    // A number alone.
    wxvNumberSelector(wxWindow* parent, NumberKind kind, double low = -k_Unlimited, double high = k_Unlimited,
                      wxWindowID id = wxID_ANY);
    // `specials` are the names by their number.
    wxvNumberSelector(wxWindow* parent, corekit::OptionMap const& specials, CustomNumbers const& custom,
                      NumberKind kind = NumberKind::Integer, wxWindowID id = wxID_ANY);
    ~wxvNumberSelector() override;

    static constexpr double k_Unlimited = std::numeric_limits<double>::infinity();

    // A number with a name is shown by that; no number is refused, also none at all.
    void SetValue(corekit::String const& value);
    // As it was typed; a number out of the limits is moved to the nearer one.
    corekit::String GetValue() const;

    bool Enable(bool enable = true) override;
    void SetFocus() override;

    // Null where no number has a name.
    wxvChoice* Choice() { return m_choice; }
    wxvTextCtrl* Text() { return m_text; }

private:
    class Arrows;

    void Build();
    void OnChoice();
    void OnKey(wxKeyEvent& event);
    void OnWheel(wxMouseEvent& event);
    void Step(int count);
    void ShowNumber(corekit::String const& number, bool custom);
    void Tell();

    NumberKind const m_kind;
    double const m_low = -k_Unlimited;
    double const m_high = k_Unlimited;
    std::unique_ptr<NumberChoices> const m_choices; // null: a number alone
    wxvChoice* m_choice = nullptr;
    wxvTextCtrl* m_text = nullptr;
    Arrows* m_arrows = nullptr;
    int m_wheel = 0; // rotation that is no whole step yet
};
