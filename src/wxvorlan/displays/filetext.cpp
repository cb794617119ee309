#include "filetext.h"

#include <algorithm>
#include <wx/app.h>

FileText::FileText(corekit::Path const& path)
    : m_follower(std::make_shared<FileFollower>(path, [] { wxWakeUpIdle(); })) {
    m_follower->Start();
}

FileText::~FileText() { FileFollower::Abandon(m_follower); }

TextLine const* FileText::At(int line) const {
    return Has(line) && m_news.page && m_news.page->Has(line)
               ? &m_news.page->lines[static_cast<size_t>(line - m_news.page->first)]
               : nullptr;
}

bool FileText::Want(int first, int count, bool atEnd) {
    int const end = std::min(first + count, Count());
    if (!m_news.isCounted)
        return true;
    FilePage const* const page = m_news.page.get();
    bool const isAtHand = first >= end || (page && page->first <= first && page->End() >= end);
    // Half a page to both sides is kept at hand.
    bool const isInside = isAtHand && page && page->first <= std::max(first - count / 2, 0) &&
                          page->End() >= std::min(end + count / 2, Count());
    if (std::exchange(m_wantsEnd, atEnd) != atEnd || atEnd || !isInside)
        m_follower->WantLines(atEnd ? 0 : first, count, atEnd);
    return isAtHand;
}

std::shared_ptr<TextSnapshot const> FileText::Snapshot() const {
    return m_news.isCounted && m_news.file ? m_news.file->Snapshot() : nullptr;
}

FileText::Change FileText::Update() {
    std::optional<FileNews> news = m_follower->TakeNews();
    if (!news)
        return {};
    m_isTold = true;
    bool const isAnew = news->file != m_news.file;
    bool const isCountedNow = news->isCounted && !m_news.isCounted && !isAnew;
    m_news = std::move(*news);
    return {true, isAnew, isCountedNow ? m_news.tailRow : 0};
}
