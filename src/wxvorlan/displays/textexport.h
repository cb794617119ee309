#pragma once

#include "textsource.h"

#include <atomic>
#include <corekit/commonmutex.h>
#include <corekit/path.h>

// A place between two characters of a line, as they are shown.
struct TextPosition {
    // Behind the last character of any line.
    static constexpr int k_LineEnd = 1 << 30;

    int line = 0;
    int character = 0;
    auto operator<=>(TextPosition const&) const = default;
};

// The part of a line between two characters as it is copied: without escape sequences,
// and uncut when it is wanted to its end.
corekit::String CopyPart(TextLine const& line, int from, int to);

// TextExport copies or saves lines that may take long to read.
// Owner: shared by the display that asks and the thread that works.
// Thread: Copy and Save on a thread of the pool; the rest on any.
class TextExport {
public:
    // What a clipboard is asked to take at most.
    static constexpr size_t k_MostCopied = 64 * 1024 * 1024;

    // The text between two places. Throws FileException, and says so when it is too much.
    corekit::String Copy(TextSnapshot const& text, TextPosition from, TextPosition to);
    // All bytes as they stand; the file appears when it is whole. Throws FileException.
    void Save(TextSnapshot const& text, corekit::Path const& path);

    void Stop() { m_isStopped = true; }
    bool IsStopped() const { return m_isStopped; }
    // 0 to 1.
    double Done() const { return m_done; }

private:
    std::atomic<bool> m_isStopped{false};
    std::atomic<double> m_done{0};
};
