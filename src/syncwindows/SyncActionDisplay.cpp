#include "SyncActionDisplay.h"

namespace {

// The left side has a light background and the right a dark one, so each side has its own shades
// of "will be added" green and "will be dropped" red.
const QColor black(0, 0, 0);
const QColor white(255, 255, 255);
const QColor leftRed(210, 0, 0);
const QColor leftGreen(0, 190, 0);
const QColor rightGreen(0, 255, 0);
const QColor rightRed(255, 0, 0);

// The next direction of a click: the left button goes round through "no action", the right button
// only flips between the two stores.
SyncDirection nextDirection(SyncDirection direction, bool rightButton) {
    switch (direction) {
    case SyncDirection::None:
        return SyncDirection::ToSql;
    case SyncDirection::ToSql:
        return SyncDirection::ToVss;
    case SyncDirection::ToVss:
        break;
    }
    return rightButton ? SyncDirection::ToSql : SyncDirection::None;
}

} // namespace

const QColor SyncActionDisplay::SQLBackground(240, 235, 255);
const QColor SyncActionDisplay::VSSBackground(27, 20, 100);

void SyncActionDisplay::AddRow(const QString& key, const QString& tag, int kind, const QString& name,
                               const QString& typeName) {
    SyncActionRow row;
    row.Key = key;
    row.Tag = tag;
    row.Kind = kind;
    row.Name = name;
    row.TypeName = typeName;
    row.SQLColour = black;
    row.VSSColour = white;
    if (kind != 2) {
        row.SQLName = name;
        row.SQLType = typeName;
    }
    if (kind != 1) {
        row.VSSName = name;
        row.VSSType = typeName;
    }
    mRows << row;
}

void SyncActionDisplay::SetAllDirections(SyncDirection direction) {
    for (SyncActionRow& row : mRows)
        row.Direction = direction;
    Rebuild();
}

void SyncActionDisplay::LeftClick(int index) {
    if (index < 0 || index >= Count())
        return;
    mRows[index].Direction = nextDirection(mRows[index].Direction, false);
    Rebuild();
}

std::pair<int, int> SyncActionDisplay::RightClick(int index) {
    if (index < 0 || index >= Count())
        return {-1, -1};
    const SyncDirection was = mRows[index].Direction;
    const int kind = mRows[index].Kind;
    const auto alike = [&](int i) { return mRows[i].Direction == was && mRows[i].Kind == kind; };
    int first = index;
    while (first > 0 && alike(first - 1))
        --first;
    int last = index;
    while (last + 1 < Count() && alike(last + 1))
        ++last;
    const SyncDirection next = nextDirection(was, true);
    for (int i = first; i <= last; ++i)
        mRows[i].Direction = next;
    Rebuild();
    return {first, last};
}

void SyncActionDisplay::RemoveRow(int index) {
    if (index >= 0 && index < Count())
        mRows.removeAt(index);
}

void SyncActionDisplay::Rebuild() {
    findBlocks();
    for (SyncActionRow& row : mRows) {
        row.IconKey = IconKey(row.Kind, row.Direction, row.Position);
        showAction(row);
    }
}

// A block is an unbroken run of rows with the same direction and kind. The rows of a block of
// "no action" rows get positions too, but their pictures have no frame.
void SyncActionDisplay::findBlocks() {
    for (int i = 0; i < Count(); ++i) {
        SyncActionRow& row = mRows[i];
        row.Position = 0;
        if (i > 0) {
            SyncActionRow& before = mRows[i - 1];
            if (row.Direction == before.Direction && row.Kind == before.Kind) {
                row.Position = 2;
                if (before.Position == 0)
                    before.Position = 1;
            } else if (before.Position != 0) {
                before.Position = 3;
            }
        }
        if (i == Count() - 1 && row.Position == 2)
            row.Position = 3;
    }
}

// The side that is to change shows what it will look like: a name to be added appears on the empty
// side, a name to be dropped turns red, a text to be replaced turns green. A colour the table leaves
// out stays as it was: that side's text is empty then.
void SyncActionDisplay::showAction(SyncActionRow& row) {
    const bool toSql = row.Direction == SyncDirection::ToSql;
    const bool toVss = row.Direction == SyncDirection::ToVss;
    const bool onSqlSide = row.Kind != 2 || toSql;
    const bool onVssSide = row.Kind != 1 || toVss;
    row.SQLName = onSqlSide ? row.Name : QString();
    row.SQLType = onSqlSide ? row.TypeName : QString();
    row.VSSName = onVssSide ? row.Name : QString();
    row.VSSType = onVssSide ? row.TypeName : QString();

    if (row.Direction == SyncDirection::None) {
        row.SQLColour = black;
        row.VSSColour = white;
    } else if (toSql) {
        row.SQLColour = row.Kind == 1 ? leftRed : leftGreen;
        if (row.Kind != 1)
            row.VSSColour = white;
    } else {
        if (row.Kind != 2)
            row.SQLColour = black;
        row.VSSColour = row.Kind == 2 ? rightRed : rightGreen;
    }
}

QString SyncActionDisplay::ActionWord(int kind, SyncDirection direction) {
    if (direction == SyncDirection::None)
        return QStringLiteral("NRM");
    if (kind == 3)
        return QStringLiteral("CNG");
    const bool adds = (kind == 1) == (direction == SyncDirection::ToVss);
    return adds ? QStringLiteral("ADD") : QStringLiteral("DEL");
}

QString SyncActionDisplay::IconKey(int kind, SyncDirection direction, int position) {
    if (direction == SyncDirection::None)
        return QStringLiteral("NRM");
    const bool toSql = direction == SyncDirection::ToSql;
    QString key = ActionWord(kind, direction) + (toSql ? QStringLiteral(":L") : QStringLiteral(":R"));
    if (position == 0)
        return key;
    key += toSql ? QStringLiteral(":R") : QStringLiteral(":G");
    switch (position) {
    case 1:
        return key + QStringLiteral(":LTR");
    case 2:
        return key + QStringLiteral(":LR");
    default:
        return key + QStringLiteral(":LBR");
    }
}

SyncDirection SyncActionDisplay::DirectionOfKey(const QString& key) {
    const QString letter = key.section(QLatin1Char(':'), 1, 1);
    if (letter == QLatin1String("L"))
        return SyncDirection::ToSql;
    if (letter == QLatin1String("R"))
        return SyncDirection::ToVss;
    return SyncDirection::None;
}

QStringList SyncActionDisplay::AllIconKeys() {
    QStringList keys{QStringLiteral("NRM"),   QStringLiteral("ADD:L"), QStringLiteral("ADD:R"),
                     QStringLiteral("CNG:L"), QStringLiteral("CNG:R"), QStringLiteral("DEL:L"),
                     QStringLiteral("DEL:R")};
    for (const char* plain : {"DEL:R", "DEL:L", "CNG:R", "CNG:L", "ADD:R", "ADD:L", "NRM"})
        for (const char* colour : {":G", ":R"})
            for (const char* edges : {":LTR", ":LR", ":LBR"})
                keys << QLatin1String(plain) + QLatin1String(colour) + QLatin1String(edges);
    return keys;
}
