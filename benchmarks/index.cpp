#include "io/filehash.h"
#include "io/repositoryindex.h"

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

/// Whether each file below the catalogue's folder has the hash of its entry.
bool haveTheirHashes(const QList<QList<Entry>> &apps, const QString &catalogue)
{
    FileHasher hasher(QCryptographicHash::Sha1);
    for (const QList<Entry> &app : apps) {
        for (const Entry &entry : app) {
            if (hasher.hash(catalogue + entry.destination.sliced(APPS_FOLDER.size())) != entry.hash)
                return false;
        }
    }
    return true;
}

QByteArray json(const QList<QList<Entry>> &apps)
{
    const QJsonObject empty{{QStringLiteral("url"), QString()},
                            {QStringLiteral("destination"), QString()},
                            {QStringLiteral("hash"), QString()},
                            {QStringLiteral("size"), 0}};
    QJsonArray applications;
    for (const QList<Entry> &app : apps) {
        QJsonArray files;
        for (const Entry &entry : app) {
            QJsonObject object = empty;
            object[QStringLiteral("url")] = entry.url;
            object[QStringLiteral("destination")] = entry.destination;
            object[QStringLiteral("hash")] = entry.hash;
            object[QStringLiteral("size")] = entry.size;
            files.append(object);
        }
        applications.append(QJsonObject{{QStringLiteral("files"), files}});
    }
    return QJsonDocument(QJsonObject{{QStringLiteral("applications"), applications}}).toJson();
}

void print(const char *what, const QElapsedTimer &clock)
{
    std::printf("%s %.6f\n", what, static_cast<double>(clock.nsecsElapsed()) / 1e9);
}

} // namespace

/// Does for the file entries of an index what cannot be left out of publishing, each alone: hashes the files, and
/// builds the entries with the toolkit's JSON and writes them into memory. Prints how long each took, in seconds.
int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    const QList<QList<Entry>> apps = entries(arguments.value(1));
    const QString catalogue = arguments.value(2) + QLatin1Char('/');
    QElapsedTimer clock;
    clock.start();
    if (!haveTheirHashes(apps, catalogue))
        qFatal("The files below %s are not those of the index", qPrintable(catalogue));
    print("its hashes alone", clock);
    clock.start();
    const QByteArray text = json(apps);
    print("its JSON alone", clock);
    return text.isEmpty() ? 1 : 0;
}
