// The rules of the house: which library and which folder may include which, how long a
// file may get, and which words mean nothing to a reader of this project.

#include "sources.h"

#include <regex>

namespace test_house {

namespace fs = std::filesystem;
using house::LibraryOf;
using house::ReadText;
using house::Relative;
using std::string;

constexpr size_t k_LongestFile = 800;

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

// The rooms of each library, the lowest first, and which of those before it each may
// include. What is in other libraries follows the arrows above.
std::vector<std::pair<string, std::set<string>>> const k_Rooms = {
    {"vorlan/values", {}},
    {"vorlan/programs", {}},
    {"vorlan/templates", {}},
    {"vorlan/products", {"templates", "values"}},
    {"vorlan/engines", {"products", "values"}},
    {"vorlan/jobs", {"products", "templates", "values"}},
    {"vorlan/history", {"jobs", "values"}},
    {"vorlan/files", {"jobs", "products", "values"}},
    {"vorlan/messages", {"engines", "history", "jobs", "values"}},
    {"vorlan/net", {"engines", "jobs", "messages", "products", "programs", "values"}},
    {"vorlan/app", {"engines", "jobs", "messages", "net", "programs", "values"}},
    {"wxvorlan/theme", {}},
    {"wxvorlan/controls", {"theme"}},
    {"wxvorlan/dialogs", {"theme"}},
    {"wxvorlan/displays", {"controls", "theme"}},
    {"wxvorlan/lists", {"controls", "theme"}},
    {"wxvorlan/tree", {"lists"}},
    {"vorlangui/outside", {}},
    {"vorlangui/model", {"outside"}},
    {"vorlangui/rows", {"model"}},
    {"vorlangui/client", {"model", "outside"}},
    {"vorlangui/submit", {}},
    {"vorlangui/dialogs", {}},
    {"vorlangui/commands", {}},
    {"vorlangui/lists", {"client", "commands", "model", "rows"}},
    {"vorlangui/window", {"client", "commands", "lists", "model", "outside", "rows"}},
    {"vorlangui/output", {"window"}},
    {"vorlangui/config", {"client", "dialogs", "submit", "window"}},
    {"vorlangui/system", {"client", "commands", "model", "output", "outside", "window"}},
    {"vorlangui/menus", {"client", "commands", "config", "output", "outside", "system", "window"}},
    {"vorlangui/core", {"client", "commands", "menus", "model", "outside", "submit", "window"}},
    {"vorlangui", {"core"}},
    {"master/core", {}},
    {"master/store", {"core"}},
    {"master/net", {"core", "store"}},
    {"master", {"net"}},
    {"engine/runner", {}},
    {"engine/report", {"runner"}},
    {"engine", {"report", "runner"}},
};

bool Allowed(string const& from, string const& to) {
    auto const found = k_Arrows.find(from);
    return from == to || (found != k_Arrows.end() && found->second.contains(to));
}

// The project's own file that an include means; nothing for a system header.
std::optional<fs::path> Resolve(fs::path const& from, string const& text, bool quoted) {
    std::vector<fs::path> places;
    if (quoted)
        places.push_back(from.parent_path());
    places.push_back(house::Root() / "include");
    fs::path const relative = from.lexically_relative(house::Root());
    places.push_back(house::Root() / "src" / *std::next(relative.begin()));
    places.push_back(house::Root() / "src");
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
    if (target && path.extension() == ".h" && Relative(*target) == "src/vorlangui/commands/ids.h")
        return "a new command would build anew all that include this header";
    if (library == "master/core" && std::regex_match(text, k_Effect))
        return "the decision maker reads no clock, file or socket and starts no thread";
    return "";
}

TEST(House, EveryIncludeFollowsAnArrow) {
    static std::regex const include(R"re(^\s*#\s*include\s*([<"])([^>"]+)[>"])re");
    size_t count = 0;
    for (auto const& path : house::Sources({"include", "src"})) {
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
    EXPECT_GT(count, 0u) << "nothing was read under " << house::Root();
    // It does see what it looks for.
    EXPECT_EQ(IncludeFault(house::Root() / "src/corekit/a.cpp", "vorlan/job.h", false),
              "corekit must not include vorlan");
    EXPECT_EQ(IncludeFault(house::Root() / "src/vorlan/a.cpp", "wx/wx.h", false), "vorlan must not include wx");
    EXPECT_NE(IncludeFault(house::Root() / "src/master/core/a.cpp", "thread", false), "");
    EXPECT_NE(IncludeFault(house::Root() / "src/vorlangui/commands/command.h", "ids.h", true), "");
}

// Folder -> the folders that its files include, and by which include.
using FolderArrows = std::map<string, std::map<string, string>>;

// A source's folder; a public header's is the one of the .cpp of its name, or none.
string FolderOf(fs::path const& path, std::map<string, std::set<string>> const& places) {
    if (Relative(path).starts_with("src/"))
        return Relative(path.parent_path());
    auto const found = places.find(path.stem().string());
    string const library = Relative(path.parent_path()) == "include/wx" ? "src/wxvorlan" : "src/" + LibraryOf(path);
    if (found != places.end()) {
        for (string const& place : found->second) {
            if (place.starts_with(library))
                return place;
        }
    }
    return "";
}

FolderArrows ReadFolderArrows() {
    static std::regex const include(R"re(^\s*#\s*include\s*([<"])([^>"]+)[>"])re");
    auto const sources = house::Sources({"include", "src"});
    std::map<string, std::set<string>> places;
    std::map<fs::path, std::vector<fs::path>> includes;
    for (auto const& path : sources) {
        if (path.extension() == ".cpp")
            places[path.stem().string()].insert(Relative(path.parent_path()));
        std::istringstream text(ReadText(path));
        std::smatch match;
        for (string line; std::getline(text, line);) {
            if (line.find('#') == string::npos || !std::regex_search(line, match, include))
                continue;
            if (auto const target = Resolve(path, match[2], match[1] == "\""))
                includes[path].push_back(*target);
        }
    }
    FolderArrows arrows;
    for (auto const& path : sources) {
        string const from = FolderOf(path, places);
        std::set<fs::path> seen;
        std::vector<fs::path> open = includes[path];
        while (!from.empty() && !open.empty()) {
            fs::path const target = open.back();
            open.pop_back();
            string const to = FolderOf(target, places);
            // A header of no folder stands for what it includes.
            if (to.empty() && seen.insert(target).second)
                open.insert(open.end(), includes[target].begin(), includes[target].end());
            else if (!to.empty() && to != from)
                arrows[from].insert({to, Relative(path) + " includes " + Relative(target)});
        }
    }
    return arrows;
}

TEST(House, EveryRoomIncludesThoseThatItMay) {
    FolderArrows arrows = ReadFolderArrows();
    std::map<string, std::set<string>> may;
    for (auto const& [room, others] : k_Rooms) {
        string const library = room.substr(0, room.find('/'));
        for (string const& other : others) {
            string const below = "src/" + library + "/" + other;
            EXPECT_TRUE(may.contains(below)) << room << " stands above " << other << " in the table";
            EXPECT_TRUE(arrows["src/" + room].contains(below)) << room << " does not need " << other;
            may["src/" + room].insert(below);
        }
        may["src/" + room];
    }
    for (auto const& [from, targets] : arrows) {
        string const library = from.substr(0, from.find('/', 4));
        for (auto const& [to, how] : targets)
            EXPECT_TRUE(!(to + "/").starts_with(library + "/") || may[from].contains(to)) << how;
    }
    // It does see what it looks for.
    EXPECT_TRUE(arrows.at("src/vorlangui/window").contains("src/wxvorlan/controls"));
}

TEST(House, FilesStayReadable) {
    for (auto const& path : house::Sources({"include", "src"})) {
        string const text = ReadText(path);
        auto const lines = static_cast<size_t>(std::count(text.begin(), text.end(), '\n'));
        EXPECT_LE(lines, k_LongestFile) << Relative(path) << " is two files";
    }
}

TEST(House, TheCompilerKnowsEveryLock) {
    static std::regex const unknown(R"(std::(\w+_)?mutex\b|std::condition_variable|std::shared_lock)");
    for (auto const& path : house::Sources({"include", "src"})) {
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
        for (auto const& path : house::FilesUnder(house::Root() / start)) {
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

} // namespace test_house
