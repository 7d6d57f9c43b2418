#include "check/verification.h"
#include "check/verify.h"

#include "check/checkrules.h"
#include "findings.h"
#include "folder.h"
#include "indexobject.h"
#include "io/projectfile.h"
#include "io/repositoryindex.h"
#include "lengths.h"
#include "seed.h"
#include "testrunner.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonValue>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

const QString URL = u"https://apps.example.org/"_s;
const QByteArray PNG = "\x89PNG\r\n\x1a\n";

QByteArray asBytes(const QJsonObject &index)
{
    return QJsonDocument(index).toJson();
}

/// A small published folder with its index, for a case to change.
struct Published
{
    Folder folder;
    QJsonObject app;
    QString url = URL;

    Published()
    {
        folder.write(u"www/Clock/main.lua"_s, "abc");
        folder.write(u"www/Clock/lib/a.lua"_s, "");
        folder.write(u"www/en.html"_s, "<img src=\"screen.png\">");
        folder.write(u"www/screen.png"_s, PNG);
        folder.write(u"www/icon.png"_s, PNG);
        folder.write(u"www/Apps.csv"_s, "");
        AppConfig clock;
        clock.names = {{u"en"_s, u"Clock"_s}};
        clock.icon = u"icon.png"_s;
        clock.descriptions = {{u"en"_s, u"en.html"_s}};
        clock.files = QStringList{u"Clock"_s};
        const QJsonObject index = indexObject({clock}, URL, folder.path(u"www"_s));
        app = index.value("applications"_L1).toArray().at(0).toObject();
    }

    /// Changes the entry of Clock/lib/a.lua, the first one.
    void setEntry(QLatin1String member, const QJsonValue &value)
    {
        QJsonArray files = app.value("files"_L1).toArray();
        QJsonObject entry = files.at(0).toObject();
        entry.insert(member, value);
        files.replace(0, entry);
        app.insert("files"_L1, files);
    }

    void appendEntry(const QString &path, const QString &destination, const QString &hash)
    {
        QJsonArray files = app.value("files"_L1).toArray();
        files.append(
            QJsonObject{{u"url"_s, URL + path}, {u"destination"_s, destination}, {u"hash"_s, hash}, {u"size"_s, 0}});
        app.insert("files"_L1, files);
    }

    void remove(const QString &path) const { QFile::remove(folder.path(u"www/"_s + path)); }

    FileResult<Check::Result> verify() const
    {
        folder.write(u"www/Apps.json"_s, asBytes({{u"applications"_s, QJsonArray{app}}}));
        return Check::verifyIndex(folder.path(u"www"_s), folder.path(u"www/Apps.json"_s), url);
    }
};

const QString EMPTY_HASH = u"da39a3ee5e6b4b0d3255bfef95601890afd80709"_s;
const QString OTHER_HASH = u"a9993e364706816aba3e25717850c26c9cd0d89d"_s;

// clang-format off
const QList<Case<Published>> &cases()
{
    static const QList<Case<Published>> all{
        {"index-form", FAULT, "no files", [](Published &p) { p.app.remove("files"_L1); }, "file-unnamed"},
        {"index-form", FAULT, "size in letters", [](Published &p) { p.setEntry("size"_L1, u"0"_s); }, "file-unnamed"},
        {"index-form", FAULT, "size below zero", [](Published &p) { p.setEntry("size"_L1, -3); }, "file-unnamed"},
        {"index-form", FAULT, "size with a fraction", [](Published &p) { p.setEntry("size"_L1, 0.5); }, "file-unnamed"},
        {"index-form", FAULT, "no hash", [](Published &p) { p.setEntry("hash"_L1, QJsonValue()); }, "file-unnamed"},
        {"index-form", FAULT, "description without an object", [](Published &p) { p.app.insert("description"_L1, u"en.html"_s); }, "file-unnamed"},
        {"index-form", FAULT, "description without a URL", [](Published &p) { p.app.insert("description"_L1, QJsonObject{{u"en"_s, 5}}); }, "file-unnamed"},
        {"index-form", FAULT, "hash in upper case", [](Published &p) { p.setEntry("hash"_L1, EMPTY_HASH.toUpper()); }},
        {"index-form", FAULT, "hash of another kind", [](Published &p) { p.setEntry("hash"_L1, EMPTY_HASH.left(32)); }},
        {"index-form", NEARLY, "more members", [](Published &p) { p.setEntry("comment"_L1, 5); p.app.insert("x"_L1, 1); }},
        {"url-elsewhere", FAULT, "another server", [](Published &p) { p.setEntry("url"_L1, u"https://other.example.org/a"_s); }, "file-unnamed"},
        {"url-elsewhere", FAULT, "another scheme", [](Published &p) { p.url = u"http://apps.example.org/"_s; }, "file-unnamed"},
        {"url-elsewhere", FAULT, "icon on another server", [](Published &p) { p.app.insert("previewIcon"_L1, u"https://other.example.org/icon.png"_s); }, "file-unnamed"},
        {"url-elsewhere", NEARLY, "no icon", [](Published &p) { p.app.insert("previewIcon"_L1, URL); p.remove(u"icon.png"_s); }},
        {"url-characters", FAULT, "number sign", [](Published &p) { p.folder.write(u"www/a#b"_s, ""); p.appendEntry(u"a#b"_s, u"Apps/a#b"_s, EMPTY_HASH); }},
        {"url-characters", FAULT, "question mark in an icon", [](Published &p) { p.folder.write(u"www/i?.png"_s, PNG); p.app.insert("previewIcon"_L1, QString(URL + u"i?.png"_s)); }, "file-unnamed"},
        {"url-characters", NEARLY, "space and letters", [](Published &p) { p.folder.write(u"www/a ž&+"_s, ""); p.appendEntry(u"a ž&+"_s, u"Apps/a ž&+"_s, EMPTY_HASH); }, "url-escapes"},
        {"url-escapes", FAULT, "space", [](Published &p) { p.folder.write(u"www/a b"_s, ""); p.appendEntry(u"a b"_s, u"Apps/a b"_s, EMPTY_HASH); }},
        {"url-escapes", FAULT, "icon and description", [](Published &p) { p.folder.write(u"www/é.png"_s, PNG); p.folder.write(u"www/{.html"_s, "<img src=\"screen.png\">"); p.remove(u"icon.png"_s); p.remove(u"en.html"_s); p.app.insert("previewIcon"_L1, QString(URL + u"é.png"_s)); p.app.insert("description"_L1, QJsonObject{{u"en"_s, QString(URL + u"{.html"_s)}}); }},
        {"url-escapes", NEARLY, "other characters", [](Published &p) { p.folder.write(u"www/!$&'()*+,.;=@_~-"_s, ""); p.appendEntry(u"!$&'()*+,.;=@_~-"_s, u"Apps/!$&'()*+,.;=@_~-"_s, EMPTY_HASH); }},
        {"url-form", FAULT, "no scheme", [](Published &p) { p.setEntry("url"_L1, u"//apps.example.org/Clock/lib/a.lua"_s); }, "file-unnamed"},
        {"url-form", FAULT, "published without a URL", [](Published &p) { p.app.insert("previewIcon"_L1, u"/icon.png"_s); }, "file-unnamed"},
        {"url-form", NEARLY, "another port", [](Published &p) { p.app.insert("previewIcon"_L1, u"https://apps.example.org:1/icon.png"_s); }, "url-elsewhere file-unnamed"},
        {"path-escapes", FAULT, "URL climbs out", [](Published &p) { p.folder.write(u"x"_s, ""); p.appendEntry(u"../x"_s, u"Apps/../x"_s, EMPTY_HASH); }},
        {"path-escapes", FAULT, "destination climbs out of Apps", [](Published &p) { p.setEntry("destination"_L1, u"Apps/../a.lua"_s); }, "destination-differs"},
        {"path-escapes", FAULT, "destination beside Apps", [](Published &p) { p.setEntry("destination"_L1, u"Other/a.lua"_s); }, "destination-differs"},
        {"path-escapes", FAULT, "absolute", [](Published &p) { p.appendEntry(u"/etc/x"_s, u"Apps//etc/x"_s, EMPTY_HASH); }},
        {"path-escapes", FAULT, "link to a file outside", [](Published &p) { p.folder.write(u"x"_s, "abc"); p.remove(u"Clock/main.lua"_s); p.folder.link(p.folder.path(u"x"_s), u"www/Clock/main.lua"_s); }},
        {"path-escapes", FAULT, "icon in a folder outside", [](Published &p) { p.folder.write(u"x/i.png"_s, PNG); p.folder.link(p.folder.path(u"x"_s), u"www/x"_s); p.app.insert("previewIcon"_L1, QString(URL + u"x/i.png"_s)); }, "file-unnamed"},
        {"path-escapes", FAULT, "link to a description outside, with a picture inside", [](Published &p) { p.folder.write(u"x.html"_s, p.folder.read(u"www/en.html"_s)); p.remove(u"en.html"_s); p.folder.link(p.folder.path(u"x.html"_s), u"www/en.html"_s); }, "file-unnamed"},
        {"path-escapes", NEARLY, "link inside", [](Published &p) { p.folder.write(u"www/x"_s, "abc"); p.remove(u"Clock/main.lua"_s); p.folder.link(p.folder.path(u"www/x"_s), u"www/Clock/main.lua"_s); }},
        {"path-escapes", NEARLY, "dots in names", [](Published &p) { p.folder.write(u"www/..a/b.."_s, ""); p.appendEntry(u"..a/b.."_s, u"Apps/..a/b.."_s, EMPTY_HASH); }},
        {"destination-differs", FAULT, "another folder", [](Published &p) { p.setEntry("destination"_L1, u"Apps/lib/a.lua"_s); }},
        {"destination-differs", FAULT, "another case", [](Published &p) { p.setEntry("destination"_L1, u"Apps/clock/lib/a.lua"_s); }},
        {"destination-differs", NEARLY, "folder called Apps", [](Published &p) { p.folder.write(u"www/Apps/a"_s, ""); p.appendEntry(u"Apps/a"_s, u"Apps/Apps/a"_s, EMPTY_HASH); }},
        {"destination-twice", FAULT, "another file", [](Published &p) { p.appendEntry(u"Clock/lib/a.lua"_s, u"Apps/Clock/main.lua"_s, EMPTY_HASH); }, "destination-differs"},
        {"destination-twice", FAULT, "another hash", [](Published &p) { p.appendEntry(u"Clock/lib/a.lua"_s, u"Apps/Clock/lib/a.lua"_s, OTHER_HASH); }, "hash-differs"},
        {"destination-twice", NEARLY, "the same", [](Published &p) { p.appendEntry(u"Clock/lib/a.lua"_s, u"Apps/Clock/lib/a.lua"_s, EMPTY_HASH); }},
        {"destination-case", FAULT, "file", [](Published &p) { p.folder.write(u"www/Clock/lib/A.lua"_s, ""); p.appendEntry(u"Clock/lib/A.lua"_s, u"Apps/Clock/lib/A.lua"_s, EMPTY_HASH); }},
        {"destination-case", FAULT, "folder, with another content", [](Published &p) { p.folder.write(u"www/clock/lib/a.lua"_s, "abc"); p.appendEntry(u"clock/lib/a.lua"_s, u"Apps/clock/lib/a.lua"_s, OTHER_HASH); }, "size-differs"},
        {"destination-case", FAULT, "file and folder", [](Published &p) { p.folder.write(u"www/Clock/LIB"_s, ""); p.appendEntry(u"Clock/LIB"_s, u"Apps/Clock/LIB"_s, EMPTY_HASH); }},
        {"destination-case", FAULT, "folder and file", [](Published &p) { p.folder.write(u"www/Clock/MAIN.LUA/a"_s, ""); p.appendEntry(u"Clock/MAIN.LUA/a"_s, u"Apps/Clock/MAIN.LUA/a"_s, EMPTY_HASH); }},
        {"destination-case", NEARLY, "folders that become one", [](Published &p) { p.folder.write(u"www/CLOCK/b.lua"_s, ""); p.appendEntry(u"CLOCK/b.lua"_s, u"Apps/CLOCK/b.lua"_s, EMPTY_HASH); }},
        {"destination-case", NEARLY, "other folder", [](Published &p) { p.folder.write(u"www/LIB/A.lua"_s, ""); p.appendEntry(u"LIB/A.lua"_s, u"Apps/LIB/A.lua"_s, EMPTY_HASH); }},
        {"file-missing", FAULT, "gone", [](Published &p) { p.remove(u"Clock/main.lua"_s); }},
        {"file-missing", FAULT, "a folder in its place", [](Published &p) { p.remove(u"Clock/main.lua"_s); p.folder.makeFolder(u"www/Clock/main.lua"_s); }},
        {"file-missing", FAULT, "another case in a folder outside", [](Published &p) { p.folder.write(u"x/a"_s, ""); p.folder.link(p.folder.path(u"x"_s), u"www/x"_s); p.appendEntry(u"x/A"_s, u"Apps/x/A"_s, EMPTY_HASH); }},
        {"file-missing", NEARLY, "empty", [](Published &p) { p.appendEntry(u"b"_s, u"Apps/b"_s, EMPTY_HASH); p.folder.write(u"www/b"_s, ""); }},
        {"file-other-case", FAULT, "file", [](Published &p) { p.remove(u"Clock/main.lua"_s); p.folder.write(u"www/Clock/Main.lua"_s, "abc"); }},
        {"file-other-case", FAULT, "icon", [](Published &p) { p.remove(u"icon.png"_s); p.folder.write(u"www/icon.PNG"_s, PNG); }},
        {"file-other-case", NEARLY, "both", [](Published &p) { p.folder.write(u"www/Clock/Main.lua"_s, "abc"); }, "file-unnamed"},
        {"file-unreadable", FAULT, "file", [](Published &p) { QFile::setPermissions(p.folder.path(u"www/Clock/main.lua"_s), {}); }},
        {"file-unreadable", FAULT, "description", [](Published &p) { QFile::setPermissions(p.folder.path(u"www/en.html"_s), {}); }, "file-unnamed"},
        {"file-unreadable", FAULT, "description of more than 64 MB", [](Published &p) { QFile::resize(p.folder.path(u"www/en.html"_s), 64'000'001); }, "file-unnamed"},
        {"file-unreadable", NEARLY, "description of 64 MB", [](Published &p) { QFile::resize(p.folder.path(u"www/en.html"_s), 64'000'000); }},
        {"file-unreadable", NEARLY, "picture of a description", [](Published &p) { QFile::setPermissions(p.folder.path(u"www/screen.png"_s), {}); }},
        {"size-differs", FAULT, "shorter", [](Published &p) { p.folder.write(u"www/Clock/main.lua"_s, "ab"); }},
        {"size-differs", FAULT, "longer", [](Published &p) { p.folder.write(u"www/Clock/lib/a.lua"_s, "a"); }},
        {"size-differs", NEARLY, "another content", [](Published &p) { p.folder.write(u"www/Clock/main.lua"_s, "abd"); }, "hash-differs"},
        {"hash-missing", FAULT, "empty", [](Published &p) { p.setEntry("hash"_L1, QString()); }},
        {"hash-missing", FAULT, "empty, and another size", [](Published &p) { p.setEntry("hash"_L1, QString()); p.setEntry("size"_L1, 7); }},
        {"hash-missing", NEARLY, "another one", [](Published &p) { p.setEntry("hash"_L1, OTHER_HASH); }, "hash-differs"},
        {"hash-differs", FAULT, "one bit", [](Published &p) { p.folder.write(u"www/Clock/main.lua"_s, "abb"); }},
        {"hash-differs", FAULT, "that of another file", [](Published &p) { p.setEntry("hash"_L1, OTHER_HASH); }},
        {"hash-differs", NEARLY, "written again", [](Published &p) { p.folder.write(u"www/Clock/main.lua"_s, "abc"); }},
        {"icon-not-found", FAULT, "gone", [](Published &p) { p.remove(u"icon.png"_s); }},
        {"icon-not-found", FAULT, "a folder", [](Published &p) { p.app.insert("previewIcon"_L1, QString(URL + u"Clock"_s)); }, "file-unnamed"},
        {"icon-not-found", NEARLY, "another content", [](Published &p) { p.folder.write(u"www/icon.png"_s, ""); }},
        {"description-not-found", FAULT, "gone", [](Published &p) { p.remove(u"en.html"_s); }, "file-unnamed"},
        {"description-not-found", FAULT, "one of two", [](Published &p) { p.app.insert("description"_L1, QJsonObject{{u"de"_s, QString(URL + u"de.html"_s)}, {u"en"_s, QString(URL + u"en.html"_s)}}); }},
        {"description-not-found", NEARLY, "none", [](Published &p) { p.app.insert("description"_L1, QJsonObject()); }, "file-unnamed"},
        {"file-unnamed", FAULT, "file", [](Published &p) { p.folder.write(u"www/Clock/old.lua"_s, ""); }},
        {"file-unnamed", FAULT, "folder", [](Published &p) { p.folder.write(u"www/old/a/b"_s, ""); }},
        {"file-unnamed", NEARLY, "behind the link of a folder", [](Published &p) { p.folder.write(u"www/src/a.lua"_s, ""); p.folder.link(u"src"_s, u"www/Lua"_s); p.appendEntry(u"Lua/a.lua"_s, u"Apps/Lua/a.lua"_s, EMPTY_HASH); }},
        {"file-unnamed", NEARLY, "behind the links of a description and its picture", [](Published &p) { p.remove(u"en.html"_s); p.remove(u"screen.png"_s); p.folder.write(u"www/real.html"_s, "<img src=\"screen.png\">"); p.folder.write(u"www/real.png"_s, PNG); p.folder.link(u"real.html"_s, u"www/en.html"_s); p.folder.link(u"real.png"_s, u"www/screen.png"_s); }},
        {"file-unnamed", NEARLY, "hidden, or empty folders", [](Published &p) { p.folder.write(u"www/.htaccess"_s, ""); p.folder.makeFolder(u"www/e/f"_s); }},
    };
    return all;
}
// clang-format on

} // namespace

class TestVerify : public QObject
{
    Q_OBJECT

private slots:
    void everyCode_data();
    void everyCode();
    void everyCodeHasCases();
    void values_data();
    void values();
    void whatWasLookedAt();
    void wholeIndex();
    void everyMember_data();
    void everyMember();
    void cannotBeRead_data();
    void cannotBeRead();
    void findsDamage_data();
    void findsDamage();
    void findsDamagedPages();
    void linksBackThatDifferInCase();

private:
    void makeLargeTree();

    std::unique_ptr<Folder> large; ///< with its index next to it
    QStringList named; ///< the files in the index of the large tree
};

void TestVerify::everyCode_data()
{
    addCaseRows(cases());
}

void TestVerify::everyCode()
{
    QFETCH(int, number);
    const Case<Published> &one = cases().at(number);
    Published published;
    one.make(published);
    (void)published.verify();
    const auto result = [&published] {
        const OrdinaryUser user;
        return Check::verifyIndex(published.folder.path(u"www"_s), published.folder.path(u"www/Apps.json"_s),
                                  published.url);
    }();
    QVERIFY(result);
    QVERIFY2(codesOf(result) == one.expectedCodes(), qPrintable(textsOf(result).join(u'\n')));

    const OrdinaryUser user;
    const auto onThreads = Check::verifyIndex(published.folder.path(u"www"_s),
                                              published.folder.path(u"www/Apps.json"_s), published.url, {}, 3);
    QCOMPARE(textsOf(onThreads), textsOf(result));
}

void TestVerify::everyCodeHasCases()
{
    const QList<Check::Rule> all = Check::verifyRules();
    QList<Check::Rule> rules = all;
    rules.removeIf(isOfServers);
    compareRules(rules, cases());
    // A code means the same in both commands.
    const QList<Check::Rule> ofCheck = Check::checkRules();
    for (const Check::Rule &rule : all) {
        for (const Check::Rule &other : ofCheck)
            QVERIFY2(qstrcmp(rule.code, other.code) != 0 || rule.severity == other.severity, rule.code);
    }
}

void TestVerify::values_data()
{
    QTest::addColumn<QString>("code");
    QTest::addColumn<QString>("values");
    QTest::newRow("none") << u"index-form"_s << u" |  | "_s;
    QTest::newRow("URL") << u"url-elsewhere"_s << u"https://other.example.org/i.png |  | "_s;
    QTest::newRow("file") << u"file-missing"_s << u"b |  | "_s;
    QTest::newRow("size") << u"size-differs"_s << u"Clock/main.lua | 3 | 2"_s;
    QTest::newRow("hash") << u"hash-differs"_s << u"Clock/lib/a.lua | %1 | %2"_s.arg(OTHER_HASH, EMPTY_HASH);
    QTest::newRow("destination") << u"destination-differs"_s << u"Clock/lib/a.lua | Apps/Clock/lib/a.lua | Apps/a"_s;
    QTest::newRow("destination of two files")
        << u"destination-twice"_s << u"Apps/b | %1 | %2"_s.arg(EMPTY_HASH, OTHER_HASH);
    QTest::newRow("spelling") << u"file-other-case"_s << u"en.html | en.html | EN.html"_s;
}

void TestVerify::values()
{
    QFETCH(QString, code);
    Published published;
    published.setEntry("hash"_L1, OTHER_HASH);
    published.setEntry("destination"_L1, u"Apps/a"_s);
    published.appendEntry(u"b"_s, u"Apps/b"_s, EMPTY_HASH);
    published.appendEntry(u"Clock/lib/a.lua"_s, u"Apps/b"_s, OTHER_HASH);
    published.app.insert("previewIcon"_L1, u"https://other.example.org/i.png"_s);
    published.app.remove("hw"_L1);
    published.folder.write(u"www/Clock/main.lua"_s, "ab");
    published.remove(u"en.html"_s);
    published.folder.write(u"www/EN.html"_s, "");
    QVERIFY(!valuesOf(published.verify(), code).isEmpty());
    QTEST(valuesOf(published.verify(), code).constFirst(), "values");
}

void TestVerify::whatWasLookedAt()
{
    Published published;
    published.appendEntry(u"none"_s, u"Apps/none"_s, EMPTY_HASH);
    const auto result = published.verify();
    QCOMPARE(result->apps, 1);
    QCOMPARE(result->files, 3);

    const Folder folder;
    folder.write(u"Apps.json"_s, R"({"applications": [5, {"files": {}}, {"files": [{}, 5]}]})");
    const auto other = Check::verifyIndex(folder.path(), folder.path(u"Apps.json"_s), URL);
    QCOMPARE(other->apps, 3);
    QCOMPARE(other->files, 2);
    folder.write(u"Apps.json"_s, "[]");
    const auto none = Check::verifyIndex(folder.path(), folder.path(u"Apps.json"_s), URL);
    QCOMPARE(none->apps, 0);
    QCOMPARE(none->files, 0);
}

void TestVerify::wholeIndex()
{
    const Folder folder;
    folder.write(u"Apps.json"_s, "[]");
    QCOMPARE(textsOf(Check::verifyIndex(folder.path(), folder.path(u"Apps.json"_s), URL)),
             QStringList{u"index-form: \"applications\" is missing or of another kind: publish the index again."_s});
    folder.write(u"Apps.json"_s, R"({"applications": [5, {"name": {"de": "Uhr"}, "files": [null]}]})");
    const auto result = Check::verifyIndex(folder.path(), folder.path(u"Apps.json"_s), URL);
    QCOMPARE(codesOf(result), QStringList{u"index-form"_s});
    QCOMPARE(result->findings.constLast().app, u"Uhr"_s);
}

void TestVerify::everyMember_data()
{
    QTest::addColumn<QString>("member");
    for (const char *member :
         {"id", "version", "author", "hw", "releaseDate", "name", "description", "previewIcon", "files"})
        QTest::newRow(member) << QString::fromLatin1(member);
}

void TestVerify::everyMember()
{
    QFETCH(QString, member);
    Published published;
    QVERIFY(published.app.contains(member));
    const QString expected =
        u"index-form: \"%1\" is missing or of another kind: publish the index again."_s.arg(member);
    for (const QJsonValue &value : {QJsonValue(QJsonValue::Undefined), QJsonValue(), QJsonValue(true)}) {
        published.app.insert(member, value);
        QStringList forms = textsOf(published.verify());
        forms.removeIf([](const QString &one) { return one.startsWith(u"file-unnamed"); });
        QCOMPARE(forms, QStringList{expected});
    }
}

void TestVerify::cannotBeRead_data()
{
    QTest::addColumn<QString>("folder");
    QTest::addColumn<QString>("index");
    QTest::addColumn<QString>("error");
    QTest::newRow("no folder") << u"none"_s << u"good.json"_s << u"%1/none: No such file or directory"_s;
    QTest::newRow("a file") << u"good.json"_s << u"good.json"_s << u"%1/good.json: Not a directory"_s;
    QTest::newRow("no index") << u"www"_s << u"none.json"_s << u"%1/none.json: No such file or directory"_s;
    QTest::newRow("a folder as index") << u"www"_s << u"www"_s << u"%1/www: Is not a regular file"_s;
    QTest::newRow("not JSON") << u"www"_s << u"bad.json"_s << u"%1/bad.json:3: illegal number"_s;
}

void TestVerify::cannotBeRead()
{
    QFETCH(QString, folder);
    QFETCH(QString, index);
    QFETCH(QString, error);
    const Folder place;
    place.makeFolder(u"www"_s);
    place.write(u"good.json"_s, asBytes({{u"applications"_s, QJsonArray()}}));
    place.write(u"bad.json"_s, "{\n    \"applications\":\n    oops\n}\n");
    const auto result = Check::verifyIndex(place.path(folder), place.path(index), URL);
    QVERIFY(!result);
    QCOMPARE(result.error().text(), error.arg(place.path()));
}

void TestVerify::makeLargeTree()
{
    if (large)
        return;
    large = std::make_unique<Folder>();
    QList<AppConfig> apps;
    for (int number = 0; number < 20; ++number) {
        const QString name = u"App%1"_s.arg(number);
        const QString place = u"www/"_s + name + u'/';
        for (int file = 0; file < 12; ++file) {
            const QString path = place + (file % 3 == 0 ? u"lib/"_s : file % 3 == 1 ? u"lib/deep/er/"_s : QString());
            large->write(path + u"file%1.lua"_s.arg(file), QByteArray(1 + file * 37, char('a' + file)));
        }
        large->write(place + u"icon.png"_s, PNG);
        large->write(u"www/doc/"_s + name + u".html"_s, "<img src=\"shared.png\">");
        AppConfig app;
        app.names = {{u"en"_s, name}};
        app.icon = name + u"/icon.png"_s;
        app.descriptions = {{u"en"_s, u"doc/"_s + name + u".html"_s}};
        app.files = QStringList{name + u"/lib"_s, name + u"/file2.lua"_s, name + u"/file5.lua"_s,
                                name + u"/file8.lua"_s, name + u"/file11.lua"_s};
        apps.append(app);
    }
    large->write(u"www/doc/shared.png"_s, PNG);
    const QJsonObject index = indexObject(apps, URL, large->path(u"www"_s));
    large->write(u"Apps.json"_s, asBytes(index));
    const QJsonArray applications = index.value("applications"_L1).toArray();
    for (const auto app : applications) {
        const QJsonArray files = app.toObject().value("files"_L1).toArray();
        for (const auto file : files)
            named.append(file.toObject().value("url"_L1).toString().mid(URL.size()));
    }
}

enum class Damage {
    FlippedBit,
    Truncated,
    Missing,
    OtherCase,
    Added,
};

Q_DECLARE_METATYPE(Damage)

void TestVerify::findsDamage_data()
{
    QTest::addColumn<Damage>("damage");
    QTest::addColumn<QString>("code");
    QTest::newRow("flipped bit") << Damage::FlippedBit << u"hash-differs"_s;
    QTest::newRow("truncated") << Damage::Truncated << u"size-differs"_s;
    QTest::newRow("missing") << Damage::Missing << u"file-missing"_s;
    QTest::newRow("other case") << Damage::OtherCase << u"file-other-case"_s;
    QTest::newRow("added") << Damage::Added << u"file-unnamed"_s;
}

namespace {

/// With the case of one letter changed; the path must have a letter.
QString inOtherCase(QString path, QRandomGenerator &random)
{
    for (;;) {
        const int place = random.bounded(int(path.size()));
        const QChar letter = path.at(place);
        if (!letter.isLetter())
            continue;
        path[place] = letter.isUpper() ? letter.toLower() : letter.toUpper();
        return path;
    }
}

QString newFile(const QString &beside, QRandomGenerator &random)
{
    const QString folder = beside.contains(u'/') ? beside.section(u'/', 0, random.bounded(beside.count(u'/'))) : u""_s;
    QString name = u"new%1"_s.arg(random.bounded(1000));
    switch (random.bounded(4)) {
    case 0:
        return name;
    case 1:
        return folder + u"/"_s + name + u"/"_s + name;
    case 2:
        return folder + u"/"_s + inOtherCase(beside.section(u'/', -1), random) + name;
    default:
        return folder + u"/"_s + name;
    }
}

} // namespace

void TestVerify::findsDamage()
{
    const int trials = lengthOf(25, 250);
    QFETCH(Damage, damage);
    QFETCH(QString, code);
    makeLargeTree();
    const quint32 seed = testSeed();
    QRandomGenerator random(seed);
    const QString root = large->path(u"www"_s);
    const QString index = large->path(u"Apps.json"_s);
    QCOMPARE(textsOf(Check::verifyIndex(root, index, URL)), QStringList());

    for (int trial = 0; trial < trials; ++trial) {
        const QString path = named.at(random.bounded(int(named.size())));
        const QString onDisk = u"www/"_s + path;
        const QByteArray content = large->read(onDisk);
        QByteArray changed = content;
        QString other;
        switch (damage) {
        case Damage::FlippedBit: {
            const int bit = random.bounded(int(content.size()) * 8);
            changed[bit / 8] = char(changed.at(bit / 8) ^ (1 << (bit % 8)));
            large->write(onDisk, changed);
            break;
        }
        case Damage::Truncated:
            changed.truncate(random.bounded(int(content.size())));
            large->write(onDisk, changed);
            break;
        case Damage::Missing:
            QFile::remove(large->path(onDisk));
            break;
        case Damage::OtherCase:
            // The file, or one of its folders.
            other = inOtherCase(path, random);
            while (large->exists(u"www/"_s + other))
                other = inOtherCase(path, random);
            large->makeFolder(QFileInfo(u"www/"_s + other).path());
            QVERIFY(QFile::rename(large->path(onDisk), large->path(u"www/"_s + other)));
            break;
        case Damage::Added:
            other = newFile(path, random);
            large->write(u"www/"_s + other, "abc");
            break;
        }

        const auto result = Check::verifyIndex(root, index, URL);
        const QString trace =
            u"seed %1, trial %2, %3 %4:\n%5"_s.arg(seed).arg(trial).arg(path, other, textsOf(result).join(u'\n'));
        const auto isOfIt = [&](const Check::Finding &finding) {
            const QString place = damage == Damage::Added ? other : path;
            // An added folder is a single finding.
            const int quoted = damage == Damage::OtherCase ? 3 : 1;
            const QString top = finding.text.section(u'"', quoted, quoted);
            return finding.code == code && (place == top || (top.endsWith(u'/') && place.startsWith(top)));
        };
        QVERIFY2(std::count_if(result->findings.cbegin(), result->findings.cend(), isOfIt) == 1, qPrintable(trace));
        QVERIFY2(result->findings.size() == 1, qPrintable(trace));

        if (damage == Damage::Added) {
            QVERIFY(QFile::remove(large->path(u"www/"_s + other)));
        } else if (damage == Damage::OtherCase) {
            QVERIFY(QFile::rename(large->path(u"www/"_s + other), large->path(onDisk)));
        } else {
            large->write(onDisk, content);
        }
        // Removes folders that are empty again.
        for (QString folder = other; folder.contains(u'/');) {
            folder = folder.section(u'/', 0, -2);
            QDir().rmdir(large->path(u"www/"_s + folder));
        }
    }
    QCOMPARE(textsOf(Check::verifyIndex(root, index, URL)), QStringList());
}

void TestVerify::findsDamagedPages()
{
    makeLargeTree();
    const QString root = large->path(u"www"_s);
    const QString index = large->path(u"Apps.json"_s);
    const QString page = large->path(u"www/doc/App7.html"_s);
    const QString icon = large->path(u"www/App3/icon.png"_s);
    QVERIFY(QFile::rename(page, page + u"x"_s));
    QVERIFY(QFile::rename(icon, icon.chopped(8) + u"Icon.png"_s));
    QCOMPARE(codesOf(Check::verifyIndex(root, index, URL)),
             (QStringList{u"description-not-found"_s, u"file-other-case"_s, u"file-unnamed"_s}));
    QVERIFY(QFile::rename(page + u"x"_s, page));
    QVERIFY(QFile::rename(icon.chopped(8) + u"Icon.png"_s, icon));
}

// Each path has at least 2^38 spellings, too many to try.
void TestVerify::linksBackThatDifferInCase()
{
    Published published;
    published.folder.link(u"."_s, u"www/a"_s);
    published.folder.link(u"."_s, u"www/A"_s);
    const QString above = u"a/"_s.repeated(38);
    for (const QString &path : {above + u"Clock/none.lua"_s, above + u"Clock/lib/A.lua"_s})
        published.appendEntry(path, u"Apps/"_s + path, EMPTY_HASH);
    QCOMPARE(codesOf(published.verify()), (QStringList{u"file-missing"_s, u"file-other-case"_s, u"file-unnamed"_s}));
}

CATALIST_TEST(TestVerify)
#include "tst_verify.moc"
