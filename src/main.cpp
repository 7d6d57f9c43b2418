#include "io/platform.h"
#include "ui/mainwindow.h"

#include <QApplication>

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    QGuiApplication::setDesktopFileName(QStringLiteral(CATALIST_APP_ID));
    QGuiApplication::setWindowIcon(QIcon(QStringLiteral(":/Resources/Resources/catalist.ico")));
    MainWindow window;
    QObject::connect(&application, &QGuiApplication::commitDataRequest, &window, &MainWindow::writeDrafts,
                     Qt::DirectConnection);
    beforeTermination(&window, [&window] { window.writeDrafts(); });
    window.show();
    return QApplication::exec();
}
