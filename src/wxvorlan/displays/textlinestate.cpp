#include "textlinestate.h"

ShownLine TextLineState::Shown(int line) const {
    TextLine const* const at = Text().At(line);
    return at ? ShowLine(*at) : ShownLine();
}

TextPosition TextLineState::End() const {
    int const last = Text().Count() - 1;
    if (last < 0)
        return {};
    return {last, Text().At(last) ? static_cast<int>(Shown(last).text.length()) : TextPosition::k_LineEnd};
}

bool TextLineState::CopySelected(std::string& text) const {
    TextPosition const from = selectsLines ? TextPosition{row, 0} : From();
    TextPosition const to = selectsLines ? TextPosition{row, TextPosition::k_LineEnd} : To();
    bool isWhole = true;
    for (int line = std::max(from.line, 0); from < to && line <= std::min(to.line, Text().Count() - 1); ++line) {
        if (line > from.line)
            text += '\n';
        TextLine const* const at = Text().At(line);
        int const end = line < to.line ? TextPosition::k_LineEnd : to.character;
        if (!at)
            return false;
        isWhole &= !at->cut || end < static_cast<int>(TextLine::k_MaxShown) - 1;
        text += CopyPart(*at, line == from.line ? from.character : 0, end).Str();
    }
    return isWhole;
}

void TextLineState::MoveRows(int by) {
    bool const cut = From().line + by < 0;
    for (int* const line : {&anchor.line, &caret.line, &hitLine, &row})
        *line = std::max(*line + (*line < 0 ? 0 : by), -1);
    if (cut)
        ForgetPlaces();
    layout.top = std::max(layout.top + by, 0);
}
