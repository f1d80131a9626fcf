#pragma once

#include <QTreeWidget>

class ImageList;
class ObjectDispatch;
class TARMODBTItems;

// The Database Tree, tvwDBT: shows what the object model hands out as TARMODBTItem records and holds
// nothing else. A node carries a Key, a Tag, a text and a picture; its children are read when it is
// first opened, so each unopened node has one placeholder child (tag "temp") for its plus sign.
class DatabaseTree : public QTreeWidget {
    Q_OBJECT
public:
    DatabaseTree(const ImageList& images, QWidget* parent = nullptr);

    void SetDispatch(ObjectDispatch* dispatch) { mDispatch = dispatch; }

    static QString NodeKey(const QTreeWidgetItem* node);
    static QString NodeTag(const QTreeWidgetItem* node);
    static int NodeImage(const QTreeWidgetItem* node);
    static void SetNodeKey(QTreeWidgetItem* node, const QString& key);

    // Empties the tree and sets it up for the records (no sorting, no editing in place).
    void SetupTreeView();
    // Adds the records below parent (nullptr: the top level). A node whose key stands in strExpanded
    // (each key followed by ",") or whose record asks for it is opened and filled, so a refresh
    // reopens what was open.
    void AddItems(const TARMODBTItems& Items, QTreeWidgetItem* Parent, const QString& strExpanded,
                  bool bNested);
    // Re-reads one node and, unless it was never opened, its children, keeping open what was open.
    void RefreshNode(QTreeWidgetItem* Node);
    // The node with that key and tag, or nullptr.
    QTreeWidgetItem* FindNode(const QString& strTag, const QString& strKey) const;
    // Refreshes every top-level node.
    void RefreshAll();
    // Removes the direct children of a node.
    static void RemoveChildNodes(QTreeWidgetItem* Node);
    // The keys of all open nodes with a key, each followed by ",".
    QString ExpandedKeys() const;
    QTreeWidgetItem* SelectedNode() const;

    bool FillingTree() const { return mbFillingTree; }
    // The switch "Drag Subnodes": an opened table drags as the list of its columns.
    void SetDragSubnodes(bool value) { mbDragSubnodes = value; }
    bool DragSubnodes() const { return mbDragSubnodes; }
    QTreeWidgetItem* DragSource() const { return mnodDragSource; }
    void ClearDragSource() { mnodDragSource = nullptr; }
    // The text that a drag of the node hands out.
    QString DragText(QTreeWidgetItem* node) const;

signals:
    // A handler that opens the node's object sets `opened`; a node that opens nothing opens or
    // closes instead, so that one double click never does both.
    void NodeDoubleClicked(QTreeWidgetItem* node, bool& opened);
    void RightButtonReleased(QTreeWidgetItem* node, const QPoint& globalPos);
    // After any mouse release, after a drag, and after a key release: the context panel follows.
    void SelectionSettled();

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void keyReleaseEvent(QKeyEvent* event) override;
    void startDrag(Qt::DropActions supportedActions) override;
    QMimeData* mimeData(const QList<QTreeWidgetItem*>& items) const override;
    QStringList mimeTypes() const override;

private:
    void nodeExpanded(QTreeWidgetItem* node);
    bool hasPlaceholder(const QTreeWidgetItem* node) const;
    // False when the read failed and the node kept what it had.
    bool fillNode(QTreeWidgetItem* node, const QString& strExpanded, bool bNested);
    void openFromFill(QTreeWidgetItem* node);
    void applyRecordIcon(QTreeWidgetItem* node, const QString& imageName);

    const ImageList& mImages;
    ObjectDispatch* mDispatch = nullptr;
    bool mbFillingTree = false;
    // Nodes to open that AddItems made below a node not yet in the tree.
    QList<QTreeWidgetItem*> mPendingOpen;
    // Set while AddItems opens a node itself: that opening must stand.
    bool mbOpeningFromFill = false;
    bool mbDragSubnodes = false;
    QTreeWidgetItem* mnodDragSource = nullptr;
    QPoint mLastMousePos;
};
