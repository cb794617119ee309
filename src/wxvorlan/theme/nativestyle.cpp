#include <wx/wxvcolors.h>
#include <wx/wxvfont.h>
#include <wx/wxvtext.h>

#ifdef __WXGTK__

#include <string>

// The toolkit's headers do not compile without warnings.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpedantic"
#pragma GCC diagnostic ignored "-Wcast-align"
#include <gtk/gtk.h>
#pragma GCC diagnostic pop

namespace {

// What the toolkit draws by itself, with `@Name` for each colour. No size is set
// here that the toolkit would not choose, except for the padding of menus. A menu bar
// has none at its sides: the toolkit lays it out two pixels wide before the first show.
constexpr char k_Style[] = R"(
window, dialog, messagedialog, .background { background-color: @WindowBG; color: @Text; }
menubar { background-color: @WindowBG; color: @Text; box-shadow: none; border: none; padding: 2px 0; }
menubar > menuitem:first-child { margin-left: 4px; }
menubar > menuitem { color: @Text; padding: 4px 9px; border-radius: 4px; min-height: 16px; }
menubar > menuitem:hover { background-color: @Selected; box-shadow: none; color: @Text; }
menu, .menu, .context-menu { background-color: @WindowBGLighter; color: @Text; border: 1px solid @Light3D;
                             padding: 4px 0; }
menu menuitem { color: @Text; padding: 4px 12px; min-height: 16px; }
menu menuitem:hover { background-color: @Selected; color: @Text; }
menu menuitem:disabled, menu menuitem:disabled label { color: @TextGrey; }
menu menuitem accelerator { color: @TextGrey; }
menu separator { background-color: @Light3D; margin: 4px 0; }
tooltip, tooltip.background { background-color: @WindowBGLighter; color: @Text; border: 1px solid @Light3D; }
tooltip * { color: @Text; }
button { background-image: none; background-color: @ButtonFace; color: @ButtonText; border: 1px solid @Light3D;
         border-radius: 4px; box-shadow: none; text-shadow: none; padding: 4px 12px; min-height: 20px; }
button:hover { background-color: @Header; border-color: @TextGrey; }
button:active, button:checked { background-color: @Selected; }
button:focus { border-color: @TextBlue; outline: none; }
button:disabled { color: @TextGrey; }
entry, textview text { background-image: none; background-color: @WindowBGDarker; color: @Text; }
entry { border: 1px solid @Light3D; border-radius: 4px; box-shadow: none; }
entry:focus { border-color: @TextBlue; box-shadow: none; }
checkbutton, radiobutton, label { color: @Text; }
checkbutton label:disabled, label:disabled { color: @TextGrey; }
check, radio { background-image: none; background-color: @WindowBGDarker; border: 1px solid @TextGrey;
               color: @Text; box-shadow: none; }
undershoot, overshoot { background: none; }
check:checked, radio:checked { background-image: none; background-color: @Selected; border-color: @TextBlue; }
)";

std::string FilledStyle() {
    std::string style = k_Style;
    // Longer names first, so that none eats the beginning of another.
    static constexpr ColorName k_Used[] = {ColorName::WindowBGLighter, ColorName::WindowBGDarker, ColorName::WindowBG,
                                           ColorName::ButtonFace,      ColorName::ButtonText,     ColorName::TextGrey,
                                           ColorName::TextBlue,        ColorName::Text,           ColorName::Selected,
                                           ColorName::Header};
    auto replace = [&style](std::string const& what, ColorName name) {
        std::string const colour = wxvString(wxvGetColor(name).GetAsString(wxC2S_HTML_SYNTAX)).Str();
        for (size_t at = style.find(what); at != std::string::npos; at = style.find(what, at + colour.size()))
            style.replace(at, what.size(), colour);
    };
    for (ColorName const name : k_Used)
        replace(std::string("@") + wxvColorLabel(name), name);
    replace("@Light3D", ColorName::Light3D);
    return style;
}

} // namespace

void wxvApplyNativeStyle() {
    GtkSettings* const settings = gtk_settings_get_default();
    GdkScreen* const screen = gdk_screen_get_default();
    if (!settings || !screen)
        return;
    g_object_set(settings, "gtk-application-prefer-dark-theme", static_cast<gboolean>(wxvIsDarkScheme()), nullptr);

    if (wxString const font = wxvNativeFontName(); !font.empty())
        g_object_set(settings, "gtk-font-name", static_cast<char const*>(font.utf8_str()), nullptr);

    static GtkCssProvider* s_provider = nullptr;
    if (!s_provider) {
        s_provider = gtk_css_provider_new();
        gtk_style_context_add_provider_for_screen(screen, reinterpret_cast<GtkStyleProvider*>(s_provider),
                                                  GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
    }
    std::string const style = FilledStyle();
    gtk_css_provider_load_from_data(s_provider, style.data(), static_cast<gssize>(style.size()), nullptr);
}

#else

// Other toolkits follow the system's own setting.
void wxvApplyNativeStyle() {}

#endif
