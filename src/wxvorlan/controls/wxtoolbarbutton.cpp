#include <wx/wxtoolbarbutton.h>

#include <algorithm>
#include <corekit/callentry.h>
#include <corekit/file.h>
#include <corekit/log.h>
#include <memory>
#include <wx/bitmap.h>
#include <wx/dcbuffer.h>
#include <wx/graphics.h>
#include <wx/image.h>
#include <wx/imagpng.h>
#include <wx/wxvcolors.h>
#include <wx/wxvfont.h>
#include <wx/wxvtext.h>

namespace vorlan {

namespace {

constexpr int k_SmallestButton = 32;
constexpr double k_CornerRadius = 5;
constexpr double k_DisabledStrength = 1.0 / 3;
constexpr char k_IconFolder[] = "icons";

// A picture takes this part of its button.
constexpr int k_PictureNumerator = 19;
constexpr int k_PictureDenominator = 32;

wxColour GlyphColor(ToolButtonLook look) {
    wxColour const text = wxvGetColor(ColorName::Text);
    switch (look) {
    case ToolButtonLook::Normal:
        return wxvMixColors(text, wxvGetColor(ColorName::WindowBG), 0.12);
    case ToolButtonLook::Pressed:
        return wxvMixColors(text, wxvGetColor(ColorName::TextBlue), 0.5);
    default:
        return text;
    }
}

bool IsDisabled(ToolButtonLook look) {
    return look == ToolButtonLook::Disabled || look == ToolButtonLook::DisabledToggled;
}

// What is under the picture; nothing: the bar itself.
std::optional<wxColour> Surface(ToolButtonLook look, bool hovered) {
    wxColour const bar = wxvGetColor(ColorName::WindowBG);
    wxColour const selected = wxvGetColor(ColorName::Selected);
    switch (look) {
    case ToolButtonLook::Hover:
        return wxvGetColor(ColorName::ButtonFace);
    case ToolButtonLook::Pressed:
        return wxvMixColors(wxvGetColor(ColorName::ButtonFace), wxvGetColor(ColorName::Dark3D), 0.5);
    case ToolButtonLook::Toggled:
        return hovered ? wxvMixColors(selected, wxvGetColor(ColorName::TextBlue), 0.15) : selected;
    case ToolButtonLook::DisabledToggled:
        return wxvMixColors(bar, selected, k_DisabledStrength);
    default:
        return std::nullopt;
    }
}

// The picture's shape in a colour.
wxImage Tinted(wxImage const& shape, wxColour const& colour, double strength) {
    wxImage image = shape.Copy();
    image.SetRGB(wxRect(image.GetSize()), colour.Red(), colour.Green(), colour.Blue());
    unsigned char* const alpha = image.GetAlpha();
    std::transform(alpha, alpha + image.GetWidth() * image.GetHeight(), alpha,
                   [strength](unsigned char value) { return static_cast<unsigned char>(value * strength + 0.5); });
    return image;
}

wxImage LoadShape(corekit::Path const& file) {
    if (!wxImage::FindHandler(wxBITMAP_TYPE_PNG))
        wxImage::AddHandler(new wxPNGHandler);
    wxImage image;
    if (!file.Exists() || !image.LoadFile(wxvText(file.Text()), wxBITMAP_TYPE_PNG))
        return {};
    if (!image.HasAlpha())
        image.InitAlpha();
    return image;
}

wxImage Scaled(wxImage const& image, int size) {
    if (!image.IsOk() || image.GetWidth() == size)
        return image;
    return image.Scale(size, size, wxIMAGE_QUALITY_HIGH);
}

} // namespace

ToolButtonLook LookOf(ToolButtonState const& state) {
    if (!state.enabled)
        return state.toggled ? ToolButtonLook::DisabledToggled : ToolButtonLook::Disabled;
    if (state.pressed)
        return ToolButtonLook::Pressed;
    if (state.toggled)
        return ToolButtonLook::Toggled;
    return state.hovered ? ToolButtonLook::Hover : ToolButtonLook::Normal;
}

int ToolButtonSize(int charHeight) { return std::max(charHeight * 185 / 100, k_SmallestButton); }

int ToolPictureSize(int buttonSize) { return buttonSize * k_PictureNumerator / k_PictureDenominator; }

wxToolbarButton::wxToolbarButton(wxWindow* parent, int id, wxString const& icon, wxString const& label, bool toggles)
    : wxControl(parent, id, wxDefaultPosition, wxDefaultSize, wxNO_BORDER),
      m_toggles(toggles),
      m_picture(LoadPicture(icon)) {
    SetBackgroundStyle(wxBG_STYLE_PAINT);
    SetFont(wxvFont());
    SetLabel(label);
    SetToolTip(label);
    InvalidateBestSize();
    Bind(wxEVT_PAINT, &wxToolbarButton::OnPaint, this);
    Bind(wxEVT_LEFT_DOWN, &wxToolbarButton::OnLeftDown, this);
    // The second click of two quick ones is a click.
    Bind(wxEVT_LEFT_DCLICK, &wxToolbarButton::OnLeftDown, this);
    Bind(wxEVT_LEFT_UP, &wxToolbarButton::OnLeftUp, this);
    for (auto const& type : {wxEVT_ENTER_WINDOW, wxEVT_LEAVE_WINDOW, wxEVT_MOTION})
        Bind(type, &wxToolbarButton::OnMouse, this);
    Bind(wxEVT_MOUSE_CAPTURE_LOST, &wxToolbarButton::OnCaptureLost, this);
    Bind(wxEVT_SYS_COLOUR_CHANGED, [this](wxSysColourChangedEvent& event) {
        event.Skip();
        m_bitmaps.fill(wxBitmapBundle());
        Refresh();
    });
}

wxToolbarButton::~wxToolbarButton() {
    if (HasCapture())
        ReleaseMouse();
}

wxToolbarButton::Picture wxToolbarButton::LoadPicture(wxString const& icon) {
    corekit::Path const folder = corekit::File::s_AppDir / k_IconFolder;
    Picture picture{LoadShape(folder / wxvString(icon + ".png")), LoadShape(folder / wxvString(icon + "@2x.png"))};
    if (!picture.plain.IsOk() || !picture.twice.IsOk())
        corekit::LogWarning("The picture " + wxvString(icon) + ".png is missing in " + folder.Text() +
                            ": install VorlanGui again");
    return picture;
}

wxSize wxToolbarButton::DoGetBestClientSize() const {
    int const size = ToolButtonSize(ToDIP(GetCharHeight()));
    return FromDIP(wxSize(size, size));
}

wxBitmapBundle const& wxToolbarButton::BitmapOf(ToolButtonLook look) {
    wxBitmapBundle& bundle = m_bitmaps[static_cast<size_t>(look)];
    if (bundle.IsOk() || !m_picture.plain.IsOk() || !m_picture.twice.IsOk())
        return bundle;
    int const size = ToolPictureSize(ToolButtonSize(ToDIP(GetCharHeight())));
    wxColour const colour = GlyphColor(look);
    double const strength = IsDisabled(look) ? k_DisabledStrength : 1;
    // The larger picture serves where the smaller one would have to grow.
    bool const plainFits = m_picture.plain.GetWidth() == size;
    wxImage const plain = plainFits ? m_picture.plain : Scaled(m_picture.twice, size);
    bundle = wxBitmapBundle::FromBitmaps(wxBitmap(Tinted(plain, colour, strength)),
                                         wxBitmap(Tinted(Scaled(m_picture.twice, 2 * size), colour, strength)));
    return bundle;
}

void wxToolbarButton::OnPaint(wxPaintEvent&) {
    CALL_ENTRY();
    wxAutoBufferedPaintDC dc(this);
    dc.SetBackground(GetParent()->GetBackgroundColour());
    dc.Clear();
    ToolButtonLook const look = LookOf(m_state);
    wxSize const size = GetClientSize();
    if (std::optional<wxColour> const surface = Surface(look, m_state.hovered)) {
        std::unique_ptr<wxGraphicsContext> const graphics(wxGraphicsContext::Create(dc));
        graphics->SetPen(*wxTRANSPARENT_PEN);
        graphics->SetBrush(*surface);
        graphics->DrawRoundedRectangle(0, 0, size.x, size.y, FromDIP(k_CornerRadius));
    }
    wxBitmapBundle const& bundle = BitmapOf(look);
    if (!bundle.IsOk())
        return;
    wxBitmap const bitmap = bundle.GetBitmapFor(this);
    wxSize const picture = bitmap.GetLogicalSize();
    dc.DrawBitmap(bitmap, (size.x - picture.x) / 2, (size.y - picture.y) / 2, true);
}

void wxToolbarButton::Change(ToolButtonState const& state) {
    bool const same = LookOf(state) == LookOf(m_state) && state.hovered == m_state.hovered;
    m_state = state;
    if (!same)
        Refresh();
}

void wxToolbarButton::SetToggled(bool toggled) {
    ToolButtonState state = m_state;
    state.toggled = toggled;
    Change(state);
}

bool wxToolbarButton::Enable(bool enable) {
    bool const changed = wxControl::Enable(enable);
    ToolButtonState state = m_state;
    state.enabled = IsEnabled();
    if (!state.enabled) {
        state.hovered = state.pressed = false;
        m_held = false;
        if (HasCapture())
            ReleaseMouse();
    }
    Change(state);
    return changed;
}

void wxToolbarButton::DoUpdateWindowUI(wxUpdateUIEvent& event) {
    if (event.GetSetEnabled() && event.GetEnabled() != IsThisEnabled())
        Enable(event.GetEnabled());
    if (event.GetSetChecked())
        SetToggled(event.GetChecked());
}

void wxToolbarButton::OnLeftDown(wxMouseEvent&) {
    if (!HasCapture())
        CaptureMouse();
    m_held = true;
    ToolButtonState state = m_state;
    state.hovered = state.pressed = true;
    Change(state);
}

void wxToolbarButton::OnLeftUp(wxMouseEvent& event) {
    if (HasCapture())
        ReleaseMouse();
    bool const clicked = std::exchange(m_held, false) && wxRect(GetClientSize()).Contains(event.GetPosition());
    ToolButtonState state = m_state;
    state.pressed = false;
    state.hovered = wxRect(GetClientSize()).Contains(event.GetPosition());
    if (clicked && m_toggles)
        state.toggled = !state.toggled;
    Change(state);
    if (!clicked)
        return;
    // The command may make the toolbar anew, and this button with it: so it comes later,
    // from the window.
    wxWindow* const window = wxGetTopLevelParent(this);
    wxCommandEvent command(wxEVT_MENU, GetId());
    command.SetEventObject(window);
    command.SetInt(m_state.toggled);
    window->GetEventHandler()->AddPendingEvent(command);
}

void wxToolbarButton::OnMouse(wxMouseEvent& event) {
    event.Skip();
    ToolButtonState state = m_state;
    state.hovered = !event.Leaving() && wxRect(GetClientSize()).Contains(event.GetPosition());
    state.pressed = m_held && state.hovered;
    Change(state);
}

void wxToolbarButton::OnCaptureLost(wxMouseCaptureLostEvent&) {
    m_held = false;
    ToolButtonState state = m_state;
    state.pressed = state.hovered = false;
    Change(state);
}

} // namespace vorlan
