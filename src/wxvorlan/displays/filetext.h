#pragma once

#include "filefollower.h"

// FileText is a file as the source of a display: the counts and the lines in sight that
// its FileFollower has read.
// Owner: a text display. Thread: the GUI thread; nothing here waits for the file.
class FileText : public TextSource {
public:
    explicit FileText(corekit::Path const& path);
    ~FileText() override;

    int Count() const override { return m_news.lines; }
    TextLine const* At(int line) const override;
    bool Want(int first, int count, bool atEnd) override;
    // Null until all lines are counted.
    std::shared_ptr<TextSnapshot const> Snapshot() const override;

    struct Change {
        bool any = false;
        bool isAnew = false; // another content: no row means what it did
        int moved = 0;       // rows, by which all lines have another number
    };
    // Takes what the reader has told.
    Change Update();
    // There is something to show, or something to say why not.
    bool IsReady() const { return m_isTold; }
    FileNews const& News() const { return m_news; }

private:
    std::shared_ptr<FileFollower> const m_follower;
    FileNews m_news;
    bool m_isTold = false;
    bool m_wantsEnd = true; // of the last wish
};
