#include "check/indexdiff.h"

#include "check/appname.h"
#include "check/checkrules.h"
#include "check/verification.h"
#include "findings.h"
#include "jsonchange.h"
#include "testrunner.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

#include <array>

using namespace Qt::StringLiterals;

class TestIndexDiff : public QObject
{
    Q_OBJECT

private slots:
    void same_data();
    void same();
    void differences_data();
    void differences();
    void everyKind_data();
    void everyKind();
    void everyKindOfEntry_data();
    void everyKindOfEntry();
    void everyKindOfApp();
    void anotherRepositoryUrl();
    void everyCode_data();
    void everyCode();
    void everyCodeHasCases();
    void finding();
    void repeatedManyTimes();
};

// Below the class, as moc would miss it after these raw strings.
namespace {

const QByteArray APPS = R"([
    {
        "id": 0,
        "name": {"de": "Uhr", "en": "Clock"},
        "version": "1.0",
        "author": "Ann",
        "releaseDate": "Tue Mar 5 2024",
        "hw": [674, 678],
        "description": {"de": "https://x.org/de.html", "en": "https://x.org/en.html"},
        "previewIcon": "https://x.org/icon.png",
        "files": [
            {"destination": "Apps/Clock/a.lua", "hash": "aa", "size": 1, "url": "https://x.org/Clock/a.lua"},
            {"destination": "Apps/Clock/b.lua", "hash": "bb", "size": 2, "url": "https://x.org/Clock/b.lua"}
        ]
    },
    {
        "id": 0,
        "name": {"en": "Lamp"},
        "version": "2.0",
        "author": "Bob",
        "releaseDate": "",
        "hw": [674],
        "description": {},
        "previewIcon": "https://x.org/",
        "files": []
    }
])";

QJsonArray parsed(const QByteArray &json)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(json, &error);
    if (error.error != QJsonParseError::NoError)
        qFatal("%s: %s", qPrintable(error.errorString()), json.constData());
    return document.array();
}

/// Two indexes, for a case to change.
struct Indexes
{
    QJsonArray before = parsed(APPS);
    QJsonArray after = before;

    /// Changes a value in the newer one. The first part of the place is the number of the app.
    void set(const char *place, const char *value) { after = changed(after, place, value).toArray(); }

    void setOlder(const char *place, const char *value) { before = changed(before, place, value).toArray(); }

    void setBoth(const char *place, const char *value)
    {
        setOlder(place, value);
        set(place, value);
    }

    Check::IndexDiff compare() const { return Check::compareIndexes(before, after); }
};

struct Row
{
    const char *title;
    void (*make)(Indexes &indexes);
    const char *expected = ""; ///< what described() says, with " / " between the lines
};

QString shown(const QJsonValue &value)
{
    if (value.isUndefined())
        return u"nothing"_s;
    return QString::fromUtf8(QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact)).mid(1).chopped(1);
}

QStringList described(const Check::IndexDiff &diff)
{
    QStringList lines;
    for (const QJsonObject &app : diff.added)
        lines.append(u"added "_s + Check::nameOf(app));
    for (const QJsonObject &app : diff.removed)
        lines.append(u"removed "_s + Check::nameOf(app));
    for (const Check::AppChange &change : diff.changed) {
        lines.append(u"changed "_s + Check::nameOf(change.after));
        for (const Check::ValueChange &one : change.values)
            lines.append(u"%1 %2: %3 -> %4"_s.arg(one.member, one.language, shown(one.before), shown(one.after)));
        for (const QString &file : change.files.added)
            lines.append(u"+ "_s + file);
        for (const QString &file : change.files.removed)
            lines.append(u"- "_s + file);
        for (const QString &file : change.files.changed)
            lines.append(u"* "_s + file);
        for (const Check::Finding &finding : change.findings)
            lines.append(finding.code);
    }
    for (QString &line : lines)
        line = line.simplified();
    return lines;
}

void addRows(const QList<Row> &rows)
{
    QTest::addColumn<int>("number");
    for (int i = 0; i < rows.size(); ++i)
        QTest::newRow(rows.at(i).title) << i;
}

QJsonArray reversed(const QJsonArray &array)
{
    QJsonArray other;
    for (const auto value : array)
        other.prepend(value);
    return other;
}

// clang-format off
const QList<Row> &sameRows()
{
    static const QList<Row> all{
        {"the same", [](Indexes &) { }},
        {"no apps", [](Indexes &i) { i.before = i.after = QJsonArray(); }},
        {"order of apps", [](Indexes &i) { i.after = reversed(i.after); }},
        {"order of files", [](Indexes &i) { i.set("0/files", R"([
            {"destination": "Apps/Clock/b.lua", "hash": "bb", "size": 2, "url": "https://x.org/Clock/b.lua"},
            {"destination": "Apps/Clock/a.lua", "hash": "aa", "size": 1, "url": "https://x.org/Clock/a.lua"}])"); }},
        {"order of transmitters", [](Indexes &i) { i.set("0/hw", "[678, 674]"); }},
        {"transmitter twice", [](Indexes &i) { i.set("0/hw", "[674, 678, 674]"); }},
        {"URL of one file", [](Indexes &i) { i.set("0/files/1/url", R"("https://y.org/b.lua")"); }},
        {"file without a URL", [](Indexes &i) { i.set("0/files/1/url", nullptr); }},
        {"size with a decimal point", [](Indexes &i) { i.set("0/files/1/size", "2.0"); }},
        {"file twice", [](Indexes &i) { i.set("0/files/2", R"({"destination": "Apps/Clock/a.lua", "hash": "aa", "size": 1})"); }},
        {"same app twice", [](Indexes &i) { i.before.append(i.before.at(0)); i.after.prepend(i.after.at(0)); }},
        {"two apps of one name", [](Indexes &i) { i.setBoth("1/name/en", R"("Clock")"); }},
        {"name in another language", [](Indexes &i) { i.setBoth("1/name", R"({"fr": "Lampe"})"); }},
        {"no name", [](Indexes &i) { i.setBoth("0/name", "{}"); i.setBoth("1/name", nullptr); }},
        {"member that is not compared", [](Indexes &i) { i.set("0/id", "1"); i.set("0/comment", "1"); i.set("0/files/0/comment", "1"); }},
        {"no list of files and an empty one", [](Indexes &i) { i.set("1/files", nullptr); }},
        {"no members", [](Indexes &i) { i.before = i.after = parsed("[{}, {}]"); }},
        {"no apps in the list", [](Indexes &i) { i.before = parsed(R"([5, null, "Clock", [1], [2]])"); i.after = reversed(i.before); }},
        {"values of a wrong kind", [](Indexes &i) { i.setBoth("0/name", "[5]"); i.setBoth("0/hw", R"({"a": 1})"); i.setBoth("0/files", "[5, [], {}]"); i.setBoth("1/files", "{}"); }},
    };
    return all;
}

const QList<Row> &differentRows()
{
    static const QList<Row> all{
        {"version", [](Indexes &i) { i.set("0/version", R"("1.1")"); }, R"(changed Clock / version : "1.0" -> "1.1")"},
        {"version that reads the same", [](Indexes &i) { i.set("0/version", R"("1.00")"); }, R"(changed Clock / version : "1.0" -> "1.00")"},
        {"author", [](Indexes &i) { i.set("1/author", R"("Eve")"); }, R"(changed Lamp / author : "Bob" -> "Eve")"},
        {"author that is a URL", [](Indexes &i) { i.setOlder("0/author", R"("https://x.org/ann")"); i.set("0/author", R"("https://y.org/ann")"); i.set("0/files/0/url", R"("https://y.org/Clock/a.lua")"); i.set("0/description", R"({"de": "https://y.org/de.html", "en": "https://y.org/en.html"})"); i.set("0/previewIcon", R"("https://y.org/icon.png")"); },
            R"(changed Clock / author : "https://x.org/ann" -> "https://y.org/ann")"},
        {"release date", [](Indexes &i) { i.set("1/releaseDate", R"("Wed Mar 6 2024")"); }, R"(changed Lamp / releaseDate : "" -> "Wed Mar 6 2024")"},
        {"transmitter added", [](Indexes &i) { i.set("0/hw/2", "3859"); }, "changed Clock / hw : nothing -> [3859]"},
        {"transmitter removed", [](Indexes &i) { i.set("0/hw", "[678]"); }, "changed Clock / hw : [674] -> nothing"},
        {"transmitters added and removed", [](Indexes &i) { i.set("0/hw", "[680, 679, 679, 678]"); }, "changed Clock / hw : [674] -> nothing / hw : nothing -> [680,679]"},
        {"transmitter of a wrong kind", [](Indexes &i) { i.set("1/hw", R"(["674"])"); }, R"(changed Lamp / hw : [674] -> nothing / hw : nothing -> ["674"])"},
        {"name in another language changed", [](Indexes &i) { i.set("0/name/de", R"("Zeit")"); }, R"(changed Clock / name de: "Uhr" -> "Zeit")"},
        {"names added and removed", [](Indexes &i) { i.set("0/name", R"({"en": "Clock", "fr": "Horloge"})"); }, R"(changed Clock / name de: "Uhr" -> nothing / name fr: nothing -> "Horloge")"},
        {"English name", [](Indexes &i) { i.set("1/name/en", R"("Light")"); }, "added Light / removed Lamp"},
        {"English name in another case", [](Indexes &i) { i.set("1/name/en", R"("lamp")"); }, "added lamp / removed Lamp"},
        {"English name after another one", [](Indexes &i) { i.setOlder("0/name/en", nullptr); }, "added Clock / removed Uhr"},
        {"name in no English", [](Indexes &i) { i.setBoth("1/name", R"({"fr": "Lampe"})"); i.set("1/version", R"("3")"); }, R"(changed Lampe / version : "2.0" -> "3")"},
        {"description of one language", [](Indexes &i) { i.set("0/description/en", R"("https://x.org/new.html")"); }, R"(changed Clock / description en: "https://x.org/en.html" -> "https://x.org/new.html")"},
        {"description added", [](Indexes &i) { i.set("1/description/fr", R"("https://x.org/fr.html")"); }, R"(changed Lamp / description fr: nothing -> "https://x.org/fr.html")"},
        {"description removed", [](Indexes &i) { i.set("0/description/de", nullptr); }, R"(changed Clock / description de: "https://x.org/de.html" -> nothing)"},
        {"icon", [](Indexes &i) { i.set("0/previewIcon", R"("https://x.org/icon2.png")"); }, R"(changed Clock / previewIcon : "https://x.org/icon.png" -> "https://x.org/icon2.png")"},
        {"icon removed", [](Indexes &i) { i.set("0/previewIcon", R"("https://x.org/")"); }, R"(changed Clock / previewIcon : "https://x.org/icon.png" -> "https://x.org/")"},
        {"icon on another server", [](Indexes &i) { i.set("0/previewIcon", R"("https://y.org/icon.png")"); }, R"(changed Clock / previewIcon : "https://x.org/icon.png" -> "https://y.org/icon.png")"},
        {"member removed", [](Indexes &i) { i.set("0/author", nullptr); }, R"(changed Clock / author : "Ann" -> nothing)"},
        {"all of one app", [](Indexes &i) { i.set("1/version", R"("2.1")"); i.set("1/name/it", R"("Lampada")"); i.set("1/author", R"("")"); i.set("1/hw", "[]"); i.set("1/files/0", R"({"destination": "Apps/l", "hash": "", "size": 0})"); },
            R"(changed Lamp / version : "2.0" -> "2.1" / name it: nothing -> "Lampada" / author : "Bob" -> "" / hw : [674] -> nothing / + Apps/l)"},
        {"file added", [](Indexes &i) { i.set("0/version", R"("1.1")"); i.set("0/files/2", R"({"destination": "Apps/Clock/c.lua", "hash": "cc", "size": 3})"); }, R"(changed Clock / version : "1.0" -> "1.1" / + Apps/Clock/c.lua)"},
        {"file removed", [](Indexes &i) { i.set("0/version", R"("1.1")"); i.set("0/files/0", nullptr); }, R"(changed Clock / version : "1.0" -> "1.1" / - Apps/Clock/a.lua)"},
        {"file with another hash", [](Indexes &i) { i.set("0/version", R"("1.1")"); i.set("0/files/0/hash", R"("ab")"); }, R"(changed Clock / version : "1.0" -> "1.1" / * Apps/Clock/a.lua)"},
        {"file with another size", [](Indexes &i) { i.set("0/version", R"("1.1")"); i.set("0/files/1/size", "3"); }, R"(changed Clock / version : "1.0" -> "1.1" / * Apps/Clock/b.lua)"},
        {"file in another case", [](Indexes &i) { i.set("0/version", R"("1.1")"); i.set("0/files/1/destination", R"("Apps/Clock/B.lua")"); }, R"(changed Clock / version : "1.0" -> "1.1" / + Apps/Clock/B.lua / - Apps/Clock/b.lua)"},
        {"file twice with different hashes", [](Indexes &i) { i.set("0/version", R"("1.1")"); i.set("0/files/2", R"({"destination": "Apps/Clock/a.lua", "hash": "ax", "size": 1})"); }, R"(changed Clock / version : "1.0" -> "1.1" / * Apps/Clock/a.lua)"},
        {"files in the order of their index", [](Indexes &i) { i.set("0/version", R"("1.1")"); i.setBoth("0/files/2", R"({"destination": "Apps/Clock/c.lua", "hash": "cc", "size": 3})"); i.set("0/files", R"([{"destination": "z"}, {"destination": "Apps/Clock/b.lua"}, {"destination": "Apps/Clock/a.lua"}, {"destination": "y"}, {"destination": "x"}])"); i.setOlder("0/files/3", R"({"destination": "Apps/Clock/C.lua"})"); },
            R"(changed Clock / version : "1.0" -> "1.1" / + z / + y / + x / - Apps/Clock/c.lua / - Apps/Clock/C.lua / * Apps/Clock/b.lua / * Apps/Clock/a.lua)"},
        {"file of another app", [](Indexes &i) { i.set("0/version", R"("1.1")"); i.set("1/version", R"("2.1")"); i.set("1/files/0", R"({"destination": "Apps/Clock/a.lua", "hash": "aa", "size": 1})"); i.set("0/files/0", nullptr); },
            R"(changed Clock / version : "1.0" -> "1.1" / - Apps/Clock/a.lua / changed Lamp / version : "2.0" -> "2.1" / + Apps/Clock/a.lua)"},
        {"app added", [](Indexes &i) { i.set("2", R"({"name": {"en": "Radio"}})"); }, "added Radio"},
        {"app removed", [](Indexes &i) { i.set("0", nullptr); }, "removed Clock"},
        {"first and last app", [](Indexes &i) { i.before = QJsonArray(); }, "added Clock / added Lamp"},
        {"all apps removed", [](Indexes &i) { i.after = QJsonArray(); }, "removed Clock / removed Lamp"},
        {"changed apps in the order of the newer index", [](Indexes &i) { i.set("0/author", R"("")"); i.set("1/author", R"("")"); i.after = reversed(i.after); }, R"(changed Lamp / author : "Bob" -> "" / changed Clock / author : "Ann" -> "")"},
        {"second app of a name", [](Indexes &i) { i.setBoth("2", R"({"name": {"en": "Clock"}, "version": "7"})"); i.set("2/version", R"("8")"); }, R"(changed Clock / version : "7" -> "8")"},
        {"second app of a name added", [](Indexes &i) { i.set("2", R"({"name": {"en": "Clock"}})"); }, "added Clock"},
        {"second app of a name removed", [](Indexes &i) { i.before.append(i.before.at(0)); }, "removed Clock"},
        {"name added to the second app without one", [](Indexes &i) { i.setBoth("0/name", nullptr); i.setBoth("1/name", nullptr); i.set("1/name", R"({"en": "Lamp"})"); }, "added Lamp / removed"},
        {"app without a name", [](Indexes &i) { i.setBoth("0/name", nullptr); i.set("0/version", R"("1.1")"); }, R"(changed / version : "1.0" -> "1.1")"},
        {"name of a wrong kind", [](Indexes &i) { i.setBoth("0/name/en", "5"); i.set("0/name/en", "6"); }, "changed / name en: 5 -> 6"},
        {"entry without a destination", [](Indexes &i) { i.set("0/version", R"("1.1")"); i.setBoth("0/files/0/destination", nullptr); i.set("0/files/0/url", R"("https://y.org/")"); }, R"(changed Clock / version : "1.0" -> "1.1" / *)"},
        {"one of two entries without a destination", [](Indexes &i) { i.set("0/version", R"("1.1")"); i.setBoth("0/files/2", "[5]"); i.set("0/files/3", "[6]"); }, R"(changed Clock / version : "1.0" -> "1.1" / *)"},
        {"size that is missing", [](Indexes &i) { i.set("0/version", R"("1.1")"); i.setBoth("0/files/0/size", "null"); i.set("0/files/0/size", nullptr); }, R"(changed Clock / version : "1.0" -> "1.1" / * Apps/Clock/a.lua)"},
    };
    return all;
}

const QList<Case<Indexes>> &cases()
{
    static const QList<Case<Indexes>> all{
        {"version-same", FAULT, "file changed", [](Indexes &i) { i.set("0/files/0/hash", R"("ab")"); }},
        {"version-same", FAULT, "file added", [](Indexes &i) { i.set("1/files/0", R"({"destination": "Apps/l", "hash": "", "size": 0})"); }},
        {"version-same", FAULT, "file removed", [](Indexes &i) { i.set("0/files/1", nullptr); }},
        {"version-same", FAULT, "file of the second app of a name", [](Indexes &i) { i.setBoth("1/name/en", R"("Clock")"); i.set("1/files/0", R"({"destination": "l"})"); }},
        {"version-same", FAULT, "another date", [](Indexes &i) { i.set("0/files/1", nullptr); i.set("0/releaseDate", R"("Wed Mar 6 2024")"); }},
        {"version-same", FAULT, "no versions", [](Indexes &i) { i.setBoth("0/version", nullptr); i.set("0/files/1", nullptr); }},
        {"version-same", NEARLY, "another version", [](Indexes &i) { i.set("0/version", R"("1.0.1")"); i.set("0/files/1", nullptr); }},
        {"version-same", NEARLY, "version removed", [](Indexes &i) { i.set("0/version", nullptr); i.set("0/files/1", nullptr); }},
        {"version-same", NEARLY, "all but the files", [](Indexes &i) { i.set("0/name", R"({"en": "Clock"})"); i.set("0/author", "5"); i.set("0/hw", "[]"); i.set("0/releaseDate", "5"); i.set("0/description", "{}"); i.set("0/previewIcon", "5"); }},
        {"version-same", NEARLY, "files at another URL", [](Indexes &i) { i.set("0/files/0/url", R"("a")"); i.set("0/files/1/url", R"("b")"); }},
        {"version-same", NEARLY, "file of a new app", [](Indexes &i) { i.set("0/name/en", R"("Watch")"); i.set("0/files/1", nullptr); }},
    };
    return all;
}
// clang-format on

/// A value of each kind, in JSON; null for none.
constexpr std::array<const char *, 7> KINDS{nullptr, "null", "false", "0", R"("")", "[]", "{}"};

} // namespace

void TestIndexDiff::same_data()
{
    addRows(sameRows());
}

void TestIndexDiff::same()
{
    QFETCH(int, number);
    Indexes indexes;
    sameRows().at(number).make(indexes);
    const Check::IndexDiff diff = indexes.compare();
    QCOMPARE(described(diff), QStringList());
    QVERIFY(diff.isEmpty());
    QCOMPARE(diff.apps, indexes.after.size());
}

void TestIndexDiff::differences_data()
{
    addRows(differentRows());
}

void TestIndexDiff::differences()
{
    QFETCH(int, number);
    const Row &row = differentRows().at(number);
    Indexes indexes;
    row.make(indexes);
    const Check::IndexDiff diff = indexes.compare();
    QCOMPARE(described(diff), QString::fromUtf8(row.expected).split(u" / "_s));
    QVERIFY(!diff.isEmpty());
    QCOMPARE(diff.apps, indexes.after.size());

    // What was added one way was removed the other way.
    const Check::IndexDiff back = Check::compareIndexes(indexes.after, indexes.before);
    QCOMPARE(back.added, diff.removed);
    QCOMPARE(back.removed, diff.added);
    QCOMPARE(back.changed.size(), diff.changed.size());
    QStringList removedFiles;
    for (const Check::AppChange &change : diff.changed)
        removedFiles += change.files.removed;
    for (const Check::AppChange &change : back.changed) {
        for (const QString &file : change.files.added)
            QVERIFY2(removedFiles.removeOne(file), qPrintable(file));
    }
    QCOMPARE(removedFiles, QStringList());
}

void TestIndexDiff::everyKind_data()
{
    QTest::addColumn<bool>("isCompared");
    for (const char *member : {"version", "name", "author", "releaseDate", "hw", "description", "previewIcon", "files"})
        QTest::newRow(member) << true;
    QTest::newRow("id") << false;
}

void TestIndexDiff::everyKind()
{
    QFETCH(bool, isCompared);
    const QByteArray place = "0/"_ba + QTest::currentDataTag();
    for (const char *old : KINDS) {
        for (const char *now : KINDS) {
            Indexes indexes;
            indexes.setBoth("0/name", nullptr);
            indexes.setOlder(place.constData(), old);
            indexes.set(place.constData(), now);
            // No list of files is as good as an empty one.
            const auto isNoFile = [&](const char *json) { return !json || json == "[]"_ba; };
            const bool isSame = !isCompared || old == now || (place == "0/files" && isNoFile(old) && isNoFile(now));
            QVERIFY2(indexes.compare().isEmpty() == isSame, qPrintable(described(indexes.compare()).join(u'\n')));
        }
    }
}

void TestIndexDiff::everyKindOfEntry_data()
{
    QTest::addColumn<QByteArray>("place");
    QTest::addColumn<bool>("isCompared");
    QTest::newRow("entry") << "0/files/0"_ba << true;
    QTest::newRow("destination") << "0/files/0/destination"_ba << true;
    QTest::newRow("size") << "0/files/0/size"_ba << true;
    QTest::newRow("hash") << "0/files/0/hash"_ba << true;
    QTest::newRow("url") << "0/files/0/url"_ba << false;
}

void TestIndexDiff::everyKindOfEntry()
{
    QFETCH(QByteArray, place);
    QFETCH(bool, isCompared);
    for (const char *old : KINDS) {
        for (const char *now : KINDS) {
            Indexes indexes;
            indexes.setOlder(place.constData(), old);
            indexes.set(place.constData(), now);
            const bool isSame = !isCompared || old == now;
            QVERIFY2(indexes.compare().isEmpty() == isSame, qPrintable(described(indexes.compare()).join(u'\n')));
        }
    }
}

void TestIndexDiff::everyKindOfApp()
{
    for (const char *old : KINDS) {
        for (const char *now : KINDS) {
            if (!old || !now)
                continue;
            const Check::IndexDiff diff =
                Check::compareIndexes(parsed('[' + QByteArray(old) + ']'), parsed('[' + QByteArray(now) + ']'));
            const qsizetype number = old == now ? 0 : 1;
            QCOMPARE(diff.added.size(), number);
            QCOMPARE(diff.removed.size(), number);
            QVERIFY(diff.changed.isEmpty());
        }
    }
}

// A copy of a catalogue on another server has no differences of its own.
void TestIndexDiff::anotherRepositoryUrl()
{
    Indexes indexes;
    indexes.after = parsed(QByteArray(APPS).replace("https://x.org/", "http://y.org/x/"));
    QVERIFY(indexes.after != indexes.before);
    QCOMPARE(described(indexes.compare()), QStringList());

    indexes.set("0/description/de", R"("http://y.org/x/other.html")");
    indexes.set("0/previewIcon", R"("https://x.org/icon2.png")");
    const QStringList expected{
        u"changed Clock"_s,
        uR"(description de: "https://x.org/de.html" -> "http://y.org/x/other.html")"_s,
        uR"(previewIcon : "https://x.org/icon.png" -> "https://x.org/icon2.png")"_s,
    };
    QCOMPARE(described(indexes.compare()), expected);

    // Without files nothing says what the repository URLs are.
    indexes.setBoth("0/files", "[]");
    QCOMPARE(described(indexes.compare()).filter(u"description"_s).size(), 2);
}

void TestIndexDiff::everyCode_data()
{
    addCaseRows(cases());
}

void TestIndexDiff::everyCode()
{
    QFETCH(int, number);
    const Case<Indexes> &one = cases().at(number);
    Indexes indexes;
    one.make(indexes);
    const Check::IndexDiff diff = indexes.compare();
    QVERIFY(!diff.isEmpty() || !one.isFaulty);
    Check::Result result;
    for (const Check::AppChange &change : diff.changed)
        result.findings += change.findings;
    QCOMPARE(codesOf(result), one.expectedCodes());
}

void TestIndexDiff::everyCodeHasCases()
{
    compareRules(Check::diffRules(), cases());
    // A code is never used for anything else.
    const QList<Check::Rule> others = Check::checkRules() + Check::verifyRules();
    for (const Check::Rule &rule : Check::diffRules()) {
        for (const Check::Rule &other : others)
            QVERIFY2(qstrcmp(rule.code, other.code) != 0, rule.code);
    }
}

void TestIndexDiff::finding()
{
    Indexes indexes;
    indexes.set("0/files/0/hash", R"("ab")");
    const Check::IndexDiff diff = indexes.compare();
    QCOMPARE(diff.changed.size(), 1);
    QCOMPARE(diff.changed.constFirst().findings.size(), 1);
    const Check::Finding finding = diff.changed.constFirst().findings.constFirst();
    QCOMPARE(finding.severity, Check::Severity::Warning);
    QCOMPARE(finding.app, u"Clock"_s);
    QCOMPARE(finding.line, 0);
    QCOMPARE(finding.text, u"The files differ, but the version is still \"1.0\": give the app a higher one."_s);
    QCOMPARE(finding.file, QString());
    QCOMPARE(finding.expected, QString());
    QCOMPARE(finding.actual, u"1.0"_s);
}

// Whatever is repeated, the time grows only with the length of the index; the square of these numbers takes too long.
void TestIndexDiff::repeatedManyTimes()
{
    constexpr int MANY = 100'000;
    QJsonArray files;
    QJsonArray hardware;
    QJsonArray before;
    for (int i = 0; i < MANY; ++i) {
        files.append(i);
        files.append(QJsonObject{{u"destination"_s, u"Apps/a"_s}, {u"hash"_s, QString::number(i)}});
        hardware.append(i);
        before.append(QJsonObject());
    }
    QJsonObject app{{u"name"_s, QJsonObject{{u"en"_s, u"Clock"_s}}}, {u"files"_s, files}, {u"hw"_s, hardware}};
    before.append(app);
    app.insert(u"files"_s, reversed(files));
    hardware.append(MANY);
    app.insert(u"hw"_s, reversed(hardware));
    QJsonArray after = before;
    after.replace(MANY, app);
    QCOMPARE(described(Check::compareIndexes(before, after)),
             (QStringList{u"changed Clock"_s, u"hw : nothing -> [100000]"_s}));
}

CATALIST_TEST(TestIndexDiff)
#include "tst_indexdiff.moc"
