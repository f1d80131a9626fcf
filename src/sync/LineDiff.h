#pragma once

#include <QList>
#include <QString>

// A line-by-line difference of two texts (the database's against the store's), for showing a row
// whose texts differ.
struct DiffLine {
    enum class Op { Same, Removed, Added };
    Op Kind = Op::Same;
    int LeftLine = 0;  // 1-based line in the left text, 0 for an added line
    int RightLine = 0; // 1-based line in the right text, 0 for a removed line
    QString Text;
};

// The shortest edit script from left to right, line by line, in order: lines in both are Same,
// lines only on the left Removed, only on the right Added. Line ends "\r\n", "\n" and "\r" are all
// line breaks; a missing break at the end is no difference.
QList<DiffLine> DiffLines(const QString& left, const QString& right);

// A unified view (with `context` lines around each change and "@@ -a,b +c,d @@" hunk heads), as a
// developer knows it from the command line; "" where the texts are the same line by line.
QString UnifiedDiff(const QString& left, const QString& right, const QString& leftName,
                    const QString& rightName, int context = 3);
