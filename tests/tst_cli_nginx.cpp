#include "clitest.h"
#include "lengths.h"
#include "nginx.h"
#include "seed.h"
#include "testrunner.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRandomGenerator>
#include <QTest>

#include <algorithm>
#include <memory>

using namespace Qt::StringLiterals;

namespace {

const QByteArray PNG = "\x89PNG\r\n\x1a\n";

/// "CODE FILE" of each finding, sorted.
QStringList findingsIn(const QByteArray &json)
{
    QStringList all;
    const QJsonArray findings = QJsonDocument::fromJson(json).object().value("findings"_L1).toArray();
    for (const auto value : findings) {
        const QJsonObject finding = value.toObject();
        all.append(finding.value("code"_L1).toString() + u' ' + finding.value("file"_L1).toString());
    }
    all.sort();
    return all;
}

/// A published folder whose files are damaged and repaired.
class Damages
{
public:
    Damages(const Folder &place, QRandomGenerator *generator) : folder(place), random(generator) { }

    /// What verify must find; empty when nothing was damaged.
    QString damage(const QString &path)
    {
        const QByteArray content = folder.read(path);
        const QString missing = path.endsWith(".png"_L1)
                                    ? (path.contains("icon"_L1) ? u"icon-not-found "_s : u"picture-not-found "_s)
                                    : u"file-missing "_s;
        const QString name = path.section(u'/', 1);
        QByteArray changed = content;
        const bool isPicture = path.endsWith(".png"_L1);
        switch (random->bounded(isPicture ? 2 : 5)) {
        case 0:
            QFile::remove(folder.path(path));
            return remember(path, content, missing + name);
        case 1: {
            const QString other = path.chopped(3) + path.right(3).toUpper();
            if (!QFile::rename(folder.path(path), folder.path(other)))
                qFatal("Cannot rename %s", qPrintable(path));
            renamed.append(other);
            return remember(path, content, missing + name);
        }
        case 2:
            changed[random->bounded(int(content.size()))] ^= char(1 << random->bounded(8));
            break;
        case 3:
            changed.truncate(random->bounded(int(content.size())));
            break;
        default:
            changed += QByteArray(1 + random->bounded(100'000), 'x');
            break;
        }
        folder.write(path, changed);
        const bool isSameSize = changed.size() == content.size();
        return remember(path, content, (isSameSize ? u"hash-differs "_s : u"size-differs "_s) + name);
    }

    void repair()
    {
        for (const QString &path : std::as_const(renamed))
            QFile::remove(folder.path(path));
        renamed.clear();
        for (const auto &[path, content] : std::as_const(original))
            folder.write(path, content);
        original.clear();
    }

private:
    QString remember(const QString &path, const QByteArray &content, const QString &finding)
    {
        original.append({path, content});
        return finding;
    }

    const Folder &folder;
    QRandomGenerator *random;
    QList<std::pair<QString, QByteArray>> original;
    QStringList renamed;
};

} // namespace

/// The command against the web server that the system has: export, copy, verify, damage, verify.
class TestCliNginx : public CliTest
{
    Q_OBJECT

private slots:
    void initTestCase();
    void wholeRoad();
    void findsEveryDamage();
    void script();
};

void TestCliNginx::initTestCase()
{
    if (Nginx::program().isEmpty())
        QSKIP("There is no nginx here");
}

void TestCliNginx::wholeRoad()
{
    folder->makeFolder(u"www"_s);
    Nginx nginx(folder->path(u"www"_s));
    QVERIFY2(nginx.start(), nginx.log().constData());
    QVERIFY(copyTree(example(), project()));
    const QString index = folder->path(u"Apps.json"_s);
    QCOMPARE(run({u"export"_s, project(), u"--url"_s, nginx.url(), u"--output"_s, index}).code, 0);
    QVERIFY(copyTree(project(), folder->path(u"www"_s)));
    QVERIFY(QFile::copy(index, folder->path(u"www/Apps.json"_s)));

    const QStringList verify{u"verify"_s, nginx.url(), u"--strict"_s};
    const Outcome clean = run(verify);
    QCOMPARE(clean.out, "5 apps, 19 files: no findings\n"_ba);
    QCOMPARE(clean.code, 0);

    const QByteArray main = folder->read(u"www/Altimeter/main.lua"_s);
    folder->write(u"www/Altimeter/main.lua"_s, main.chopped(1));
    const Outcome broken = run(verify);
    QCOMPARE(broken.code, 1);
    QVERIFY2(broken.out.startsWith("Altimeter\n  error   size-differs           \"Altimeter/main.lua\" has "),
             broken.out.constData());
    QVERIFY2(broken.out.endsWith("\n1 error, 0 warnings, 0 notes\n"), broken.out.constData());

    folder->write(u"www/Altimeter/main.lua"_s, main);
    QCOMPARE(run(verify).code, 0);
}

void TestCliNginx::findsEveryDamage()
{
    constexpr int APPS = 20;
    constexpr int FILES = 15;
    constexpr int DAMAGES = 50;
    const int rounds = lengthOf(20, 200);
    QByteArray lines;
    QStringList paths;
    for (int i = 0; i < APPS; ++i) {
        const QByteArray name = "App" + QByteArray::number(i);
        const QString place = u"www/"_s + QString::fromUtf8(name);
        lines += QByteArray(CLOCK)
                     .replace("\"Clock\"", '"' + name + '"')
                     .replace("en.html", name + "/en.html")
                     .replace("icon.png", name + "/icon.png")
                     .replace(";Clock;", ';' + name + "/files;");
        for (int file = 0; file < FILES; ++file) {
            const QString path = place + u"/files/f%1.lua"_s.arg(file);
            folder->write(path, QByteArray(1 + file * file * 500, char('a' + file)));
            paths.append(path);
        }
        folder->write(place + u"/en.html"_s, "<meta charset=\"utf-8\"><img src=\"screen.png\">");
        for (const QString &picture : {u"/icon.png"_s, u"/screen.png"_s}) {
            folder->write(place + picture, PNG);
            paths.append(place + picture);
        }
    }
    folder->write(u"www/Apps.csv"_s, HEADER + lines);
    Nginx nginx(folder->path(u"www"_s));
    QVERIFY2(nginx.start(), nginx.log().constData());
    QCOMPARE(run({u"export"_s, folder->path(u"www"_s), u"--url"_s, nginx.url(), u"--output"_s,
                  folder->path(u"www/Apps.json"_s)})
                 .code,
             0);
    const QStringList verify{u"verify"_s, nginx.url(), u"--format"_s, u"json"_s};
    QCOMPARE(findingsIn(run(verify).out), QStringList());

    const quint32 seed = testSeed();
    QRandomGenerator random(seed);
    Damages damages(*folder, &random);
    for (int round = 0; round < rounds; ++round) {
        std::shuffle(paths.begin(), paths.end(), random);
        QStringList expected;
        for (const QString &path : paths.first(DAMAGES))
            expected.append(damages.damage(path));
        expected.sort();
        const Outcome outcome = run(verify);
        QCOMPARE(outcome.code, 1);
        QVERIFY2(findingsIn(outcome.out) == expected,
                 qPrintable(u"CATALIST_SEED=%1, round %2\nFound:\n%3\nExpected:\n%4"_s.arg(
                     QString::number(seed), QString::number(round), findingsIn(outcome.out).join(u'\n'),
                     expected.join(u'\n'))));
        damages.repair();
    }
    QCOMPARE(findingsIn(run(verify).out), QStringList());
}

void TestCliNginx::script()
{
    const Outcome outcome = runScript(u"exec \"$SCRIPT\""_s, folder->path(), [] {
        QProcessEnvironment environment;
        environment.insert(u"SCRIPT"_s, u"" CATALIST_SOURCE_DIR "/examples/publish.sh"_s);
        environment.insert(u"LC_ALL"_s, u"C.UTF-8"_s);
        environment.insert(u"PORT"_s, QString::number(freePort()));
        return environment;
    }());
    QCOMPARE(outcome.err, QByteArray());
    QCOMPARE(outcome.code, 0);
    const QByteArray expected = R"(== Check the catalogue
5 apps, 19 files: no findings
== Export its index
5 apps, 19 files, 22502 bytes: publish/Apps.json
== Verify what is served
5 apps, 19 files: no findings
== A file is cut off
Altimeter
  error   size-differs           "Altimeter/main.lua" has 100 bytes instead of 1864: upload it again, or publish the index again.

1 error, 0 warnings, 0 notes
== Compare with the last release
Altimeter
  changed file                   Apps/Altimeter/main.lua
  warning version-same           The files differ, but the version is still "1.4.2": give the app a higher one.

0 apps added, 0 removed, 1 changed
)";
    QCOMPARE(outcome.out, expected);
}

CATALIST_TEST(TestCliNginx)
#include "tst_cli_nginx.moc"
