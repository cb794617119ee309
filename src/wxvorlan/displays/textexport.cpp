#include "textexport.h"

#include <algorithm>
#include <corekit/exception.h>
#include <corekit/stream.h>
#include <wx/wxvtext.h>

using corekit::String;

namespace {

// A whole line without its end and its escape sequences.
void AppendPlain(std::string_view bytes, std::string& to) {
    if (bytes.ends_with('\n'))
        bytes.remove_suffix(1);
    if (bytes.ends_with('\r'))
        bytes.remove_suffix(1);
    StripEscapes(bytes, true, to);
}

} // namespace

String CopyPart(TextLine const& line, int from, int to) {
    ShownLine const shown = ShowLine(line);
    int const length = static_cast<int>(shown.text.length());
    if (from <= 0 && to >= length) {
        std::string plain;
        AppendPlain(line.text, plain);
        return String(std::move(plain));
    }
    auto const byteOf = [&](int character) {
        return character < length ? shown.starts[static_cast<size_t>(std::max(character, 0))] : shown.plain.size();
    };
    size_t const begin = byteOf(from);
    return String(std::string_view(shown.plain).substr(begin, std::max(byteOf(to), begin) - begin));
}

String TextExport::Copy(TextSnapshot const& text, TextPosition from, TextPosition to) {
    std::string copied;
    std::string line; // so far
    int row = from.line;
    int const last = std::min(to.line, text.Lines() - 1);
    auto const endLine = [&] {
        if (line.ends_with('\r'))
            line.pop_back();
        if (row > from.line)
            copied += '\n';
        bool const isWhole =
            (row > from.line || from.character <= 0) && (row < to.line || to.character >= TextPosition::k_LineEnd);
        if (isWhole)
            AppendPlain(line, copied);
        else
            copied += CopyPart({String(line)}, row == from.line ? from.character : 0,
                               row == to.line ? to.character : TextPosition::k_LineEnd)
                          .Str();
        line.clear();
        ++row;
    };
    text.Read(from.line, last + 1, [&](TextSnapshot::Piece const& piece) {
        std::string_view rest = piece.bytes;
        while (!rest.empty()) {
            size_t const feed = rest.find('\n');
            bool const hasEnd = feed != std::string_view::npos;
            line.append(rest.substr(0, feed));
            rest.remove_prefix(hasEnd ? feed + 1 : rest.size());
            if (hasEnd)
                endLine();
        }
        if (copied.size() + line.size() > k_MostCopied)
            throw corekit::FileException(String("The selection has more than 64 MB. Save the text instead."));
        m_done = static_cast<double>(row - from.line) / std::max(last + 1 - from.line, 1);
        return !m_isStopped;
    });
    if (!line.empty())
        endLine();
    return String(std::move(copied));
}

void TextExport::Save(TextSnapshot const& text, corekit::Path const& path) {
    corekit::OutFile file(path);
    text.Read(0, text.Lines(), [&](TextSnapshot::Piece const& piece) {
        file.Text(piece.bytes);
        m_done = static_cast<double>(piece.line) / std::max(text.Lines(), 1);
        return !m_isStopped;
    });
    if (!m_isStopped)
        file.Close();
}
