#pragma once

#include <QFrame>
#include <QIcon>
#include <QSize>
#include <QStringList>

class QLabel;
class QWidget;

// The help file's topics of the document generator: the run, the start dialog, the modules.
namespace DocGenHelp {
constexpr long Run = 59;
constexpr long Settings = 60;
constexpr long Modules = 61;
} // namespace DocGenHelp

namespace DocGenWindowSupport {

// The size a window opens with: what it asks for, at least minimum, and never more than the given
// shares of the free area of the screen it stands on, so that it fits a small screen as well.
QSize SizeOnScreen(const QWidget* window, QSize wanted, double widthShare, double heightShare);

// The picture of a step row: 0 waiting, 1 running, 2 done. Drawn in the palette's colours, so it
// reads on a light and on a dark desktop alike.
QIcon StepIcon(int state, const QWidget* palette);

// The files under folder, in every subfolder, whose names match one of the patterns (globs such as
// "*.php", separated by blanks, commas or semicolons; every file when there are none), sorted.
QStringList FilesMatching(const QString& folder, const QString& patterns);

} // namespace DocGenWindowSupport

// The panel that warns of something wrong in the window above it: a warning picture and a text that
// wraps. Hidden until it has something to say.
class DocGenWarningPanel : public QFrame {
    Q_OBJECT
public:
    explicit DocGenWarningPanel(QWidget* parent = nullptr);
    void ShowWarning(const QString& text);
    QString Text() const;

private:
    QLabel* mText = nullptr;
};
