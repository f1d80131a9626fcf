#include "frmNoProject.h"

#include "Globals.h"
#include "TARMOProject.h"
#include "TARMOSQL.h"
#include "TARMOVSS.h"

#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

frmNoProject::frmNoProject(const TARMOProject* connected, QWidget* parent)
    : QWidget(parent) {
    setObjectName(QStringLiteral("frmNoProject"));
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(QStringLiteral("TARMO"));
    auto* title = new QLabel(QStringLiteral("<b>%1</b>").arg(App::ProductName()));
    auto* text =
        new QLabel(connected ? QStringLiteral("Project \"%1\" is connected: %2 on %3, store project %4.")
                                   .arg(connected->Name(), connected->SQL().Database(),
                                        connected->SQL().Server(), connected->VSS().Project())
                             : QStringLiteral("No project is open."));
    text->setWordWrap(true);
    text->setObjectName(QStringLiteral("lblNoProject"));
    auto* close = new QPushButton(QStringLiteral("&Close"));
    connect(close, &QPushButton::clicked, this, &QWidget::close);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(title);
    layout->addWidget(text);
    layout->addStretch();
    layout->addWidget(close, 0, Qt::AlignRight);
    resize(420, 160);
}

void ShowProjectWindow(const std::shared_ptr<TARMOProject>& project) {
    (new frmNoProject(project.get()))->show();
}
