#include "DatabaseTree.h"

#include "ErrorReport.h"
#include "ImageList.h"
#include "ObjectDispatch.h"
#include "UserPrompts.h"

#include <QHeaderView>
#include <QKeyEvent>
#include <QMimeData>
#include <QMouseEvent>

#include <utility>

namespace {
constexpr int KeyRole = Qt::UserRole;
constexpr int TagRole = Qt::UserRole + 1;
constexpr int ImageRole = Qt::UserRole + 2;
const QString placeholderTag = QStringLiteral("temp");
} // namespace

DatabaseTree::DatabaseTree(const ImageList& images, QWidget* parent)
    : QTreeWidget(parent)
    , mImages(images) {
    setObjectName(QStringLiteral("tvwDBT"));
    setHeaderHidden(true);
    setColumnCount(1);
    setRootIsDecorated(true);
    setSortingEnabled(false);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    // A double click opens an object's window; the tree decides itself whether it opens the node.
    setExpandsOnDoubleClick(false);
    setSelectionMode(QAbstractItemView::SingleSelection);
    setDragEnabled(true);
    setDragDropMode(QAbstractItemView::DragOnly);
    setIndentation(17); // 250 twips
    setUniformRowHeights(true);
    connect(this, &QTreeWidget::itemExpanded, this, &DatabaseTree::nodeExpanded);
}

QString DatabaseTree::NodeKey(const QTreeWidgetItem* node) {
    return node ? node->data(0, KeyRole).toString() : QString();
}
QString DatabaseTree::NodeTag(const QTreeWidgetItem* node) {
    return node ? node->data(0, TagRole).toString() : QString();
}
int DatabaseTree::NodeImage(const QTreeWidgetItem* node) {
    return node ? node->data(0, ImageRole).toInt() : 0;
}

void DatabaseTree::SetNodeKey(QTreeWidgetItem* node, const QString& key) {
    node->setData(0, KeyRole, key);
}

void DatabaseTree::SetupTreeView() {
    mnodDragSource = nullptr;
    clear();
}

void DatabaseTree::applyRecordIcon(QTreeWidgetItem* node, const QString& imageName) {
    const int index = imageName.isEmpty() ? -1 : mImages.GetIconIndex(imageName, false);
    if (index > 0) {
        node->setIcon(0, mImages.IconAt(index));
        node->setData(0, ImageRole, index);
    } else {
        node->setIcon(0, QIcon());
        node->setData(0, ImageRole, 0);
    }
}

void DatabaseTree::AddItems(const TARMODBTItems& Items, QTreeWidgetItem* Parent, const QString& strExpanded,
                            bool bNested) {
    if (!bNested)
        mbFillingTree = true;
    // The nodes of one level are made apart from the tree and handed over in one go: a view that
    // takes thousands of rows one by one redoes its layout for each.
    QList<QTreeWidgetItem*> nodes;
    QList<QTreeWidgetItem*> toOpen;
    const QString expanded = QLatin1Char(',') + strExpanded;
    Items.ForEach([&](const TARMODBTItem& item) {
        if (item.RemoveItem)
            return;
        auto* node = new QTreeWidgetItem;
        if (!item.Key.isEmpty())
            node->setData(0, KeyRole, item.Key);
        node->setText(0, item.Text);
        // A narrow tree cuts long names ("CustomerTotal (Checked out by ...)"): the tip holds it whole.
        node->setToolTip(0, item.ToolTipText().isEmpty() ? item.Text : item.ToolTipText());
        applyRecordIcon(node, item.ImageName);
        node->setData(0, TagRole, item.Tag);
        AddItems(item.Children(), node, strExpanded, true);
        nodes.append(node);
        // Whole keys only: "I12," must not match inside "I112,".
        const QString key = NodeKey(node);
        if ((!strExpanded.isEmpty() && !key.isEmpty() &&
             expanded.contains(QLatin1Char(',') + key + QLatin1Char(','))) ||
            item.AutoExpand)
            toOpen.append(node);
    });
    if (Parent)
        Parent->addChildren(nodes);
    else
        addTopLevelItems(nodes);
    // Opening a node reads its children, so it waits until the node stands in the tree: nodes of a
    // level still apart from it are opened by the call that hands their level over.
    if (Parent && !Parent->treeWidget()) {
        mPendingOpen += toOpen;
    } else {
        const QList<QTreeWidgetItem*> open = std::exchange(mPendingOpen, {}) + toOpen;
        for (QTreeWidgetItem* node : open) {
            openFromFill(node);
            if (hasPlaceholder(node))
                fillNode(node, strExpanded, true);
        }
    }
    if (!bNested)
        mbFillingTree = false;
}

void DatabaseTree::openFromFill(QTreeWidgetItem* node) {
    const bool before = mbOpeningFromFill;
    mbOpeningFromFill = true;
    node->setExpanded(true);
    mbOpeningFromFill = before;
}

bool DatabaseTree::hasPlaceholder(const QTreeWidgetItem* node) const {
    return node->childCount() > 0 && NodeTag(node->child(0)) == placeholderTag;
}

bool DatabaseTree::fillNode(QTreeWidgetItem* node, const QString& strExpanded, bool bNested) {
    if (!mDispatch) {
        RemoveChildNodes(node);
        return true;
    }
    // The read itself can be long and lets events through: an opening meanwhile must not start a
    // second fill.
    const bool wasFilling = mbFillingTree;
    mbFillingTree = true;
    std::unique_ptr<TARMODBTItems> items;
    // A read that fails leaves the node as it was, placeholder and all, so that opening it again
    // tries again; it is closed, since it shows nothing it could hold.
    const bool read =
        Guarded([&] { items = mDispatch->GetItemInfo(NodeTag(node), NodeKey(node), false, true); });
    mbFillingTree = wasFilling;
    if (!read) {
        if (hasPlaceholder(node))
            node->setExpanded(false);
        return false;
    }
    RemoveChildNodes(node);
    if (items)
        AddItems(*items, node, strExpanded, bNested);
    return true;
}

void DatabaseTree::nodeExpanded(QTreeWidgetItem* node) {
    if (mbOpeningFromFill)
        return;
    if (mbFillingTree) {
        node->setExpanded(false);
        return;
    }
    if (!hasPlaceholder(node))
        return;
    BusyCursor busy;
    fillNode(node, QString(), false);
}

void DatabaseTree::RemoveChildNodes(QTreeWidgetItem* Node) {
    if (!Node)
        return;
    // From the highest index down, since the indexes move on removal.
    for (int i = Node->childCount() - 1; i >= 0; --i)
        delete Node->takeChild(i);
}

QString DatabaseTree::ExpandedKeys() const {
    QString keys;
    for (QTreeWidgetItemIterator it(const_cast<DatabaseTree*>(this)); *it; ++it)
        if ((*it)->isExpanded() && !NodeKey(*it).isEmpty())
            keys += NodeKey(*it) + QLatin1Char(',');
    return keys;
}

void DatabaseTree::RefreshNode(QTreeWidgetItem* Node) {
    if (!Node || !mDispatch)
        return;
    BusyCursor busy;
    std::unique_ptr<TARMODBTItem> record;
    if (!Guarded([&] { record = mDispatch->RefreshItem(NodeTag(Node), NodeKey(Node)); }) || !record)
        return;
    if (record->RemoveItem) {
        if (mnodDragSource == Node)
            mnodDragSource = nullptr;
        delete Node;
    } else {
        setUpdatesEnabled(false);
        applyRecordIcon(Node, record->ImageName);
        Node->setData(0, KeyRole, record->Key);
        Node->setData(0, TagRole, record->Tag);
        Node->setText(0, record->Text);
        Node->setToolTip(0, record->ToolTipText().isEmpty() ? record->Text : record->ToolTipText());
        const QString strExpanded = ExpandedKeys();
        if (!hasPlaceholder(Node)) {
            const bool wasOpen = Node->isExpanded();
            fillNode(Node, strExpanded, false);
            // Filled again but closed, it would show no plus sign for what it holds.
            if (wasOpen)
                openFromFill(Node);
        }
        setUpdatesEnabled(true);
    }
    if (QTreeWidgetItem* selected = SelectedNode())
        scrollToItem(selected);
}

QTreeWidgetItem* DatabaseTree::FindNode(const QString& strTag, const QString& strKey) const {
    for (QTreeWidgetItemIterator it(const_cast<DatabaseTree*>(this)); *it; ++it)
        if (NodeKey(*it) == strKey && NodeTag(*it) == strTag)
            return *it;
    return nullptr;
}

void DatabaseTree::RefreshAll() {
    QList<QTreeWidgetItem*> roots;
    for (int i = 0; i < topLevelItemCount(); ++i)
        roots << topLevelItem(i);
    for (QTreeWidgetItem* root : roots)
        RefreshNode(root);
    viewport()->update();
}

QTreeWidgetItem* DatabaseTree::SelectedNode() const {
    const auto selected = selectedItems();
    return selected.isEmpty() ? nullptr : selected.first();
}

QString DatabaseTree::DragText(QTreeWidgetItem* node) const {
    if (!node)
        return {};
    if (mbDragSubnodes && NodeTag(node) == QLatin1String("Table")) {
        QStringList columns;
        for (int i = 0; i < node->childCount(); ++i) {
            QTreeWidgetItem* child = node->child(i);
            // A column has detail lines below it, and they have no tag.
            if (child->childCount() > 0 && NodeTag(child->child(0)).isEmpty())
                columns << child->text(0);
        }
        if (!columns.isEmpty())
            return columns.join(QStringLiteral(",\r\n"));
    }
    return node->text(0);
}

QStringList DatabaseTree::mimeTypes() const {
    return {QStringLiteral("text/plain")};
}

QMimeData* DatabaseTree::mimeData(const QList<QTreeWidgetItem*>&) const {
    if (!mnodDragSource)
        return nullptr;
    auto* dragged = new QMimeData;
    dragged->setText(DragText(mnodDragSource));
    return dragged;
}

void DatabaseTree::startDrag(Qt::DropActions supportedActions) {
    if (!mnodDragSource)
        return;
    QTreeWidget::startDrag(supportedActions | Qt::CopyAction);
    if (mnodDragSource) {
        setCurrentItem(mnodDragSource);
        mnodDragSource = nullptr;
    }
    emit SelectionSettled();
}

void DatabaseTree::mousePressEvent(QMouseEvent* event) {
    mnodDragSource = itemAt(event->position().toPoint());
    QTreeWidget::mousePressEvent(event);
}

void DatabaseTree::mouseMoveEvent(QMouseEvent* event) {
    mLastMousePos = event->position().toPoint();
    QTreeWidget::mouseMoveEvent(event);
}

void DatabaseTree::mouseReleaseEvent(QMouseEvent* event) {
    QTreeWidget::mouseReleaseEvent(event);
    if (event->button() == Qt::RightButton)
        emit RightButtonReleased(itemAt(event->position().toPoint()), event->globalPosition().toPoint());
    mnodDragSource = nullptr;
    emit SelectionSettled();
}

void DatabaseTree::mouseDoubleClickEvent(QMouseEvent* event) {
    mLastMousePos = event->position().toPoint();
    QTreeWidget::mouseDoubleClickEvent(event);
    QTreeWidgetItem* node = itemAt(mLastMousePos);
    if (node)
        setCurrentItem(node);
    bool opened = false;
    emit NodeDoubleClicked(node, opened);
    if (node && !opened && node->childCount() > 0)
        node->setExpanded(!node->isExpanded());
    emit SelectionSettled();
}

void DatabaseTree::keyReleaseEvent(QKeyEvent* event) {
    QTreeWidget::keyReleaseEvent(event);
    emit SelectionSettled();
}
