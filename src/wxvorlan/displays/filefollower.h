#pragma once

#include "indexedfile.h"

#include <chrono>
#include <corekit/thread.h>
#include <corekit/time.h>
#include <functional>
#include <optional>

// Some lines of a file, beginning with row `first`.
struct FilePage {
    int first = 0;
    std::vector<TextLine> lines;

    int End() const { return first + static_cast<int>(lines.size()); }
    bool Has(int line) const { return line >= first && line < End(); }
};

// What became of a file that is followed.
enum class FileFate { Grows, Truncated, Replaced, Gone, Failed };

// What the reading thread tells the window; the newest state only.
struct FileNews {
    // Null: it could not be opened yet. Another one than before: it was begun anew.
    std::shared_ptr<IndexedFile const> file;
    std::shared_ptr<FilePage const> page;
    int lines = 0;
    int64_t bytes = 0;
    // The lines are those of the end alone until all were counted.
    bool isCounted = false;
    double counted = 0; // of all, 0 to 1
    int tailRow = 0;    // with isCounted: where the lines of the end have their place
    FileFate fate = FileFate::Grows;
    corekit::Time since; // of the last fate but Grows
    corekit::String failure;
};

// FileFollower reads a file into its index and follows it while it grows, is cut, or is
// replaced; it reads what the window wants to draw.
// Owner: a FileText; one that hangs in a share outlives it and ends by itself.
// Works with: IndexedFile.
// Thread: its own reads; the public calls come from the GUI thread and never wait for it.
class FileFollower : public corekit::Thread {
public:
    static constexpr int k_LookMs = 250;
    // Read before anybody has said what is in sight.
    static constexpr int k_FirstLines = 100;

    // `wake` is called on the reading thread when there is news.
    FileFollower(corekit::Path path, std::function<void()> wake);
    ~FileFollower() override { Stop(); }

    // What came since the last call.
    std::optional<FileNews> TakeNews();
    // These lines; or the last ones, now and as it grows.
    void WantLines(int first, int count, bool atEnd);
    // Ends the thread without waiting for it.
    static void Abandon(std::shared_ptr<FileFollower> follower);

protected:
    bool Execute() override;
    void OnStopSignaled() override;

private:
    struct Wish {
        int first = 0;
        int count = 0;
        bool atEnd = true;
        bool operator==(Wish const&) const = default;
    };

    void OpenFile();
    // False at the end.
    bool ReadSome();
    void LookForChanges();
    void BeginAnew(FileFate fate);
    void TellFate(FileFate fate, corekit::String const& failure = {});
    // True when the wish has changed.
    bool TakeWish(Wish& wish);
    void ReadWish(Wish const& wish);
    void Publish();
    void WaitForWish();

    // Constant after construction.
    corekit::Path const m_path;
    std::function<void()> const m_wake;

    corekit::CommonMutex m_guard;
    corekit::CommonCondition m_changed; // a wish or the end
    Wish m_wish CK_GUARDED_BY(m_guard) = {0, k_FirstLines, true};
    bool m_isWished CK_GUARDED_BY(m_guard) = false; // since the last look
    std::optional<FileNews> m_news CK_GUARDED_BY(m_guard);

    // The own thread only.
    std::shared_ptr<IndexedFile> m_file;
    FileNews m_now;
    Wish m_served;
    int64_t m_size = 0;        // as it was opened
    int64_t m_tailOffset = -1; // its last lines, shown before all are counted; -1: none
    bool m_isChanged = false;
    std::chrono::steady_clock::time_point m_publishedAt;
};
