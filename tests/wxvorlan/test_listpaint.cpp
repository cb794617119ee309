// What a list looks like, on a bitmap.
#include "samplelist.h"
#include "screenpixels.h"

namespace test_listpaint {

// Rows of its own, and colours for some of them.
struct PaintedList : SampleList {
    explicit PaintedList(wxWindow* parent) : SampleList(parent) {}
    wxColour GetRowColor(int row) override { return row == 2 ? unreadable : SampleList::GetRowColor(row); }
    void PrepareColors(int row, int column, int, wxColour&, wxColour& background) override {
        if (row == 5 && column == 1)
            background = marked;
    }
    wxColour unreadable;
    wxColour const marked{90, 10, 120};
};

struct ListPaintTest : WindowTest {
    ListPaintTest() {
        list->Fill(8);
        Show(list);
        Pump();
    }
    ~ListPaintTest() override { wxvSetColorScheme(static_cast<int>(k_DefaultScheme)); }
    wxImage Draw() {
        wxSize const size = list->GetClientSize();
        wxBitmap bitmap(size.x, size.y);
        wxMemoryDC dc(bitmap);
        list->PaintCopy(dc);
        dc.SelectObject(wxNullBitmap);
        return bitmap.ConvertToImage();
    }
    static wxColour At(wxImage const& image, wxPoint const& point) {
        return wxColour(image.GetRed(point.x, point.y), image.GetGreen(point.x, point.y),
                        image.GetBlue(point.x, point.y));
    }
    // The ground at the left edge of a cell, where no text is.
    wxColour Ground(wxImage const& image, int row, int column = 0) {
        return At(image, list->GetCellRect(row, column).GetTopLeft() + wxPoint(3, 3));
    }
    // The best contrast of anything in a rectangle to its first pixel.
    static double Contrast(wxImage const& image, wxRect const& place) {
        double best = 1;
        wxColour const ground = At(image, place.GetTopLeft());
        for (int y = place.y; y <= place.GetBottom(); ++y) {
            for (int x = place.x; x <= place.GetRight(); ++x)
                best = std::max(best, wxvContrast(ground, At(image, wxPoint(x, y))));
        }
        return best;
    }
    PaintedList* const list = new PaintedList(&Frame());
};

TEST_F(ListPaintTest, RowsHaveTheirColorsInEveryScheme) {
    for (int scheme = 0; scheme < k_BuiltInSchemes; ++scheme) {
        SCOPED_TRACE(scheme);
        wxvSetColorScheme(scheme);
        list->unreadable = wxvGetColor(ColorName::WindowBGDarker);
        list->DeselectAll();
        list->Select(3);
        list->SetHighlightColumn(1);
        wxImage const image = Draw();
        EXPECT_EQ(Ground(image, 0), wxvGetColor(ColorName::WindowBGDarker));
        EXPECT_EQ(Ground(image, 1), wxvZebraColor());
        EXPECT_EQ(Ground(image, 3), wxvGetColor(ColorName::Selected));
        EXPECT_EQ(Ground(image, 5, 1), list->marked);
        EXPECT_EQ(Ground(image, 5, 2), wxvZebraColor());
        EXPECT_EQ(At(image, wxPoint(3, 3)), wxvGetColor(ColorName::Header));
        EXPECT_NE(At(image, wxPoint(list->GetCellRect(0, 1).x + 3, 3)), wxvGetColor(ColorName::Header));
        EXPECT_EQ(At(image, wxPoint(5, image.GetHeight() - 5)), wxvGetColor(ColorName::WindowBGDarker));
        // Where the keyboard stands has a line around it, selected or not.
        EXPECT_EQ(At(image, list->GetRowRect(3).GetTopLeft() + wxPoint(200, 0)), wxvGetColor(ColorName::TextBlue));
        // A text in the colour of its ground is moved until it reads.
        for (int const row : {0, 2, 3})
            EXPECT_GT(Contrast(image, list->GetCellRect(row, 0).Deflate(3, 3)), 3.5) << row;
    }
}

TEST_F(ListPaintTest, TextsKeepWithinTheirCells) {
    for (int const width : {24, 30, 60, 150}) {
        list->SetColumnWidth(2, width);
        wxImage const image = Draw();
        wxRect const cell = list->GetCellRect(0, 2);
        EXPECT_LT(Contrast(image, wxRect(cell.GetRight() - 3, cell.y + 1, 4, cell.height - 2)), 1.1) << width;
        if (width >= 60) {
            EXPECT_GT(Contrast(image, cell.Deflate(3, 3)), 3.5) << width;
        }
    }
}

TEST_F(ListPaintTest, AnEmptyListSaysWhyInItsMiddle) {
    auto const middle = [this] {
        wxSize const size = list->GetClientSize();
        return wxRect(size.x / 2 - 60, list->GetHeaderHeight() + (size.y - list->GetHeaderHeight()) / 2 - 12, 120, 24);
    };
    list->Fill(0);
    EXPECT_LT(Contrast(Draw(), middle()), 1.1);
    list->SetEmptyText("Nothing matches the filter.");
    EXPECT_GT(Contrast(Draw(), middle()), 3.5);
    // On the screen, too, and gone when rows come.
    Pump();
    list->Update();
    uint64_t const before = list->CountDrawnRows();
    list->Fill(8);
    EXPECT_TRUE(PumpUntil([&] { return list->CountDrawnRows() >= before + 8; }));
}

TEST_F(ListPaintTest, TheFocusIsSeenWithAndWithoutARow) {
    auto const corner = [this](int row) {
        PumpAndDraw(*list);
        wxImage const image = ScreenPixels(*list);
        wxPoint const last(image.GetWidth() - 1, image.GetHeight() - 1);
        return At(image, row < 0 ? last : list->GetRowRect(row).GetBottomLeft() + wxPoint(200, 0));
    };
    wxColour const line = wxvGetColor(ColorName::TextBlue);
    for (int const rows : {8, 0, 8}) {
        list->Fill(rows);
        EXPECT_EQ(corner(-1), line) << rows;
    }
    list->SetCurrentRow(2);
    EXPECT_EQ(corner(2), line);
    EXPECT_NE(corner(-1), line);
    list->SetCurrentRow(-1);
    EXPECT_NE(corner(2), line);
    EXPECT_EQ(corner(-1), line);
    Focus(new wxTextCtrl(&Frame(), wxID_ANY));
    EXPECT_NE(corner(-1), line);
}

TEST_F(ListPaintTest, ADisabledListIsFainter) {
    wxRect const cell = list->GetCellRect(0, 0).Deflate(3, 3);
    double const before = Contrast(Draw(), cell);
    list->Enable(false);
    EXPECT_LT(Contrast(Draw(), cell), before * 0.7);
}

} // namespace test_listpaint
