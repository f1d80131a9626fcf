#include "frmOptions.h"

#include "DefaultTextTags.h"
#include "SQLTextEditor.h"
#include "SqlEditControl.h"
#include "TARMODatabase.h"
#include "TARMOError.h"
#include "UserPrompts.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QListWidget>
#include <QMimeData>
#include <QPushButton>
#include <QRadioButton>
#include <QSplitter>
#include <QStackedWidget>
#include <QTreeWidget>
#include <QVBoxLayout>

#include <algorithm>

namespace {

constexpr long noCategoryTopic = 24;
constexpr int keyRole = Qt::UserRole;

// The tag list hands the tag itself to a drag, not the row's description.
class TagList : public QListWidget {
public:
    using QListWidget::QListWidget;

protected:
    QMimeData* mimeData(const QList<QListWidgetItem*>& items) const override {
        auto* dragged = new QMimeData;
        if (!items.isEmpty())
            dragged->setText(items.first()->data(keyRole).toString());
        return dragged;
    }
};

// Wide enough for the deepest and longest category, so that no name is cut.
int categoriesWidth(const QTreeWidget* tree) {
    int widest = 0;
    for (QTreeWidgetItemIterator it(const_cast<QTreeWidget*>(tree)); *it; ++it) {
        int depth = 1;
        for (const QTreeWidgetItem* up = (*it)->parent(); up; up = up->parent())
            ++depth;
        widest = std::max(widest, tree->fontMetrics().horizontalAdvance((*it)->text(0)) +
                                      depth * tree->indentation());
    }
    return widest + 2 * tree->frameWidth() + 16;
}

QLabel* note(const QString& text, QWidget* parent) {
    auto* label = new QLabel(text, parent);
    label->setWordWrap(true);
    return label;
}

// A line of controls moved in under a heading.
QBoxLayout* indented(QVBoxLayout* into) {
    auto* row = new QVBoxLayout;
    row->setContentsMargins(20, 0, 0, 0);
    into->addLayout(row);
    return row;
}

} // namespace

struct frmOptions::Category {
    QString text;
    QString key;
    QString parent;
    QString page;
    long helpTopic;
};

const QList<frmOptions::Category>& frmOptions::Categories() {
    static const QList<Category> categories = {
        {QStringLiteral("General"), QStringLiteral("GENERAL"), {}, QStringLiteral("GENERAL"), 25},
        {QStringLiteral("View"), QStringLiteral("VIEW"), {}, QStringLiteral("VIEW"), 26},
        {QStringLiteral("Default Text"),
         QStringLiteral("DEFAULTTEXT"),
         {},
         QStringLiteral("DEFAULTTEXT"),
         27},
        {QStringLiteral("Editor"), QStringLiteral("EDITOR"), {}, QStringLiteral("EDITOR"), 28},
        {QStringLiteral("Changes Made"), QStringLiteral("EDITOR:CHANGESMADE"), QStringLiteral("EDITOR"),
         QStringLiteral("EDITOR:CHANGESMADE:NEW"), 29},
        {QStringLiteral("New Objects"), QStringLiteral("EDITOR:CHANGESMADE:NEW"),
         QStringLiteral("EDITOR:CHANGESMADE"), QStringLiteral("EDITOR:CHANGESMADE:NEW"), 30},
        {QStringLiteral("Editing Objects"), QStringLiteral("EDITOR:CHANGESMADE:EDIT"),
         QStringLiteral("EDITOR:CHANGESMADE"), QStringLiteral("EDITOR:CHANGESMADE:EDIT"), 31},
        {QStringLiteral("Object Permissions"), QStringLiteral("EDITOR:CHANGESMADE:PERMISSION"),
         QStringLiteral("EDITOR:CHANGESMADE"), QStringLiteral("EDITOR:CHANGESMADE:PERMISSION"), 32},
        {QStringLiteral("Permissions"), QStringLiteral("PERMISSIONS"), {}, QStringLiteral("PERMISSIONS"), 33},
    };
    return categories;
}

frmOptions::frmOptions(QWidget* parent)
    : QDialog(parent) {
    setObjectName(QStringLiteral("frmOptions"));
    setWindowTitle(QStringLiteral("Options"));
    setModal(true);

    mtvwCaterogies = new QTreeWidget(this);
    mtvwCaterogies->setObjectName(QStringLiteral("tvwCaterogies"));
    mtvwCaterogies->setHeaderHidden(true);
    mtvwCaterogies->setRootIsDecorated(true);
    mPages = new QStackedWidget(this);
    for (QWidget* page :
         {buildGeneralPage(), buildViewPage(), buildDefaultTextPage(), buildEditorPage(),
          buildNewObjectPage(), buildEditObjectPage(), buildPermissionChangesPage(), buildPermissionsPage()})
        mPages->addWidget(page);
    buildCategories();

    mcmdOK = new QPushButton(QStringLiteral("OK"), this);
    mcmdOK->setObjectName(QStringLiteral("cmdOK"));
    mcmdOK->setDefault(true);
    mcmdCancel = new QPushButton(QStringLiteral("Cancel"), this);
    mcmdCancel->setObjectName(QStringLiteral("cmdCancel"));
    mcmdApply = new QPushButton(QStringLiteral("&Apply"), this);
    mcmdApply->setObjectName(QStringLiteral("cmdApply"));
    mcmdApply->setEnabled(false);
    connect(mcmdOK, &QPushButton::clicked, this, [this] {
        if (Save())
            accept();
    });
    connect(mcmdCancel, &QPushButton::clicked, this, &frmOptions::reject);
    connect(mcmdApply, &QPushButton::clicked, this, [this] { Save(); });

    auto* split = new QHBoxLayout;
    split->addWidget(mtvwCaterogies);
    split->addWidget(mPages, 1);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(mcmdOK);
    buttons->addWidget(mcmdCancel);
    buttons->addWidget(mcmdApply);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(split, 1);
    layout->addLayout(buttons);

    mtvwCaterogies->setFixedWidth(categoriesWidth(mtvwCaterogies));
    resize(sizeHint().expandedTo(QSize(720, 480)));
    SelectCategory(QStringLiteral("GENERAL"));
}

frmOptions::~frmOptions() = default;

// --- Building

void frmOptions::buildCategories() {
    QHash<QString, QTreeWidgetItem*> nodes;
    for (const Category& category : Categories()) {
        QTreeWidgetItem* parent = nodes.value(category.parent);
        auto* node = parent ? new QTreeWidgetItem(parent) : new QTreeWidgetItem(mtvwCaterogies);
        node->setText(0, category.text);
        node->setData(0, keyRole, category.key);
        nodes.insert(category.key, node);
    }
    mtvwCaterogies->expandAll();
    connect(mtvwCaterogies, &QTreeWidget::currentItemChanged, this, [this](QTreeWidgetItem* node) {
        if (!node)
            return;
        const QString key = node->data(0, keyRole).toString();
        for (const Category& category : Categories())
            if (category.key == key)
                mPages->setCurrentWidget(mPageByKey.value(category.page));
    });
}

static QGroupBox* newPage(const QString& key, const QString& caption, QWidget* parent) {
    auto* page = new QGroupBox(caption, parent);
    page->setObjectName(QStringLiteral("fraOptions_") + key);
    auto* layout = new QVBoxLayout(page);
    layout->setAlignment(Qt::AlignTop);
    return page;
}

QCheckBox* frmOptions::addCheck(QWidget* page, const QString& name, const QString& text) {
    auto* check = new QCheckBox(text, page);
    check->setObjectName(name);
    mChecks.insert(name, check);
    connect(check, &QCheckBox::toggled, this, [this] { updateDirty(); });
    return check;
}

QButtonGroup* frmOptions::addOptions(QWidget* page, const QString& name, const QStringList& texts,
                                     const QList<long>& codes) {
    auto* group = new QButtonGroup(page);
    group->setObjectName(name);
    for (qsizetype i = 0; i < texts.size(); ++i) {
        auto* option = new QRadioButton(texts[i], page);
        option->setObjectName(name + QLatin1Char('_') + QString::number(codes[i]));
        group->addButton(option, static_cast<int>(codes[i]));
    }
    mGroups.insert(name, group);
    connect(group, &QButtonGroup::buttonToggled, this, [this] { updateDirty(); });
    return group;
}

QWidget* frmOptions::buildGeneralPage() {
    QGroupBox* page = newPage(QStringLiteral("GENERAL"), QStringLiteral("General Settings ..."), this);
    page->layout()->addWidget(addCheck(page, QStringLiteral("chkShowProjectBrowser"),
                                       QStringLiteral("Show Project Browser when application starts")));
    mPageByKey.insert(QStringLiteral("GENERAL"), page);
    return page;
}

QWidget* frmOptions::buildViewPage() {
    QGroupBox* page = newPage(QStringLiteral("VIEW"), QStringLiteral("View Settings ..."), this);
    auto* layout = static_cast<QVBoxLayout*>(page->layout());
    layout->addWidget(addCheck(page, QStringLiteral("chkMainToolbar"),
                               QStringLiteral("Show the statusbar in Main project window")));
    layout->addWidget(
        addCheck(page, QStringLiteral("chkShowDescription"),
                 QStringLiteral("Show the Description of the selected Object (at the bottom)")));
    layout->addSpacing(8);
    layout->addWidget(new QLabel(QStringLiteral("Show the Owner Name of an Object ..."), page));
    QBoxLayout* tree = indented(layout);
    tree->addWidget(new QLabel(QStringLiteral("In the Database Tree ..."), page));
    QBoxLayout* checks = indented(static_cast<QVBoxLayout*>(tree));
    checks->addWidget(
        addCheck(page, QStringLiteral("chkShowInName"), QStringLiteral("In the Objects' name")));
    checks->addWidget(
        addCheck(page, QStringLiteral("chkShowInProperty"), QStringLiteral("In the Objects' property list")));
    mPageByKey.insert(QStringLiteral("VIEW"), page);
    return page;
}

QWidget* frmOptions::buildEditorPage() {
    QGroupBox* page = newPage(QStringLiteral("EDITOR"), QStringLiteral("Editor Settings ..."), this);
    page->layout()->addWidget(
        addCheck(page, QStringLiteral("chkPromptDescription"),
                 QStringLiteral("Show Description prompt when a New Object is created")));
    page->layout()->addWidget(
        addCheck(page, QStringLiteral("chkShowPermissionOnNew"),
                 QStringLiteral("Show Object Permission window when a New Object is created")));
    page->layout()->addWidget(
        addCheck(page, QStringLiteral("chkShowComment"),
                 QStringLiteral("Always display Comment prompt when adding/check in an object")));
    mPageByKey.insert(QStringLiteral("EDITOR"), page);
    return page;
}

// The two pages of unsaved changes of an object: the default action and whether it is always taken.
static void fillChangesPage(QGroupBox* page, const QString& heading, QButtonGroup* options,
                            QCheckBox* useDefault) {
    auto* layout = static_cast<QVBoxLayout*>(page->layout());
    layout->addWidget(note(heading, page));
    QBoxLayout* choices = indented(layout);
    for (QAbstractButton* option : options->buttons())
        choices->addWidget(option);
    layout->addSpacing(8);
    layout->addWidget(useDefault);
    indented(layout)->addWidget(
        note(QStringLiteral("(i.e. do not display the \"Action to take ...\" prompt)"), page));
}

QWidget* frmOptions::buildNewObjectPage() {
    const QString key = QStringLiteral("EDITOR:CHANGESMADE:NEW");
    QGroupBox* page = newPage(key, QStringLiteral("Changes Made: New Object ..."), this);
    QButtonGroup* options = addOptions(
        page, QStringLiteral("optNew"),
        {QStringLiteral("Check In"), QStringLiteral("Save Text"), QStringLiteral("Discard Changes")},
        OptionValues::NewObjectActions());
    QCheckBox* useDefault =
        addCheck(page, QStringLiteral("chkUseDefaultNew"), QStringLiteral("Always use this as the default"));
    fillChangesPage(page, QStringLiteral("When a New Object has unsaved changed, the default should be:"),
                    options, useDefault);
    mPageByKey.insert(key, page);
    return page;
}

QWidget* frmOptions::buildEditObjectPage() {
    const QString key = QStringLiteral("EDITOR:CHANGESMADE:EDIT");
    QGroupBox* page = newPage(key, QStringLiteral("Changes Made: Editing an Object ..."), this);
    QButtonGroup* options =
        addOptions(page, QStringLiteral("optEdit"),
                   {QStringLiteral("Check In"), QStringLiteral("Save Text"),
                    QStringLiteral("Keep Checked Out and Discard Changes"), QStringLiteral("Undo Check Out")},
                   OptionValues::EditObjectActions());
    QCheckBox* useDefault =
        addCheck(page, QStringLiteral("chkUseDefaultEdit"), QStringLiteral("Always use this as the default"));
    fillChangesPage(page, QStringLiteral("When an Object has unsaved changes, the default should be:"),
                    options, useDefault);
    mPageByKey.insert(key, page);
    return page;
}

QWidget* frmOptions::buildPermissionChangesPage() {
    const QString key = QStringLiteral("EDITOR:CHANGESMADE:PERMISSION");
    QGroupBox* page = newPage(key, QStringLiteral("Changes Made: Editing an Object Permissions ..."), this);
    auto* layout = static_cast<QVBoxLayout*>(page->layout());
    layout->addWidget(
        note(QStringLiteral("When an Object has unsaved changes, the default should be:"), page));
    QButtonGroup* options = addOptions(page, QStringLiteral("optPermission"),
                                       {QStringLiteral("Always Prompt me that there are unsaved changes"),
                                        QStringLiteral("Always Discard the changes made"),
                                        QStringLiteral("Always Save the changes made")},
                                       {0, 1, 2});
    QBoxLayout* choices = indented(layout);
    for (QAbstractButton* option : options->buttons())
        choices->addWidget(option);
    mPageByKey.insert(key, page);
    return page;
}

QWidget* frmOptions::buildPermissionsPage() {
    QGroupBox* page = newPage(QStringLiteral("PERMISSIONS"), QStringLiteral("Permission Settings ..."), this);
    auto* layout = static_cast<QVBoxLayout*>(page->layout());
    const QStringList texts = {QStringLiteral("Show both Roles and Users"), QStringLiteral("Only show Roles"),
                               QStringLiteral("Only show Users")};
    const auto addGroup = [&](const QString& name, const QString& caption) {
        auto* frame = new QGroupBox(caption, page);
        auto* inner = new QVBoxLayout(frame);
        for (QAbstractButton* option : addOptions(frame, name, texts, {0, 1, 2})->buttons())
            inner->addWidget(option);
        layout->addWidget(frame);
    };
    addGroup(QStringLiteral("optDBTPermission"), QStringLiteral("In the Database Tree show:"));
    addGroup(QStringLiteral("optEditorPermission"), QStringLiteral("In the Permission Editor:"));
    mPageByKey.insert(QStringLiteral("PERMISSIONS"), page);
    return page;
}

QWidget* frmOptions::buildDefaultTextPage() {
    QGroupBox* page = newPage(QStringLiteral("DEFAULTTEXT"), QStringLiteral("Default Texts ..."), this);
    auto* layout = static_cast<QVBoxLayout*>(page->layout());
    layout->setAlignment(Qt::Alignment());

    auto* kindLabel = new QLabel(QStringLiteral("&Select an Object Type:"), page);
    mcboDefaultText = new QComboBox(page);
    mcboDefaultText->setObjectName(QStringLiteral("cboDefaultText"));
    kindLabel->setBuddy(mcboDefaultText);
    auto* kindRow = new QHBoxLayout;
    kindRow->addWidget(kindLabel);
    kindRow->addWidget(mcboDefaultText, 1);
    layout->addLayout(kindRow);

    mtxtDefaultText = new SQLTextEditor(page);
    mtxtDefaultText->setObjectName(QStringLiteral("txtDefaultText"));
    mtxtDefaultText->setMinimumHeight(140);
    layout->addWidget(mtxtDefaultText, 1);

    layout->addWidget(new QLabel(QStringLiteral("The following tags can be used:"), page));
    mlvwTags = new TagList(page);
    mlvwTags->setObjectName(QStringLiteral("lvwTags"));
    mlvwTags->setToolTip(
        QStringLiteral("Drag a tag into the text, or double-click it to insert it at the caret"));
    mlvwTags->setDragEnabled(true);
    mlvwTags->setDragDropMode(QAbstractItemView::DragOnly);
    mlvwTags->setDefaultDropAction(Qt::CopyAction);
    for (const DefaultTextTag& tag : DefaultTextTags()) {
        auto* row = new QListWidgetItem(tag.Text, mlvwTags);
        row->setData(keyRole, tag.Tag);
    }
    const int rowHeight = mlvwTags->sizeHintForRow(0);
    mlvwTags->setFixedHeight(rowHeight * static_cast<int>(DefaultTextTags().size()) +
                             2 * mlvwTags->frameWidth() + 4);
    layout->addWidget(mlvwTags);

    connect(mcboDefaultText, &QComboBox::currentIndexChanged, this,
            [this](int index) { cboDefaultText_Click(index); });
    connect(mlvwTags, &QListWidget::itemActivated, this,
            [this](QListWidgetItem* row) { insertTag(row->data(keyRole).toString()); });
    connect(mtxtDefaultText, &SQLTextEditor::bcChange, this, [this] { updateDirty(); });
    connect(mtxtDefaultText, &SQLTextEditor::bcGotFocus, this, [this] { editorFocusChanged(true); });
    connect(mtxtDefaultText, &SQLTextEditor::bcLostFocus, this, [this] { editorFocusChanged(false); });
    mPageByKey.insert(QStringLiteral("DEFAULTTEXT"), page);
    return page;
}

// --- Loading and showing

void frmOptions::SetObjectKinds(const QList<OptionsObjectKind>& kinds) {
    mKinds = kinds;
}

void frmOptions::ShowOptions(TARMODatabase& sdbCurrent) {
    Load(sdbCurrent);
    exec();
}

void frmOptions::Load(TARMODatabase& sdbCurrent) {
    msdbCurrent = &sdbCurrent;
    mbLoading = true;
    mStored = OptionValues::Read(sdbCurrent);
    showValues(mStored);

    marrDefaultStored.clear();
    mlngDefaultIndex = -1;
    mcboDefaultText->clear();
    for (const OptionsObjectKind& kind : mKinds) {
        mcboDefaultText->addItem(kind.Icon, kind.Text, kind.Tag);
        marrDefaultStored << sdbCurrent.GetDefaultText(kind.Tag);
    }
    marrDefaultCurrent = marrDefaultStored;
    mcboDefaultText->setEnabled(!mKinds.isEmpty());
    mtxtDefaultText->setEnabled(!mKinds.isEmpty());
    if (!mKinds.isEmpty())
        showDefaultText(0);
    mbLoading = false;

    SelectCategory(QStringLiteral("GENERAL"));
    updateDirty();
}

void frmOptions::showValues(const OptionValues& values) {
    mChecks[QStringLiteral("chkShowProjectBrowser")]->setChecked(values.ShowProjectBrowser);
    mChecks[QStringLiteral("chkMainToolbar")]->setChecked(values.ShowMainStatusBar);
    mChecks[QStringLiteral("chkShowDescription")]->setChecked(values.ShowDescriptionInDBT);
    mChecks[QStringLiteral("chkShowInName")]->setChecked(values.ShowOwnerNameInName);
    mChecks[QStringLiteral("chkShowInProperty")]->setChecked(values.ShowOwnerNameInProp);
    mChecks[QStringLiteral("chkPromptDescription")]->setChecked(values.ShowDescriptionPrompt);
    mChecks[QStringLiteral("chkShowPermissionOnNew")]->setChecked(values.ShowPermissionsOnNewObjectCreate);
    mChecks[QStringLiteral("chkShowComment")]->setChecked(values.ShowCommentPrompt);
    selectCode(mGroups[QStringLiteral("optNew")], values.SaveChangesNewDefault);
    mChecks[QStringLiteral("chkUseDefaultNew")]->setChecked(values.UseDefaultNew);
    selectCode(mGroups[QStringLiteral("optEdit")], values.SaveChangesEditDefault);
    mChecks[QStringLiteral("chkUseDefaultEdit")]->setChecked(values.UseDefaultEdit);
    selectCode(mGroups[QStringLiteral("optPermission")], values.ShowSaveChangesPermission);
    selectCode(mGroups[QStringLiteral("optDBTPermission")], values.ShowPermissionsInDBT);
    selectCode(mGroups[QStringLiteral("optEditorPermission")], values.ShowPermissionsInEditor);
}

OptionValues frmOptions::shownValues() const {
    const auto checked = [this](const char* name) { return mChecks[QLatin1String(name)]->isChecked(); };
    // No option chosen reads as 0.
    const auto code = [this](const char* name) {
        return std::max(0, mGroups[QLatin1String(name)]->checkedId());
    };
    OptionValues values;
    values.ShowProjectBrowser = checked("chkShowProjectBrowser");
    values.ShowMainStatusBar = checked("chkMainToolbar");
    values.ShowDescriptionInDBT = checked("chkShowDescription");
    values.ShowOwnerNameInName = checked("chkShowInName");
    values.ShowOwnerNameInProp = checked("chkShowInProperty");
    values.ShowDescriptionPrompt = checked("chkPromptDescription");
    values.ShowPermissionsOnNewObjectCreate = checked("chkShowPermissionOnNew");
    values.ShowCommentPrompt = checked("chkShowComment");
    values.SaveChangesNewDefault = code("optNew");
    values.UseDefaultNew = checked("chkUseDefaultNew");
    values.SaveChangesEditDefault = code("optEdit");
    values.UseDefaultEdit = checked("chkUseDefaultEdit");
    values.ShowSaveChangesPermission = code("optPermission");
    values.ShowPermissionsInDBT = code("optDBTPermission");
    values.ShowPermissionsInEditor = code("optEditorPermission");
    return values;
}

void frmOptions::selectCode(QButtonGroup* group, long code) {
    // An exclusive group can't be emptied by a click, only by switching the exclusivity off.
    group->setExclusive(false);
    for (QAbstractButton* option : group->buttons())
        option->setChecked(group->id(option) == code);
    group->setExclusive(true);
}

void frmOptions::SelectCategory(const QString& key) {
    QTreeWidgetItemIterator it(mtvwCaterogies);
    for (; *it; ++it)
        if ((*it)->data(0, keyRole).toString() == key) {
            mtvwCaterogies->setCurrentItem(*it);
            return;
        }
}

QString frmOptions::CurrentPage() const {
    return mPageByKey.key(mPages->currentWidget());
}

long frmOptions::HelpTopic() const {
    const QTreeWidgetItem* node = mtvwCaterogies->currentItem();
    if (!node)
        return noCategoryTopic;
    const QString key = node->data(0, keyRole).toString();
    for (const Category& category : Categories())
        if (category.key == key)
            return category.helpTopic;
    return noCategoryTopic;
}

QCheckBox* frmOptions::Check(const QString& name) const {
    return mChecks.value(name);
}

QAbstractButton* frmOptions::Option(const QString& group, int code) const {
    QButtonGroup* options = mGroups.value(group);
    return options ? options->button(code) : nullptr;
}

QWidget* frmOptions::Page(const QString& key) const {
    return mPageByKey.value(key);
}

// --- Default texts

void frmOptions::cboDefaultText_Click(int index) {
    if (mbLoading || index < 0 || index == mlngDefaultIndex)
        return;
    if (mlngDefaultIndex >= 0)
        marrDefaultCurrent[mlngDefaultIndex] = mtxtDefaultText->Text();
    showDefaultText(index);
    mtxtDefaultText->setFocus();
}

void frmOptions::showDefaultText(int index) {
    mlngDefaultIndex = index;
    if (mcboDefaultText->currentIndex() != index)
        mcboDefaultText->setCurrentIndex(index);
    const QString& text = marrDefaultCurrent[index];
    SqlEditControl* control = mtxtDefaultText->ctrlHWnd();
    control->setEolMode(text.contains(QLatin1String("\r\n")) ? QsciScintilla::EolWindows
                                                             : QsciScintilla::EolUnix);
    mtxtDefaultText->SetText(text);
    // Undo must not reach back into the text of the kind shown before.
    control->SendScintilla(QsciScintillaBase::SCI_EMPTYUNDOBUFFER);
    control->setModified(false);
}

void frmOptions::insertTag(const QString& tag) {
    if (mlngDefaultIndex < 0)
        return;
    mtxtDefaultText->Paste(tag);
    mtxtDefaultText->setFocus();
}

bool frmOptions::defaultTextsChanged() const {
    for (qsizetype i = 0; i < marrDefaultCurrent.size(); ++i) {
        const QString current = i == mlngDefaultIndex ? mtxtDefaultText->Text() : marrDefaultCurrent[i];
        if (current != marrDefaultStored[i])
            return true;
    }
    return false;
}

// --- Changing and saving

void frmOptions::updateDirty() {
    if (mbLoading || !msdbCurrent)
        return;
    mbDirty = shownValues() != mStored || defaultTextsChanged();
    mcmdApply->setEnabled(mbDirty);
}

bool frmOptions::Save() {
    if (!msdbCurrent)
        return false;
    if (mlngDefaultIndex >= 0)
        marrDefaultCurrent[mlngDefaultIndex] = mtxtDefaultText->Text();
    for (qsizetype i = 0; i < mKinds.size(); ++i) {
        if (marrDefaultCurrent[i] == marrDefaultStored[i])
            continue;
        try {
            msdbCurrent->SetDefaultText(mKinds[i].Tag, marrDefaultCurrent[i]);
        } catch (const TARMOError& error) {
            MsgBox(QStringLiteral("The default text of %1 could not be saved.\n\n%2")
                       .arg(mKinds[i].Text, error.Description()),
                   Prompt::Buttons::OK, Prompt::Icon::Critical, QStringLiteral("Save Default Text"));
            updateDirty();
            return false;
        }
        marrDefaultStored[i] = marrDefaultCurrent[i];
    }

    const OptionValues shown = shownValues();
    shown.WriteChanges(*msdbCurrent, mStored);
    mStored = shown;
    if (mAfterSave)
        mAfterSave();
    updateDirty();
    return true;
}

void frmOptions::reject() {
    if (!mbDirty) {
        QDialog::reject();
        return;
    }
    switch (MsgBox(QStringLiteral("Would you like to save the changes made?"), Prompt::Buttons::YesNoCancel,
                   Prompt::Icon::Question, QStringLiteral("Save changes made?"))) {
    case Prompt::Answer::Yes:
        if (Save())
            done(Accepted);
        break;
    case Prompt::Answer::No:
        QDialog::reject();
        break;
    default:
        break;
    }
}

// --- Keys and focus

void frmOptions::editorFocusChanged(bool hasFocus) {
    // Enter and Escape belong to the editor while it has the focus.
    mcmdOK->setDefault(!hasFocus);
    mcmdOK->setAutoDefault(!hasFocus);
}

void frmOptions::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_F1) {
        if (mHelp)
            mHelp(this, HelpTopic());
        return;
    }
    const bool editorShown =
        mPages->currentWidget() == mPageByKey.value(QStringLiteral("DEFAULTTEXT")) && mlngDefaultIndex >= 0;
    if (event->key() == Qt::Key_Escape && mtxtDefaultText->HasFocus()) {
        event->accept();
        return;
    }
    // The text commands reach the editor from anywhere on its page.
    if (editorShown && event->modifiers().testFlag(Qt::ControlModifier)) {
        const bool shift = event->modifiers().testFlag(Qt::ShiftModifier);
        switch (event->key()) {
        case Qt::Key_C:
            mtxtDefaultText->bcCopy();
            return;
        case Qt::Key_X:
            mtxtDefaultText->bcCut();
            return;
        case Qt::Key_V:
            mtxtDefaultText->bcPaste();
            return;
        case Qt::Key_Z:
            if (shift)
                mtxtDefaultText->Redo();
            else
                mtxtDefaultText->Undo();
            return;
        default:
            break;
        }
    }
    QDialog::keyPressEvent(event);
}
