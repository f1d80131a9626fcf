#pragma once

#include "QueryRunner.h"

#include <QAbstractTableModel>
#include <QColor>

// One row set under a grid of the result area. The first column numbers the rows from 1 in the
// colour of a button face; the others are the row set's columns. The values stay as they came, one
// list per column, and become text only for the cells drawn, so that a grid of a hundred thousand
// rows costs little more than its values.
class ResultGridModel : public QAbstractTableModel {
    Q_OBJECT
public:
    ResultGridModel(ResultGridData data, const QColor& numberBackground, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

    const ResultGridData& Data() const { return mData; }

private:
    ResultGridData mData;
    QColor mNumberBackground;
};
