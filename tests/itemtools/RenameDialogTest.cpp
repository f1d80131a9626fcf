#include "ItemToolsFixture.h"

#include "ItemTools.h"
#include "ModalAnswer.h"
#include "frmRenameObject.h"
#include "mdiMain.h"

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>

#include <gtest/gtest.h>

namespace {

struct Refusal {
    QString typed;
    QString message;
};

} // namespace

class RenameDialogTest : public ::testing::Test {
protected:
    ScriptedPromptsScope prompts;
    frmRenameObject form;
};

// The names read as one: the old one whole, the new one between its fixed parts.
TEST_F(RenameDialogTest, ShowsTheNameInItsParts) {
    form.Setup(QStringLiteral("GetCustomerOrders"), QStringLiteral("dbo"));
    form.show();
    EXPECT_EQ(form.windowTitle(), QStringLiteral("Rename Item ..."));
    EXPECT_EQ(form.lblOldName()->text(), QStringLiteral("[dbo].[GetCustomerOrders]"));
    EXPECT_EQ(form.lblOwner()->text(), QStringLiteral("[dbo].["));
    EXPECT_EQ(form.lblOwnerClose()->text(), QStringLiteral("]"));
    // The fixed parts touch the entry on both sides.
    EXPECT_LE(form.txtNewName()->x() - (form.lblOwner()->x() + form.lblOwner()->width()), 1);
    EXPECT_LE(form.lblOwnerClose()->x() - (form.txtNewName()->x() + form.txtNewName()->width()), 1);
    Screenshot(&form, QStringLiteral("itemtools-rename"));
}

// Each refusal warns, keeps the dialog open and cancelled, and leaves the trimmed text in the entry.
TEST_F(RenameDialogTest, RefusesMissingSameAndBracketedNames) {
    form.Setup(QStringLiteral("GetCustomerOrders"), QStringLiteral("dbo"));
    form.show();
    const QList<Refusal> refusals = {
        {QStringLiteral("   "), QStringLiteral("New Name is missing!")},
        {QStringLiteral(" getcustomerORDERS "), QStringLiteral("New Name is the same as the Old Name!")},
        {QStringLiteral("Orders]X"), QStringLiteral("New Name is invalid!")},
        {QStringLiteral("[Orders"), QStringLiteral("New Name is invalid!")},
    };
    for (const Refusal& refusal : refusals) {
        form.txtNewName()->setText(refusal.typed);
        form.cmdRename()->click();
        ASSERT_FALSE(prompts->Records().isEmpty());
        const auto& record = prompts->Records().last();
        EXPECT_EQ(record.title, QStringLiteral("Invalid Data"));
        EXPECT_EQ(record.text, refusal.message) << refusal.typed.toStdString();
        EXPECT_EQ(record.icon, Prompt::Icon::Exclamation);
        EXPECT_EQ(form.txtNewName()->text(), refusal.typed.trimmed());
        EXPECT_TRUE(form.isVisible());
        EXPECT_EQ(form.NewName(), QString());
    }
    EXPECT_EQ(prompts->Records().size(), refusals.size());
}

// A good name is trimmed and given back; Cancel gives "".
TEST_F(RenameDialogTest, RenameGivesTheTrimmedNameAndCancelGivesNothing) {
    form.Setup(QStringLiteral("GetCustomerOrders"), QStringLiteral("dbo"));
    form.show();
    form.txtNewName()->setText(QStringLiteral("  OrdersOfCustomer "));
    form.cmdRename()->click();
    EXPECT_FALSE(form.isVisible());
    EXPECT_EQ(form.NewName(), QStringLiteral("OrdersOfCustomer"));
    EXPECT_TRUE(prompts->Records().isEmpty());

    form.Setup(QStringLiteral("GetCustomerOrders"), QStringLiteral("dbo"));
    form.show();
    form.txtNewName()->setText(QStringLiteral("Other"));
    form.cmdCancel()->click();
    EXPECT_EQ(form.NewName(), QString());
}

// The main window's rename goes through the installed dialog, typed into as the user types; the
// entry comes with its whole text selected so that typing replaces it.
class RenameThroughMainWindowTest : public ItemToolsTest {};

TEST_F(RenameThroughMainWindowTest, InstalledDialogAnswersTheMainWindow) {
    mdiMain window;
    ItemTools::Install(window);
    ASSERT_TRUE(window.Factories().RenameDialog);
    ModalAnswer answer([](QDialog* dialog) {
        auto* form = qobject_cast<frmRenameObject*>(dialog);
        ASSERT_NE(form, nullptr);
        EXPECT_EQ(form->txtNewName()->selectedText(), QStringLiteral("AddOrder"));
        QTest::keyClicks(form->txtNewName(), QStringLiteral("PlaceOrder"));
        QTest::keyClick(form->txtNewName(), Qt::Key_Return);
    });
    const QString name =
        window.Factories().RenameDialog(database, &window, QStringLiteral("AddOrder"), QStringLiteral("dbo"));
    EXPECT_TRUE(answer.Answered());
    EXPECT_EQ(name, QStringLiteral("PlaceOrder"));
}
