// Bars, gradient, the buffered window and the panel that folds.
#include "wxtools.h"

#include <wx/wxbarhistoryctrl.h>
#include <wx/wxexpandablepanel.h>
#include <wx/wxvgradient.h>

namespace test_displays {

int Brightness(wxImage const& image, wxPoint const& at) {
    return image.GetRed(at.x, at.y) + image.GetGreen(at.x, at.y) + image.GetBlue(at.x, at.y);
}

struct BufferedWindow : wxDoubleBufferedWindow {
    explicit BufferedWindow(wxWindow* parent) : wxDoubleBufferedWindow(parent) {}
    int drawn = 0;
    wxSize size;
    void DrawToBuffer() override {
        ++drawn;
        size = Buffer().GetSize();
    }
};

struct FoldingPanel : wxExpandablePanel {
    FoldingPanel(wxWindow* parent, Setup setup) : wxExpandablePanel(parent, std::move(setup)) {
        auto* const sizer = new wxBoxSizer(wxVERTICAL);
        sizer->Add(new wxPanel(ContentPanel(), wxID_ANY, wxDefaultPosition, wxSize(50, 60)));
        ContentPanel()->SetSizer(sizer);
    }
    int told = 0;
    void OnExpanded(wxCommandEvent& event) override {
        wxExpandablePanel::OnExpanded(event);
        ++told;
    }
};

wxExpandablePanel::Setup MoreOrLess() {
    wxExpandablePanel::Setup setup;
    setup.collapsedLabel = "Show more...";
    setup.expandedLabel = "Show less";
    setup.section = "Setup";
    setup.key = "Expand History";
    return setup;
}

struct DisplayTest : WindowTest {
    ControlOptions options;
};

TEST(GradientTest, GoesFromOneColourToTheOtherAndNoFurther) {
    wxColour const light(240, 240, 240);
    Rows<bool, bool, double, wxPoint, wxPoint, wxPoint> const cases = {
        {true, true, 1.0, {20, 10}, {20, 40}, {20, 69}},
        {true, false, 2.0, {20, 69}, {20, 39}, {20, 10}},
        {false, true, 2.0, {10, 20}, {30, 20}, {49, 20}},
    };
    for (auto const& [vertical, forward, factor, first, middle, last] : cases) {
        wxBitmap bitmap(60, 80, 24);
        wxMemoryDC dc(bitmap);
        dc.SetBackground(*wxRED_BRUSH);
        dc.Clear();
        dc.SetPen(*wxGREEN_PEN);
        DrawGradedRectangle(dc, wxRect(10, 10, 40, 60), *wxBLACK, light, factor, vertical, forward);
        DrawGradedRectangle(dc, wxRect(0, 0, 0, 60), *wxBLACK, light);
        EXPECT_EQ(dc.GetPen().GetColour(), *wxGREEN);
        dc.SelectObject(wxNullBitmap);
        wxImage const image = bitmap.ConvertToImage();
        EXPECT_LT(Brightness(image, first), 60);
        EXPECT_GT(Brightness(image, last), 640);
        // The bent one has only a quarter of the way behind it at half.
        EXPECT_NEAR(Brightness(image, middle), factor == 1.0 ? 360 : 180, 40);
        for (wxPoint const outside : {wxPoint(9, 40), wxPoint(50, 40), wxPoint(30, 9), wxPoint(30, 70)})
            EXPECT_EQ(Brightness(image, outside), 255) << outside.x << ' ' << outside.y;
    }
}

TEST(BarHistoryLayoutTest, NewestValueStandsAtTheRightEdge) {
    BarHistoryLayout layout;
    layout.size = {110, 100};
    layout.labelWidth = 10;
    EXPECT_EQ(layout.BarCount(), 25);
    EXPECT_EQ(layout.Bar(0, 1.0), wxRect(107, 0, 3, 100));
    EXPECT_EQ(layout.Bar(1, 0.5), wxRect(103, 50, 3, 50));
    EXPECT_EQ(layout.Bar(2, 0.0).height, 0);
    EXPECT_EQ(layout.Bar(2, 0.0001).height, 1);
    layout.size.x = 108; // the last one is cut, and does not reach the labels
    EXPECT_EQ(layout.BarCount(), 25);
    EXPECT_EQ(layout.Bar(24, 1.0), wxRect(10, 0, 2, 100));
    for (auto const& [share, y] : {std::pair{0.0, 99}, {1.0, 0}, {2.0, 0}, {-1.0, 99}})
        EXPECT_EQ(layout.LineAt(share), y);
    layout.size = {5, 0};
    EXPECT_EQ(layout.BarCount(), 0);
    EXPECT_EQ(layout.LineAt(0.5), 0);
}

TEST_F(DisplayTest, BarHistoryKeepsSoManyValuesAndDrawsAnyOfThem) {
    auto* const bars = new wxBarHistoryCtrl(&Frame());
    bars->SetBounds(0, 100);
    bars->SetMidBound(50);
    for (unsigned i = 0; i < wxBarHistoryCtrl::k_MaxValues + 10; ++i)
        bars->PushValue(i * 977); // mostly above the bound
    EXPECT_EQ(bars->Values().size(), wxBarHistoryCtrl::k_MaxValues);
    EXPECT_EQ(bars->Values().front(), 10U * 977);
    Show(bars);
    bars->Clear();
    EXPECT_TRUE(bars->Values().empty());
    bars->PushValue(7); // no bounds any more
    Pump();
}

TEST_F(DisplayTest, BufferedWindowDrawsOnceForAnyNumberOfChanges) {
    auto* const window = new BufferedWindow(&Frame());
    Show(window);
    ASSERT_GT(window->drawn, 0);
    Pump();
    int const before = window->drawn;
    window->Refresh();
    Pump();
    EXPECT_EQ(window->drawn, before); // uncovered is not changed
    for (int i = 0; i < 100; ++i)
        window->Redraw();
    EXPECT_TRUE(PumpUntil([&] { return window->drawn > before; }));
    Pump();
    EXPECT_EQ(window->drawn, before + 1);
    Frame().SetClientSize(321, 123);
    EXPECT_TRUE(PumpUntil([&] { return window->size == wxSize(321, 123) * window->GetContentScaleFactor(); }));
    window->Hide();
    Pump();
    int const hidden = window->drawn;
    window->Redraw();
    Pump();
    EXPECT_EQ(window->drawn, hidden);
}

TEST_F(DisplayTest, PanelFoldsByMouseAndKeyAndKeepsItsState) {
    auto* const outer = new wxPanel(&Frame());
    auto* const panel = new FoldingPanel(outer, MoreOrLess());
    auto* const below = new wxPanel(outer);
    auto* const sizer = new wxBoxSizer(wxVERTICAL);
    sizer->Add(panel, wxSizerFlags().Expand());
    sizer->Add(below, wxSizerFlags(1).Expand());
    outer->SetSizer(sizer);
    Show();
    Frame().SendSizeEvent();
    ASSERT_TRUE(PumpUntil([&] { return below->GetPosition().y > 0; }));
    int const folded = below->GetPosition().y;
    wxWindow* const expander = wxWindow::FindWindowById(wxExpandablePanel::k_ExpanderID, panel);
    ASSERT_TRUE(expander);
    EXPECT_FALSE(panel->IsExpanded());
    hand.MouseMove(expander->ClientToScreen(wxPoint(20, 10)));
    hand.MouseClick();
    EXPECT_TRUE(PumpUntil([&] { return below->GetPosition().y == folded + 60; }));
    EXPECT_TRUE(panel->ContentPanel()->IsShown());
    EXPECT_EQ(expander->GetLabel(), "Show less");
    EXPECT_EQ(options.GetValue("Setup", "Expand History", false), true);
    // One that is made now begins as this one is.
    EXPECT_TRUE((new FoldingPanel(outer, MoreOrLess()))->IsExpanded());
    Focus(expander);
    Press(WXK_SPACE);
    EXPECT_TRUE(PumpUntil([&] { return below->GetPosition().y == folded; }));
    EXPECT_EQ(panel->told, 2);
    EXPECT_EQ(options.GetValue("Setup", "Expand History", true), false);
}

TEST_F(DisplayTest, PanelWithoutExpanderStaysOpenAndWritesNothing) {
    auto* const panel = new FoldingPanel(&Frame(), MoreOrLess());
    panel->HideExpander();
    EXPECT_TRUE(panel->IsExpanded());
    panel->SetExpanded(false);
    EXPECT_TRUE(panel->ContentPanel()->IsShown());
    EXPECT_EQ(options.GetValue("Setup", "Expand History", corekit::String("unset")), "unset");
    EXPECT_FALSE(wxWindow::FindWindowById(wxExpandablePanel::k_ExpanderID, panel));
}

} // namespace test_displays
