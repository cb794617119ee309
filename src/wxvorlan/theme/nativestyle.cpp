#include <wx/wxvcolors.h>
#include <wx/wxvfont.h>
#include <wx/wxvtext.h>

#ifdef __WXGTK__

#include <string>

#include "theme/gtkheaders.h"

namespace {

// What the toolkit draws by itself, with `@Name` for each colour. No size is set
// here that the toolkit would not choose, except for the padding of menus.
constexpr char k_StyleSheet[] = R"(
@define-color placeholder_text_color @TextGrey;
@define-color vorlan_header @Header;
@define-color vorlan_line @3DDark;
window, dialog, messagedialog, .background { background-color: @WindowBG; color: @Text; }
menubar { background-color: @WindowBG; color: @Text; box-shadow: none; border: none; padding: 2px 0; }
menubar > menuitem:first-child { margin-left: 4px; }
menubar > menuitem { color: @Text; padding: 4px 9px; border-radius: 4px; min-height: 16px; }
menubar > menuitem:hover { background-color: @Selected; box-shadow: none; color: @Text; }
menu, .menu, .context-menu { background-color: @WindowBGLighter; color: @Text; border: 1px solid @Edge;
                             padding: 4px 0; }
menu menuitem { color: @Text; padding: 4px 12px; min-height: 16px; }
menu menuitem:hover { background-color: @Selected; color: @Text; }
menu menuitem:disabled, menu menuitem:disabled label { color: @TextGrey; }
menu menuitem accelerator { color: @TextGrey; }
menu separator { background-color: @Edge; margin: 4px 0; }
menu menuitem arrow { color: @TextGrey; -gtk-icon-transform: scale(0.6); }
menu menuitem:hover arrow { color: @Text; }
menu menuitem check, menu menuitem check:checked { background-color: transparent; border-color: transparent;
                                                   color: @TextBlue; }
menu menuitem radio, menu menuitem radio:checked { background-color: transparent; color: @TextBlue; }
tooltip, tooltip.background, tooltip decoration { background-color: @WindowBGLighter; border-radius: 0;
                                                  box-shadow: none; text-shadow: none; }
tooltip, tooltip.background { color: @Text; border: 1px solid @Edge; padding: 0; }
tooltip * { color: @Text; padding: 2px 4px; text-shadow: none; }
button { background-image: none; background-color: @ButtonFace; color: @ButtonText; border: 1px solid @Edge;
         border-radius: 4px; box-shadow: none; text-shadow: none; padding: 4px 12px; min-height: 20px; }
button.default { background-color: @Selected; border-color: @Selected; color: @Text; }
button.default:hover { border-color: @TextBlue; }
button:not(.default):hover { background-color: @Header; border-color: @TextGrey; }
button:active, button:checked { background-color: @Selected; color: @Text; }
button:focus { border-color: @TextBlue; outline: none; }
button:disabled, button:disabled label { color: @Faint; background-color: @WindowBG; }
entry, textview, textview text { background-image: none; background-color: @WindowBGDarker; color: @Text;
                                 caret-color: @Text; }
textview { padding: 4px 8px; }
entry { border: 1px solid @Edge; border-radius: 4px; box-shadow: none; padding: 2px 8px; min-height: 24px; }
entry:focus { border-color: @TextBlue; box-shadow: none; }
entry:disabled { color: @Faint; background-color: @WindowBG; }
entry selection, textview text selection, label selection { background-color: @Selected; color: @Text; }
textview text:disabled { color: @Faint; }
combobox arrow { color: @TextGrey; min-width: 14px; -gtk-icon-shadow: none; }
combobox button.combo { padding: 2px 8px; min-height: 24px; }
combobox cellview { color: @ButtonText; }
combobox:disabled arrow, combobox:disabled cellview { color: @Faint; }
combobox entry { border-top-right-radius: 0; border-bottom-right-radius: 0; border-right-style: none; }
combobox entry + button.combo { border-top-left-radius: 0; border-bottom-left-radius: 0; padding: 2px 6px; }
checkbutton, radiobutton, label { color: @Text; }
checkbutton:disabled, radiobutton:disabled, checkbutton label:disabled, radiobutton label:disabled,
label:disabled { color: @Faint; }
check, radio { background-image: none; background-color: @WindowBGDarker; border: 1px solid @TextGrey;
               color: @Text; box-shadow: none; -gtk-icon-shadow: none; min-width: 14px; min-height: 14px; }
checkbutton > check, radiobutton > radio { margin: 0 7px 0 1px; }
check:hover, radio:hover { border-color: @TextBlue; }
check:checked, radio:checked { background-image: none; background-color: @Selected; border-color: @TextBlue;
                               color: @Text; }
check:disabled, radio:disabled { border-color: @Faint; color: @Faint; background-color: @WindowBG; }
checkbutton:focus, radiobutton:focus, scale:focus { outline: 1px solid @TextBlue; outline-offset: 1px;
                                                    -gtk-outline-radius: 3px; }
scale { padding: 8px 6px; min-height: 10px; }
scale trough { background-image: none; background-color: @WindowBGDarker; border: 1px solid @Edge;
               border-radius: 3px; min-height: 4px; outline: none; }
scale highlight { background-image: none; background-color: @TextBlue; border: none; border-radius: 3px;
                  min-height: 4px; }
scale slider { background-image: none; background-color: @ButtonText; border: 2px solid @WindowBG;
               border-radius: 9px; box-shadow: none; min-width: 12px; min-height: 12px; margin: -7px; }
scale slider:hover { background-color: @TextBlue; }
scale:disabled highlight { background-color: @Faint; }
scale:disabled slider { background-color: @Faint; }
treeview.view, iconview, list, .view { background-color: @WindowBGDarker; color: @Text; }
treeview.view:hover { background-color: @WindowBG; }
treeview.view:selected, treeview.view:selected:focus, list row:selected,
iconview:selected { background-color: @Selected; color: @Text; }
treeview.view:disabled { color: @Faint; }
treeview.view:focus { outline: none; }
treeview.view header button { font-weight: 500; border-radius: 0; border: none; border-right: 1px solid @Edge;
                              background-color: @Header; color: @Text; }
list row { color: @Text; }
list row:hover { background-color: @WindowBGLighter; }
frame > border, scrolledwindow.frame { border: 1px solid @Edge; border-radius: 0; }
frame > label { color: @TextGrey; padding: 0 4px; }
separator { background-color: @Edge; }
scrollbar { background-color: @WindowBGDarker; border: none; }
scrollbar trough { background-color: @WindowBGDarker; border: none; }
scrollbar slider { background-color: @Faint; border: 3px solid transparent; border-radius: 7px;
                   background-clip: padding-box; min-width: 6px; min-height: 6px; }
scrollbar.vertical slider { min-height: 28px; }
scrollbar.horizontal slider { min-width: 28px; }
scrollbar slider:hover, scrollbar slider:active { background-color: @TextGrey; }
scrollbar junction, junction { background-color: @WindowBGDarker; }
calendar { background-color: @WindowBGDarker; color: @Text; border: 1px solid @Edge; padding: 2px 3px; }
calendar.header { background-color: @Header; color: @Text; border: none; }
calendar.button { color: @Text; }
calendar.button:hover { color: @TextBlue; }
calendar:indeterminate { color: @Faint; }
calendar.highlight { color: @TextGrey; }
calendar:selected { background-color: @Selected; color: @Text; border-radius: 2px; }
progressbar trough { background-color: @WindowBGDarker; border: 1px solid @Edge; }
progressbar progress { background-image: none; background-color: @TextBlue; border: none; }
spinner { color: @Text; }
undershoot, overshoot { background: none; }
)";

std::string FilledStyle() {
    std::string style = k_StyleSheet;
    auto replace = [&style](std::string const& what, wxColour const& colour) {
        std::string const text = wxvString(colour.GetAsString(wxC2S_HTML_SYNTAX)).Str();
        for (size_t at = style.find(what); at != std::string::npos; at = style.find(what, at + text.size()))
            style.replace(at, what.size(), text);
    };
    // Longer names first, so that none eats the beginning of another.
    static constexpr ColorName k_Used[] = {ColorName::WindowBGLighter, ColorName::WindowBGDarker, ColorName::WindowBG,
                                           ColorName::ButtonFace,      ColorName::ButtonText,     ColorName::TextGrey,
                                           ColorName::TextBlue,        ColorName::Text,           ColorName::Selected,
                                           ColorName::Header,          ColorName::Dark3D};
    for (ColorName const name : k_Used)
        replace(std::string("@") + wxvColorLabel(name), wxvGetColor(name));
    replace("@Edge", wxvEdgeColor());
    replace("@Faint", wxvFaintColor());
    return style;
}

// The toolkit reads its theme with the first look at its settings, and reads another one
// when it hears later that it shall be dark: so their default says it beforehand.
GtkSettings* SettingsFor(bool isDark) {
    constexpr char k_Dark[] = "gtk-application-prefer-dark-theme";
    auto* const kind = static_cast<GObjectClass*>(g_type_class_ref(GTK_TYPE_SETTINGS));
    G_PARAM_SPEC_BOOLEAN(g_object_class_find_property(kind, k_Dark))->default_value = isDark;
    g_type_class_unref(kind);
    GtkSettings* const settings = gtk_settings_get_default();
    gboolean isNow = isDark;
    if (settings)
        g_object_get(settings, k_Dark, &isNow, nullptr);
    if (static_cast<bool>(isNow) != isDark)
        g_object_set(settings, k_Dark, static_cast<gboolean>(isDark), nullptr);
    return settings;
}

} // namespace

void wxvApplyNativeStyle() {
    GdkScreen* const screen = gdk_screen_get_default();
    GtkSettings* const settings = screen ? SettingsFor(wxvIsDarkScheme()) : nullptr;
    if (!settings)
        return;
    // Bars beside the rows: those that float are drawn over them, and only while the mouse moves.
    g_object_set(settings, "gtk-overlay-scrolling", FALSE, nullptr);

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
