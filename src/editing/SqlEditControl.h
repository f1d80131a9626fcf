#pragma once

#include <Qsci/qsciscintilla.h>

class FindReplaceDialog;

// The inner edit control of SQLTextEditor: QScintilla with SQL colouring, line numbers, the name of
// the file it loaded, and its own find and replace dialogs with the memory of the last search.
class SqlEditControl : public QsciScintilla {
    Q_OBJECT
public:
    struct Search {
        QString Text;
        bool MatchCase = false;
        bool WholeWord = false;
    };

    explicit SqlEditControl(QWidget* parent = nullptr);
    ~SqlEditControl() override;

    // Loads the file and makes it the current file; the file's read-only attribute makes the text
    // read-only. A file that can't be read is reported and changes nothing.
    void LoadCurrentFile(const QString& path);
    // Writes the text to the file, or to the current file for "". A failure is reported.
    void SaveCurrentFile(const QString& path);
    const QString& CurrentFile() const { return mCurrentFile; }

    void ShowFindDialog();
    void ShowReplaceDialog();
    // Repeats the last search; without one, opens the find dialog. False when nothing was found.
    bool RepeatSearch(bool forward);
    const Search& LastSearch() const { return mLastSearch; }
    // Searches from the caret, wrapping round; selects the match. False when there is none.
    bool SearchFor(const Search& search, bool forward);
    // Replaces the selection when it is a match of the search, then finds the next one.
    bool ReplaceNext(const Search& search, const QString& replacement);
    // Replaces every match; the number of replacements.
    int ReplaceAll(const Search& search, const QString& replacement);

    // True when the colours in use are those of a dark palette.
    bool DarkColours() const { return mDark; }

protected:
    void changeEvent(QEvent* event) override;

private:
    // Paper, text, margins and the SQL colours from the palette: light text on a dark palette.
    void applyPalette();
    bool selectionMatches(const Search& search) const;
    FindReplaceDialog* dialog();

    QString mCurrentFile;
    Search mLastSearch;
    FindReplaceDialog* mDialog = nullptr;
    bool mDark = false;
};
