#include "frmEditObjectPermissions.h"

#include "CoreDispatch.h"
#include "ErrorReport.h"
#include "HelpTopics.h"
#include "TARMODatabase.h"
#include "UserPrompts.h"
#include "mdiMain.h"

#include <QApplication>
#include <QClipboard>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMdiSubWindow>
#include <QMouseEvent>
#include <QPainter>
#include <QStyledItemDelegate>
#include <QTableWidget>
#include <QVBoxLayout>

#include <algorithm>
#include <stdexcept>

namespace {

constexpr int nameColumnWidth = 215;
constexpr int statementColumnWidth = 55;

// Statement cells show a picture alone, centred, so that a column reads at a glance.
class CentredIconDelegate : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override {
        if (index.column() == 0) {
            QStyledItemDelegate::paint(painter, option, index);
            return;
        }
        QStyleOptionViewItem cell = option;
        initStyleOption(&cell, index);
        const QIcon icon = cell.icon;
        cell.icon = QIcon();
        cell.features &= ~QStyleOptionViewItem::HasDecoration;
        cell.text.clear();
        const QStyle* style = cell.widget ? cell.widget->style() : QApplication::style();
        style->drawControl(QStyle::CE_ItemViewItem, &cell, painter, cell.widget);
        QRect place(QPoint(0, 0), cell.decorationSize);
        place.moveCenter(cell.rect.center());
        icon.paint(painter, place, Qt::AlignCenter,
                   (cell.state & QStyle::State_Selected) ? QIcon::Selected : QIcon::Normal);
    }
};

// The words a screen reader and a tooltip give for a state.
QString stateText(long state) {
    switch (state) {
    case TARMOPermission::Grant:
        return QStringLiteral("Granted");
    case TARMOPermission::Deny:
        return QStringLiteral("Denied");
    case TARMOPermission::LeaveOut:
        return QStringLiteral("Owner");
    default:
        return QStringLiteral("Neither granted nor denied");
    }
}

QString displayNameOf(const TARMOObjectRef& ref) {
    if (ref.Versioned())
        return ref.Versioned()->ObjectDisplayName();
    if (ref.Table())
        return ref.Table()->ObjectDisplayName();
    return QString();
}

} // namespace

frmEditObjectPermissions::frmEditObjectPermissions(mdiMain& main, QWidget* parent)
    : EditorChildWindow(main, parent)
    , mgrdPermission(new QTableWidget(this)) {
    setObjectName(QStringLiteral("frmEditObjectPermissions"));
    mgrdPermission->setObjectName(QStringLiteral("grdPermission"));
    mgrdPermission->setSelectionMode(QAbstractItemView::SingleSelection);
    mgrdPermission->setSelectionBehavior(QAbstractItemView::SelectItems);
    mgrdPermission->setEditTriggers(QAbstractItemView::NoEditTriggers);
    mgrdPermission->setTabKeyNavigation(false);
    mgrdPermission->verticalHeader()->hide();
    mgrdPermission->verticalHeader()->setDefaultSectionSize(std::max(20, fontMetrics().height() + 6));
    mgrdPermission->horizontalHeader()->setHighlightSections(false);
    mgrdPermission->horizontalHeader()->setSectionsMovable(false);
    mgrdPermission->setItemDelegate(new CentredIconDelegate(mgrdPermission));
    mgrdPermission->installEventFilter(this);
    mgrdPermission->viewport()->installEventFilter(this);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(mgrdPermission);
    setFocusProxy(mgrdPermission);

    connect(mgrdPermission, &QTableWidget::currentCellChanged, this, [this] { NotifyCommandState(); });
}

frmEditObjectPermissions::~frmEditObjectPermissions() = default;

void frmEditObjectPermissions::Install(mdiMain& main) {
    mdiMain* window = &main;
    main.Factories().PermissionWindow = [window](TARMODatabase& database,
                                                 std::shared_ptr<DispatchedObject> object, const QString&,
                                                 const QString&) -> QWidget* {
        // A load that fails leaves no half-made window behind.
        auto form = std::make_unique<frmEditObjectPermissions>(*window);
        form->EditObjectPermissions(database, std::move(object));
        return form.release();
    };
}

const TARMOObjectRef& frmEditObjectPermissions::object() const {
    return static_cast<const CoreObject&>(*mobjCurrent).Ref();
}

void frmEditObjectPermissions::EditObjectPermissions(TARMODatabase& sdbCurrent,
                                                     std::shared_ptr<DispatchedObject> objToOpen) {
    if (!dynamic_cast<CoreObject*>(objToOpen.get()))
        throw std::invalid_argument("frmEditObjectPermissions: the object is not one of the core's");
    BeginOpening(sdbCurrent);
    mobjCurrent = std::move(objToOpen);
    LoadPermissions();
}

// --- Loading

void frmEditObjectPermissions::LoadPermissions() {
    if (!mobjCurrent || !Database())
        return;
    BusyCursor busy;
    mlngIcon = Main().GetIconIndex(QStringLiteral("PERMISSIONS"), false);
    if (mlngIcon > 0) {
        setWindowIcon(Main().Images().IconAt(static_cast<int>(mlngIcon)));
        if (QMdiSubWindow* sub = subWindow())
            sub->setWindowIcon(windowIcon());
    }
    mobjPermissions = object().GetPermissions(false, Database()->ShowPermissionsInEditor());
    // An object that isn't in the server yields an empty set that knows nothing of the kind; the
    // columns still follow the kind.
    if (mobjPermissions.Count() == 0 && object().Versioned()) {
        mobjPermissions.HasExecuteOnly = object().Versioned()->ObjectPermissionExecuteOnly();
        mobjPermissions.HasExecAndRefOnly = object().Versioned()->ObjectPermissionExecAndRefOnly();
    }
    mGrid.Load(mobjPermissions);

    const QSignalBlocker blocker(mgrdPermission);
    mgrdPermission->clear();
    mgrdPermission->setColumnCount(mGrid.ColumnCount());
    mgrdPermission->setRowCount(mGrid.RowCount());
    QStringList headings{QStringLiteral("Role/User Name")};
    for (const PermissionGrid::Column& column : mGrid.Columns())
        headings << column.Heading;
    mgrdPermission->setHorizontalHeaderLabels(headings);
    mgrdPermission->setColumnWidth(0, nameColumnWidth);
    for (int column = 1; column < mGrid.ColumnCount(); ++column)
        mgrdPermission->setColumnWidth(column, statementColumnWidth);
    for (int row = 0; row < mGrid.RowCount(); ++row) {
        const PermissionGrid::Row& line = mGrid.RowAt(row);
        auto* name = new QTableWidgetItem(Main().Images().Icon(PermissionGrid::GranteeIconKey(line.IsRole)),
                                          line.Name);
        name->setFlags(Qt::ItemIsSelectable | Qt::ItemIsEnabled);
        name->setToolTip(line.IsRole ? QStringLiteral("Role") : QStringLiteral("User"));
        mgrdPermission->setItem(row, 0, name);
        for (int column = 1; column < mGrid.ColumnCount(); ++column) {
            auto* cell = new QTableWidgetItem;
            cell->setFlags(Qt::ItemIsSelectable | Qt::ItemIsEnabled);
            mgrdPermission->setItem(row, column, cell);
            showCell(row, column);
        }
    }
    RefreshCaption();
    NotifyCommandState();
}

void frmEditObjectPermissions::showCell(int row, int column) {
    QTableWidgetItem* cell = mgrdPermission->item(row, column);
    if (!cell)
        return;
    const long state = mGrid.State(row, column);
    cell->setIcon(Main().Images().Icon(PermissionGrid::StateIconKey(state)));
    cell->setData(Qt::UserRole, static_cast<qlonglong>(state));
    cell->setToolTip(stateText(state));
    cell->setData(Qt::AccessibleTextRole, stateText(state));
}

void frmEditObjectPermissions::RefreshCaption() {
    if (!mobjCurrent)
        return;
    QString owner;
    if (Database() && Database()->ShowOwnerNameInName() && !object().Owner().isEmpty())
        owner = object().Owner() + QLatin1Char('.');
    setWindowTitle(owner + object().Name() + QStringLiteral(" (") + displayNameOf(object()) +
                   QStringLiteral(") - Permissions"));
}

// --- Contract members

QString frmEditObjectPermissions::ObjectTag() const {
    return mobjCurrent ? mobjCurrent->ObjectType() : QString();
}

QString frmEditObjectPermissions::ObjectKey() const {
    return mobjCurrent ? QStringLiteral("I") + mobjCurrent->DBID() : QString();
}

long frmEditObjectPermissions::HelpContextID() const {
    return HelpId(HelpTopic::Permissions);
}

bool frmEditObjectPermissions::CanCopy() const {
    return mgrdPermission->currentItem() != nullptr && mgrdPermission->currentColumn() == 0;
}

void frmEditObjectPermissions::SetFocusOfChild() {
    if (!mgrdPermission->hasFocus())
        mgrdPermission->setFocus();
}

// --- Changing cells

void frmEditObjectPermissions::ChangeCell(int row, int column) {
    if (!mGrid.Cycle(row, column))
        return;
    showCell(row, column);
    NotifyCommandState();
}

void frmEditObjectPermissions::Undo() {
    if (const auto change = mGrid.Undo()) {
        showCell(change->Row, change->Column);
        NotifyCommandState();
    }
}

void frmEditObjectPermissions::Redo() {
    if (const auto change = mGrid.Redo()) {
        showCell(change->Row, change->Column);
        NotifyCommandState();
    }
}

void frmEditObjectPermissions::CopyText() {
    if (QTableWidgetItem* cell = mgrdPermission->currentItem())
        QApplication::clipboard()->setText(cell->text());
}

bool frmEditObjectPermissions::eventFilter(QObject* watched, QEvent* event) {
    const QEvent::Type type = event->type();
    if (watched == mgrdPermission->viewport() &&
        (type == QEvent::MouseButtonPress || type == QEvent::MouseButtonDblClick)) {
        // A quick second click is a click as well: each one moves the cell on.
        auto* mouse = static_cast<QMouseEvent*>(event);
        if (mouse->button() == Qt::LeftButton && !(mouse->modifiers() & Qt::ShiftModifier)) {
            const QModelIndex index = mgrdPermission->indexAt(mouse->position().toPoint());
            if (index.isValid())
                ChangeCell(index.row(), index.column());
        }
        return false;
    }
    if (watched == mgrdPermission && type == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent*>(event)->key();
        if (key == Qt::Key_Return || key == Qt::Key_Enter || key == Qt::Key_Space) {
            if (mgrdPermission->currentItem())
                ChangeCell(mgrdPermission->currentRow(), mgrdPermission->currentColumn());
            return true;
        }
        return false;
    }
    if (watched == mgrdPermission && type == QEvent::FocusIn) {
        if (!mgrdPermission->currentItem() && mgrdPermission->rowCount() > 0)
            mgrdPermission->setCurrentCell(0, 0);
        return false;
    }
    return EditorChildWindow::eventFilter(watched, event);
}

// --- Saving and closing

bool frmEditObjectPermissions::SaveText(bool bDoRefresh) {
    BusyCursor busy;
    mGrid.WriteInto(mobjPermissions);
    if (!mobjPermissions.Save())
        return false;
    if (bDoRefresh) {
        prompts().MessageBox(QStringLiteral("Permissions successfully saved!"), Prompt::Buttons::OK,
                             Prompt::Icon::Information, QStringLiteral("Permissions Saved"));
        LoadPermissions();
    }
    return true;
}

bool frmEditObjectPermissions::ClosingCheck() {
    BusyCursor busy;
    if (!mGrid.Changed() || !Database())
        return true;
    // A refusal by the server is told here, and the window stays with its changes.
    const auto save = [this] {
        bool saved = false;
        return Guarded([&] { saved = SaveText(false); }) && saved;
    };
    switch (Database()->ShowSaveChangesPermission()) {
    case 1:
        mGrid.ForgetChanges();
        return true;
    case 2:
        return save();
    default:
        switch (prompts().MessageBox(QStringLiteral("Would you like to save the changes made?"),
                                     Prompt::Buttons::YesNoCancel, Prompt::Icon::Question,
                                     QStringLiteral("Save Changes to Permissions?"))) {
        case Prompt::Answer::Yes:
            return save();
        case Prompt::Answer::No:
            mGrid.ForgetChanges();
            return true;
        default:
            return false;
        }
    }
}
