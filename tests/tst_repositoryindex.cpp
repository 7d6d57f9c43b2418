#include "io/repositoryindex.h"

#include "folder.h"
#include "indexobject.h"
#include "testrunner.h"

#include <QFile>
#include <QJsonArray>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

QString url()
{
    return u"http://repo/"_s;
}

QString output()
{
    return u"Apps.json"_s;
}

AppConfig listing(const QStringList &files)
{
    AppConfig app;
    app.files = files;
    return app;
}

/// The relative paths of the file entries, taken from their URLs.
QStringList published(const AppConfig &app, const QString &projectDir)
{
    const QJsonObject index = indexObject({app}, QString(), projectDir);
    QStringList paths;
    const QJsonArray files = index.value("applications"_L1).toArray().at(0).toObject().value("files"_L1).toArray();
    for (const auto file : files)
        paths.append(file.toObject().value("url"_L1).toString());
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
    void versionsKeepTheirZeros();
    void prefixes();
    void walks_data();
    void walks();
    void namesThatDifferOnlyInCase();
    void links();
    void circularLinkEnds();
    void unreadableFile();
    void changesAfterItWasListed();
    void sameOnSeveralThreads_data();
    void sameOnSeveralThreads();
    void escapes();
    void backslashes();
    void fullListing();
    void listsTheIndexItself();
    void otherProjectNext();
    void projectFolderThroughDots();
    void missingProjectFolder();
    void cannotOpen();
};

void TestRepositoryIndex::emptyCatalogue()
{
    const Folder folder;
    folder.write(output(), "something longer than the four lines of an empty index, and then some more of it");
    QVERIFY(writeRepositoryIndex(folder.path(output()), {}, url(), folder.path()));
    QCOMPARE(folder.read(output()), "{\n    \"applications\": [\n    ]\n}\n"_ba);
}

void TestRepositoryIndex::wholeDocument()
{
    const Folder folder;
    folder.write(u"Lua/b.lua"_s, "abc");
    folder.write(u"Lua/A.lua"_s, "");
    folder.write(u"Lua/.cache"_s, "hidden");
    folder.write(u"Lua/sub/déjà vu.txt"_s, "abc");
    folder.write(u".listed"_s, "abc");

    AppConfig app;
    app.names = {{u"en"_s, u"Say \"hi\""_s}, {u"de"_s, QString()}};
    app.author = u"Björn \\ Söhne/Töchter"_s;
    app.version = QVersionNumber(1, 2, 3);
    app.date = QDate(2023, 11, 15);
    app.icon = u"icons\\a b.png"_s;
    app.minTxVersion = QVersionNumber(5, 3);
    app.hardware = {3859, 678, 3859};
    app.descriptions = {{u"en"_s, u"doc\\en.html"_s}};
    app.files = QStringList{u"Lua"_s, u".listed"_s, u"missing"_s, u"Lua/b.lua"_s};

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

void TestRepositoryIndex::versionsKeepTheirZeros()
{
    const Folder folder;
    AppConfig app;
    app.version = QVersionNumber(2, 10, 0);
    const QJsonArray apps = indexObject({app}, url(), folder.path()).value("applications"_L1).toArray();
    QCOMPARE(apps.at(0)["version"_L1].toString(), u"2.10.0"_s);
}

void TestRepositoryIndex::prefixes()
{
    const Folder folder;
    folder.write(u"Lua/app.lua"_s, "abc");
    AppConfig app = listing({u"Lua"_s});
    app.icon = u"icon.png"_s;
    app.descriptions = {{u"en"_s, u"../en.html"_s}};
    const QJsonObject object =
        indexObject({app}, u"http://host/repo"_s, folder.path()).value("applications"_L1).toArray().at(0).toObject();
    const QJsonObject file = object.value("files"_L1).toArray().at(0).toObject();
    QCOMPARE(file.value("url"_L1).toString(), u"http://host/repoLua/app.lua"_s);
    QCOMPARE(file.value("destination"_L1).toString(), u"Apps/Lua/app.lua"_s);
    QCOMPARE(object.value("previewIcon"_L1).toString(), u"http://host/repoicon.png"_s);
    QCOMPARE(object.value("description"_L1).toObject().value("en"_L1).toString(), u"http://host/repo../en.html"_s);
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
    QTest::newRow("absolute paths are relative to the project")
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
        if (path.endsWith(u'/'))
            folder.makeFolder(path);
        else
            folder.write(path, "abc");
    }
    QTEST(published(listing(listed), folder.path()), "expected");
}

void TestRepositoryIndex::namesThatDifferOnlyInCase()
{
    const Folder folder;
    const QStringList names{u"readme"_s, u"README"_s, u"ReadMe"_s};
    for (const QString &name : names)
        folder.write(name, "abc");
    if (folder.entries().size() < names.size())
        QSKIP("The file system ignores case");
    QCOMPARE(published(listing({QString()}), folder.path()), (QStringList{u"README"_s, u"ReadMe"_s, u"readme"_s}));
}

void TestRepositoryIndex::links()
{
    const Folder outside;
    outside.write(u"file"_s, "abc");
    outside.write(u"folder/inner"_s, "abc");
    const Folder folder;
    folder.makeFolder(u"L"_s);
    folder.link(outside.path(u"file"_s), u"L/alias"_s);
    folder.link(outside.path(u"folder"_s), u"L/dir"_s);
    folder.link(outside.path(u"missing"_s), u"L/broken"_s);
    QCOMPARE(published(listing({u"L"_s, u"L/broken"_s}), folder.path()), (QStringList{u"L/alias"_s, u"L/dir/inner"_s}));

    QVERIFY(writeRepositoryIndex(folder.path(output()), {listing({u"L/alias"_s})}, url(), folder.path()));
    QVERIFY(folder.read(output()).contains("\"hash\": \"a9993e364706816aba3e25717850c26c9cd0d89d\",\n"
                                           "                    \"size\": 3,\n"));
}

void TestRepositoryIndex::circularLinkEnds()
{
    const Folder folder;
    folder.write(u"L/a"_s, "abc");
    folder.link(folder.path(u"L"_s), u"L/again"_s);
    const QStringList paths = published(listing({u"L"_s}), folder.path());
    QVERIFY(paths.size() > 1);
    QVERIFY(paths.size() < 1000);
    QVERIFY(paths.contains(u"L/a"_s));
    QVERIFY(paths.contains(u"L/again/again/a"_s));
}

void TestRepositoryIndex::unreadableFile()
{
    const Folder folder;
    folder.write(u"L/a"_s, "12345");
    folder.write(u"L/b"_s, "abc");
    const QString unreadable = folder.path(u"L/a"_s);
    QVERIFY(QFile::setPermissions(unreadable, QFile::WriteOwner));
    QTest::ignoreMessage(QtDebugMsg, qPrintable(u"File \" \"%1\" \" read error."_s.arg(unreadable)));
    const OrdinaryUser user;
    QVERIFY(writeRepositoryIndex(folder.path(output()), {listing({u"L"_s})}, url(), folder.path()));
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

void TestRepositoryIndex::changesAfterItWasListed()
{
    const Folder folder;
    for (const QString &name : {u"first"_s, u"gone"_s, u"folder"_s, u"pipe"_s, u"shorter"_s})
        folder.write(u"L/"_s + name, "abc");
    IndexReport report;
    report.visited = [&](const WalkEntry &entry) {
        if (entry.path != "L/first"_L1)
            return;
        for (const QString &name : {u"gone"_s, u"folder"_s, u"pipe"_s})
            QVERIFY(QFile::remove(folder.path(u"L/"_s + name)));
        folder.write(u"L/folder/file"_s, "abc");
        folder.makePipe(u"L/pipe"_s);
        folder.write(u"L/shorter"_s, "");
    };
    QStringList published;
    const QJsonArray files = indexObject({listing({u"L"_s})}, url(), folder.path(), &report)
                                 .value("applications"_L1)
                                 .toArray()
                                 .first()["files"_L1]
                                 .toArray();
    for (const QJsonValue &file : files)
        published.append(u"%1 %2"_s.arg(file["destination"_L1].toString()).arg(file["size"_L1].toInt()));
    QCOMPARE(published, (QStringList{u"Apps/L/first 3"_s, u"Apps/L/shorter 0"_s}));
    QCOMPARE(report.files, 2);
    QCOMPARE(report.bytes, 3);
    QStringList leftOut;
    for (const FileError &error : std::as_const(report.leftOut))
        leftOut.append(error.text());
    QCOMPARE(leftOut, (QStringList{folder.path(u"L/folder"_s) + u": Is not a regular file"_s,
                                   folder.path(u"L/gone"_s) + u": No such file or directory"_s,
                                   folder.path(u"L/pipe"_s) + u": Is not a regular file"_s}));
}

void TestRepositoryIndex::sameOnSeveralThreads_data()
{
    QTest::addColumn<int>("threads");
    for (const int threads : {2, 3, 16})
        QTest::addRow("%d", threads) << threads;
}

void TestRepositoryIndex::sameOnSeveralThreads()
{
    QFETCH(int, threads);
    const Folder folder;
    // Files of all sizes around that of a block, listed so often that not all can be under way at a time.
    for (int i = 0; i < 2000; ++i)
        folder.write(u"L%1/f%2"_s.arg(i % 7).arg(i), QByteArray(i % 40, char('a' + i % 26)));
    for (const int size : {0, 262'143, 262'144, 262'145, 999'999, 1'000'000, 3'000'000})
        folder.write(u"L3/big%1"_s.arg(size), QByteArray(size, 'x'));
    for (const QString &closed : {u"L0/f0"_s, u"L2/f1997"_s})
        QVERIFY(QFile::setPermissions(folder.path(closed), {}));
    QList<AppConfig> apps;
    for (int i = 0; i < 7; ++i)
        apps.append(listing({u"L%1"_s.arg(i), u"gone%1"_s.arg(i), u"L3/big0"_s}));
    const QStringList all{u"L0"_s, u"L1"_s, u"L2"_s, u"L3"_s, u"L4"_s, u"L5"_s, u"L6"_s};
    apps.append(listing(all + all + all + all + all));

    const OrdinaryUser user;
    const auto build = [&](int onThreads, QStringList *reports) {
        IndexReport report;
        report.progress = [reports](const IndexReport &now) {
            reports->append(u"%1 %2 %3"_s.arg(now.apps).arg(now.files).arg(now.bytes));
        };
        const QJsonObject index = indexObject(apps, url(), folder.path(), &report, onThreads);
        for (const QList<FileError> &errors : {report.leftOut, report.withoutHash}) {
            for (const FileError &error : errors)
                reports->append(error.text());
        }
        reports->append(u"%1 %2"_s.arg(report.files).arg(report.bytes));
        return index;
    };
    QStringList expectedReports;
    QStringList reports;
    const QJsonObject expected = build(1, &expectedReports);
    QCOMPARE(expectedReports.size(), 1 + 6 * 2007 + 7 + 7 + 6 * 2 + 1);
    QCOMPARE(expectedReports.first(4), (QStringList{u"1 0 0"_s, u"1 1 0"_s, u"1 2 1"_s, u"1 3 9"_s}));
    QCOMPARE(build(threads, &reports), expected);
    QCOMPARE(reports, expectedReports);
}

void TestRepositoryIndex::escapes()
{
#ifdef Q_OS_WIN
    QSKIP("No such names on this system");
#endif
    const Folder folder;
    folder.write(u"L/a\"\n\t\u0001\u007fé😀"_s, "abc");
    folder.write(u"L/b]"_s, "");
    AppConfig app = listing({u"L"_s});
    app.author = u"A\n            \"files\": ["_s;
    QVERIFY(writeRepositoryIndex(folder.path(output()), {app, listing({}), app}, u"http://\"/"_s, folder.path()));
    const QByteArray files = R"(            "files": [
                {
                    "destination": "Apps/L/a\"\n\t\u0001)"
                             "\x7f"
                             R"(é😀",
                    "hash": "a9993e364706816aba3e25717850c26c9cd0d89d",
                    "size": 3,
                    "url": "http://\"/L/a\"\n\t\u0001)"
                             "\x7f"
                             R"(é😀"
                },
                {
                    "destination": "Apps/L/b]",
                    "hash": "da39a3ee5e6b4b0d3255bfef95601890afd80709",
                    "size": 0,
                    "url": "http://\"/L/b]"
                }
            ],
)";
    const QByteArray index = folder.read(output());
    QCOMPARE(index, QJsonDocument::fromJson(index).toJson());
    QCOMPARE(index.count(files), 2);
    QCOMPARE(index.count("            \"files\": [\n            ],\n"), 1);
    QCOMPARE(QJsonDocument::fromJson(index).object().value("applications"_L1).toArray().size(), 3);
    QVERIFY(index.contains("            \"author\": \"A\\n            \\\"files\\\": [\",\n"));
}

void TestRepositoryIndex::backslashes()
{
#ifdef Q_OS_WIN
    QSKIP("Not in a file name here");
#endif
    const Folder folder;
    folder.write(u"L/a\\b.lua"_s, "abc");
    QCOMPARE(published(listing({u"L"_s}), folder.path()), QStringList{u"L/a/b.lua"_s});
    // Qt appends a slash to the folder, even after a backslash.
    const QString file = u"/a.lua"_s;
    const QString name = u"M"_s + u'\\';
    folder.write(name + file, "abc");
    QCOMPARE(published(listing({name}), folder.path()), QStringList(u"M/"_s + file));
}

void TestRepositoryIndex::fullListing()
{
    const Folder folder;
    QStringList expected;
    for (int number = 100; number < 400; ++number) {
        folder.write(u"L/f%1"_s.arg(number), "abc");
        expected.append(u"L/f%1"_s.arg(number));
    }
    QCOMPARE(published(listing({u"L"_s}), folder.path()), expected);
}

void TestRepositoryIndex::listsTheIndexItself()
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
    first.write(u"L/one"_s, "abc");
    second.write(u"L/two"_s, "abc");
    QCOMPARE(published(listing({u"L"_s}), first.path()), QStringList{u"L/one"_s});
    QCOMPARE(published(listing({u"L"_s}), second.path()), QStringList{u"L/two"_s});
    QCOMPARE(published(listing({u"L"_s}), first.path()), QStringList{u"L/one"_s});
}

void TestRepositoryIndex::projectFolderThroughDots()
{
    const Folder folder;
    folder.write(u"project/in"_s, "abc");
    folder.write(u"out"_s, "abc");
    QCOMPARE(published(listing({u"in"_s, u"../out"_s}), folder.path(u"project"_s)),
             (QStringList{u"in"_s, u"../out"_s}));
}

void TestRepositoryIndex::missingProjectFolder()
{
    QCOMPARE(published(listing({QString(), u"etc"_s}), QString()), QStringList{});
}

void TestRepositoryIndex::cannotOpen()
{
    const Folder folder;
    folder.write(u"L/a"_s, "abc");
    QVERIFY(!writeRepositoryIndex(folder.path(), {listing({u"L"_s})}, url(), folder.path()));
    QVERIFY(!writeRepositoryIndex(folder.path(u"missing/Apps.json"_s), {}, url(), folder.path()));
    QCOMPARE(folder.entries(), QStringList{u"L"_s});
}

CATALIST_TEST(TestRepositoryIndex)
#include "tst_repositoryindex.moc"
