// Where windows open, and what Escape does to them.
#include "wxtools.h"
#include "wxvorlan/dialogs/windowplace.h"

#include <wx/weakref.h>
#include <wx/wxvorlanframe.h>

std::ostream& operator<<(std::ostream& out, wxRect const& rect) {
    return out << rect.x << "," << rect.y << " " << rect.width << "x" << rect.height;
}

TEST(WindowPlace, IsWithinTheScreensThatThereAre) {
    std::vector<wxRect> const one{{0, 27, 800, 573}};
    std::vector<wxRect> const two{{0, 27, 1920, 1053}, {1920, 0, 1280, 1024}};
    std::vector<wxRect> const same{one.front(), one.front()}; // two that show the same
    for (auto const& [screens, wanted, place] : Rows<std::vector<wxRect> const&, wxRect, wxRect>{
             {one, {10, 40, 700, 500}, {10, 40, 700, 500}},
             {one, {500, 300, 700, 500}, {100, 100, 700, 500}},
             {one, {0, 0, 640, 400}, {0, 27, 640, 400}},
             {one, {200, 100, 2400, 1300}, {0, 27, 800, 573}},
             {one, {-5000, -5000, 640, 400}, {0, 27, 640, 400}},
             {one, {100, 100, 320, 200}, {100, 100, 640, 400}},
             {one, {100, 100, INT_MAX, 500}, {0, 100, 800, 500}},
             {one, {INT_MAX, INT_MAX, INT_MAX, INT_MAX}, {0, 27, 800, 573}},
             {same, {450, 100, 700, 400}, {100, 100, 700, 400}},
             {two, {1400, 100, 1000, 800}, {1400, 100, 1000, 800}},
             {two, {1800, 900, 1300, 800}, {1920, 224, 1280, 800}},
             {two, {100, 900, 1000, 700}, {100, 380, 1000, 700}},
         })
        EXPECT_EQ(wxvPlaceWithin(wanted, wxSize(640, 400), screens), place) << wanted;
    EXPECT_EQ(wxvPlaceWithin(wxRect(1, 2, 300, 200), wxDefaultSize, {}), wxRect(1, 2, 300, 200));
}

struct FrameTest : ::testing::Test {
    ~FrameTest() override {
        if (frame)
            frame->Destroy();
        Pump();
    }
    void Open(wxSize const& size = wxSize(500, 300)) {
        frame = new wxVorlanFrame(nullptr, "Log", wxPoint(0, 0), size, "Log Files");
        field = new wxTextCtrl(frame, wxID_ANY);
        frame->Show();
        frame->Raise();
        ASSERT_TRUE(PumpUntil([this] { return frame->IsActive(); }));
        field->SetFocus();
        ASSERT_TRUE(PumpUntil([this] { return field->HasFocus(); }));
    }
    ControlOptions options;
    wxWeakRef<wxVorlanFrame> frame;
    wxTextCtrl* field = nullptr;
};

TEST_F(FrameTest, EscapeClosesWhatIsSmallestAndThePlaceIsKept) {
    Open();
    EXPECT_TRUE(PumpUntil([this] { return frame->GetPosition() == wxPoint(0, 0); })) << "where its first time is";
    wxRect const place(70, 60, 510, 330);
    frame->SetSize(place);
    ASSERT_TRUE(PumpUntil([&] { return frame->GetRect() == place; }));
    bool isBarOpen = true;
    field->Bind(wxEVT_KEY_DOWN, [&](wxKeyEvent& event) {
        if (event.GetKeyCode() != WXK_ESCAPE || !std::exchange(isBarOpen, false))
            event.Skip();
    });
    wxUIActionSimulator hand;
    hand.Char(WXK_ESCAPE);
    EXPECT_TRUE(PumpUntil([&] { return !isBarOpen; }));
    ASSERT_TRUE(frame && frame->IsShown());
    hand.Char(WXK_ESCAPE);
    ASSERT_TRUE(PumpUntil([this] { return !frame; }));
    Open();
    EXPECT_TRUE(PumpUntil([&] { return frame->GetRect() == place; })) << frame->GetRect();
}

TEST_F(FrameTest, AWindowOfALargerScreenOpensWithinThisOne) {
    wxRect const screen = wxvScreens().front();
    auto const isWithin = [&] { return screen.Contains(frame->GetRect()); };
    wxRect const kept(screen.width - 200, screen.height - 200, screen.width * 2, 700);
    k_OptionLeft.Set(options, "Log Files", kept.x);
    k_OptionTop.Set(options, "Log Files", kept.y);
    k_OptionWidth.Set(options, "Log Files", kept.width);
    k_OptionHeight.Set(options, "Log Files", kept.height);
    Open();
    EXPECT_TRUE(PumpUntil([&] { return isWithin() && frame->GetSize() == wxSize(screen.width, 700); }))
        << frame->GetRect();
    frame->Close();
    ASSERT_TRUE(PumpUntil([this] { return !frame; }));
    options.Clear();
    Open(wxSize(4000, 3000));
    EXPECT_TRUE(PumpUntil([&] { return isWithin() && frame->GetSize() == screen.GetSize(); })) << frame->GetRect();
}
