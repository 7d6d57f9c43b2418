#include <QDebug>
#include <QDir>
#include <QFile>

using namespace Qt::StringLiterals;

/// Compares the resources of the library, and one of this program, with their files.
class Search : public QObject
{
    Q_OBJECT

public:
    int problems = 0;

public slots:
    void find(const QString &resource, const QString &path)
    {
        QFile found(resource);
        QFile file(path);
        if (found.open(QIODevice::ReadOnly) && file.open(QIODevice::ReadOnly) && found.readAll() == file.readAll())
            return;
        qWarning() << "There is no" << resource << "with the content of" << path;
        ++problems;
    }
};

int main()
{
    Search search;
    const auto find = [&search](const QString &resource, const QString &path) {
        QMetaObject::invokeMethod(&search, "find", Q_ARG(QString, resource), Q_ARG(QString, path));
    };
    find(u":/consumer/main.cpp"_s, QStringLiteral(SOURCE_DIR "/main.cpp"));
    const QDir folder(QStringLiteral(SOURCE_DIR "/../../resources"));
    const QStringList names = folder.entryList({u"*.css"_s, u"*.ico"_s, u"*.png"_s});
    for (const QString &name : names)
        find(u":/Resources/Resources/"_s + name, folder.filePath(name));
    return names.size() > 10 && search.problems == 0 ? 0 : 1;
}

#include "main.moc"
