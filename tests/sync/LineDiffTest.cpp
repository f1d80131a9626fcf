#include "LineDiff.h"
#include "TestSupport.h"

#include <QRandomGenerator>

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace {

// The script written as one mark and line number(s) per line: "=1,1", "-2", "+3".
QStringList marks(const QList<DiffLine>& script) {
    QStringList out;
    for (const DiffLine& line : script) {
        switch (line.Kind) {
        case DiffLine::Op::Same:
            out << QStringLiteral("=%1,%2 %3").arg(line.LeftLine).arg(line.RightLine).arg(line.Text);
            break;
        case DiffLine::Op::Removed:
            out << QStringLiteral("-%1 %2").arg(line.LeftLine).arg(line.Text);
            break;
        case DiffLine::Op::Added:
            out << QStringLiteral("+%1 %2").arg(line.RightLine).arg(line.Text);
            break;
        }
    }
    return out;
}

QString numbered(int from, int to, const QString& separator = QStringLiteral("\n")) {
    QStringList lines;
    for (int n = from; n <= to; ++n)
        lines << QString::number(n);
    return lines.join(separator);
}

// The length of a longest common subsequence, by the plain table: the number of Same lines that a
// shortest script must reach.
int commonLines(const QStringList& a, const QStringList& b) {
    std::vector<std::vector<int>> table(size_t(a.size() + 1), std::vector<int>(size_t(b.size() + 1), 0));
    for (qsizetype i = a.size() - 1; i >= 0; --i)
        for (qsizetype j = b.size() - 1; j >= 0; --j)
            table[size_t(i)][size_t(j)] =
                a[i] == b[j] ? table[size_t(i + 1)][size_t(j + 1)] + 1
                             : std::max(table[size_t(i + 1)][size_t(j)], table[size_t(i)][size_t(j + 1)]);
    return table[0][0];
}

// Replays a script on the left lines, checking that it walks both sides in order without a gap.
QStringList replay(const QList<DiffLine>& script, const QStringList& left) {
    QStringList right;
    int leftAt = 0;
    int rightAt = 0;
    for (const DiffLine& line : script) {
        if (line.Kind != DiffLine::Op::Added) {
            EXPECT_EQ(line.LeftLine, ++leftAt);
            EXPECT_EQ(line.Text, left.value(leftAt - 1));
        }
        if (line.Kind != DiffLine::Op::Removed) {
            EXPECT_EQ(line.RightLine, ++rightAt);
            right << line.Text;
        }
    }
    EXPECT_EQ(leftAt, left.size());
    return right;
}

} // namespace

TEST(LineDiffTest, EmptyTextsAndLineEnds) {
    EXPECT_TRUE(DiffLines(QString(), QString()).isEmpty());
    EXPECT_EQ(marks(DiffLines(QString(), QStringLiteral("a\nb\n"))), (QStringList{"+1 a", "+2 b"}));
    EXPECT_EQ(marks(DiffLines(QStringLiteral("a"), QString())), QStringList{"-1 a"});
    // Windows, Unix and old Mac line ends are all breaks, and a last line without one is no change.
    EXPECT_EQ(marks(DiffLines(QStringLiteral("a\r\nb\r\n"), QStringLiteral("a\nb"))),
              (QStringList{"=1,1 a", "=2,2 b"}));
    EXPECT_EQ(marks(DiffLines(QStringLiteral("a\rb"), QStringLiteral("a\r\nb\n"))),
              (QStringList{"=1,1 a", "=2,2 b"}));
    EXPECT_EQ(UnifiedDiff(QStringLiteral("a\r\nb\r\n"), QStringLiteral("a\nb"), "sql", "vss"), QString());
    // An empty line at the end is a line.
    EXPECT_EQ(marks(DiffLines(QStringLiteral("a\n"), QStringLiteral("a\n\n"))),
              (QStringList{"=1,1 a", "+2 "}));
    EXPECT_EQ(UnifiedDiff(QString(), QStringLiteral("x"), "sql", "vss"),
              QStringLiteral("--- sql\n+++ vss\n@@ -0,0 +1 @@\n+x\n"));
}

TEST(LineDiffTest, InsertsAtBothEndsAndAReplacedBlock) {
    EXPECT_EQ(marks(DiffLines(QStringLiteral("b\nc"), QStringLiteral("a\nb\nc\nd"))),
              (QStringList{"+1 a", "=1,2 b", "=2,3 c", "+4 d"}));

    QString right = numbered(1, 4) + QStringLiteral("\nX\nY\nZ\n") + numbered(7, 10);
    EXPECT_EQ(marks(DiffLines(numbered(1, 10), right)).mid(3, 6),
              (QStringList{"=4,4 4", "-5 5", "-6 6", "+5 X", "+6 Y", "+7 Z"}));
    EXPECT_EQ(UnifiedDiff(numbered(1, 10), right, "a", "b"),
              QStringLiteral("--- a\n+++ b\n@@ -2,8 +2,9 @@\n 2\n 3\n 4\n-5\n-6\n+X\n+Y\n+Z\n 7\n 8\n 9\n"));

    // Changes more than twice the context apart are two hunks; closer ones share one.
    right = numbered(1, 20);
    right.replace(QStringLiteral("\n2\n"), QStringLiteral("\ntwo\n"))
        .replace(QStringLiteral("\n18\n"), "\neighteen\n");
    const QString twoHunks = UnifiedDiff(numbered(1, 20), right, "a", "b", 2);
    EXPECT_EQ(twoHunks, QStringLiteral("--- a\n+++ b\n@@ -1,4 +1,4 @@\n 1\n-2\n+two\n 3\n 4\n"
                                       "@@ -16,5 +16,5 @@\n 16\n 17\n-18\n+eighteen\n 19\n 20\n"));
    const QString oneHunk = UnifiedDiff(numbered(1, 20), right, "a", "b", 8);
    EXPECT_EQ(oneHunk.count(QStringLiteral("@@ -")), 1);
    EXPECT_TRUE(oneHunk.contains(QStringLiteral("@@ -1,20 +1,20 @@")));
}

// Random texts over a few distinct lines (so that lines repeat, as in real code): the script turns
// the left text into the right one, numbers both sides without a gap, and is a shortest one.
TEST(LineDiffTest, ScriptTurnsLeftIntoRightAndIsShortest) {
    QRandomGenerator random(20261124);
    const QStringList alphabet{"BEGIN", "END", "SELECT 1", "", "  RETURN", "GO"};
    const auto randomLines = [&] {
        QStringList lines;
        for (int n = int(random.bounded(30)); n > 0; --n)
            lines << alphabet[random.bounded(int(alphabet.size()))];
        // An empty last line would read as the break of the line before it.
        if (!lines.isEmpty() && lines.last().isEmpty())
            lines.last() = QStringLiteral("GO");
        return lines;
    };
    for (int round = 0; round < 200; ++round) {
        const QStringList left = randomLines();
        const QStringList right = randomLines();
        const QList<DiffLine> script = DiffLines(left.join('\n'), right.join(QStringLiteral("\r\n")));
        ASSERT_EQ(replay(script, left), right) << round;
        const auto same = std::count_if(script.begin(), script.end(),
                                        [](const DiffLine& line) { return line.Kind == DiffLine::Op::Same; });
        ASSERT_EQ(same, commonLines(left, right)) << round;
    }
}

// Two large texts with nothing in common come back at once, as one replaced block.
TEST(LineDiffTest, HugeDifferentTextsAreOneReplacedBlock) {
    const QString left = numbered(1, 15000);
    const QString right = numbered(1, 15000, QStringLiteral("x\n"));
    const QList<DiffLine> script = DiffLines(left, right);
    EXPECT_EQ(replay(script, left.split('\n')), right.split('\n'));
    EXPECT_EQ(script.size(), 29999); // the last lines are the same
}
