// Texts of option files.

#include <corekit/exception.h>
#include <corekit/inifile.h>

#include <cstdint>
#include <cstdlib>

using namespace corekit;

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
    IniFile file;
    try {
        file.LoadText(String(reinterpret_cast<char const*>(data), size));
    } catch (Exception const&) {
        return 0;
    }
    IniFile again;
    again.LoadText(file.SaveText());
    for (String const& section : file.Sections()) {
        if (again.GetSection(section) != file.GetSection(section))
            std::abort();
    }
    // Lines that are nothing become comments at the first writing; from then on the
    // text stays as it is, or a file would grow with each change.
    IniFile settled;
    settled.LoadText(again.SaveText());
    if (settled.SaveText() != again.SaveText())
        std::abort();
    // Any bytes may be a value.
    again.SetValue("Section", "Key", String(reinterpret_cast<char const*>(data), size));
    IniFile third;
    third.LoadText(again.SaveText());
    if (third.GetValue("Section", "Key", "") != again.GetValue("Section", "Key", ""))
        std::abort();
    return 0;
}
