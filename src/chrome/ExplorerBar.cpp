#include "ExplorerBar.h"

#include <QLabel>
#include <QPushButton>
#include <QToolButton>
#include <QVBoxLayout>

namespace {
// A click on an entry may rebuild the panel from inside the entry's own signal, so a removed widget
// leaves the layout at once but is deleted only when control is back in the event loop.
void discard(QWidget* widget) {
    widget->hide();
    widget->setParent(nullptr);
    widget->deleteLater();
}
} // namespace

struct ExplorerBar::Entry {
    QString key;
    long command = 0;
    QWidget* widget = nullptr; // a QToolButton for a link, a QLabel for a text
};

struct ExplorerBar::Bar {
    QString key;
    QString title;
    QFrame* frame = nullptr;
    QToolButton* header = nullptr;
    QWidget* body = nullptr;
    QVBoxLayout* bodyLayout = nullptr;
    QList<Entry*> entries;
    ~Bar() { qDeleteAll(entries); }
};

ExplorerBar::ExplorerBar(QWidget* parent)
    : QScrollArea(parent)
    , mContent(new QWidget)
    , mLayout(new QVBoxLayout(mContent)) {
    mLayout->setContentsMargins(4, 4, 4, 4);
    mLayout->setSpacing(6);
    // The scroll area must not squeeze the bars below what their entries need; it scrolls instead.
    mLayout->setSizeConstraint(QLayout::SetMinimumSize);
    mLayout->addStretch();
    setWidget(mContent);
    setWidgetResizable(true);
    setFrameShape(QFrame::StyledPanel);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    mContent->setBackgroundRole(QPalette::Base);
    mContent->setAutoFillBackground(true);
}

ExplorerBar::~ExplorerBar() {
    qDeleteAll(mBars);
}

ExplorerBar::Bar* ExplorerBar::findBar(const QString& barKey) const {
    for (Bar* bar : mBars)
        if (bar->key.compare(barKey, Qt::CaseInsensitive) == 0)
            return bar;
    return nullptr;
}

ExplorerBar::Entry* ExplorerBar::findEntry(const Bar& bar, const QString& entryKey) const {
    for (Entry* entry : bar.entries)
        if (entry->key.compare(entryKey, Qt::CaseInsensitive) == 0)
            return entry;
    return nullptr;
}

bool ExplorerBar::HasBar(const QString& barKey) const {
    return findBar(barKey) != nullptr;
}

void ExplorerBar::AddBar(const QString& barKey, const QString& title, int state) {
    if (findBar(barKey))
        return;
    auto* bar = new Bar;
    bar->key = barKey;
    bar->title = title;
    bar->frame = new QFrame(mContent);
    bar->frame->setObjectName(QStringLiteral("bar:") + barKey);
    bar->frame->setFrameShape(QFrame::StyledPanel);
    auto* frameLayout = new QVBoxLayout(bar->frame);
    frameLayout->setContentsMargins(0, 0, 0, 0);
    frameLayout->setSpacing(0);
    bar->header = new QToolButton(bar->frame);
    bar->header->setText(title);
    bar->header->setCheckable(true);
    bar->header->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    bar->header->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    bar->header->setAutoRaise(true);
    QFont bold = bar->header->font();
    bold.setBold(true);
    bar->header->setFont(bold);
    bar->header->setBackgroundRole(QPalette::Button);
    bar->header->setAutoFillBackground(true);
    bar->body = new QWidget(bar->frame);
    bar->bodyLayout = new QVBoxLayout(bar->body);
    bar->bodyLayout->setContentsMargins(6, 4, 6, 4);
    bar->bodyLayout->setSpacing(1);
    frameLayout->addWidget(bar->header);
    frameLayout->addWidget(bar->body);
    connect(bar->header, &QToolButton::toggled, this, [this, bar](bool open) {
        bar->body->setVisible(open);
        bar->header->setArrowType(open ? Qt::DownArrow : Qt::RightArrow);
        emit BarStateChanged(bar->key, open ? 1 : 0);
    });
    bar->header->setChecked(state != 0);
    bar->body->setVisible(state != 0);
    bar->header->setArrowType(state != 0 ? Qt::DownArrow : Qt::RightArrow);
    mLayout->insertWidget(mLayout->count() - 1, bar->frame);
    mBars << bar;
}

void ExplorerBar::RemoveBar(const QString& barKey) {
    Bar* bar = findBar(barKey);
    if (!bar)
        return;
    mBars.removeOne(bar);
    discard(bar->frame);
    delete bar;
}

QStringList ExplorerBar::BarKeys() const {
    QStringList keys;
    for (const Bar* bar : mBars)
        keys << bar->key;
    return keys;
}

QString ExplorerBar::BarTitle(const QString& barKey) const {
    const Bar* bar = findBar(barKey);
    return bar ? bar->title : QString();
}

int ExplorerBar::BarState(const QString& barKey) const {
    const Bar* bar = findBar(barKey);
    return bar && bar->header->isChecked() ? 1 : 0;
}

void ExplorerBar::SetBarState(const QString& barKey, int state) {
    if (Bar* bar = findBar(barKey))
        bar->header->setChecked(state != 0);
}

bool ExplorerBar::HasEntry(const QString& barKey, const QString& entryKey) const {
    const Bar* bar = findBar(barKey);
    return bar && findEntry(*bar, entryKey);
}

void ExplorerBar::insertEntry(Bar& bar, Entry* entry, const QString& beforeKey) {
    int position = static_cast<int>(bar.entries.size());
    if (!beforeKey.isEmpty())
        if (Entry* before = findEntry(bar, beforeKey))
            position = static_cast<int>(bar.entries.indexOf(before));
    bar.entries.insert(position, entry);
    bar.bodyLayout->insertWidget(position, entry->widget);
}

void ExplorerBar::AddEntry(const QString& barKey, const QString& entryKey, const QString& text,
                           const QIcon& icon, long command, const QString& beforeKey) {
    Bar* bar = findBar(barKey);
    if (!bar || findEntry(*bar, entryKey))
        return;
    auto* entry = new Entry;
    entry->key = entryKey;
    entry->command = command;
    auto* link = new QPushButton(icon, text, bar->body);
    link->setObjectName(QStringLiteral("entry:") + entryKey);
    link->setFlat(true);
    link->setCursor(Qt::PointingHandCursor);
    link->setFocusPolicy(Qt::TabFocus);
    // A narrow panel clips a long caption rather than scrolling sideways; the whole caption is its tip.
    link->setToolTip(text);
    link->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    link->setStyleSheet(
        QStringLiteral("QPushButton { text-align: left; border: none; padding: 2px; color: palette(link); }"
                       "QPushButton:hover { text-decoration: underline; }"));
    entry->widget = link;
    connect(link, &QPushButton::clicked, this, [this, barKey, entryKey] { ClickEntry(barKey, entryKey); });
    insertEntry(*bar, entry, beforeKey);
}

void ExplorerBar::AddTextEntry(const QString& barKey, const QString& entryKey, const QString& text) {
    Bar* bar = findBar(barKey);
    if (!bar || findEntry(*bar, entryKey))
        return;
    auto* entry = new Entry;
    entry->key = entryKey;
    auto* label = new QLabel(text, bar->body);
    label->setObjectName(QStringLiteral("entry:") + entryKey);
    label->setWordWrap(true);
    label->setTextFormat(Qt::PlainText);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    entry->widget = label;
    insertEntry(*bar, entry, {});
}

void ExplorerBar::RemoveEntry(const QString& barKey, const QString& entryKey) {
    Bar* bar = findBar(barKey);
    if (!bar)
        return;
    if (Entry* entry = findEntry(*bar, entryKey)) {
        bar->entries.removeOne(entry);
        discard(entry->widget);
        delete entry;
    }
}

QStringList ExplorerBar::EntryKeys(const QString& barKey) const {
    QStringList keys;
    if (const Bar* bar = findBar(barKey))
        for (const Entry* entry : bar->entries)
            keys << entry->key;
    return keys;
}

QString ExplorerBar::EntryText(const QString& barKey, const QString& entryKey) const {
    const Bar* bar = findBar(barKey);
    const Entry* entry = bar ? findEntry(*bar, entryKey) : nullptr;
    if (!entry)
        return {};
    if (auto* link = qobject_cast<QPushButton*>(entry->widget))
        return link->text();
    if (auto* label = qobject_cast<QLabel*>(entry->widget))
        return label->text();
    return {};
}

long ExplorerBar::EntryCommand(const QString& barKey, const QString& entryKey) const {
    const Bar* bar = findBar(barKey);
    const Entry* entry = bar ? findEntry(*bar, entryKey) : nullptr;
    return entry ? entry->command : 0;
}

void ExplorerBar::ClickEntry(const QString& barKey, const QString& entryKey) {
    const Bar* bar = findBar(barKey);
    const Entry* entry = bar ? findEntry(*bar, entryKey) : nullptr;
    if (entry && entry->command)
        emit EntryClicked(entry->key, entry->command);
}

void ExplorerBar::SetRedraw(bool redraw) {
    if (redraw) {
        // Entries came and went while the panel was frozen: size the bars anew before it repaints.
        for (Bar* bar : std::as_const(mBars))
            bar->bodyLayout->activate();
        mLayout->activate();
        mContent->adjustSize();
    }
    mContent->setUpdatesEnabled(redraw);
}
