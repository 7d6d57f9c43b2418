#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QList>

#include <cstdio>

namespace {

struct Entry
{
    QString url;
    QString destination;
    QString hash;
    qint64 size;
};

/// The entries of each app.
QList<QList<Entry>> entries(const QString &index)
{
    QFile file(index);
    if (!file.open(QIODevice::ReadOnly))
        qFatal("Cannot open %s", qPrintable(index));
    QList<QList<Entry>> apps;
    const QJsonArray applications =
        QJsonDocument::fromJson(file.readAll()).object().value(QLatin1String("applications")).toArray();
    for (const auto app : applications) {
        QList<Entry> entriesOfApp;
        const QJsonArray files = app.toObject().value(QLatin1String("files")).toArray();
        for (const auto value : files) {
            const QJsonObject entry = value.toObject();
            entriesOfApp.append(
                {entry.value(QLatin1String("url")).toString(), entry.value(QLatin1String("destination")).toString(),
                 entry.value(QLatin1String("hash")).toString(), entry.value(QLatin1String("size")).toInteger()});
        }
        apps.append(entriesOfApp);
    }
    return apps;
}

QByteArray json(const QList<QList<Entry>> &apps)
{
    QJsonArray applications;
    for (const QList<Entry> &app : apps) {
        QJsonArray files;
        for (const Entry &entry : app) {
            files.append(QJsonObject{{QStringLiteral("url"), entry.url},
                                     {QStringLiteral("destination"), entry.destination},
                                     {QStringLiteral("hash"), entry.hash},
                                     {QStringLiteral("size"), entry.size}});
        }
        applications.append(QJsonObject{{QStringLiteral("files"), files}});
    }
    return QJsonDocument(QJsonObject{{QStringLiteral("applications"), applications}}).toJson();
}

} // namespace

/// Builds the file entries of an index with the toolkit's JSON and writes them into memory, and prints how long that
/// took, in seconds.
int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    const QList<QList<Entry>> apps = entries(QCoreApplication::arguments().value(1));
    QElapsedTimer clock;
    clock.start();
    const QByteArray text = json(apps);
    std::printf("%.6f\n", static_cast<double>(clock.nsecsElapsed()) / 1e9);
    return text.isEmpty() ? 1 : 0;
}
