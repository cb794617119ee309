// The texts of lists: what is kept of them, and that none of them does harm.
#include "wxtools.h"
#include "wxvorlan/lists/cellcanvas.h"
#include "wxvorlan/lists/textcache.h"

namespace test_celltext {

TEST(DrawableText, IsValidShortAndOnOneLine) {
    Rows<std::string, std::string> const cases = {
        {"plain", "plain"},
        {"", ""},
        {"a\nb\tc\x7F", "a b c "},
        {"gr\xC3\xBC\xC3\x9F", "gr\xC3\xBC\xC3\x9F"},
        {"\xF0\x9F\x98\x80", "\xF0\x9F\x98\x80"},
        {"cut \xC3", "cut \xEF\xBF\xBD"},
        {"\x80x", "\xEF\xBF\xBDx"},
        {"\xC0\xAF", "\xEF\xBF\xBD\xEF\xBF\xBD"},                 // overlong
        {"\xED\xA0\x80", "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"}, // a surrogate
        {"\xF4\x90\x80\x80", "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"},
        {std::string("a\0b", 3), "a b"},
    };
    for (auto const& [text, expected] : cases)
        EXPECT_EQ(DrawableText(text), expected);
    std::string const endless = DrawableText(std::string(1'000'000, 'x'));
    EXPECT_LE(endless.size(), CellCanvas::k_MaxText + 3);
    EXPECT_TRUE(endless.ends_with("\xE2\x80\xA6"));
}

TEST(TextCache, ForgetsWhatIsNotAskedFor) {
    TextCache<int> cache(100);
    int made = 0;
    auto const get = [&](std::string const& text, unsigned style = 0) {
        return cache.Get(text, style, [&] { return ++made; });
    };
    int const kept = get("kept");
    EXPECT_EQ(get("kept"), kept);
    EXPECT_NE(get("kept", 1), kept) << "another style is another text";
    for (int i = 0; i < 1000; ++i) {
        get(std::to_string(i));
        EXPECT_EQ(get("kept"), kept) << "in use after " << i;
        EXPECT_LE(cache.Size(), 100U);
    }
    int const before = made;
    get("0");
    EXPECT_EQ(made, before + 1) << "not in use for long";
    cache.Clear();
    EXPECT_EQ(cache.Size(), 0U);
}

wxColour const k_Ground(10, 20, 30);

// The rectangle around what is not ground; empty without any.
wxRect Ink(wxBitmap const& bitmap) {
    wxImage const image = bitmap.ConvertToImage();
    wxRect ink;
    for (int y = 0; y < image.GetHeight(); ++y) {
        for (int x = 0; x < image.GetWidth(); ++x) {
            if (image.GetRed(x, y) > 60)
                ink.Union(wxRect(x, y, 1, 1));
        }
    }
    return ink;
}

wxRect Drawn(CellCanvas& canvas, wxWindow& window, std::string_view text, wxRect const& place, Align::Mode align) {
    wxBitmap bitmap(200, 40);
    wxMemoryDC dc(bitmap);
    canvas.Begin(dc, window);
    canvas.Fill(wxRect(0, 0, 200, 40), k_Ground);
    canvas.Text(text, place, *wxWHITE, {false, false, align});
    canvas.End();
    dc.SelectObject(wxNullBitmap);
    return Ink(bitmap);
}

class CellCanvasTest : public WindowTest {};

TEST_F(CellCanvasTest, TextStandsWhereItBelongs) {
    std::shared_ptr<CellCanvas> const fast = CellCanvas::Shared();
    std::unique_ptr<CellCanvas> const plain = CellCanvas::NewPlain();
    wxRect const place(50, 10, 100, 20);
    std::string const endless(400, 'm');
    for (CellCanvas* const canvas : {fast.get(), plain.get()}) {
        SCOPED_TRACE(canvas == fast.get() ? "fast" : "plain");
        wxRect const left = Drawn(*canvas, Frame(), "Hm", place, Align::Left);
        wxRect const right = Drawn(*canvas, Frame(), "Hm", place, Align::Right);
        wxRect const middle = Drawn(*canvas, Frame(), "Hm", place, Align::Center);
        EXPECT_NEAR(left.x, place.x, 3);
        EXPECT_NEAR(right.GetRight(), place.GetRight(), 3);
        EXPECT_NEAR(middle.x + middle.width / 2, place.x + place.width / 2, 3);
        EXPECT_NEAR(left.y + left.height / 2, place.y + place.height / 2, 3);
        EXPECT_EQ(left.width, right.width);
        wxRect const cut = Drawn(*canvas, Frame(), endless, place, Align::Left);
        EXPECT_GE(cut.x, place.x);
        EXPECT_LE(cut.GetRight(), place.GetRight() + 1);
        EXPECT_GT(cut.width, place.width / 2);
        EXPECT_GT(canvas->TextWidth(Frame(), endless, {}), 400);
        EXPECT_TRUE(Drawn(*canvas, Frame(), "", place, Align::Left).IsEmpty());
        Drawn(*canvas, Frame(), "\xFF\xFE\n\x01", place, Align::Right);
        EXPECT_TRUE(Drawn(*canvas, Frame(), "x", wxRect(0, 0, 0, 20), Align::Left).IsEmpty());
    }
    // The two agree on where a text is.
    wxRect const one = Drawn(*fast, Frame(), "Agreed", place, Align::Left);
    wxRect const two = Drawn(*plain, Frame(), "Agreed", place, Align::Left);
    EXPECT_NEAR(one.x, two.x, 1);
    EXPECT_NEAR(one.width, two.width, 2);
}

TEST_F(CellCanvasTest, DigitsOfNumbersHaveOneWidth) {
    std::shared_ptr<CellCanvas> const canvas = CellCanvas::Shared();
    EXPECT_EQ(canvas->TextWidth(Frame(), "11111111", {false, true, Align::Right}),
              canvas->TextWidth(Frame(), "88888888", {false, true, Align::Right}));
}

} // namespace test_celltext
