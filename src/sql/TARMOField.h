#pragma once

#include <QString>
#include <QVariant>

#include <memory>

class TARMOFields;

// One column or parameter of an object, with detail lines under it (its Children) for the tree.
class TARMOField {
public:
    explicit TARMOField(const QString& name = QString());
    ~TARMOField();
    TARMOField(const TARMOField&) = delete;
    TARMOField& operator=(const TARMOField&) = delete;

    const QString& Name() const { return mName; }
    void SetName(const QString& name) { mName = name; }
    // Created with the field; the reference stays valid as long as the field.
    TARMOFields& Children() { return *mChildren; }
    const TARMOFields& Children() const { return *mChildren; }
    // Stored for whoever wants them; nothing in the model fills them.
    const QVariant& Icon() const { return mIcon; }
    void SetIcon(const QVariant& icon) { mIcon = icon; }
    const QString& ExtraFunction() const { return mExtraFunction; }
    void SetExtraFunction(const QString& extraFunction) { mExtraFunction = extraFunction; }

    // The type line under a column or parameter: the type name, with "(precision, scale)" for
    // decimal and numeric and "(length)" for the character types.
    static QString TypeLine(const QString& type, const QString& precision, const QString& scale,
                            const QString& length);

private:
    QString mName;
    std::unique_ptr<TARMOFields> mChildren;
    QVariant mIcon;
    QString mExtraFunction;
};
