#include <corekit/optionsfile.h>
#include <wx/wxvcolors.h>
#include <wx/wxvtext.h>

#include <algorithm>
#include <cmath>
#include <wx/app.h>
#include <wx/event.h>
#include <wx/toplevel.h>

namespace {

constexpr char k_Section[] = "Colors";
constexpr corekit::Option<int> k_SchemeOption{k_Section, "Scheme", static_cast<int>(k_DefaultScheme),
                                              "Lighter, Light, Dark, Darker, Custom, counted from 0"};

// Parts of the text's colour on the window's.
constexpr double k_EdgeStrength = 0.18;
constexpr double k_FaintStrength = 1.0 / 3;

struct ColorRow {
    char const* label;
    // Lighter, Light, Dark, Darker; as 0xRRGGBB.
    std::array<unsigned, k_BuiltInSchemes> values;
};

// One row per ColorName, in its order. The tests compute the contrasts.
constexpr std::array<ColorRow, k_ColorCount> k_Table{{
    {"WindowBG", {0xF4F7FB, 0xE0E3E7, 0x26282B, 0x15171A}},
    {"WindowBGLighter", {0xFDFDFD, 0xE6EAEE, 0x2D3033, 0x1C1F22}},
    {"WindowBGDarker", {0xEBEEF1, 0xD7DADE, 0x1E2023, 0x0E1013}},
    {"Text", {0x1D1F22, 0x1B1D20, 0xDFE1E5, 0xDBDEE2}},
    {"TextRed", {0xB02A2F, 0xB02A2F, 0xFE7A75, 0xF66C69}},
    {"TextOrange", {0xA45406, 0x924B07, 0xFE9C53, 0xFE9C53}},
    {"TextYellow", {0x816806, 0x715B00, 0xF4CD4B, 0xF4CD4B}},
    {"TextGreen", {0x077826, 0x026E21, 0x6BDA78, 0x6BDA78}},
    {"TextCyan", {0x0A767F, 0x0A6870, 0x56D2DF, 0x56D2DF}},
    {"TextBlue", {0x175FA4, 0x175FA4, 0x64A9F3, 0x64A9F3}},
    {"TextIndigo", {0x4B4AA3, 0x4B4AA3, 0x959AFB, 0x9196F7}},
    {"TextViolet", {0x813897, 0x813897, 0xD286E9, 0xD184E8}},
    {"TextDarkRed", {0x811C20, 0x811C20, 0xE57873, 0xD06561}},
    {"TextDarkOrange", {0x814206, 0x814206, 0xD3854C, 0xC77A41}},
    {"TextDarkYellow", {0x6A5605, 0x6A5605, 0xC3A544, 0xC3A544}},
    {"TextDarkGreen", {0x045819, 0x045819, 0x57AB60, 0x57AB60}},
    {"TextDarkCyan", {0x0C575F, 0x0C575F, 0x48A5AF, 0x48A5AF}},
    {"TextDarkBlue", {0x0C4377, 0x0C4377, 0x659AD5, 0x5589C2}},
    {"TextDarkIndigo", {0x343276, 0x343276, 0x8B90DC, 0x7A7FCA}},
    {"TextDarkViolet", {0x5D266D, 0x5D266D, 0xBD81CF, 0xAA6FBC}},
    {"TextGrey", {0x696C70, 0x5C6064, 0x94979C, 0x83868B}},
    {"3DLight", {0xFFFFFF, 0xFFFFFF, 0x3A3D41, 0x292C2F}},
    {"3DDark", {0xC9CCD1, 0xB6B9BE, 0x15171B, 0x06080B}},
    {"ButtonFace", {0xE8EBF1, 0xD4D8DD, 0x34373B, 0x232529}},
    {"ButtonText", {0x1D1F22, 0x1B1D20, 0xDFE1E5, 0xDBDEE2}},
    {"Selected", {0xC1DCFA, 0xC1DCFA, 0x173C60, 0x032A4C}},
    {"Header", {0xE4E8ED, 0xD1D5D9, 0x303337, 0x1F2225}},
}};

// Of the scheme Custom, one per ColorName.
std::vector<corekit::OptionInfo> const& CustomColorOptions() {
    static auto const s_options = [] {
        std::vector<corekit::OptionInfo> options;
        for (ColorRow const& row : k_Table)
            options.emplace_back(k_Section, row.label, corekit::ColorText(), "a colour of the scheme Custom");
        return options;
    }();
    return s_options;
}

using Palette = std::array<wxColour, k_ColorCount>;

wxColour FromRGB(unsigned rgb) {
    return wxColour(static_cast<unsigned char>(rgb >> 16), static_cast<unsigned char>(rgb >> 8),
                    static_cast<unsigned char>(rgb));
}

// The palettes of all schemes, the one in use, and where the choice is kept.
struct Colors {
    std::array<Palette, k_BuiltInSchemes + 1> palettes;
    ColorScheme scheme = k_DefaultScheme;
    corekit::OptionsFile* options = nullptr;

    Colors() {
        for (int scheme_ = 0; scheme_ < k_BuiltInSchemes; ++scheme_) {
            for (int i = 0; i < k_ColorCount; ++i)
                palettes[scheme_][i] = FromRGB(k_Table[i].values[scheme_]);
        }
        palettes.back() = palettes[static_cast<int>(k_DefaultScheme)];
    }
};

Colors& TheColors() {
    static Colors s_colors;
    return s_colors;
}

// A channel's share of the luminance, linear.
double Linear(unsigned char channel) {
    double const value = channel / 255.0;
    return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
}

double Luminance(wxColour const& colour) {
    return 0.2126 * Linear(colour.Red()) + 0.7152 * Linear(colour.Green()) + 0.0722 * Linear(colour.Blue());
}

bool IsScheme(int scheme) { return scheme >= 0 && scheme <= static_cast<int>(ColorScheme::Custom); }

void TellWindows() {
    wxvColorsChanged().Emit();
    for (wxWindow* window : wxTopLevelWindows) {
        wxSysColourChangedEvent event;
        event.SetEventObject(window);
        window->HandleWindowEvent(event);
        window->Refresh();
    }
}

} // namespace

char const* wxvColorLabel(ColorName name) { return k_Table[static_cast<int>(name)].label; }

wxColour const& wxvGetColor(ColorName name) { return wxvGetColor(TheColors().scheme, name); }

wxColour const& wxvGetColor(ColorScheme scheme, ColorName name) {
    return TheColors().palettes[static_cast<int>(scheme)][static_cast<int>(name)];
}

ColorScheme wxvGetColorScheme() { return TheColors().scheme; }

void wxvSetColorScheme(int scheme) {
    if (!IsScheme(scheme))
        return;
    Colors& colors = TheColors();
    colors.scheme = static_cast<ColorScheme>(scheme);
    if (colors.options)
        k_SchemeOption.Set(*colors.options, scheme);
    if (wxTheApp) {
        wxvApplyNativeStyle();
        TellWindows();
    }
}

void wxvSetCustomColor(int index, wxColour const& colour) {
    if (index < 0 || index >= k_ColorCount || !colour.IsOk())
        return;
    Colors& colors = TheColors();
    ColorName const name = k_CustomColorOrder[index];
    colors.palettes.back()[static_cast<int>(name)] = colour;
    if (colors.options)
        CustomColorOptions()[static_cast<size_t>(name)].SetText(*colors.options,
                                                                wxvString(colour.GetAsString(wxC2S_HTML_SYNTAX)));
}

void wxvUseColorOptions(corekit::OptionsFile* options) {
    Colors& colors = TheColors();
    colors.options = options;
    if (!options)
        return;
    for (int i = 0; i < k_ColorCount; ++i) {
        corekit::OptionInfo const& option = CustomColorOptions()[static_cast<size_t>(i)];
        if (corekit::String const text = option.GetText(*options); option.CanBe(text))
            colors.palettes.back()[i] = wxColour(wxvText(text));
    }
    int const scheme = k_SchemeOption.Get(*options);
    colors.scheme = IsScheme(scheme) ? static_cast<ColorScheme>(scheme) : k_DefaultScheme;
}

corekit::OptionTable wxvColorOptions() {
    corekit::OptionTable table{&k_SchemeOption};
    for (corekit::OptionInfo const& option : CustomColorOptions())
        table.push_back(&option);
    return table;
}

bool wxvIsDarkScheme() { return Luminance(wxvGetColor(ColorName::WindowBG)) < 0.18; }

wxColour wxvMixColors(wxColour const& colour, wxColour const& other, double part) {
    auto mix = [part](unsigned char a, unsigned char b) {
        return static_cast<unsigned char>(std::lround(a + (b - a) * std::clamp(part, 0.0, 1.0)));
    };
    return wxColour(mix(colour.Red(), other.Red()), mix(colour.Green(), other.Green()),
                    mix(colour.Blue(), other.Blue()));
}

double wxvContrast(wxColour const& a, wxColour const& b) {
    double const first = Luminance(a);
    double const second = Luminance(b);
    return (std::max(first, second) + 0.05) / (std::min(first, second) + 0.05);
}

wxColour wxvReadableColor(wxColour const& colour, wxColour const& background, wxColour const& refuge, double contrast) {
    constexpr int k_Steps = 16;
    for (int step = 0; step < k_Steps; ++step) {
        wxColour const mixed = wxvMixColors(colour, refuge, static_cast<double>(step) / k_Steps);
        if (wxvContrast(mixed, background) >= contrast)
            return mixed;
    }
    return refuge;
}

wxColour wxvZebraColor() {
    return wxvMixColors(wxvGetColor(ColorName::WindowBGDarker), wxvGetColor(ColorName::WindowBG), 0.5);
}

wxColour wxvEdgeColor() {
    return wxvMixColors(wxvGetColor(ColorName::WindowBG), wxvGetColor(ColorName::Text), k_EdgeStrength);
}

wxColour wxvFaintColor() {
    return wxvMixColors(wxvGetColor(ColorName::WindowBG), wxvGetColor(ColorName::Text), k_FaintStrength);
}

corekit::Signal0<corekit::ThreadPolicy::SingleThreaded>& wxvColorsChanged() {
    static corekit::Signal0<corekit::ThreadPolicy::SingleThreaded> s_changed;
    return s_changed;
}
