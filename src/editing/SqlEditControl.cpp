#include "SqlEditControl.h"

#include "FindReplaceDialog.h"
#include "GeneralHelpers.h"
#include "TARMOError.h"
#include "UserPrompts.h"

#include <Qsci/qscilexersql.h>

#include <QEvent>
#include <QFile>
#include <QFontDatabase>

SqlEditControl::SqlEditControl(QWidget* parent)
    : QsciScintilla(parent) {
    setObjectName(QStringLiteral("BCEdit"));
    setUtf8(true);
    const QFont fixed = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    auto* lexer = new QsciLexerSQL(this);
    lexer->setDefaultFont(fixed);
    lexer->setFont(fixed);
    lexer->setFoldComments(true);
    setLexer(lexer);
    setFont(fixed);
    setMarginsFont(fixed);
    setMarginType(0, QsciScintilla::NumberMargin);
    setMarginWidth(0, QStringLiteral("00000"));
    setMarginLineNumbers(0, true);
    setTabWidth(4);
    setIndentationsUseTabs(true);
    setAutoIndent(true);
    setBraceMatching(QsciScintilla::SloppyBraceMatch);
    setCaretLineVisible(true);
    setWrapMode(QsciScintilla::WrapNone);
    applyPalette();
}

void SqlEditControl::changeEvent(QEvent* event) {
    QsciScintilla::changeEvent(event);
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::ApplicationPaletteChange)
        applyPalette();
}

void SqlEditControl::applyPalette() {
    auto* sql = qobject_cast<QsciLexerSQL*>(lexer());
    if (!sql)
        return;
    const QPalette colours = palette();
    const QColor paper = colours.color(QPalette::Base);
    const QColor text = colours.color(QPalette::Text);
    mDark = paper.lightness() < 128;
    // Light and dark sets of the same hues, each readable on its own paper.
    struct Style {
        int style;
        QColor light, dark;
    };
    const Style styles[] = {
        {QsciLexerSQL::Comment, QColor(0x00, 0x7f, 0x00), QColor(0x6a, 0xb0, 0x5a)},
        {QsciLexerSQL::CommentLine, QColor(0x00, 0x7f, 0x00), QColor(0x6a, 0xb0, 0x5a)},
        {QsciLexerSQL::CommentDoc, QColor(0x00, 0x7f, 0x00), QColor(0x6a, 0xb0, 0x5a)},
        {QsciLexerSQL::CommentLineHash, QColor(0x00, 0x7f, 0x00), QColor(0x6a, 0xb0, 0x5a)},
        {QsciLexerSQL::Number, QColor(0x00, 0x7f, 0x7f), QColor(0x8f, 0xd6, 0xc8)},
        {QsciLexerSQL::Keyword, QColor(0x00, 0x00, 0xb0), QColor(0x7c, 0xb4, 0xff)},
        {QsciLexerSQL::KeywordSet5, QColor(0x00, 0x00, 0xb0), QColor(0x7c, 0xb4, 0xff)},
        {QsciLexerSQL::DoubleQuotedString, QColor(0x9a, 0x28, 0x00), QColor(0xf0, 0xa0, 0x78)},
        {QsciLexerSQL::SingleQuotedString, QColor(0x9a, 0x28, 0x00), QColor(0xf0, 0xa0, 0x78)},
        {QsciLexerSQL::QuotedIdentifier, QColor(0x6f, 0x2d, 0x8f), QColor(0xd0, 0x9c, 0xf0)},
        {QsciLexerSQL::PlusKeyword, QColor(0x7f, 0x00, 0x7f), QColor(0xe0, 0x90, 0xe0)},
        {QsciLexerSQL::PlusPrompt, QColor(0x7f, 0x00, 0x7f), QColor(0xe0, 0x90, 0xe0)},
    };
    sql->setDefaultPaper(paper);
    sql->setDefaultColor(text);
    sql->setPaper(paper, -1);
    sql->setColor(text, -1);
    for (const Style& s : styles)
        sql->setColor(mDark ? s.dark : s.light, s.style);
    setPaper(paper);
    setColor(text);
    setMarginsBackgroundColor(colours.color(QPalette::Window));
    setMarginsForegroundColor(colours.color(QPalette::PlaceholderText));
    setFoldMarginColors(colours.color(QPalette::Window), colours.color(QPalette::Window));
    setCaretForegroundColor(text);
    setCaretLineBackgroundColor(mDark ? paper.lighter(135) : paper.darker(104));
    setSelectionBackgroundColor(colours.color(QPalette::Highlight));
    setSelectionForegroundColor(colours.color(QPalette::HighlightedText));
    setMatchedBraceBackgroundColor(mDark ? QColor(0x3a, 0x5a, 0x3a) : QColor(0xd0, 0xf0, 0xd0));
    setMatchedBraceForegroundColor(text);
}

SqlEditControl::~SqlEditControl() = default;

void SqlEditControl::LoadCurrentFile(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        MsgBox(QStringLiteral("The file \"%1\" could not be opened.").arg(path), Prompt::Buttons::OK,
               Prompt::Icon::Critical, QStringLiteral("Load File"));
        return;
    }
    const QString content = QString::fromUtf8(file.readAll());
    setReadOnly(false);
    // Line ends stay as the file has them, and new lines take the same form.
    setEolMode(content.contains(QLatin1String("\r\n")) ? EolWindows : EolUnix);
    setText(content);
    SendScintilla(SCI_EMPTYUNDOBUFFER);
    setModified(false);
    mCurrentFile = path;
    setReadOnly(IsReadOnlyFile(path));
    setCursorPosition(0, 0);
}

void SqlEditControl::SaveCurrentFile(const QString& path) {
    const QString target = path.isEmpty() ? mCurrentFile : path;
    if (target.isEmpty())
        return;
    // A read-only working file isn't checked out: the control doesn't write over it.
    bool written = !IsReadOnlyFile(target);
    if (written) {
        try {
            written = WriteTextFile(target, text());
        } catch (const TARMOError&) {
            written = false;
        }
    }
    if (!written) {
        MsgBox(QStringLiteral("The file \"%1\" could not be saved.").arg(target), Prompt::Buttons::OK,
               Prompt::Icon::Critical, QStringLiteral("Save File"));
        return;
    }
    mCurrentFile = target;
    setModified(false);
}

FindReplaceDialog* SqlEditControl::dialog() {
    if (!mDialog)
        mDialog = new FindReplaceDialog(*this, this);
    return mDialog;
}

void SqlEditControl::ShowFindDialog() {
    dialog()->Open(false, hasSelectedText() ? selectedText() : mLastSearch.Text);
}

void SqlEditControl::ShowReplaceDialog() {
    dialog()->Open(!isReadOnly(), hasSelectedText() ? selectedText() : mLastSearch.Text);
}

bool SqlEditControl::RepeatSearch(bool forward) {
    if (mLastSearch.Text.isEmpty()) {
        ShowFindDialog();
        return false;
    }
    return SearchFor(mLastSearch, forward);
}

bool SqlEditControl::SearchFor(const Search& search, bool forward) {
    mLastSearch = search;
    if (search.Text.isEmpty())
        return false;
    int line = -1, index = -1;
    if (!forward && hasSelectedText()) {
        // Backwards from the start of the present match, so the same match isn't found again.
        int lineTo, indexTo;
        getSelection(&line, &index, &lineTo, &indexTo);
    }
    return findFirst(search.Text, false, search.MatchCase, search.WholeWord, true, forward, line, index);
}

bool SqlEditControl::selectionMatches(const Search& search) const {
    if (!hasSelectedText())
        return false;
    return selectedText().compare(search.Text, search.MatchCase ? Qt::CaseSensitive : Qt::CaseInsensitive) ==
           0;
}

bool SqlEditControl::ReplaceNext(const Search& search, const QString& replacement) {
    mLastSearch = search;
    if (isReadOnly())
        return false;
    if (selectionMatches(search))
        replaceSelectedText(replacement);
    return SearchFor(search, true);
}

int SqlEditControl::ReplaceAll(const Search& search, const QString& replacement) {
    mLastSearch = search;
    if (isReadOnly() || search.Text.isEmpty())
        return 0;
    int count = 0;
    beginUndoAction();
    setCursorPosition(0, 0);
    // No wrap-around: a replacement that contains the search text would be found again.
    while (findFirst(search.Text, false, search.MatchCase, search.WholeWord, false, true)) {
        replace(replacement);
        ++count;
    }
    endUndoAction();
    return count;
}
