#include "frmAbout.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QVBoxLayout>

frmAbout::frmAbout(const QString& productName, const QString& version, QWidget* parent)
    : QDialog(parent) {
    setObjectName(QStringLiteral("frmAbout"));
    setWindowTitle(QStringLiteral("About ") + productName);
    auto* name = new QLabel(QStringLiteral("<h2>%1</h2>").arg(productName.toHtmlEscaped()));
    auto* versionLabel = new QLabel(QStringLiteral("Version %1").arg(version));
    versionLabel->setObjectName(QStringLiteral("lblVersion"));
    auto* what =
        new QLabel(QStringLiteral("Stored procedures, triggers, user defined functions and views of a "
                                  "SQL Server database, kept in a version store."));
    what->setWordWrap(true);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(name);
    layout->addWidget(versionLabel);
    layout->addWidget(what);
    layout->addStretch();
    layout->addWidget(buttons);
    resize(380, 200);
}
