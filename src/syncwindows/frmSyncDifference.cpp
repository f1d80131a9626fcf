#include "frmSyncDifference.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QFontDatabase>
#include <QGridLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QStackedWidget>
#include <QTextBlock>
#include <QTextCursor>
#include <QVBoxLayout>

namespace {

// Tints over the palette's own base colour, so that the marks read on a light and a dark palette.
const QColor removedTint(230, 40, 40, 70);
const QColor addedTint(40, 190, 40, 70);
const QColor fillerTint(128, 128, 128, 40);
const QColor hunkTint(60, 110, 230, 60);

QPlainTextEdit* textView(QWidget* parent, const QString& name) {
    auto* view = new QPlainTextEdit(parent);
    view->setObjectName(name);
    view->setReadOnly(true);
    view->setLineWrapMode(QPlainTextEdit::NoWrap);
    view->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    return view;
}

QString numbered(int line, const QString& text, int width) {
    const QString number = line > 0 ? QString::number(line) : QString();
    return number.rightJustified(width) + QStringLiteral("  ") + text;
}

void tint(QPlainTextEdit* view, const QList<QColor>& colours) {
    QTextCursor cursor(view->document());
    cursor.beginEditBlock();
    int i = 0;
    for (QTextBlock block = view->document()->begin(); block.isValid(); block = block.next(), ++i) {
        const QColor colour = colours.value(i);
        if (!colour.isValid())
            continue;
        QTextBlockFormat format = block.blockFormat();
        format.setBackground(colour);
        cursor.setPosition(block.position());
        cursor.setBlockFormat(format);
    }
    cursor.endEditBlock();
}

} // namespace

frmSyncDifference::frmSyncDifference(QWidget* parent)
    : QDialog(parent) {
    setObjectName(QStringLiteral("frmSyncDifference"));

    mlblLeft = new QLabel(this);
    mlblRight = new QLabel(this);
    mtxtLeft = textView(this, QStringLiteral("txtLeft"));
    mtxtRight = textView(this, QStringLiteral("txtRight"));
    mtxtUnified = textView(this, QStringLiteral("txtUnified"));
    // Both sides have the same number of lines, so one scroll position fits both.
    for (auto [from, to] : {std::pair{mtxtLeft, mtxtRight}, std::pair{mtxtRight, mtxtLeft}}) {
        connect(from->verticalScrollBar(), &QScrollBar::valueChanged, to->verticalScrollBar(),
                &QScrollBar::setValue);
        connect(from->horizontalScrollBar(), &QScrollBar::valueChanged, to->horizontalScrollBar(),
                &QScrollBar::setValue);
    }

    auto* sides = new QWidget(this);
    auto* grid = new QGridLayout(sides);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->addWidget(mlblLeft, 0, 0);
    grid->addWidget(mlblRight, 0, 1);
    grid->addWidget(mtxtLeft, 1, 0);
    grid->addWidget(mtxtRight, 1, 1);
    mViews = new QStackedWidget(this);
    mViews->addWidget(sides);
    mViews->addWidget(mtxtUnified);

    mlblSummary = new QLabel(this);
    mlblSummary->setObjectName(QStringLiteral("lblSummary"));
    mchkUnified = new QCheckBox(QStringLiteral("&Unified view"), this);
    mchkUnified->setObjectName(QStringLiteral("chkUnified"));
    connect(mchkUnified, &QCheckBox::toggled, this, [this](bool on) { mViews->setCurrentIndex(on ? 1 : 0); });
    auto* close = new QDialogButtonBox(QDialogButtonBox::Close, this);
    connect(close, &QDialogButtonBox::rejected, this, &QDialog::reject);

    auto* bottom = new QHBoxLayout;
    bottom->addWidget(mlblSummary, 1);
    bottom->addWidget(mchkUnified);
    bottom->addWidget(close);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(mViews, 1);
    layout->addLayout(bottom);
    resize(980, 560);
}

void frmSyncDifference::ShowTexts(const QString& objectName, const QString& leftName, const QString& leftText,
                                  const QString& rightName, const QString& rightText) {
    setWindowTitle(QStringLiteral("Differences of ") + objectName);
    mlblLeft->setText(leftName);
    mlblRight->setText(rightName);
    const QList<DiffLine> lines = DiffLines(leftText, rightText);
    fillSides(SideBySide(lines));
    fillUnified(UnifiedDiff(leftText, rightText, leftName, rightName));

    int removed = 0, added = 0;
    for (const DiffLine& line : lines) {
        removed += line.Kind == DiffLine::Op::Removed;
        added += line.Kind == DiffLine::Op::Added;
    }
    mlblSummary->setText(
        removed + added == 0
            ? QStringLiteral("The texts are the same line by line; they differ in white space "
                             "at their ends only.")
            : QString::number(removed) + QStringLiteral(" line(s) only in the database, ") +
                  QString::number(added) + QStringLiteral(" line(s) only in VSS."));
}

QList<frmSyncDifference::SideBySideLine> frmSyncDifference::SideBySide(const QList<DiffLine>& lines) {
    QList<SideBySideLine> rows;
    QList<const DiffLine*> removed, added;
    const auto flush = [&] {
        for (qsizetype i = 0; i < std::max(removed.size(), added.size()); ++i) {
            SideBySideLine row;
            row.Differs = true;
            if (i < removed.size()) {
                row.LeftLine = removed[i]->LeftLine;
                row.LeftText = removed[i]->Text;
            }
            if (i < added.size()) {
                row.RightLine = added[i]->RightLine;
                row.RightText = added[i]->Text;
            }
            rows << row;
        }
        removed.clear();
        added.clear();
    };
    for (const DiffLine& line : lines) {
        if (line.Kind == DiffLine::Op::Removed) {
            removed << &line;
        } else if (line.Kind == DiffLine::Op::Added) {
            added << &line;
        } else {
            flush();
            rows << SideBySideLine{line.LeftLine, line.Text, line.RightLine, line.Text, false};
        }
    }
    flush();
    return rows;
}

void frmSyncDifference::fillSides(const QList<SideBySideLine>& lines) {
    int last = 1;
    for (const SideBySideLine& line : lines)
        last = std::max({last, line.LeftLine, line.RightLine});
    const int width = static_cast<int>(QString::number(last).size());
    QStringList left, right;
    QList<QColor> leftColours, rightColours;
    for (const SideBySideLine& line : lines) {
        left << numbered(line.LeftLine, line.LeftText, width);
        right << numbered(line.RightLine, line.RightText, width);
        leftColours << (!line.Differs ? QColor() : line.LeftLine ? removedTint : fillerTint);
        rightColours << (!line.Differs ? QColor() : line.RightLine ? addedTint : fillerTint);
    }
    mtxtLeft->setPlainText(left.join(QLatin1Char('\n')));
    mtxtRight->setPlainText(right.join(QLatin1Char('\n')));
    tint(mtxtLeft, leftColours);
    tint(mtxtRight, rightColours);
}

void frmSyncDifference::fillUnified(const QString& unified) {
    mtxtUnified->setPlainText(unified);
    // The two name lines stand before the first hunk; inside the hunks a removed SQL comment starts
    // with "---" as well.
    QList<QColor> colours;
    bool inHunks = false;
    for (const QString& line : unified.split(QLatin1Char('\n'))) {
        inHunks = inHunks || line.startsWith(QLatin1String("@@"));
        QColor colour;
        if (inHunks && line.startsWith(QLatin1String("@@")))
            colour = hunkTint;
        else if (inHunks && line.startsWith(QLatin1Char('-')))
            colour = removedTint;
        else if (inHunks && line.startsWith(QLatin1Char('+')))
            colour = addedTint;
        colours << colour;
    }
    tint(mtxtUnified, colours);
}
