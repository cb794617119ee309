// The colours: what must be legible is computed, and what the user sets is kept.
#include "guitest.h"

namespace vorlan::test_colors {

constexpr double k_OnBackground = 4.5;
constexpr double k_OnTint = 3.7;
constexpr double k_Mark = 3.0; // lines and pictures
constexpr double k_Tint = 0.1; // of red, on the row of a failure
constexpr int k_FirstText = static_cast<int>(ColorName::Text);
constexpr int k_LastText = static_cast<int>(ColorName::TextGrey);

std::string Named(int scheme, ColorName text, ColorName surface) {
    return "scheme " + std::to_string(scheme) + ": " + wxvColorLabel(text) + " on " + wxvColorLabel(surface);
}

TEST(Colors, ContrastIsTheGuidelines) {
    EXPECT_NEAR(wxvContrast(*wxBLACK, *wxWHITE), 21.0, 0.001);
    EXPECT_NEAR(wxvContrast(*wxWHITE, *wxBLACK), 21.0, 0.001);
    EXPECT_NEAR(wxvContrast(wxColour(0x77, 0x77, 0x77), *wxWHITE), 4.48, 0.01);
    EXPECT_NEAR(wxvContrast(wxColour(255, 0, 0), *wxWHITE), 4.0, 0.01);
    EXPECT_NEAR(wxvContrast(*wxWHITE, *wxWHITE), 1.0, 0.001);
}

TEST(Colors, EveryTextReadsInEveryScheme) {
    for (int scheme = 0; scheme < k_BuiltInSchemes; ++scheme) {
        auto const contrast = [scheme](ColorName text, ColorName surface) {
            auto const which = static_cast<ColorScheme>(scheme);
            return wxvContrast(wxvGetColor(which, text), wxvGetColor(which, surface));
        };
        for (int i = k_FirstText; i <= k_LastText; ++i) {
            auto const text = static_cast<ColorName>(i);
            for (ColorName const surface : {ColorName::WindowBG, ColorName::WindowBGLighter, ColorName::WindowBGDarker})
                EXPECT_GE(contrast(text, surface), k_OnBackground) << Named(scheme, text, surface);
            EXPECT_GE(contrast(text, ColorName::Selected), k_OnTint) << Named(scheme, text, ColorName::Selected);
        }
        // What stands on the surfaces that are none of the three.
        for (auto const& [text, surface, least] : Rows<ColorName, ColorName, double>{
                 {ColorName::Text, ColorName::Header, k_OnBackground},           // list headers
                 {ColorName::Text, ColorName::Selected, k_OnBackground},         // selected tabs, texts and menus
                 {ColorName::Text, ColorName::ButtonFace, k_OnBackground},       // arrows under the mouse
                 {ColorName::ButtonText, ColorName::ButtonFace, k_OnBackground}, // buttons and choices
                 {ColorName::ButtonText, ColorName::Header, k_OnBackground},     // a button under the mouse
                 {ColorName::TextGrey, ColorName::ButtonFace, k_Mark},           // the arrow of a choice
                 {ColorName::TextBlue, ColorName::WindowBG, k_Mark},             // the lines of selection and focus
                 {ColorName::TextBlue, ColorName::WindowBGDarker, k_Mark},
                 {ColorName::TextBlue, ColorName::Selected, k_Mark}, // the outline of a checked box
             })
            EXPECT_GE(contrast(text, surface), least) << Named(scheme, text, surface);
    }
}

struct ColorTest : GuiTest {
    ~ColorTest() override { wxvSetColorScheme(static_cast<int>(k_DefaultScheme)); }
};

TEST_F(ColorTest, EveryTextReadsOnStripesAndTintedRows) {
    for (int scheme = 0; scheme < k_BuiltInSchemes; ++scheme) {
        wxvSetColorScheme(scheme);
        wxColour const& refuge = wxvGetColor(ColorName::Text);
        for (int i = k_FirstText; i <= k_LastText; ++i) {
            auto const text = static_cast<ColorName>(i);
            EXPECT_GE(wxvContrast(wxvGetColor(text), wxvZebraColor()), k_OnBackground)
                << "stripe, " << Named(scheme, text, ColorName::WindowBG);
            for (ColorName const surface : {ColorName::WindowBG, ColorName::WindowBGDarker}) {
                wxColour const tinted = wxvMixColors(wxvGetColor(surface), *wxRED, k_Tint);
                wxColour const shown = wxvReadableColor(wxvGetColor(text), tinted, refuge, k_OnTint);
                EXPECT_GE(wxvContrast(shown, tinted), k_OnTint) << "tinted, " << Named(scheme, text, surface);
            }
        }
        // The text of a progress bar crosses its end: one colour reads on both parts.
        double const black = std::min(wxvContrast(*wxBLACK, wxvGetColor(ColorName::Selected)),
                                      wxvContrast(*wxBLACK, wxvGetColor(ColorName::WindowBGLighter)));
        double const text = std::min(wxvContrast(refuge, wxvGetColor(ColorName::Selected)),
                                     wxvContrast(refuge, wxvGetColor(ColorName::WindowBGLighter)));
        EXPECT_GE(std::max(black, text), k_OnBackground) << "scheme " << scheme;
        // Where a bar ends is told by a line.
        for (bool const selected : {false, true}) {
            ProgressColors const bar = ProgressColorsOf(selected);
            for (wxColour const& beside : {bar.top, bar.bottom, wxvGetColor(ColorName::WindowBGLighter)})
                EXPECT_GE(wxvContrast(bar.edge, beside), k_Mark) << "scheme " << scheme;
        }
        EXPECT_GT(wxvContrast(wxvFaintColor(), wxvGetColor(ColorName::WindowBG)), 1.5) << "faint, not gone";
        EXPECT_LT(wxvContrast(wxvFaintColor(), wxvGetColor(ColorName::WindowBG)), k_OnBackground) << scheme;
    }
}

TEST_F(ColorTest, AChoiceIsKeptAndANumberThatIsNoSchemeIsNot) {
    EXPECT_EQ(wxvGetColorScheme(), ColorScheme::Dark);
    wxvSetColorScheme(static_cast<int>(ColorScheme::Lighter));
    for (int const wrong : {-1, 5, 99})
        wxvSetColorScheme(wrong);
    EXPECT_EQ(wxvGetColorScheme(), ColorScheme::Lighter);
    EXPECT_FALSE(wxvIsDarkScheme());
    wxvUseColorOptions(&Options());
    EXPECT_EQ(wxvGetColorScheme(), ColorScheme::Lighter);
    Options().SetValue("Colors", "Scheme", 77);
    wxvUseColorOptions(&Options());
    EXPECT_EQ(wxvGetColorScheme(), k_DefaultScheme);
}

TEST_F(ColorTest, TheOptionsOfControlsAreChecked) {
    Rows<char const*, char const*, char const*, char const*> const cases = {
        {"Colors", "Scheme", "3", nullptr},
        {"Colors", "TextDarkRed", "#0aF1b2", nullptr},
        {"Colors", "TextDarkRed", "#0aF1g2", "should be a colour"},
        {"Colors", "Selected", "blue", "should be a colour"},
        {"Colors", "TextPink", "#0aF1b2", "is not known"},
        {"Confirm", "ConfirmClose", "perhaps", "should be Yes or No"},
        {"Window", "ViewManager Layout", "tabs=1,0", nullptr},
        {"Window", "Left", "far", "should be a whole number"}};
    for (auto const& [section, key, value, fault] : cases) {
        IniFile options;
        options.SetValue(section, key, value);
        std::vector<String> const faults = CheckOptions(options, wxvOptionTable());
        ASSERT_EQ(faults.size(), fault ? 1u : 0u) << key << " = " << value;
        EXPECT_TRUE(faults.empty() || faults.front().Contains(fault)) << faults.front();
    }
}

TEST_F(ColorTest, CustomColorsBeginAsTheDefaultSchemeAndAreKept) {
    EXPECT_EQ(wxvGetColor(ColorScheme::Custom, ColorName::TextRed), wxvGetColor(k_DefaultScheme, ColorName::TextRed));
    wxColour const former = wxvGetColor(ColorScheme::Custom, ColorName::Light3D);
    wxColour const mine(1, 2, 3);
    wxvSetCustomColor(3, mine);
    wxvSetCustomColor(k_ColorCount, mine);
    wxvSetCustomColor(-1, mine);
    wxvSetCustomColor(0, wxColour());
    EXPECT_EQ(wxvGetColor(ColorScheme::Custom, ColorName::Light3D), mine);
    EXPECT_EQ(Options().GetValue("Colors", "3DLight", ""), "#010203");
    EXPECT_NE(wxvGetColor(ColorName::Light3D), mine) << "another scheme is in use";
    wxvSetColorScheme(static_cast<int>(ColorScheme::Custom));
    EXPECT_EQ(wxvGetColor(ColorName::Light3D), mine);
    wxvSetCustomColor(3, former);
    std::set<ColorName> const all(k_CustomColorOrder.begin(), k_CustomColorOrder.end());
    EXPECT_EQ(all.size(), static_cast<size_t>(k_ColorCount)) << "each colour can be set once";
}

TEST(Colors, AColorMovesOnlyAsFarAsItMust) {
    wxColour const dark(0x20, 0x20, 0x20);
    wxColour const fine(0xE0, 0x80, 0x80);
    EXPECT_EQ(wxvReadableColor(fine, dark, *wxWHITE), fine);
    wxColour const moved = wxvReadableColor(wxColour(0x60, 0x30, 0x30), dark, *wxWHITE);
    EXPECT_GE(wxvContrast(moved, dark), 4.5);
    EXPECT_LT(wxvContrast(moved, dark), 6.0);
    EXPECT_EQ(wxvReadableColor(dark, dark, fine, 21), fine) << "nothing reads, the refuge is the best there is";
}

} // namespace vorlan::test_colors
