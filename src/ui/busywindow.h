#pragma once

#include <QElapsedTimer>
#include <QString>

class QMainWindow;
class QStatusBar;

/// Shows what a window is busy with, as long as this object exists. It paints directly, as no events are handled
/// meanwhile; the place of a dialog that was closed is painted too.
class BusyWindow
{
public:
    BusyWindow(QMainWindow *window, const QString &message);
    ~BusyWindow();
    Q_DISABLE_COPY_MOVE(BusyWindow)

    /// Replaces the message, unless the one before was shown too short a time ago to be read.
    void showProgress(const QString &message);

private:
    QStatusBar *statusBar;
    QElapsedTimer sinceShown;
};
