#include "filefollower.h"

#include <algorithm>
#include <corekit/callentry.h>
#include <corekit/exception.h>
#include <thread>

using corekit::CommonMutex;
using corekit::String;

namespace {

constexpr size_t k_ChunkBytes = 256 * 1024;
constexpr int k_ChunksAtOnce = 16;
constexpr size_t k_TailBytes = 64 * 1024;
// A smaller file is counted before anybody sees that it is not.
constexpr int64_t k_TailFirst = 4 * 1024 * 1024;
constexpr std::chrono::milliseconds k_TellPeriod{50};

} // namespace

FileFollower::FileFollower(corekit::Path path, std::function<void()> wake)
    : Thread("Text file"), m_path(std::move(path)), m_wake(std::move(wake)) {}

std::optional<FileNews> FileFollower::TakeNews() {
    CommonMutex::Lock const lock(m_guard);
    return std::exchange(m_news, std::nullopt);
}

void FileFollower::WantLines(int first, int count, bool atEnd) {
    Wish const wish{first, count, atEnd};
    CommonMutex::Lock const lock(m_guard);
    if (m_wish == wish)
        return;
    m_wish = wish;
    m_isWished = true;
    m_changed.notify_all();
}

void FileFollower::Abandon(std::shared_ptr<FileFollower> follower) {
    follower->SignalStop();
    // A share that does not answer would hold the window.
    std::thread([kept = std::move(follower)] { kept->Join(); }).detach();
}

void FileFollower::OnStopSignaled() {
    CommonMutex::Lock const lock(m_guard);
    m_changed.notify_all();
}

bool FileFollower::Execute() {
    CALL_ENTRY();
    try {
        if (!m_file)
            OpenFile();
        bool const more = ReadSome();
        Wish wish;
        bool const isWished = TakeWish(wish);
        if (isWished || !more || std::chrono::steady_clock::now() - m_publishedAt >= k_TellPeriod) {
            ReadWish(wish);
            if (m_isChanged)
                Publish();
        }
        if (more)
            return true;
        LookForChanges();
    } catch (corekit::Exception const& exception) {
        TellFate(FileFate::Failed, exception.what());
    }
    WaitForWish();
    return true;
}

void FileFollower::OpenFile() {
    m_file = IndexedFile::Open(m_path);
    FileNews fresh;
    fresh.file = m_file;
    // A first opening that failed is forgotten; what became of a former file is not.
    if (m_now.fate != FileFate::Failed) {
        fresh.fate = m_now.fate;
        fresh.since = m_now.since;
    }
    m_now = fresh;
    m_isChanged = true;
    m_tailOffset = -1;
    m_size = m_file->SizeNow();
    if (m_size < k_TailFirst)
        return;
    auto page = std::make_shared<FilePage>();
    page->lines = m_file->ReadTail(k_TailBytes, m_tailOffset);
    if (page->lines.empty()) {
        m_tailOffset = -1;
        return;
    }
    m_now.lines = page->End();
    m_now.page = std::move(page);
    Publish();
}

bool FileFollower::ReadSome() {
    int64_t const before = m_file->Bytes();
    bool more = true;
    for (int i = 0; more && i < k_ChunksAtOnce && !IsStopping(); ++i) {
        auto bytes = static_cast<int64_t>(k_ChunkBytes);
        int64_t const toTail = m_tailOffset - m_file->Bytes();
        if (toTail > 0)
            bytes = std::min(bytes, toTail);
        more = m_file->ReadOn(static_cast<size_t>(bytes));
        if (toTail > 0 && m_file->Bytes() == m_tailOffset)
            m_now.tailRow = m_file->Lines();
    }
    int64_t const now = m_file->Bytes();
    if (!more && !m_now.isCounted) {
        m_now.isCounted = true;
        m_isChanged = true;
    }
    if (now != before) {
        // The last line may have got more: a page with it is read anew.
        if (m_now.isCounted && (!m_now.page || m_now.page->End() >= m_now.lines || m_served.atEnd))
            m_served.count = 0;
        m_now.bytes = now;
        m_now.counted = m_size > 0 ? std::min(1.0, static_cast<double>(now) / static_cast<double>(m_size)) : 1;
        m_isChanged = true;
    }
    if (m_now.isCounted)
        m_now.lines = m_file->Lines();
    return more;
}

bool FileFollower::TakeWish(Wish& wish) {
    CommonMutex::Lock const lock(m_guard);
    wish = m_wish;
    return std::exchange(m_isWished, false);
}

void FileFollower::ReadWish(Wish const& wish) {
    // Until all are counted the page of the end is all there is.
    if (!m_now.isCounted || wish == m_served)
        return;
    m_served = wish;
    // As much again before and behind: a step to the side finds its lines at hand.
    int const first = wish.atEnd ? m_now.lines - wish.count : wish.first;
    auto page = std::make_shared<FilePage>();
    page->first = std::max(0, first - wish.count);
    int const end = std::max(first, 0) + 2 * wish.count;
    page->lines = m_file->ReadLines(page->first, end - page->first);
    m_now.page = std::move(page);
    m_isChanged = true;
}

void FileFollower::LookForChanges() {
    bool isGone = false;
    if (m_file->IsReplaced(isGone))
        BeginAnew(FileFate::Replaced);
    else if (m_file->IsRewritten())
        BeginAnew(FileFate::Truncated);
    else if (isGone && m_now.fate != FileFate::Gone)
        TellFate(FileFate::Gone);
    else if (!isGone && (m_now.fate == FileFate::Gone || m_now.fate == FileFate::Failed))
        TellFate(FileFate::Grows);
}

void FileFollower::BeginAnew(FileFate fate) {
    m_now.fate = fate;
    m_now.since = corekit::Time::CurrentTime();
    m_now.failure = {};
    m_served = {};
    m_file.reset();
    OpenFile();
}

void FileFollower::TellFate(FileFate fate, String const& failure) {
    if (m_now.fate == fate && m_now.failure == failure)
        return;
    m_now.fate = fate;
    m_now.failure = failure;
    m_now.since = corekit::Time::CurrentTime();
    Publish();
}

void FileFollower::Publish() {
    m_isChanged = false;
    m_publishedAt = std::chrono::steady_clock::now();
    {
        CommonMutex::Lock const lock(m_guard);
        m_news = m_now;
    }
    if (!IsStopping())
        m_wake();
}

void FileFollower::WaitForWish() {
    CommonMutex::Lock lock(m_guard);
    m_changed.wait_for(lock, std::chrono::milliseconds(k_LookMs),
                       [this]() CK_REQUIRES(m_guard) { return m_isWished || IsStopping(); });
    m_isWished = false;
}
