#include "model/appconfigmodel.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>

#include <cstdio>

namespace {

double seconds(const QElapsedTimer &clock)
{
    return static_cast<double>(clock.nsecsElapsed()) / 1e9;
}

} // namespace

/// Opens an Apps.csv and saves it elsewhere, and prints how long each took, in seconds.
int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() != 3) {
        std::fputs("usage: catalist_bench_project APPS.CSV SAVED\n", stderr);
        return 2;
    }

    AppConfigModel model;
    QElapsedTimer clock;
    clock.start();
    if (!model.load(arguments.at(1)))
        return 1;
    const double opened = seconds(clock);
    clock.restart();
    if (!model.save(arguments.at(2)))
        return 1;
    const double saved = seconds(clock);
    std::printf("opening %.6f\nsaving %.6f\n", opened, saved);
    return 0;
}
