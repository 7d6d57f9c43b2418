#include <QDebug>
#include <QDir>
#include <QFile>

/// Looks for the icons and the style sheet of the library, and for a resource of this program's own.
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
    find(QStringLiteral(":/consumer/main.cpp"), QStringLiteral(SOURCE_DIR "/main.cpp"));
    const QDir folder(QStringLiteral(SOURCE_DIR "/../../resources"));
    const QStringList names =
        folder.entryList({QStringLiteral("*.css"), QStringLiteral("*.ico"), QStringLiteral("*.png")});
    for (const QString &name : names)
        find(QStringLiteral(":/Resources/Resources/") + name, folder.filePath(name));
    return names.size() > 10 && search.problems == 0 ? 0 : 1;
}

#include "main.moc"
