#include "ui/busywindow.h"

#include <QGuiApplication>
#include <QMainWindow>
#include <QStatusBar>

namespace {

constexpr qint64 PROGRESS_INTERVAL = 100; // milliseconds

} // namespace

BusyWindow::BusyWindow(QMainWindow *window, const QString &message) : statusBar(window->statusBar())
{
    QGuiApplication::setOverrideCursor(Qt::WaitCursor);
    statusBar->showMessage(message);
    window->repaint();
    sinceShown.start();
}

BusyWindow::~BusyWindow()
{
    statusBar->clearMessage();
    QGuiApplication::restoreOverrideCursor();
}

void BusyWindow::showProgress(const QString &message)
{
    if (sinceShown.elapsed() < PROGRESS_INTERVAL)
        return;
    sinceShown.start();
    statusBar->showMessage(message);
    statusBar->repaint();
}
