// How long a log of 5,000,000 lines takes from the command that opens it to its last
// page on the screen, with the count of its lines and the scroll bar's range right,
// against one pass over the file that counts its line ends.

#include "bench.h"

#include "corekit/tempfolder.h"
#include "wxvorlan/displays/lineindex.h"

#include <corekit/sformat.h>
#include <corekit/uniquefd.h>
#include <fcntl.h>
#include <fstream>
#include <wx/app.h>
#include <wx/frame.h>
#include <wx/wxtextlinectrl.h>

using namespace bench;
using corekit::Path;

namespace {

constexpr size_t k_Runs = 9;
constexpr int k_Lines = 5'000'000;
constexpr int k_ShortestLine = 40; // to 119 bytes, 79.5 on average, and its end
constexpr size_t k_ChunkBytes = 256 * 1024;
constexpr int k_PatienceMs = 60'000;

void WriteLog(Path const& path) {
    std::ofstream file(path.c_str(), std::ios::binary);
    for (int i = 0; i < k_Lines; ++i) {
        std::string line = corekit::SFormat("2026-11-21 10:00:00.000 Info %d ", i).Str();
        line.resize(static_cast<size_t>(k_ShortestLine + i % 80), '.');
        file << line << '\n';
    }
}

double CountMs(Path const& path) {
    int64_t count = 0;
    double const seconds = Seconds([&] {
        corekit::UniqueFd const file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
        std::string chunk(k_ChunkBytes, '\0');
        for (ssize_t got = 0; (got = ::read(file.Get(), chunk.data(), chunk.size())) > 0;)
            count += CountLineFeeds(std::string_view(chunk).substr(0, static_cast<size_t>(got)));
    });
    return count == k_Lines ? seconds * 1000 : 0;
}

class OutputApp : public wxApp {
public:
    explicit OutputApp(Benchmark& benchmark) : m_benchmark(benchmark) {}

    bool OnInit() override { return true; }
    int OnRun() override {
        SetExitOnFrameDelete(false);
        int result = 1;
        CallAfter([this, &result] {
            result = Measure();
            ExitMainLoop();
        });
        MainLoop();
        return result;
    }

private:
    double OpenMs(Path const& path) {
        wxFrame* frame = nullptr;
        bool isShown = false;
        double const seconds = Seconds([&] {
            frame = new wxFrame(nullptr, wxID_ANY, "Log", wxDefaultPosition, wxSize(900, 600));
            auto& text = *new wxTextLineCtrl(frame);
            text.SetType(wxTextLineCtrl::Type::Monospaced);
            text.SetFollowEnd(true);
            text.ShowFile(path);
            bool isPainted = false;
            text.Bind(wxEVT_PAINT, [&](wxPaintEvent& event) {
                event.Skip();
                isPainted = text.GetLineCount() == k_Lines && text.IsAtEnd() &&
                            text.GetScrollRange(wxVERTICAL) == k_Lines && !text.GetText(k_Lines - 1).Empty();
            });
            frame->Show();
            auto const until = std::chrono::steady_clock::now() + std::chrono::milliseconds(k_PatienceMs);
            while (!isPainted && std::chrono::steady_clock::now() < until) {
                wxYield();
                wxMilliSleep(1);
            }
            isShown = isPainted;
        });
        if (!isShown)
            m_benchmark.Fail("the log's end was not shown");
        frame->Destroy();
        for (int i = 0; i < 20; ++i) {
            wxYield();
            wxMilliSleep(5);
        }
        return seconds * 1000;
    }

    int Measure() {
        corekit::TempFolder const folder;
        Path const path = folder / "render.log";
        WriteLog(path);
        CountMs(path); // warm
        OpenMs(path);  // the toolkit's first window
        m_benchmark.Run(
            k_Runs, [&] { return OpenMs(path); }, [&] { return CountMs(path); });
        return m_benchmark.Report();
    }

    Benchmark& m_benchmark;
};

} // namespace

int main(int argc, char** argv) {
    Benchmark benchmark({"output", "ms", "one pass that counts the file's line ends", Judge::RatioAtMost, 2.0}, argc,
                        argv);
    if (benchmark.HeaderOnly())
        return benchmark.Report();
    wxApp::SetInstance(new OutputApp(benchmark));
    int count = 1;
    return wxEntry(count, argv);
}
