#include "ResultGridModel.h"

ResultGridModel::ResultGridModel(ResultGridData data, const QColor& numberBackground, QObject* parent)
    : QAbstractTableModel(parent)
    , mData(std::move(data))
    , mNumberBackground(numberBackground) {}

int ResultGridModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(mData.rowCount);
}

int ResultGridModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(mData.columns.size()) + 1;
}

QVariant ResultGridModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= mData.rowCount)
        return {};
    const bool number = index.column() == 0;
    switch (role) {
    case Qt::DisplayRole:
    case Qt::EditRole:
        return number ? QString::number(index.row() + 1) : mData.Text(index.row(), index.column() - 1);
    case Qt::BackgroundRole:
        return number ? QVariant(mNumberBackground) : QVariant();
    default:
        return {};
    }
}

QVariant ResultGridModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (role != Qt::DisplayRole)
        return {};
    if (orientation == Qt::Vertical)
        return section + 1;
    return section > 0 ? QVariant(mData.columns.value(section - 1)) : QVariant(QString());
}

Qt::ItemFlags ResultGridModel::flags(const QModelIndex& index) const {
    if (!index.isValid())
        return Qt::NoItemFlags;
    // The numbers aren't values of the row set: they can't be selected.
    return index.column() == 0 ? Qt::ItemIsEnabled : Qt::ItemIsEnabled | Qt::ItemIsSelectable;
}
