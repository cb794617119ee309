#include "pangocanvas.h"

#ifdef __WXGTK__

#include "textcache.h"

#include <algorithm>
#include <utility>
#include <wx/dc.h>
#include <wx/fontutil.h>
#include <wx/window.h>
#include <wx/wxvfont.h>

// The toolkit's headers do not compile without warnings.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpedantic"
#pragma GCC diagnostic ignored "-Wcast-align"
#include <gtk/gtk.h>
#pragma GCC diagnostic pop

namespace {

struct Unref {
    void operator()(void* object) const { g_object_unref(object); }
};
using Layout = std::unique_ptr<PangoLayout, Unref>;
using Context = std::unique_ptr<PangoContext, Unref>;

// A text laid out as a whole, and once more with an ellipsis for the width that it was
// last drawn in. The first serves every column that is wide enough.
struct Entry {
    Layout whole;
    int wholeWidth = 0;
    Layout cut;
    int cutWidth = 0; // of the text, with its ellipsis
    int cutTo = -1;   // the room that it was made for
};

// PangoCanvas draws laid-out texts straight into the surface under a device context,
// which takes a tenth of the time of drawing the texts anew.
class PangoCanvas final : public CellCanvas {
public:
    void Begin(wxDC& dc, wxWindow& window) override {
        m_cairo = static_cast<cairo_t*>(dc.GetHandle());
        m_window = &window;
        if (!m_cairo)
            Plain().Begin(dc, window);
    }

    void End() override {
        m_cairo = nullptr;
        m_window = nullptr;
    }

    void Fill(wxRect const& place, wxColour const& colour) override {
        if (!m_cairo)
            return Plain().Fill(place, colour);
        SetColour(colour);
        cairo_rectangle(m_cairo, place.x, place.y, place.width, place.height);
        cairo_fill(m_cairo);
    }

    void Text(std::string_view text, wxRect const& place, wxColour const& colour, CellStyle const& style) override {
        if (text.empty() || place.width <= 0)
            return;
        if (!m_cairo)
            return Plain().Text(text, place, colour, style);
        Entry& entry = Find(*m_window, text, style);
        bool const fits = entry.wholeWidth <= place.width;
        if (!fits && entry.cutTo != place.width)
            Cut(entry, place.width);
        int const room = std::max(0, place.width - (fits ? entry.wholeWidth : entry.cutWidth));
        Show(fits ? entry.whole.get() : entry.cut.get(), place, room, colour, style);
    }

    int TextWidth(wxWindow& window, std::string_view text, CellStyle const& style) override {
        return text.empty() ? 0 : Find(window, text, style).wholeWidth;
    }

    int LineHeight(wxWindow& window) override {
        int height = 0;
        pango_layout_get_pixel_size(Find(window, "Ag", CellStyle{true, false, Align::Left}).whole.get(), nullptr,
                                    &height);
        return height;
    }

    void Forget() override {
        m_cache.Clear();
        for (Context& context : m_contexts)
            context.reset();
    }

private:
    static constexpr size_t k_Capacity = 8000;
    enum StyleBits : unsigned { Bold = 1, Tabular = 2, Scaled = 4 };

    Entry& Find(wxWindow& window, std::string_view text, CellStyle const& style) {
        unsigned const bits = (style.bold ? Bold : 0U) | (style.tabular ? Tabular : 0U) |
                              (gtk_widget_get_scale_factor(window.GetHandle()) > 1 ? Scaled : 0U);
        return m_cache.Get(text, bits, [&] { return NewEntry(window, text, bits); });
    }

    Entry NewEntry(wxWindow& window, std::string_view text, unsigned bits) {
        Entry entry;
        entry.whole.reset(pango_layout_new(ContextFor(window, (bits & Scaled) != 0)));
        PangoLayout* const layout = entry.whole.get();
        wxFont const font = wxvFont(0, (bits & Bold) ? FontWeight::Medium : FontWeight::Normal);
        pango_layout_set_font_description(layout, font.GetNativeFontInfo()->description);
        if (bits & Tabular) {
            PangoAttrList* const attributes = pango_attr_list_new();
            pango_attr_list_insert(attributes, pango_attr_font_features_new("tnum=1"));
            pango_layout_set_attributes(layout, attributes);
            pango_attr_list_unref(attributes);
        }
        std::string const drawable = DrawableText(text);
        pango_layout_set_text(layout, drawable.data(), static_cast<int>(drawable.size()));
        entry.wholeWidth = WidthOf(layout);
        return entry;
    }

    PangoContext* ContextFor(wxWindow& window, bool scaled) {
        Context& context = m_contexts[scaled ? 1 : 0];
        if (!context) {
            context.reset(gtk_widget_create_pango_context(window.GetHandle()));
            // Finer pixels place letters more finely.
            pango_context_set_round_glyph_positions(context.get(), !scaled);
            // A list's own side of reading decides where texts stand, not each text.
            pango_context_set_base_dir(context.get(), PANGO_DIRECTION_LTR);
        }
        return context.get();
    }

    static int WidthOf(PangoLayout* layout) {
        int width = 0;
        pango_layout_get_size(layout, &width, nullptr);
        return PANGO_PIXELS_CEIL(width);
    }

    static void Cut(Entry& entry, int width) {
        if (!entry.cut) {
            entry.cut.reset(pango_layout_copy(entry.whole.get()));
            pango_layout_set_ellipsize(entry.cut.get(), PANGO_ELLIPSIZE_END);
            pango_layout_set_auto_dir(entry.cut.get(), FALSE); // else alignment would turn with the text
        }
        pango_layout_set_width(entry.cut.get(), width * PANGO_SCALE);
        entry.cutWidth = WidthOf(entry.cut.get());
        entry.cutTo = width;
    }

    void Show(PangoLayout* layout, wxRect const& place, int room, wxColour const& colour, CellStyle const& style) {
        PangoLayoutLine* const line = pango_layout_get_line_readonly(layout, 0);
        int height = 0;
        pango_layout_get_pixel_size(layout, nullptr, &height);
        double const baseline = place.y + (place.height - height) / 2 +
                                static_cast<double>(pango_layout_get_baseline(layout)) / PANGO_SCALE;
        int const shift = style.align == Align::Left ? 0 : style.align == Align::Right ? room : room / 2;
        SetColour(colour);
        cairo_matrix_t matrix;
        cairo_get_matrix(m_cairo, &matrix);
        if (matrix.xx >= 0) {
            cairo_move_to(m_cairo, place.x + shift, baseline);
            pango_cairo_show_layout_line(m_cairo, line);
            return;
        }
        // The window reads from the right: its x runs the other way, letters do not.
        cairo_save(m_cairo);
        cairo_translate(m_cairo, place.x + place.width, 0);
        cairo_scale(m_cairo, -1, 1);
        cairo_move_to(m_cairo, room - shift, baseline);
        pango_cairo_show_layout_line(m_cairo, line);
        cairo_restore(m_cairo);
    }

    void SetColour(wxColour const& colour) {
        cairo_set_source_rgb(m_cairo, colour.Red() / 255.0, colour.Green() / 255.0, colour.Blue() / 255.0);
    }

    // For device contexts without a surface that can be reached.
    CellCanvas& Plain() {
        if (!m_plain)
            m_plain = NewPlain();
        return *m_plain;
    }

    cairo_t* m_cairo = nullptr; // between Begin and End
    wxWindow* m_window = nullptr;
    std::array<Context, 2> m_contexts;
    TextCache<Entry> m_cache{k_Capacity};
    std::unique_ptr<CellCanvas> m_plain;
};

} // namespace

std::unique_ptr<CellCanvas> NewPangoCanvas() { return std::make_unique<PangoCanvas>(); }

#else

std::unique_ptr<CellCanvas> NewPangoCanvas() { return nullptr; }

#endif
