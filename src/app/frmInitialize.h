#pragma once

#include <QStringList>
#include <QTimer>
#include <QWidget>

class QLabel;
class TARMOProject;

// The splash window. Its one-shot timer runs the start-up in a fixed order of steps, each
// announced in the status line, and hands over to the main window or to the project browser.
class frmInitialize : public QWidget {
    Q_OBJECT
public:
    explicit frmInitialize(QWidget* parent = nullptr);

    // Prepares and shows the window and arms the timer; returns at once.
    void StartTARMO();

    QLabel* lblStatus() const { return mlblStatus; }
    QLabel* lblVersion() const { return mlblVersion; }
    QTimer& tmr() { return mtmr; }
    // Every status text the run has shown, in order, without the " ..." behind it.
    const QStringList& StatusHistory() const { return mStatusHistory; }

Q_SIGNALS:
    // The start-up has handed over (or ended) and the window is about to go.
    void Finished();

private:
    void tmr_Timer();
    void startUp();
    void SetStatus(const QString& text);
    // Opens both connections of the project that isn't open yet; False when one of them fails.
    bool ConnectProject(TARMOProject& project, const QString& product);
    void Unload();

    QLabel* mlblStatus;
    QLabel* mlblVersion;
    QTimer mtmr;
    QStringList mStatusHistory;
};
