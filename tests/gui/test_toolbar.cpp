// The toolbar: how its buttons look, where its groups stand, what a click does.
#include "guitest.h"

#include "window/buttonsection.h"
#include "window/toolbar.h"

namespace vorlan {

TEST(ToolButton, LooksAsItIs) {
    using enum ToolButtonLook;
    // Enabled, hovered, pressed, toggled.
    Rows<ToolButtonState, ToolButtonLook> const cases = {
        {{true, false, false, false}, Normal},  {{true, true, false, false}, Hover},
        {{true, true, true, false}, Pressed},   {{true, false, false, true}, Toggled},
        {{true, true, false, true}, Toggled},   {{true, true, true, true}, Pressed},
        {{false, true, true, false}, Disabled}, {{false, false, false, true}, DisabledToggled},
    };
    for (auto const& [state, look] : cases)
        EXPECT_EQ(LookOf(state), look) << state.enabled << state.hovered << state.pressed << state.toggled;
}

TEST(Toolbar, GroupsThatDoNotFitGoBelow) {
    for (auto const& [widths, available, places] : Rows<std::vector<int>, int, std::vector<SectionPlace>>{
             {std::vector<int>(), 100, std::vector<SectionPlace>()},
             {{40, 60}, 100, {{0, 0}, {0, 40}}},
             {{40, 61}, 100, {{0, 0}, {1, 0}}},
             {{140, 10}, 100, {{0, 0}, {1, 0}}},
             {{50, 50, 50, 40}, 100, {{0, 0}, {0, 50}, {1, 0}, {1, 50}}},
         })
        EXPECT_EQ(PlaceSections(widths, available), places) << available;
}

struct ToolbarTest : GuiTest {
    ToolbarTest() {
        HasRunBefore();
        StartConnected();
        // The mouse cannot be held by a window that the screen does not show yet.
        EXPECT_TRUE(PumpUntil([this] { return Window().IsActive(); }));
    }
    wxVorlanToolbar& Toolbar() { return *Window().Toolbar(); }
    wxToolbarButton& Button(int id) { return *Toolbar().Find(id); }
    static void Send(wxWindow& window, wxEventType type, wxPoint const& place) {
        wxMouseEvent event(type);
        event.SetEventObject(&window);
        event.SetPosition(place);
        window.HandleWindowEvent(event);
    }
    static void Click(wxWindow& window, wxPoint const& place = {10, 10}) {
        Send(window, wxEVT_LEFT_DOWN, place);
        Send(window, wxEVT_LEFT_UP, place);
        Pump();
    }
};

TEST_F(ToolbarTest, AButtonKeepsInStepWithItsItem) {
    constexpr int k_Tool = 14104;
    constexpr int k_Item = 14101;
    auto const info = [this] { return Options().GetValue("Window", "InfoPane", true); };
    EXPECT_TRUE(Button(k_Tool).IsToggled());
    Click(Button(k_Tool));
    EXPECT_FALSE(info());
    EXPECT_FALSE(Window().GetMenuBar()->IsChecked(k_Item));
    // A mouse that goes away takes its click along.
    Send(Button(k_Tool), wxEVT_LEFT_DOWN, {10, 10});
    Send(Button(k_Tool), wxEVT_LEFT_UP, {200, 10});
    Pump();
    EXPECT_FALSE(info());
    Window().BuildMenus(true);
    EXPECT_FALSE(Button(k_Tool).IsToggled());
    Click(Button(k_Tool));
    EXPECT_TRUE(info());
    EXPECT_TRUE(Window().GetMenuBar()->IsChecked(k_Item));
}

TEST_F(ToolbarTest, UpdateRulesServeTheButtons) {
    EXPECT_FALSE(Button(14105).IsEnabled()) << "nothing has been selected before";
    int clicks = 0;
    Window().Bind(
        wxEVT_MENU, [&](wxCommandEvent&) { ++clicks; }, 14105);
    Button(14105).Enable();
    Click(Button(14105));
    EXPECT_EQ(clicks, 1);
    Window().UpdateWindowUI(wxUPDATE_UI_RECURSE);
    EXPECT_FALSE(Button(14105).IsEnabled());
}

TEST_F(ToolbarTest, AFoldedGroupStaysFolded) {
    ButtonSection& section = *Toolbar().Sections().front();
    int const wide = section.GetSize().x;
    // A drag is no click.
    Send(section, wxEVT_LEFT_DOWN, {8, 10});
    Send(section, wxEVT_LEFT_UP, {8, 30});
    EXPECT_TRUE(section.IsExpanded());
    Click(section, {8, 20});
    EXPECT_FALSE(section.IsExpanded());
    EXPECT_LT(section.GetSize().x, wide);
    EXPECT_FALSE(section.Buttons().front()->IsShown());
    EXPECT_FALSE(Options().GetValue("Window", "ToolbarGroup-0", true));
    Window().BuildMenus(true);
    EXPECT_FALSE(Toolbar().Sections().front()->IsExpanded());
}

TEST_F(ToolbarTest, ANarrowWindowHasMoreRows) {
    int const oneRow = Toolbar().GetSize().y;
    for (int group = 0; group < 4; ++group) {
        Toolbar().StartGroup();
        for (int i = 0; i < 8; ++i)
            Toolbar().AddButton(15000 + 10 * group + i, "Pause", "Pause", false);
    }
    Window().SetSize(700, 600);
    ASSERT_TRUE(PumpUntil([&] { return Toolbar().GetSize().y > 1.9 * oneRow; }));
    for (ButtonSection const* section : Toolbar().Sections())
        EXPECT_LE(section->GetRect().GetRight(), Toolbar().GetClientSize().x);
    Toolbar().Reset();
    Window().BuildMenus(true);
    EXPECT_TRUE(PumpUntil([&] { return Toolbar().GetSize().y == oneRow; }));
}

TEST_F(ToolbarTest, PicturesFollowTheScheme) {
    // The brightest point that a button has drawn.
    auto const brightest = [](wxBitmap const& bitmap) {
        wxImage const image = bitmap.ConvertToImage();
        int best = 0;
        for (int y = 0; y < image.GetHeight(); ++y) {
            for (int x = 0; x < image.GetWidth(); ++x) {
                if (image.GetAlpha(x, y) > 200)
                    best = std::max(best, image.GetGreen(x, y) + 1);
            }
        }
        return best;
    };
    auto const picture = [&](ToolButtonLook look) { return Button(14104).BitmapOf(look).GetBitmap(wxSize(19, 19)); };
    wxvSetColorScheme(static_cast<int>(ColorScheme::Dark));
    int const onDark = brightest(picture(ToolButtonLook::Normal));
    EXPECT_GT(onDark, 150);
    EXPECT_EQ(brightest(picture(ToolButtonLook::Disabled)), 0) << "a disabled one is at a third of its strength";
    EXPECT_GT(brightest(picture(ToolButtonLook::Hover)), onDark);
    EXPECT_EQ(Button(14104).BitmapOf(ToolButtonLook::Normal).GetBitmap(wxSize(38, 38)).GetWidth(), 38);
    wxvSetColorScheme(static_cast<int>(ColorScheme::Light));
    EXPECT_LT(brightest(picture(ToolButtonLook::Normal)), 100);
    wxvSetColorScheme(static_cast<int>(ColorScheme::Dark));
}

} // namespace vorlan
