#include "LineDiff.h"

#include <dtl/dtl.hpp>

#include <QRegularExpression>

#include <algorithm>
#include <vector>

namespace {

// Beyond this many lines in the part that differs, the shortest script costs more time than a
// reader gains from it: the whole part counts as replaced.
constexpr qsizetype kMaxDiffedLines = 20000;

QStringList linesOf(const QString& text) {
    static const QRegularExpression lineBreak(QStringLiteral("\r\n|\n|\r"));
    QStringList lines = text.split(lineBreak);
    if (!lines.isEmpty() && lines.last().isEmpty())
        lines.removeLast();
    return lines;
}

void append(QList<DiffLine>& script, DiffLine::Op op, int left, int right, const QString& text) {
    script.append({op, op == DiffLine::Op::Added ? 0 : left, op == DiffLine::Op::Removed ? 0 : right, text});
}

// The lines between the common start and the common end, [from, leftEnd) against [from, rightEnd).
void diffMiddle(const QStringList& left, const QStringList& right, qsizetype from, qsizetype leftEnd,
                qsizetype rightEnd, QList<DiffLine>& script) {
    const std::vector<QString> a(left.begin() + from, left.begin() + leftEnd);
    const std::vector<QString> b(right.begin() + from, right.begin() + rightEnd);
    if (qsizetype(a.size()) + qsizetype(b.size()) > kMaxDiffedLines || a.empty() || b.empty()) {
        for (qsizetype i = 0; i < qsizetype(a.size()); ++i)
            append(script, DiffLine::Op::Removed, int(from + i + 1), 0, a[size_t(i)]);
        for (qsizetype i = 0; i < qsizetype(b.size()); ++i)
            append(script, DiffLine::Op::Added, 0, int(from + i + 1), b[size_t(i)]);
        return;
    }
    dtl::Diff<QString, std::vector<QString>> diff(a, b);
    diff.onHuge();
    diff.compose();
    // Within a changed block the removed lines come before the added ones, as a reader expects. The
    // line numbers are counted here rather than taken from the library, whose indices depend on
    // how it swapped the two sides.
    QList<DiffLine> added;
    int leftLine = int(from);
    int rightLine = int(from);
    for (const auto& element : diff.getSes().getSequence()) {
        const QString& text = element.first;
        if (element.second.type == dtl::SES_ADD) {
            added.append({DiffLine::Op::Added, 0, ++rightLine, text});
            continue;
        }
        if (element.second.type == dtl::SES_DELETE) {
            append(script, DiffLine::Op::Removed, ++leftLine, 0, text);
            continue;
        }
        script += added;
        added.clear();
        ++leftLine;
        ++rightLine;
        append(script, DiffLine::Op::Same, leftLine, rightLine, text);
    }
    script += added;
}

QString range(int start, int count) {
    // A hunk with no lines on one side names the line before it, as diff and patch have it.
    if (count == 0)
        return QString::number(start - 1) + QStringLiteral(",0");
    return count == 1 ? QString::number(start)
                      : QString::number(start) + QLatin1Char(',') + QString::number(count);
}

} // namespace

QList<DiffLine> DiffLines(const QString& left, const QString& right) {
    const QStringList a = linesOf(left);
    const QStringList b = linesOf(right);
    qsizetype head = 0;
    while (head < a.size() && head < b.size() && a[head] == b[head])
        ++head;
    qsizetype tail = 0;
    while (tail < a.size() - head && tail < b.size() - head &&
           a[a.size() - 1 - tail] == b[b.size() - 1 - tail])
        ++tail;

    QList<DiffLine> script;
    script.reserve(std::max(a.size(), b.size()));
    for (qsizetype i = 0; i < head; ++i)
        append(script, DiffLine::Op::Same, int(i + 1), int(i + 1), a[i]);
    diffMiddle(a, b, head, a.size() - tail, b.size() - tail, script);
    for (qsizetype i = tail; i > 0; --i)
        append(script, DiffLine::Op::Same, int(a.size() - i + 1), int(b.size() - i + 1), a[a.size() - i]);
    return script;
}

QString UnifiedDiff(const QString& left, const QString& right, const QString& leftName,
                    const QString& rightName, int context) {
    const QList<DiffLine> script = DiffLines(left, right);
    context = std::max(context, 0);
    QString out;
    qsizetype at = 0;
    while (at < script.size()) {
        // The next change, and the hunk around it: changes closer than twice the context join.
        while (at < script.size() && script[at].Kind == DiffLine::Op::Same)
            ++at;
        if (at == script.size())
            break;
        const qsizetype start = std::max<qsizetype>(at - context, 0);
        qsizetype end = at;
        for (qsizetype same = 0; end < script.size(); ++end) {
            same = script[end].Kind == DiffLine::Op::Same ? same + 1 : 0;
            if (same > 2 * qsizetype(context))
                break;
        }
        // Trim the trailing context to `context` lines.
        qsizetype trailing = 0;
        while (trailing < end - start && script[end - 1 - trailing].Kind == DiffLine::Op::Same)
            ++trailing;
        end -= std::max<qsizetype>(trailing - context, 0);

        int leftStart = 0, rightStart = 0, leftCount = 0, rightCount = 0;
        int leftBefore = 0, rightBefore = 0; // the last line of each side before the hunk
        for (qsizetype i = 0; i < start; ++i) {
            if (script[i].Kind != DiffLine::Op::Added)
                leftBefore = script[i].LeftLine;
            if (script[i].Kind != DiffLine::Op::Removed)
                rightBefore = script[i].RightLine;
        }
        QString body;
        for (qsizetype i = start; i < end; ++i) {
            const DiffLine& line = script[i];
            const QChar mark = line.Kind == DiffLine::Op::Same      ? QLatin1Char(' ')
                               : line.Kind == DiffLine::Op::Removed ? QLatin1Char('-')
                                                                    : QLatin1Char('+');
            if (line.Kind != DiffLine::Op::Added)
                ++leftCount;
            if (line.Kind != DiffLine::Op::Removed)
                ++rightCount;
            body += mark + line.Text + QLatin1Char('\n');
        }
        leftStart = leftBefore + 1;
        rightStart = rightBefore + 1;
        if (out.isEmpty())
            out =
                QStringLiteral("--- ") + leftName + QStringLiteral("\n+++ ") + rightName + QLatin1Char('\n');
        out += QStringLiteral("@@ -") + range(leftStart, leftCount) + QStringLiteral(" +") +
               range(rightStart, rightCount) + QStringLiteral(" @@\n") + body;
        at = end;
    }
    return out;
}
