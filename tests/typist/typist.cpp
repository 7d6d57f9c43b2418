// A plugin that adds an app in the window of the program that loads it, types into the description of the first app,
// and prints "typed". With the option "hang" it then blocks the event loop.

#include "windowfixture.h"

#include <QApplication>
#include <QGenericPlugin>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QTableWidget>
#include <QTimer>

#include <chrono>
#include <cstdio>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

class Typist : public QGenericPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QGenericPluginFactoryInterface_iid FILE "typist.json")

public:
    QObject *create(const QString & /*name*/, const QString &options) override
    {
        auto *timer = new QTimer(qApp);
        QObject::connect(timer, &QTimer::timeout, timer, [timer, options] {
            QWidget *window = QApplication::activeWindow();
            if (!window)
                return;
            timer->stop();
            click(*window, "btnNewApp");
            clickCell(child<QListWidget>(*window, "listApps"), 0);
            showTab(*window, "tabDescription");
            clickCell(child<QTableWidget>(*window, "tableWidget"), 0, 1);
            type(child<QPlainTextEdit>(*window, "descriptionEdit"), u"typed "_s);
            std::puts("typed");
            std::fflush(stdout);
            while (options == "hang"_L1) { }
        });
        timer->start(10ms);
        return timer;
    }
};

#include "typist.moc"
