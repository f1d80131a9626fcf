#include "frmNoProject.h"

#include "Globals.h"

#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

frmNoProject::frmNoProject(QWidget* parent)
    : QWidget(parent) {
    setObjectName(QStringLiteral("frmNoProject"));
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(QStringLiteral("TARMO"));
    auto* title = new QLabel(QStringLiteral("<b>%1</b>").arg(App::ProductName()));
    auto* text = new QLabel(QStringLiteral("No project is open."));
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
