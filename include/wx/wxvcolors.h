#pragma once

// The named colours of the user interface and the schemes that give them values.

#include <corekit/option.h>
#include <corekit/signal.h>

#include <array>
#include <wx/colour.h>

namespace corekit {
class OptionsFile;
}

// The names, in the order in which a scheme lists them.
enum class ColorName : int {
    WindowBG,
    WindowBGLighter,
    WindowBGDarker,
    Text,
    TextRed,
    TextOrange,
    TextYellow,
    TextGreen,
    TextCyan,
    TextBlue,
    TextIndigo,
    TextViolet,
    TextDarkRed,
    TextDarkOrange,
    TextDarkYellow,
    TextDarkGreen,
    TextDarkCyan,
    TextDarkBlue,
    TextDarkIndigo,
    TextDarkViolet,
    TextGrey,
    Light3D,
    Dark3D,
    ButtonFace,
    ButtonText,
    Selected,
    Header,
};
inline constexpr int k_ColorCount = 27;

// The schemes by their number.
enum class ColorScheme : int { Lighter, Light, Dark, Darker, Custom };
inline constexpr int k_BuiltInSchemes = 4;
inline constexpr ColorScheme k_DefaultScheme = ColorScheme::Dark;

// The order in which the custom colours are shown and numbered.
inline constexpr std::array<ColorName, k_ColorCount> k_CustomColorOrder{
    ColorName::WindowBG,       ColorName::WindowBGLighter, ColorName::WindowBGDarker,
    ColorName::Light3D,        ColorName::Dark3D,          ColorName::ButtonFace,
    ColorName::ButtonText,     ColorName::Selected,        ColorName::Header,
    ColorName::Text,           ColorName::TextRed,         ColorName::TextOrange,
    ColorName::TextYellow,     ColorName::TextGreen,       ColorName::TextCyan,
    ColorName::TextBlue,       ColorName::TextIndigo,      ColorName::TextViolet,
    ColorName::TextGrey,       ColorName::TextDarkRed,     ColorName::TextDarkOrange,
    ColorName::TextDarkYellow, ColorName::TextDarkGreen,   ColorName::TextDarkCyan,
    ColorName::TextDarkBlue,   ColorName::TextDarkIndigo,  ColorName::TextDarkViolet};

// As people and the options file read it: "WindowBG", "3DLight".
char const* wxvColorLabel(ColorName name);

// The colour in the scheme that is in use. GUI thread, as all of this file.
wxColour const& wxvGetColor(ColorName name);
// The colour in a scheme. The custom one begins as a copy of the default scheme.
wxColour const& wxvGetColor(ColorScheme scheme, ColorName name);

ColorScheme wxvGetColorScheme();
// Takes a scheme into use, keeps the choice in the options, and tells all windows
// (wxEVT_SYS_COLOUR_CHANGED). A number that is no scheme changes nothing.
void wxvSetColorScheme(int scheme);
// `index` counts in k_CustomColorOrder. Shows with the next wxvSetColorScheme.
void wxvSetCustomColor(int index, wxColour const& colour);

// Reads the scheme and the custom colours, and writes changes back there. The
// options outlive the windows; null ends it.
void wxvUseColorOptions(corekit::OptionsFile* options);
// Where they are kept.
corekit::OptionTable wxvColorOptions();

// Gives the toolkit's own parts (menus, dialogs, text fields) the variant, dark or
// light, and the surfaces of the scheme in use. Before the first window;
// wxvSetColorScheme does it for a change.
void wxvApplyNativeStyle();

// The scheme's surface is dark.
bool wxvIsDarkScheme();

// `part` of 1 is all of `other`, 0 none of it.
wxColour wxvMixColors(wxColour const& colour, wxColour const& other, double part);
// The contrast ratio of two colours, 1 to 21, as the accessibility guidelines define it.
double wxvContrast(wxColour const& a, wxColour const& b);
// `colour`, moved towards `refuge` as far as it must be to read on `background`.
wxColour wxvReadableColor(wxColour const& colour, wxColour const& background, wxColour const& refuge,
                          double contrast = 4.5);

// The background of every second row of a list.
wxColour wxvZebraColor();
// The outline of what can be typed into or pressed, and the lines between groups.
wxColour wxvEdgeColor();
// Texts and marks of what is switched off, on WindowBG.
wxColour wxvFaintColor();

// The scheme has changed; emitted before the windows hear of it.
corekit::Signal0<corekit::ThreadPolicy::SingleThreaded>& wxvColorsChanged();
