#pragma once

#include "OptionValues.h"

#include <QDialog>
#include <QHash>
#include <QIcon>
#include <QList>
#include <QStringList>

#include <functional>

class QAbstractButton;
class QButtonGroup;
class QCheckBox;
class QComboBox;
class QListWidget;
class QPushButton;
class QStackedWidget;
class QTreeWidget;
class QTreeWidgetItem;
class SQLTextEditor;
class TARMODatabase;

// One editable kind of object as the Default Text page offers it.
struct OptionsObjectKind {
    QString Tag; // the list tag, under which its default text is kept ("StoredProcedures")
    QString Text;
    QIcon Icon;
};

// The modal dialog in which the user changes the settings: a tree of categories on the left, one
// page at a time on the right. It reads every value when it opens and writes back what changed on
// Apply or OK. Apply is enabled exactly while a control differs from what was last read or saved.
class frmOptions : public QDialog {
    Q_OBJECT
public:
    explicit frmOptions(QWidget* parent = nullptr);
    ~frmOptions() override;

    // The kinds of the Default Text page, before Load; none leaves the page's editor disabled.
    void SetObjectKinds(const QList<OptionsObjectKind>& kinds);
    // How F1 reaches the help; unset, F1 does nothing.
    void SetHelp(std::function<void(QWidget*, long)> help) { mHelp = std::move(help); }
    // What makes the open windows take the settings after each save.
    void SetAfterSave(std::function<void()> afterSave) { mAfterSave = std::move(afterSave); }

    // Load, then the modal show; returns once the dialog has closed.
    void ShowOptions(TARMODatabase& sdbCurrent);
    // Reads every setting and default text into the controls and opens on "GENERAL".
    void Load(TARMODatabase& sdbCurrent);
    // Writes what changed; False when a default text could not be written (the user was told, and
    // the dialog stays as it is).
    bool Save();
    bool Dirty() const { return mbDirty; }

    // The page that a category shows, by key ("GENERAL", "EDITOR:CHANGESMADE:NEW", ...).
    void SelectCategory(const QString& key);
    QString CurrentPage() const;
    // The help topic of the selected category, 24 without one.
    long HelpTopic() const;

    // --- Controls, for tests
    QTreeWidget* tvwCaterogies() const { return mtvwCaterogies; }
    QCheckBox* Check(const QString& name) const;
    // The option of a group ("optNew", "optEdit", "optPermission", "optDBTPermission",
    // "optEditorPermission") that stands for the code.
    QAbstractButton* Option(const QString& group, int code) const;
    QComboBox* cboDefaultText() const { return mcboDefaultText; }
    SQLTextEditor* txtDefaultText() const { return mtxtDefaultText; }
    QListWidget* lvwTags() const { return mlvwTags; }
    QPushButton* cmdOK() const { return mcmdOK; }
    QPushButton* cmdCancel() const { return mcmdCancel; }
    QPushButton* cmdApply() const { return mcmdApply; }
    QWidget* Page(const QString& key) const;

public slots:
    void reject() override;

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    struct Category;
    static const QList<Category>& Categories();

    void buildCategories();
    QWidget* buildGeneralPage();
    QWidget* buildViewPage();
    QWidget* buildEditorPage();
    QWidget* buildNewObjectPage();
    QWidget* buildEditObjectPage();
    QWidget* buildPermissionChangesPage();
    QWidget* buildPermissionsPage();
    QWidget* buildDefaultTextPage();
    QCheckBox* addCheck(QWidget* page, const QString& name, const QString& text);
    // The options in the order of the texts, each with its code as the group's id.
    QButtonGroup* addOptions(QWidget* page, const QString& name, const QStringList& texts,
                             const QList<long>& codes);

    void showValues(const OptionValues& values);
    OptionValues shownValues() const;
    void selectCode(QButtonGroup* group, long code);
    void cboDefaultText_Click(int index);
    void showDefaultText(int index);
    void insertTag(const QString& tag);
    void editorFocusChanged(bool hasFocus);
    void updateDirty();
    bool defaultTextsChanged() const;

    TARMODatabase* msdbCurrent = nullptr;
    QList<OptionsObjectKind> mKinds;
    QStringList marrDefaultStored;
    QStringList marrDefaultCurrent;
    int mlngDefaultIndex = -1; // from 0 here; -1 while there is no kind
    bool mbDirty = false;
    bool mbLoading = false;
    OptionValues mStored;

    QTreeWidget* mtvwCaterogies = nullptr;
    QStackedWidget* mPages = nullptr;
    QHash<QString, QWidget*> mPageByKey;
    QHash<QString, QCheckBox*> mChecks;
    QHash<QString, QButtonGroup*> mGroups;
    QComboBox* mcboDefaultText = nullptr;
    SQLTextEditor* mtxtDefaultText = nullptr;
    QListWidget* mlvwTags = nullptr;
    QPushButton* mcmdOK = nullptr;
    QPushButton* mcmdCancel = nullptr;
    QPushButton* mcmdApply = nullptr;
    std::function<void(QWidget*, long)> mHelp;
    std::function<void()> mAfterSave;
};
