#include "SQLTextEditor.h"
#include "FindReplaceDialog.h"
#include "GeneralHelpers.h"
#include "ScriptedPrompts.h"
#include "SqlEditControl.h"
#include "TestSupport.h"

#include <QFile>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>

#include <gtest/gtest.h>

namespace {
QByteArray fileBytes(const QString& path) {
    QFile file(path);
    file.open(QIODevice::ReadOnly);
    return file.readAll();
}

void writeBytes(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    file.open(QIODevice::WriteOnly);
    file.write(bytes);
}
} // namespace

class EditorTest : public ::testing::Test {
protected:
    EditorTest() { editor.resize(500, 300); }
    ScriptedPromptsScope prompts;
    TempFolder dir;
    SQLTextEditor editor;
};

TEST_F(EditorTest, EmptyEditorGivesEmptyTexts) {
    EXPECT_EQ(editor.Text(), QString());
    EXPECT_EQ(editor.SelectedText(), QString());
    EXPECT_FALSE(editor.IsModified());
    EXPECT_FALSE(editor.CanUndo());
    editor.Undo();
    editor.Redo();
    EXPECT_EQ(editor.Text(), QString()) << "undo and redo on an empty history stay silent";
}

TEST_F(EditorTest, ReadOnlyWorkingFileLocksTheTextAndLoadingReportsTheCaret) {
    const QString path = dir.Path(QStringLiteral("101.sp"));
    writeBytes(path, "CREATE PROCEDURE dbo.usp_Orders\r\nAS\r\nSELECT 1\r\n");
    SetReadOnlyFile(path, true);
    QSignalSpy caret(&editor, &SQLTextEditor::bcCaretMove);
    editor.LoadFile(path);
    EXPECT_EQ(caret.size(), 1);
    EXPECT_EQ(caret.first().at(2).toLongLong(), 0);
    EXPECT_EQ(caret.first().at(3).toLongLong(), 0);
    EXPECT_TRUE(editor.Locked());
    EXPECT_FALSE(editor.IsModified());
    EXPECT_FALSE(editor.CanUndo()) << "a load is no step to undo";
    editor.Paste(QStringLiteral("-- x"));
    QTest::keyClicks(editor.ctrlHWnd(), QStringLiteral("abc"));
    EXPECT_EQ(editor.Text(), QStringLiteral("CREATE PROCEDURE dbo.usp_Orders\r\nAS\r\nSELECT 1\r\n"));
    EXPECT_FALSE(editor.IsModified());

    SetReadOnlyFile(path, false);
    editor.LoadFile(path);
    EXPECT_FALSE(editor.Locked()) << "after a check-out the file is writable and so is the text";
}

TEST_F(EditorTest, EditsMarkTheTextModifiedAndSavingKeepsTheLineEnds) {
    const QString path = dir.Path(QStringLiteral("102.sp"));
    writeBytes(path, "SELECT 1\r\nFROM t\r\n");
    editor.LoadFile(path);
    editor.ctrlHWnd()->setCursorPosition(1, 0);
    QTest::keyClick(editor.ctrlHWnd(), Qt::Key_Return);
    EXPECT_TRUE(editor.IsModified());
    EXPECT_EQ(editor.Text(), QStringLiteral("SELECT 1\r\n\r\nFROM t\r\n"))
        << "a new line takes the file's form";
    editor.Undo();
    EXPECT_EQ(editor.Text(), QStringLiteral("SELECT 1\r\nFROM t\r\n"));
    EXPECT_TRUE(editor.CanRedo());
    editor.Redo();
    editor.Paste(QStringLiteral("WHERE 1 = 1"));
    EXPECT_EQ(editor.Text(), QStringLiteral("SELECT 1\r\n\r\nWHERE 1 = 1FROM t\r\n"));

    editor.SaveFile();
    EXPECT_FALSE(editor.IsModified());
    EXPECT_EQ(fileBytes(path), QByteArray("SELECT 1\r\n\r\nWHERE 1 = 1FROM t\r\n"));
    const QString copy = dir.Path(QStringLiteral("copy.sql"));
    editor.SaveFile(copy);
    EXPECT_EQ(editor.CurrentFile(), copy);
    EXPECT_EQ(fileBytes(copy), fileBytes(path));
    EXPECT_TRUE(prompts->Records().isEmpty());
}

TEST_F(EditorTest, FilesThatCantBeReadOrWrittenAreReportedAndChangeNothing) {
    editor.SetText(QStringLiteral("SELECT 1"));
    editor.LoadFile(dir.Path(QStringLiteral("missing.sp")));
    EXPECT_EQ(editor.Text(), QStringLiteral("SELECT 1"));
    const QString locked = dir.Path(QStringLiteral("locked.sp"));
    writeBytes(locked, "old");
    SetReadOnlyFile(locked, true);
    editor.SaveFile(locked);
    EXPECT_EQ(fileBytes(locked), QByteArray("old"));
    ASSERT_EQ(prompts->Records().size(), 2);
    EXPECT_EQ(prompts->Records()[0].title, QStringLiteral("Load File"));
    EXPECT_EQ(prompts->Records()[1].title, QStringLiteral("Save File"));
    EXPECT_TRUE(editor.IsModified());
}

TEST_F(EditorTest, FindRepeatsBothWaysAndWrapsRound) {
    editor.SetText(QStringLiteral("select a\nSELECT b\nselect c\n"));
    SqlEditControl& control = *editor.ctrlHWnd();
    control.setCursorPosition(0, 0);
    ASSERT_TRUE(control.SearchFor({QStringLiteral("select"), true, false}, true));
    int line, index;
    control.getCursorPosition(&line, &index);
    EXPECT_EQ(line, 0);
    editor.FindNext();
    control.getCursorPosition(&line, &index);
    EXPECT_EQ(line, 2) << "match case skips the upper-case line";
    editor.FindNext();
    control.getCursorPosition(&line, &index);
    EXPECT_EQ(line, 0) << "wrapped round";
    editor.FindPrevious();
    control.getCursorPosition(&line, &index);
    EXPECT_EQ(line, 2) << "backwards from the present match";
    EXPECT_EQ(editor.SelectedText(), QStringLiteral("select"));
    EXPECT_FALSE(control.SearchFor({QStringLiteral("missing"), false, false}, true));
}

TEST_F(EditorTest, ReplaceAllCountsAndDoesntChaseItsOwnReplacements) {
    editor.SetText(QStringLiteral("x = x + 1\nx"));
    SqlEditControl& control = *editor.ctrlHWnd();
    EXPECT_EQ(control.ReplaceAll({QStringLiteral("x"), false, true}, QStringLiteral("xx")), 3);
    EXPECT_EQ(editor.Text(), QStringLiteral("xx = xx + 1\nxx"));
    editor.Undo();
    EXPECT_EQ(editor.Text(), QStringLiteral("x = x + 1\nx")) << "one step undoes them all";

    editor.Replace();
    auto* dialog = editor.findChild<FindReplaceDialog*>();
    ASSERT_NE(dialog, nullptr);
    EXPECT_TRUE(dialog->cmdReplace()->isVisibleTo(dialog));
    dialog->txtFind()->setText(QStringLiteral("1"));
    dialog->txtReplace()->setText(QStringLiteral("2"));
    dialog->cmdFindNext()->click();
    dialog->cmdReplace()->click();
    EXPECT_EQ(editor.Text(), QStringLiteral("x = x + 2\nx"));
    Screenshot(dialog, QStringLiteral("frmFindReplace"));
    dialog->hide();

    editor.SetLocked(true);
    EXPECT_EQ(control.ReplaceAll({QStringLiteral("x"), false, false}, QStringLiteral("y")), 0);
}

TEST_F(EditorTest, KeyHandlersCanKeepAKeyFromTheControl) {
    QObject::connect(&editor, &SQLTextEditor::bcKeyDown, [](int& KeyCode, int& Shift) {
        if (KeyCode == Qt::Key_Q && Shift == 0)
            KeyCode = 0;
    });
    QStringList typed;
    QObject::connect(&editor, &SQLTextEditor::bcKeyPress, [&](int& KeyAscii) { typed << QChar(KeyAscii); });
    QTest::keyClicks(editor.ctrlHWnd(), QStringLiteral("aqb"));
    EXPECT_EQ(editor.Text(), QStringLiteral("ab"));
    EXPECT_EQ(typed, (QStringList{QStringLiteral("a"), QStringLiteral("b")}));
}
