#include "submitscripts.h"

#include "commands/ids.h"

#include <corekit/file.h>
#include <cstdlib>
#include <filesystem>

namespace vorlan {

namespace {

constexpr char k_ProgramMark[] = "@VORLAN@";

String FromEnvironment(char const* name) {
    char const* const value = std::getenv(name);
    return value ? String(value) : String();
}

// The folder that the text stands for; empty when there is none.
Path Expanded(String const& text) {
    Path path(text);
    if (text.StartsWith("$")) {
        String const name = text.Mid(1).LeftFirst("/");
        String const value = FromEnvironment(name.c_str());
        if (value.Empty())
            return {};
        path = Path(value + text.Mid(1 + name.size()));
    } else if (text.StartsWith("~")) {
        path = Path(FromEnvironment("HOME") + text.Mid(1));
    }
    if (path.Contains("*")) {
        Path const parent = Path(path.LeftFirst("/*"));
        String const rest = path.RightFirst("*");
        Path best;
        std::error_code error;
        for (auto const& entry : std::filesystem::directory_iterator(parent.Native(), error)) {
            Path const candidate(entry.path().native() + rest.Str());
            if (candidate.IsFolder() && candidate > best)
                best = candidate;
        }
        return best;
    }
    return path.IsFolder() ? path : Path();
}

void KeepFormer(Path const& path) {
    if (!File::Exists(path))
        return;
    File::WriteWhole(Path(path + ".bak"), File::Read(path));
}

// Has `startup` load the module; false when it does so already.
bool AddToStartup(Path const& startup, String const& line) {
    String text = File::Exists(startup) ? File::Read(startup) : String();
    if (("\n" + text + "\n").Contains("\n" + line + "\n"))
        return false;
    KeepFormer(startup);
    if (!text.Empty() && !text.EndsWith("\n"))
        text += k_NL;
    File::WriteWhole(startup, text + line + k_NL);
    return true;
}

} // namespace

std::vector<SubmitScript> const& SubmitScripts() {
    static std::vector<SubmitScript> const s_scripts{
        {k_IdInstallMaya,
         "Maya",
         "vorlanSubmit.mel",
         {"$MAYA_APP_DIR", "~/maya"},
         "scripts",
         "maya/scripts in your home folder",
         true,
         nullptr,
         "Start Maya anew and type vorlanSubmit on its command line."},
        {k_IdInstall3DSMax,
         "3DS Max",
         "vorlan_submit.ms",
         {},
         "scripts/startup",
         "AppData/Local/Autodesk/3dsMax/.../ENU/scripts/startup in the home folder on Windows",
         false,
         nullptr,
         "Start 3DS Max anew and put the action \"Submit to Vorlan\" of the category Vorlan into a menu."},
        {k_IdInstallCinema4D,
         "Cinema 4D",
         "vorlan_cinema4d.py",
         {"$C4D_USER_FOLDER", "~/.config/Maxon/*"},
         "library/scripts",
         "library/scripts in the folder that the preferences of Cinema 4D open",
         true,
         nullptr,
         "Start Cinema 4D anew and choose it from Extensions, User Scripts."},
        {k_IdInstallAfterEffects,
         "After Effects",
         "vorlan_after_effects.jsx",
         {},
         "Scripts",
         "Support Files/Scripts in the folder of After Effects",
         false,
         nullptr,
         "Start After Effects anew and choose it from File, Scripts."},
        {k_IdInstallNuke,
         "Nuke",
         "vorlan_nuke.py",
         {"~/.nuke", nullptr},
         "",
         ".nuke in your home folder",
         true,
         "menu.py",
         "Start Nuke anew and choose Submit to Vorlan from the menu Vorlan."},
        {k_IdInstallLightWave,
         "LightWave",
         "vorlan_lightwave.ls",
         {},
         "",
         "support/plugins/scripts/LScripts in the folder of LightWave",
         false,
         nullptr,
         "Add it once with Add Plugins in Layout, then choose Submit to Vorlan from Generics."},
    };
    return s_scripts;
}

SubmitScript const* FindSubmitScript(int id) {
    for (SubmitScript const& script : SubmitScripts()) {
        if (script.id == id)
            return &script;
    }
    return nullptr;
}

Path FindScriptFolder(SubmitScript const& script) {
    for (char const* const home : script.homes) {
        Path const folder = home ? Expanded(home) : Path();
        if (!folder.Empty())
            return *script.folder ? folder / script.folder : folder;
    }
    return {};
}

std::vector<Path> InstallSubmitScript(SubmitScript const& script, Path const& source, Path const& target,
                                      Path const& program) {
    String text = File::Read(source / script.file);
    if (script.onThisSystem)
        text.Replace(k_ProgramMark, program);
    File::MakeFolder(target);
    Path const path = target / script.file;
    std::vector<Path> written;
    if (!File::Exists(path) || File::Read(path) != text) {
        KeepFormer(path);
        File::WriteWhole(path, text, 0644);
    }
    written.push_back(path);
    if (script.startup && AddToStartup(target / script.startup, "import " + Path(script.file).Stem()))
        written.push_back(target / script.startup);
    return written;
}

} // namespace vorlan
