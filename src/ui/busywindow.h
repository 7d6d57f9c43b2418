#pragma once

#include <QElapsedTimer>
#include <QString>

class QMainWindow;
class QStatusBar;

/// Shows that a window is at work and what it does, as long as it lives. Everything is painted directly, as no event
/// gets through meanwhile; a dialog that was closed is painted away.
class BusyWindow
{
public:
    BusyWindow(QMainWindow *window, const QString &message);
    ~BusyWindow();
    Q_DISABLE_COPY_MOVE(BusyWindow)

    /// Takes the place of the message, unless it is too soon after the one before to be read.
    void showProgress(const QString &message);

private:
    QStatusBar *statusBar;
    QElapsedTimer sinceShown;
};
