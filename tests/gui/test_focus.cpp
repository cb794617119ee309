// The keyboard's way through the window.
#include "guitest.h"
#include "screenpixels.h"

namespace vorlan {

TEST_F(GuiTest, EachStopOfTabShowsThatItHasTheFocus) {
    HasRunBefore();
    StartConnected().SetSize(1100, 700);
    AddJob("job");
    Say<EndEngineInfoMsg>();
    Say<EndJobInfoMsg>();
    wxTimed::s_Timer0250.Emit();
    ASSERT_TRUE(PumpUntil([this] { return Window().IsActive() && wxWindow::FindFocus(); }));
    auto const picture = [this] {
        PumpAndDraw(Window());
        return ScreenPixels(Window());
    };
    std::set<wxWindow*> stops;
    wxWindow* stop = wxWindow::FindFocus();
    while (stop && stops.insert(stop).second) {
        wxRect place = stop->GetScreenRect();
        place.SetPosition(Window().ScreenToClient(place.GetPosition()));
        wxImage const with = picture().GetSubImage(place);
        stop->Navigate();
        wxImage const without = picture().GetSubImage(place);
        EXPECT_FALSE(IsSame(with, without))
            << stop->GetClassInfo()->GetClassName() << " " << wxvString(stop->GetName()).c_str() << " in "
            << wxvString(stop->GetParent()->GetName()).c_str() << ", " << place.x << " " << place.y << " "
            << place.width << " " << place.height;
        stop = wxWindow::FindFocus();
    }
    EXPECT_GE(stops.size(), 3U) << "both lists and their tabs";
}

} // namespace vorlan
