// The rules of the house: which library may include which, how long a file may
// get, and which words mean nothing to a reader of this project.

#include "testpaths.h"

#include <corekit/file.h>

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <optional>
#include <regex>
#include <set>
#include <sstream>

namespace {

namespace fs = std::filesystem;
using std::string;

constexpr size_t k_LongestFile = 800;
fs::path const k_Root = vorlan::k_SourceDir;

// Library -> what it may include besides itself. "wx" stands for the toolkit.
std::set<string> const k_Program = {"corekit", "vorlan"};
std::set<string> const k_Windows = {"corekit", "vorlan", "wxvorlan", "wxvorlanapp", "wx"};
std::map<string, std::set<string>> const k_Arrows = {
    {"corekit", {}},
    {"vorlan", {"corekit"}},
    {"wxvorlan", {"corekit", "wx"}},
    {"wxvorlanapp", k_Windows},
    {"vorlanclient", k_Program},
    {"vorlangui", {"corekit", "vorlan", "vorlanclient", "wxvorlan", "wxvorlanapp", "wx"}},
    {"tools/brakka", k_Windows},
    {"tools/merrow", k_Windows},
    {"tools/panvale", k_Windows},
    {"master/core", k_Program},
    {"master", {"corekit", "vorlan", "master/core"}},
    {"engine", k_Program},
    {"cli", k_Program},
};

bool Allowed(string const& from, string const& to) {
    auto const found = k_Arrows.find(from);
    return from == to || (found != k_Arrows.end() && found->second.contains(to));
}

string ReadText(fs::path const& path) { return corekit::File::Read(path).Str(); }

std::vector<fs::path> FilesUnder(fs::path const& folder) {
    std::vector<fs::path> files;
    if (fs::is_regular_file(folder))
        files.push_back(folder);
    if (!fs::is_directory(folder))
        return files;
    for (auto const& entry : fs::recursive_directory_iterator(folder)) {
        if (entry.is_regular_file())
            files.push_back(entry.path());
    }
    return files;
}

std::vector<fs::path> Sources() {
    std::vector<fs::path> files;
    for (char const* folder : {"include", "src"}) {
        for (auto const& path : FilesUnder(k_Root / folder)) {
            if (path.extension() == ".h" || path.extension() == ".cpp")
                files.push_back(path);
        }
    }
    return files;
}

string Relative(fs::path const& path) { return path.lexically_relative(k_Root).generic_string(); }

// The library that a file of the project belongs to. A public header of the GUI
// belongs to the library that holds its source.
string LibraryOf(fs::path const& path) {
    fs::path const relative = path.lexically_relative(k_Root);
    std::vector<string> parts;
    for (auto const& part : relative)
        parts.push_back(part.string());
    if (parts.size() < 3)
        return "";
    if (parts[0] == "include" && parts[1] == "wx") {
        fs::path const source = k_Root / "src/wxvorlanapp" / path.filename().replace_extension(".cpp");
        return fs::exists(source) ? "wxvorlanapp" : "wxvorlan";
    }
    if (parts[1] == "master" && parts[2] == "core")
        return "master/core";
    if (parts[1] == "vorlangui" && (parts[2] == "client" || parts[2] == "model" || parts[2] == "rows"))
        return "vorlanclient";
    if (parts[1] == "tools")
        return "tools/" + parts[2];
    return parts[1];
}

// The project's own file that an include means; nothing for a system header.
std::optional<fs::path> Resolve(fs::path const& from, string const& text, bool quoted) {
    std::vector<fs::path> places;
    if (quoted)
        places.push_back(from.parent_path());
    places.push_back(k_Root / "include");
    fs::path const relative = from.lexically_relative(k_Root);
    places.push_back(k_Root / "src" / *std::next(relative.begin()));
    places.push_back(k_Root / "src");
    for (auto const& place : places) {
        fs::path const candidate = (place / text).lexically_normal();
        if (fs::is_regular_file(candidate))
            return candidate;
    }
    return std::nullopt;
}

std::regex const k_Toolkit("wx/.*|gtk/.*|gdk/.*|X11/.*|cairo.*|pango/.*");
// Headers that read a clock, a file or a socket, or start a thread: not for pure code.
std::regex const k_Effect("thread|fstream|filesystem|condition_variable|mutex|unistd.h|fcntl.h|sqlite3.h|"
                          "sys/(socket|stat).h|corekit/(thread|threadpool|process|file|namedpipe).h|"
                          "vorlan/messenger.h|boost/asio.*|soci.*|openssl/.*");

// What is wrong with one include; empty if nothing is.
string IncludeFault(fs::path const& path, string const& text, bool quoted) {
    string const library = LibraryOf(path);
    auto const target = Resolve(path, text, quoted);
    string const other = target ? LibraryOf(*target) : std::regex_match(text, k_Toolkit) ? "wx" : library;
    if (!Allowed(library, other))
        return library + " must not include " + other;
    // What is not public is its library's own, but for the two libraries within a program.
    bool const isWithin = other == "master/core" || other == "vorlanclient";
    if (target && other != library && Relative(*target).starts_with("src/") && !isWithin)
        return "a private header of " + other;
    if (library == "master/core" && std::regex_match(text, k_Effect))
        return "the decision maker reads no clock, file or socket and starts no thread";
    return "";
}

TEST(House, EveryIncludeFollowsAnArrow) {
    static std::regex const include(R"re(^\s*#\s*include\s*([<"])([^>"]+)[>"])re");
    size_t count = 0;
    for (auto const& path : Sources()) {
        std::istringstream text(ReadText(path));
        string line;
        for (size_t number = 1; std::getline(text, line); ++number) {
            std::smatch match;
            if (line.find('#') == string::npos || !std::regex_search(line, match, include))
                continue;
            ++count;
            string const fault = IncludeFault(path, match[2], match[1] == "\"");
            EXPECT_EQ("", fault) << Relative(path) << ":" << number << " includes " << match[2];
        }
    }
    EXPECT_GT(count, 0u) << "nothing was read under " << k_Root;
    // It does see what it looks for.
    EXPECT_EQ(IncludeFault(k_Root / "src/corekit/a.cpp", "vorlan/job.h", false), "corekit must not include vorlan");
    EXPECT_EQ(IncludeFault(k_Root / "src/vorlan/a.cpp", "wx/wx.h", false), "vorlan must not include wx");
    EXPECT_NE(IncludeFault(k_Root / "src/master/core/a.cpp", "thread", false), "");
}

TEST(House, FilesStayReadable) {
    for (auto const& path : Sources()) {
        string const text = ReadText(path);
        auto const lines = static_cast<size_t>(std::count(text.begin(), text.end(), '\n'));
        EXPECT_LE(lines, k_LongestFile) << Relative(path) << " is two files";
        if (path.extension() == ".h") {
            EXPECT_NE(string::npos, text.find("#pragma once")) << Relative(path);
        }
    }
}

TEST(House, TheCompilerKnowsEveryLock) {
    static std::regex const unknown(R"(std::(\w+_)?mutex\b|std::condition_variable|std::shared_lock)");
    for (auto const& path : Sources()) {
        string const text = ReadText(path);
        std::smatch match;
        EXPECT_TRUE(path.filename() == "commonmutex.h" || !std::regex_search(text, match, unknown))
            << Relative(path) << ": " << match.str()
            << " is checked by nobody; take CommonMutex, RWLock, CommonCondition";
    }
}

TEST(House, TextsSpeakOfTheProject) {
    // Put together from pieces, so that this file does not find itself.
    static std::regex const foreign(string("spec") + R"(\.md|\bPart)" + R"( \d\.\d|/work/)" + "(main|shared)");
    for (char const* start : {"include", "src", "tests", "benchmarks", "fuzz", "docs", "demo", "products", "resources",
                              "packages", "cmake", ".ci", "run", "test", "bench", "README.md", "CMakeLists.txt"}) {
        for (auto const& path : FilesUnder(k_Root / start)) {
            std::istringstream text(ReadText(path));
            string line;
            for (size_t number = 1; std::getline(text, line); ++number) {
                // A picture's bytes are no text, and too long for the expression.
                if (line.size() > 4096 || line.find('\0') != string::npos)
                    continue;
                EXPECT_FALSE(std::regex_search(line, foreign)) << Relative(path) << ":" << number << ": " << line;
            }
        }
    }
}

} // namespace
