#pragma once

#include <span>
#include <vector>
#include <wx/wxvpanel.h>

namespace vorlan {

class ButtonSection;
class wxToolbarButton;

// Where a group of the toolbar stands.
struct SectionPlace {
    int row = 0;
    int x = 0;
    bool operator==(SectionPlace const&) const = default;
};

// Sets groups of these widths side by side; one that does not fit any more begins the
// next row. A group wider than the whole has a row of its own.
std::vector<SectionPlace> PlaceSections(std::span<int const> widths, int available);

// wxVorlanToolbar shows the commands that people need most, in groups. Groups that find
// no room in a narrow window stand in further rows.
// Owner: the MainWindow. Works with: ButtonSection, one for each group.
// Thread: the GUI thread.
// Always: a group comes into being with its first button.
class wxVorlanToolbar : public wxvPanel {
public:
    static constexpr int k_RowHeight = 44;

    explicit wxVorlanToolbar(wxWindow* parent);

    // The next button begins a group.
    void StartGroup() { m_current = nullptr; }
    wxToolbarButton* AddButton(int id, wxString const& icon, wxString const& label, bool toggles);
    // All groups go.
    void Reset();

    // Null if no button has this id.
    wxToolbarButton* Find(int id) const;
    std::vector<ButtonSection*> const& Sections() const { return m_sections; }

    bool Layout() override;

protected:
    wxSize DoGetBestClientSize() const override;

private:
    void OnPaint(wxPaintEvent& event);

    std::vector<ButtonSection*> m_sections;
    ButtonSection* m_current = nullptr;
    int m_rows = 1;
};

} // namespace vorlan
