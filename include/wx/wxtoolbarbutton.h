#pragma once

#include <array>
#include <optional>
#include <wx/bmpbndl.h>
#include <wx/control.h>

namespace vorlan {

// What the user does to a button, and what a button may be.
struct ToolButtonState {
    bool enabled = true;
    bool hovered = false;
    bool pressed = false; // the mouse went down on it and is still on it
    bool toggled = false;
};

enum class ToolButtonLook : int { Normal, Hover, Pressed, Toggled, Disabled, DisabledToggled };
inline constexpr size_t k_ToolButtonLooks = 6;

ToolButtonLook LookOf(ToolButtonState const& state);

// Width and height of every button for a font of that height, and of the picture in
// it; pixels of a screen with plain resolution.
int ToolButtonSize(int charHeight);
int ToolPictureSize(int buttonSize);

// wxToolbarButton is a picture that is a command: a click sends the menu event of its
// id. The update-UI rule of that id serves the button, too.
// Owner: its ButtonSection. Thread: the GUI thread.
class wxToolbarButton : public wxControl {
public:
    // `icon` is the name of a picture of the installation, without its extension. A
    // picture that is missing leaves the button blank and one line in the log.
    wxToolbarButton(wxWindow* parent, int id, wxString const& icon, wxString const& label, bool toggles);
    // The menus may be built anew while the mouse is down on it.
    ~wxToolbarButton() override;

    bool IsToggled() const { return m_state.toggled; }
    void SetToggled(bool toggled);
    // The picture that it shows with that look, in the colours of the scheme.
    wxBitmapBundle const& BitmapOf(ToolButtonLook look);

    bool AcceptsFocus() const override { return false; }
    bool Enable(bool enable = true) override;

protected:
    void DoUpdateWindowUI(wxUpdateUIEvent& event) override;
    wxSize DoGetBestClientSize() const override;

private:
    // Plain and double resolution.
    struct Picture {
        wxImage plain;
        wxImage twice;
    };
    static Picture LoadPicture(wxString const& icon);

    // Goes into the state, and is drawn if it looks different then.
    void Change(ToolButtonState const& state);

    void OnPaint(wxPaintEvent& event);
    void OnLeftDown(wxMouseEvent& event);
    void OnLeftUp(wxMouseEvent& event);
    void OnMouse(wxMouseEvent& event);
    void OnCaptureLost(wxMouseCaptureLostEvent& event);

    bool const m_toggles;
    Picture const m_picture;
    ToolButtonState m_state;
    bool m_held = false; // the mouse went down on it
    // Made when first needed, and again for another scheme.
    std::array<wxBitmapBundle, k_ToolButtonLooks> m_bitmaps;
};

} // namespace vorlan
