#include "io/repositoryindex.h"

#include "folder.h"
#include "testrunner.h"

#include <QFile>
#include <QJsonArray>
#include <QTest>

namespace {

QString url()
{
    return QStringLiteral("http://repo/");
}

QString output()
{
    return QStringLiteral("Apps.json");
}

AppConfig listing(const QStringList &files)
{
    AppConfig app;
    app.files = files;
    return app;
}

/// The relative paths of the file entries, as the URLs say them.
QStringList published(const AppConfig &app, const QString &projectDir)
{
    const QJsonObject index = buildRepositoryIndex({app}, QString(), projectDir);
    QStringList paths;
    const QJsonArray files =
        index.value(QLatin1String("applications")).toArray().at(0).toObject().value(QLatin1String("files")).toArray();
    for (const auto file : files)
        paths.append(file.toObject().value(QLatin1String("url")).toString());
    return paths;
}

} // namespace

class TestRepositoryIndex : public QObject
{
    Q_OBJECT

private slots:
    void emptyCatalogue();
    void wholeDocument();
    void emptyApp();
    void prefixes();
    void walks_data();
    void walks();
    void namesThatDifferOnlyInCase();
    void links();
    void endlessLinkEnds();
    void unreadableFile();
    void backslashes();
    void fullListing();
    void meetsItself();
    void otherProjectNext();
    void projectFolderThroughDots();
    void projectFolderThatIsGone();
    void cannotOpen();
};

void TestRepositoryIndex::emptyCatalogue()
{
    const Folder folder;
    folder.write(output(), "something longer than the four lines of an empty index, and then some more of it");
    QVERIFY(writeRepositoryIndex(folder.path(output()), {}, url(), folder.path()));
    QCOMPARE(folder.read(output()), QByteArray("{\n    \"applications\": [\n    ]\n}\n"));
}

void TestRepositoryIndex::wholeDocument()
{
    const Folder folder;
    folder.write(QStringLiteral("Lua/b.lua"), "abc");
    folder.write(QStringLiteral("Lua/A.lua"), "");
    folder.write(QStringLiteral("Lua/.cache"), "hidden");
    folder.write(QStringLiteral("Lua/sub/déjà vu.txt"), "abc");
    folder.write(QStringLiteral(".listed"), "abc");

    AppConfig app;
    app.names = {{QStringLiteral("en"), QStringLiteral("Say \"hi\"")}, {QStringLiteral("de"), QString()}};
    app.author = QStringLiteral("Björn \\ Söhne/Töchter");
    app.version = QVersionNumber(1, 2, 3);
    app.date = QDate(2023, 11, 15);
    app.icon = QStringLiteral("icons\\a b.png");
    app.minTxVersion = QVersionNumber(5, 3);
    app.hardware = {3859, 678, 3859};
    app.descriptions = {{QStringLiteral("en"), QStringLiteral("doc\\en.html")}};
    app.files = QStringList{QStringLiteral("Lua"), QStringLiteral(".listed"), QStringLiteral("missing"),
                            QStringLiteral("Lua/b.lua")};

    const QByteArray expected = R"({
    "applications": [
        {
            "author": "Björn \\ Söhne/Töchter",
            "description": {
                "en": "http://repo/doc\\en.html"
            },
            "files": [
                {
                    "destination": "Apps/Lua/A.lua",
                    "hash": "da39a3ee5e6b4b0d3255bfef95601890afd80709",
                    "size": 0,
                    "url": "http://repo/Lua/A.lua"
                },
                {
                    "destination": "Apps/Lua/b.lua",
                    "hash": "a9993e364706816aba3e25717850c26c9cd0d89d",
                    "size": 3,
                    "url": "http://repo/Lua/b.lua"
                },
                {
                    "destination": "Apps/Lua/sub/déjà vu.txt",
                    "hash": "a9993e364706816aba3e25717850c26c9cd0d89d",
                    "size": 3,
                    "url": "http://repo/Lua/sub/déjà vu.txt"
                },
                {
                    "destination": "Apps/.listed",
                    "hash": "a9993e364706816aba3e25717850c26c9cd0d89d",
                    "size": 3,
                    "url": "http://repo/.listed"
                },
                {
                    "destination": "Apps/Lua/b.lua",
                    "hash": "a9993e364706816aba3e25717850c26c9cd0d89d",
                    "size": 3,
                    "url": "http://repo/Lua/b.lua"
                }
            ],
            "hw": [
                3859,
                678,
                3859
            ],
            "id": 0,
            "name": {
                "de": "",
                "en": "Say \"hi\""
            },
            "previewIcon": "http://repo/icons\\a b.png",
            "releaseDate": "Wed Nov 15 2023",
            "version": "1.2.3"
        }
    ]
}
)";
    QVERIFY(writeRepositoryIndex(folder.path(output()), {app}, url(), folder.path()));
    QCOMPARE(folder.read(output()), expected);
}

void TestRepositoryIndex::emptyApp()
{
    const Folder folder;
    const QByteArray app = R"(        {
            "author": "",
            "description": {
            },
            "files": [
            ],
            "hw": [
            ],
            "id": 0,
            "name": {
            },
            "previewIcon": "http://repo/",
            "releaseDate": "",
            "version": ""
        })";
    QVERIFY(writeRepositoryIndex(folder.path(output()), {AppConfig(), AppConfig()}, url(), folder.path()));
    QCOMPARE(folder.read(output()), "{\n    \"applications\": [\n" + app + ",\n" + app + "\n    ]\n}\n");
}

void TestRepositoryIndex::prefixes()
{
    const Folder folder;
    folder.write(QStringLiteral("Lua/app.lua"), "abc");
    AppConfig app = listing({QStringLiteral("Lua")});
    app.icon = QStringLiteral("icon.png");
    app.descriptions = {{QStringLiteral("en"), QStringLiteral("../en.html")}};
    const QJsonObject object = buildRepositoryIndex({app}, QStringLiteral("http://host/repo"), folder.path())
                                   .value(QLatin1String("applications"))
                                   .toArray()
                                   .at(0)
                                   .toObject();
    const QJsonObject file = object.value(QLatin1String("files")).toArray().at(0).toObject();
    QCOMPARE(file.value(QLatin1String("url")).toString(), QStringLiteral("http://host/repoLua/app.lua"));
    QCOMPARE(file.value(QLatin1String("destination")).toString(), QStringLiteral("Apps/Lua/app.lua"));
    QCOMPARE(object.value(QLatin1String("previewIcon")).toString(), QStringLiteral("http://host/repoicon.png"));
    QCOMPARE(object.value(QLatin1String("description")).toObject().value(QLatin1String("en")).toString(),
             QStringLiteral("http://host/repo../en.html"));
}

void TestRepositoryIndex::walks_data()
{
    QTest::addColumn<QStringList>("made"); // folders end in "/"
    QTest::addColumn<QStringList>("listed");
    QTest::addColumn<QStringList>("expected");

    const auto texts = [](std::initializer_list<const char *> list) {
        QStringList result;
        for (const char *text : list)
            result.append(QString::fromUtf8(text));
        return result;
    };
    QTest::newRow("nothing") << texts({"a"}) << texts({}) << texts({});
    QTest::newRow("missing") << texts({"a"}) << texts({"b", "a/b", "c/d"}) << texts({});
    QTest::newRow("empty folder") << texts({"e/", "f/g/"}) << texts({"e", "f"}) << texts({});
    QTest::newRow("order ignores case, files and folders mixed")
        << texts({"L/b.lua", "L/A.lua", "L/.cache", "L/a2/x", "L/C/y", "L/.hidden/z"}) << texts({"L"})
        << texts({"L/A.lua", "L/a2/x", "L/b.lua", "L/C/y"});
    QTest::newRow("hidden when listed itself")
        << texts({".a", ".d/x", ".d/.y"}) << texts({".a", ".d"}) << texts({".a", ".d/x"});
    QTest::newRow("twice") << texts({"L/a"}) << texts({"L/a", "L", "L/a"}) << texts({"L/a", "L/a", "L/a"});
    QTest::newRow("dots are resolved") << texts({"L/a"}) << texts({"./L/../L/a", "L//a"}) << texts({"L/a", "L/a"});
    QTest::newRow("slash at the end of a folder") << texts({"L/a"}) << texts({"L/"}) << texts({"L/a"});
    QTest::newRow("empty entry is the whole project") << texts({"L/a", "b"}) << texts({""}) << texts({"b", "L/a"});
    QTest::newRow("absolute paths lie in the project too")
        << texts({"L/a"}) << texts({"/L/a", "/etc"}) << texts({"L/a"});
    QTest::newRow("non-ASCII") << texts({"é/ž.lua", "é/Ä.lua", "é/日本.lua"}) << texts({"é"})
                               << texts({"é/Ä.lua", "é/ž.lua", "é/日本.lua"});
    QTest::newRow("characters of URLs stay")
        << texts({"a b#c?d%20&.lua"}) << texts({"a b#c?d%20&.lua"}) << texts({"a b#c?d%20&.lua"});
}

void TestRepositoryIndex::walks()
{
    QFETCH(QStringList, made);
    QFETCH(QStringList, listed);
    const Folder folder;
    for (const QString &path : std::as_const(made)) {
        if (path.endsWith(QLatin1Char('/')))
            folder.makeFolder(path);
        else
            folder.write(path, "abc");
    }
    QTEST(published(listing(listed), folder.path()), "expected");
}

void TestRepositoryIndex::namesThatDifferOnlyInCase()
{
    const Folder folder;
    const QStringList names{QStringLiteral("readme"), QStringLiteral("README"), QStringLiteral("ReadMe")};
    for (const QString &name : names)
        folder.write(name, "abc");
    if (folder.entries().size() < names.size())
        QSKIP("The file system ignores case");
    QCOMPARE(published(listing({QString()}), folder.path()),
             (QStringList{QStringLiteral("README"), QStringLiteral("ReadMe"), QStringLiteral("readme")}));
}

void TestRepositoryIndex::links()
{
    const Folder outside;
    outside.write(QStringLiteral("file"), "abc");
    outside.write(QStringLiteral("folder/inner"), "abc");
    const Folder folder;
    folder.makeFolder(QStringLiteral("L"));
    folder.link(outside.path(QStringLiteral("file")), QStringLiteral("L/alias"));
    folder.link(outside.path(QStringLiteral("folder")), QStringLiteral("L/dir"));
    folder.link(outside.path(QStringLiteral("missing")), QStringLiteral("L/broken"));
    QCOMPARE(published(listing({QStringLiteral("L"), QStringLiteral("L/broken")}), folder.path()),
             (QStringList{QStringLiteral("L/alias"), QStringLiteral("L/dir/inner")}));

    QVERIFY(writeRepositoryIndex(folder.path(output()), {listing({QStringLiteral("L/alias")})}, url(), folder.path()));
    QVERIFY(folder.read(output()).contains("\"hash\": \"a9993e364706816aba3e25717850c26c9cd0d89d\",\n"
                                           "                    \"size\": 3,\n"));
}

void TestRepositoryIndex::endlessLinkEnds()
{
    const Folder folder;
    folder.write(QStringLiteral("L/a"), "abc");
    folder.link(folder.path(QStringLiteral("L")), QStringLiteral("L/again"));
    const QStringList paths = published(listing({QStringLiteral("L")}), folder.path());
    QVERIFY(paths.size() > 1);
    QVERIFY(paths.size() < 1000);
    QVERIFY(paths.contains(QStringLiteral("L/a")));
    QVERIFY(paths.contains(QStringLiteral("L/again/again/a")));
}

void TestRepositoryIndex::unreadableFile()
{
    const Folder folder;
    folder.write(QStringLiteral("L/a"), "12345");
    folder.write(QStringLiteral("L/b"), "abc");
    const QString unreadable = folder.path(QStringLiteral("L/a"));
    QVERIFY(QFile::setPermissions(unreadable, QFile::WriteOwner));
    QTest::ignoreMessage(QtDebugMsg, qPrintable(QStringLiteral("File \" \"%1\" \" read error.").arg(unreadable)));
    const OrdinaryUser user;
    QVERIFY(writeRepositoryIndex(folder.path(output()), {listing({QStringLiteral("L")})}, url(), folder.path()));
    QVERIFY(folder.read(output()).contains(R"(            "files": [
                {
                    "destination": "Apps/L/a",
                    "hash": "",
                    "size": 5,
                    "url": "http://repo/L/a"
                },
                {
                    "destination": "Apps/L/b",
                    "hash": "a9993e364706816aba3e25717850c26c9cd0d89d",
                    "size": 3,
                    "url": "http://repo/L/b"
                }
            ],
)"));
}

void TestRepositoryIndex::backslashes()
{
#ifdef Q_OS_WIN
    QSKIP("Not in a file name here");
#endif
    const Folder folder;
    folder.write(QStringLiteral("L/a\\b.lua"), "abc");
    QCOMPARE(published(listing({QStringLiteral("L")}), folder.path()), QStringList{QStringLiteral("L/a/b.lua")});
    // The toolkit's path of the file has a slash after the name of the folder, whatever that ends in.
    const QString file = QStringLiteral("/a.lua");
    const QString name = QStringLiteral("M") + QLatin1Char('\\');
    folder.write(name + file, "abc");
    QCOMPARE(published(listing({name}), folder.path()), QStringList(QStringLiteral("M/") + file));
}

void TestRepositoryIndex::fullListing()
{
    const Folder folder;
    QStringList expected;
    for (int number = 100; number < 400; ++number) {
        folder.write(QStringLiteral("L/f%1").arg(number), "abc");
        expected.append(QStringLiteral("L/f%1").arg(number));
    }
    QCOMPARE(published(listing({QStringLiteral("L")}), folder.path()), expected);
}

void TestRepositoryIndex::meetsItself()
{
    const Folder folder;
    folder.write(output(), "an index from before");
    QVERIFY(writeRepositoryIndex(folder.path(output()), {listing({output()})}, url(), folder.path()));
    QVERIFY(folder.read(output()).contains("\"hash\": \"da39a3ee5e6b4b0d3255bfef95601890afd80709\",\n"
                                           "                    \"size\": 0,\n"));
}

void TestRepositoryIndex::otherProjectNext()
{
    const Folder first;
    const Folder second;
    first.write(QStringLiteral("L/one"), "abc");
    second.write(QStringLiteral("L/two"), "abc");
    QCOMPARE(published(listing({QStringLiteral("L")}), first.path()), QStringList{QStringLiteral("L/one")});
    QCOMPARE(published(listing({QStringLiteral("L")}), second.path()), QStringList{QStringLiteral("L/two")});
    QCOMPARE(published(listing({QStringLiteral("L")}), first.path()), QStringList{QStringLiteral("L/one")});
}

void TestRepositoryIndex::projectFolderThroughDots()
{
    const Folder folder;
    folder.write(QStringLiteral("project/in"), "abc");
    folder.write(QStringLiteral("out"), "abc");
    QCOMPARE(
        published(listing({QStringLiteral("in"), QStringLiteral("../out")}), folder.path(QStringLiteral("project"))),
        (QStringList{QStringLiteral("in"), QStringLiteral("../out")}));
}

void TestRepositoryIndex::projectFolderThatIsGone()
{
    QCOMPARE(published(listing({QString(), QStringLiteral("etc")}), QString()), QStringList{});
}

void TestRepositoryIndex::cannotOpen()
{
    const Folder folder;
    folder.write(QStringLiteral("L/a"), "abc");
    QVERIFY(!writeRepositoryIndex(folder.path(), {listing({QStringLiteral("L")})}, url(), folder.path()));
    QVERIFY(!writeRepositoryIndex(folder.path(QStringLiteral("missing/Apps.json")), {}, url(), folder.path()));
    QCOMPARE(folder.entries(), QStringList{QStringLiteral("L")});
}

CATALIST_TEST(TestRepositoryIndex)
#include "tst_repositoryindex.moc"
