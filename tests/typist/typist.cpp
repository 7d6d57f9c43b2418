// A plugin that adds an app in the window of the program that loads it, types into the description that its first app
// has, and says "typed". In a window that is to hang it then lets no event through any more.

#include "windowfixture.h"

#include <QApplication>
#include <QGenericPlugin>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QTableWidget>
#include <QTimer>

#include <chrono>
#include <cstdio>

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
            type(child<QPlainTextEdit>(*window, "descriptionEdit"), QStringLiteral("typed "));
            std::puts("typed");
            std::fflush(stdout);
            while (options == QLatin1String("hang")) { }
        });
        timer->start(10ms);
        return timer;
    }
};

#include "typist.moc"
