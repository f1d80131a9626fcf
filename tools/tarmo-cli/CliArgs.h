#pragma once

#include <QString>
#include <QStringList>

// Takes "--name VALUE" out of the arguments; value stays as it was when the option isn't there.
// False when the option is there without a value.
inline bool takeOption(QStringList& args, const QString& name, QString& value) {
    const qsizetype at = args.indexOf(name);
    if (at < 0)
        return true;
    if (at + 1 >= args.size())
        return false;
    value = args.at(at + 1);
    args.remove(at, 2);
    return true;
}

inline bool takeFlag(QStringList& args, const QString& name) {
    return args.removeAll(name) > 0;
}
