#include "cli.h"
#include "folder.h"
#include "testrunner.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>
#include <QProcess>
#include <QProcessEnvironment>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTest>

#include <utility>

using namespace Qt::StringLiterals;

namespace {

const QString APP_ID = u"" CATALIST_APP_ID ""_s;
constexpr int PATIENCE = 120'000;

/// Both outputs of the tool are in "out".
Outcome runTool(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    // The package manager needs tools of the superuser's path.
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"PATH"_s, environment.value(u"PATH"_s) + u":/usr/sbin:/sbin"_s);
    process.setProcessEnvironment(environment);
    process.start(program, arguments);
    return finish(process);
}

bool hasTool(const char *name)
{
    return !QStandardPaths::findExecutable(QString::fromLatin1(name)).isEmpty();
}

/// Every file and folder below a folder, relative to it, hidden ones too.
QStringList tree(const QString &folder)
{
    QStringList found;
    QDirIterator entries(folder, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                         QDirIterator::Subdirectories);
    while (entries.hasNext())
        found.append(entries.next().mid(folder.size() + 1));
    found.sort();
    return found;
}

/// Starts the editor offscreen, and ends it after it has painted its window. The error; empty when there was none.
QString startAndEnd(const QString &program)
{
    const Folder home;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const QString &name : {u"HOME"_s, u"XDG_CONFIG_HOME"_s, u"XDG_DATA_HOME"_s, u"XDG_CACHE_HOME"_s})
        environment.insert(name, home.path());
    environment.insert(u"QT_QPA_PLATFORM"_s, u"offscreen"_s);
    environment.insert(u"QT_LOGGING_RULES"_s, u"qt.widgets.painting=true"_s);

    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.setProcessEnvironment(environment);
    process.start(program, {});
    if (!process.waitForStarted())
        return process.errorString();
    QByteArray trace;
    const QDeadlineTimer patience(PATIENCE);
    while (!trace.contains("top level MainWindow(") && process.state() == QProcess::Running && !patience.hasExpired()) {
        process.waitForReadyRead(1000);
        trace += process.readAll();
    }
    const bool painted = trace.contains("top level MainWindow(");
    const bool runs = process.state() == QProcess::Running;
    process.terminate();
    if (!process.waitForFinished(PATIENCE))
        return u"does not end"_s;
    return painted && runs ? QString() : QString::fromUtf8(trace);
}

} // namespace

/// The packages in CATALIST_PACKAGES, the installed files in CATALIST_INSTALLED, and the commands that compiled them in
/// CATALIST_COMMANDS, all of them made by "./dev package --test".
class TestPackage : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void desktopEntry();
    void metainfo();
    void oneIdNamesAll();
    void icons_data();
    void icons();
    void documents_data();
    void documents();
    void hardened_data();
    void hardened();
    void marksTargetsOfJumps();
    void fortified();
    void canBeMoved();
    void archive();
    void debianFields_data();
    void debianFields();
    void debianFiles();
    void debianPolicy();
    void installedStartedAndRemoved();

private:
    [[nodiscard]] QString moved(const QString &path) const;
    [[nodiscard]] QStringList expected() const;
    [[nodiscard]] QByteArray installedFile(const QString &path) const;

    Folder work; ///< the archive is unpacked in its folder "tree"
    QString packages;
    QString installed;
    QString share;
    QMap<QString, QString> debian; ///< packages for Debian, by their names
    bool hasPackage = false;
};

void TestPackage::initTestCase()
{
    packages = qEnvironmentVariable("CATALIST_PACKAGES");
    installed = qEnvironmentVariable("CATALIST_INSTALLED");
    QVERIFY2(QDir(packages).exists() && !packages.isEmpty() && QDir(installed).exists() && !installed.isEmpty(),
             "There is no package to test; use ./dev package --test");
    share = installed + u"/share"_s;

    const QStringList archives = QDir(packages).entryList({u"*.tar.gz"_s});
    QCOMPARE(archives, QStringList{u"catalist-" CATALIST_VERSION "-Linux.tar.gz"_s});
    work.makeFolder(u"tree"_s);
    const Outcome unpacked = runTool(u"tar"_s, {u"-C"_s, work.path(u"tree"_s), u"--strip-components=1"_s, u"-xzf"_s,
                                                packages + u'/' + archives.constFirst()});
    QVERIFY2(unpacked.code == 0, unpacked.out.constData());

    const QStringList found = QDir(packages).entryList({u"*.deb"_s});
    hasPackage = hasTool("dpkg") && hasTool("dpkg-shlibdeps");
    for (const QString &package : found)
        debian.insert(package.section(u'_', 0, 0), packages + u'/' + package);
    QCOMPARE(debian.keys(), hasPackage ? (QStringList{u"catalist"_s, u"catalist-cli"_s}) : QStringList());
}

QByteArray TestPackage::installedFile(const QString &path) const
{
    return readFile(installed + u'/' + path);
}

void TestPackage::desktopEntry()
{
    if (!hasTool("desktop-file-validate"))
        QSKIP("desktop-file-validate is not installed (package desktop-file-utils)");
    const Outcome checked = runTool(u"desktop-file-validate"_s, {share + u"/applications/%1.desktop"_s.arg(APP_ID)});
    QCOMPARE(checked.out, QByteArray());
    QCOMPARE(checked.code, 0);
}

void TestPackage::metainfo()
{
    if (!hasTool("appstreamcli"))
        QSKIP("appstreamcli is not installed (package appstream)");
    const Outcome checked =
        runTool(u"appstreamcli"_s, {u"validate"_s, u"--no-net"_s, share + u"/metainfo/%1.metainfo.xml"_s.arg(APP_ID)});
    QVERIFY2(checked.code == 0, checked.out.constData());
}

void TestPackage::oneIdNamesAll()
{
    const QByteArray entry = installedFile(u"share/applications/%1.desktop"_s.arg(APP_ID));
    QVERIFY(entry.contains("\nIcon=" CATALIST_APP_ID "\n"));
    QVERIFY(entry.contains("\nExec=catalist\n"));
    const QByteArray facts = installedFile(u"share/metainfo/%1.metainfo.xml"_s.arg(APP_ID));
    QVERIFY(facts.contains("<id>" CATALIST_APP_ID "</id>"));
    QVERIFY(facts.contains("<launchable type=\"desktop-id\">" CATALIST_APP_ID ".desktop</launchable>"));
    QVERIFY(facts.contains("<release version=\"" CATALIST_VERSION "\""));
    QVERIFY(installedFile(u"bin/catalist"_s)
                .contains(QByteArray(reinterpret_cast<const char *>(APP_ID.utf16()), APP_ID.size() * 2)));
}

void TestPackage::icons_data()
{
    QTest::addColumn<int>("size");
    for (const int size : {16, 22, 24, 32, 48, 64, 128, 256, 512})
        QTest::addRow("%d", size) << size;
}

void TestPackage::icons()
{
    QFETCH(int, size);
    const QImage icon(share + u"/icons/hicolor/%1x%1/apps/%2.png"_s.arg(size).arg(APP_ID));
    QCOMPARE(icon.size(), QSize(size, size));
    QVERIFY(icon.hasAlphaChannel());
    QVERIFY(QFile::exists(share + u"/icons/hicolor/scalable/apps/%1.svg"_s.arg(APP_ID)));
}

void TestPackage::documents_data()
{
    QTest::addColumn<QString>("path");
    for (const char *path :
         {"man/man1/catalist.1", "man/man1/catalist-cli.1", "doc/catalist/guide.md", "doc/catalist/glossary.md",
          "doc/catalist/cli.md", "doc/catalist/formats.md", "doc/catalist/reliability.md",
          "doc/catalist/schema/apps.schema.json", "doc/catalist/schema/diff.schema.json",
          "doc/catalist/schema/findings.schema.json", "doc/catalist/pictures/general.png",
          "doc/catalist/examples/catalogue/Apps.csv", "bash-completion/completions/catalist-cli",
          "fish/vendor_completions.d/catalist-cli.fish", "zsh/site-functions/_catalist-cli"})
        QTest::newRow(path) << QString::fromLatin1(path);
}

void TestPackage::documents()
{
    QFETCH(QString, path);
    QVERIFY(QFileInfo(work.path(u"tree/share/"_s + path)).size() > 0);
    const QString packed = hasPackage && path.startsWith(u"man/"_s) ? path + u".gz"_s : path;
    QVERIFY(QFileInfo(installed + u'/' + moved(u"share/"_s + packed)).size() > 0);
}

void TestPackage::hardened_data()
{
    QTest::addColumn<QString>("program");
    QTest::addColumn<QRegularExpression>("pattern");
    const QList<std::pair<QString, QString>> properties{
        {u"position independent"_s, u"^ *Type: +DYN "_s},
        {u"stack not executable"_s, u"^ *GNU_STACK( +0x\\w+)+ RW +0x"_s},
        {u"read-only after relocation"_s, u"^ *GNU_RELRO "_s},
        {u"all relocated at the start"_s, u"\\(FLAGS\\) +BIND_NOW$"_s},
        {u"stack protector"_s, u" UND __stack_chk_fail"_s},
    };
    for (const QString &program : {u"catalist"_s, u"catalist-cli"_s}) {
        for (const auto &[property, pattern] : properties)
            QTest::newRow(qPrintable(program + u", "_s + property))
                << program << QRegularExpression(pattern, QRegularExpression::MultilineOption);
    }
}

void TestPackage::hardened()
{
    QFETCH(QString, program);
    QFETCH(QRegularExpression, pattern);
    if (!hasTool("readelf"))
        QSKIP("readelf is not installed (package binutils)");
    const QString file = installed + u"/bin/"_s + program;
    const Outcome read = runTool(
        u"readelf"_s, {u"--wide"_s, u"--file-header"_s, u"--program-headers"_s, u"--dynamic"_s, u"--dyn-syms"_s, file});
    QCOMPARE(read.code, 0);
    QVERIFY2(QString::fromUtf8(read.out).contains(pattern), read.out.constData());
}

void TestPackage::marksTargetsOfJumps()
{
#ifdef Q_PROCESSOR_X86_64
    // Without the option, only the few functions from the C library have the instruction.
    for (const QString &program : {u"bin/catalist"_s, u"bin/catalist-cli"_s})
        QVERIFY2(installedFile(program).count("\xf3\x0f\x1e\xfa") > 500, qPrintable(program));
#else
    QSKIP("The instruction is of another processor");
#endif
}

// The programs do not show it: they call no function of the C library that has a checked form.
void TestPackage::fortified()
{
    static const QRegularExpression isFortified(u" -D_FORTIFY_SOURCE=[23] "_s);
    static const QRegularExpression isOptimised(u" -O[123s] "_s);
    const QJsonArray files = QJsonDocument::fromJson(readFile(qEnvironmentVariable("CATALIST_COMMANDS"))).array();
    QVERIFY(files.size() > 30);
    for (const auto file : files) {
        const QString command = file.toObject().value("command"_L1).toString();
        QVERIFY2(command.contains(isFortified) && command.contains(isOptimised), qPrintable(command));
    }
}

void TestPackage::canBeMoved()
{
    const QString moved = work.path(u"a b é"_s);
    QVERIFY(QDir().rename(work.path(u"tree"_s), moved));
    const QString problem = startAndEnd(moved + u"/bin/catalist"_s);
    const Outcome version = runTool(moved + u"/bin/catalist-cli"_s, {u"--version"_s});
    QVERIFY(QDir().rename(moved, work.path(u"tree"_s)));
    QCOMPARE(problem, QString());
    QCOMPARE(version.out.trimmed(), QByteArray("catalist-cli " CATALIST_VERSION));
}

/// Where a path of the archive is in the installation: the zsh of the package looks in another folder.
QString TestPackage::moved(const QString &path) const
{
    return hasPackage ? QString(path).replace(u"zsh/site-functions"_s, u"zsh/vendor-completions"_s) : path;
}

/// The files that must be installed, relative to the prefix.
QStringList TestPackage::expected() const
{
    QStringList archived = tree(work.path(u"tree"_s));
    if (!hasPackage)
        return archived;
    QStringList paths;
    for (const QString &path : std::as_const(archived)) {
        // These have other names in a package.
        if (path != u"share/doc/catalist/CHANGELOG.md" && path != u"share/doc/catalist/LICENSE")
            paths.append(moved(path) + (path.startsWith(u"share/man/man1/"_s) ? u".gz"_s : QString()));
    }
    paths += {u"share/doc/catalist-cli"_s, u"share/lintian"_s, u"share/lintian/overrides"_s};
    const QStringList names = debian.keys();
    for (const QString &name : names) {
        for (const QString &file : {u"changelog.Debian.gz"_s, u"changelog.gz"_s, u"copyright"_s})
            paths.append(u"share/doc/"_s + name + u'/' + file);
        paths.append(u"share/lintian/overrides/"_s + name);
    }
    paths.sort();
    return paths;
}

void TestPackage::archive()
{
    QCOMPARE(tree(installed), expected());
    const QStringList archived = tree(work.path(u"tree"_s));
    int same = 0;
    for (const QString &path : archived) {
        const QFileInfo file(work.path(u"tree/"_s + path));
        if (!file.isFile() || !QFile::exists(installed + u'/' + moved(path)))
            continue;
        QVERIFY2(work.read(u"tree/"_s + path) == installedFile(moved(path)), qPrintable(path));
        QCOMPARE(QFileInfo(installed + u'/' + moved(path)).permissions(), file.permissions());
        ++same;
    }
    QVERIFY(same > 50);
}

void TestPackage::debianFields_data()
{
    QTest::addColumn<QString>("package");
    QTest::addColumn<QString>("section");
    QTest::addColumn<QString>("summary");
    QTest::addColumn<QString>("recommends");
    QTest::addColumn<QStringList>("libraries"); // with those that it must not need after a "!"
    QTest::newRow("window") << u"catalist"_s << u"editors"_s << u"editor for a catalogue of transmitter apps"_s
                            << u"catalist-cli"_s
                            << QStringList{u"libqt6core6 "_s, u"libqt6widgets6 "_s, u"libqt6network6 "_s, u"!curl"_s};
    QTest::newRow("command") << u"catalist-cli"_s << u"utils"_s
                             << u"check, publish and verify a catalogue of transmitter apps"_s << QString()
                             << QStringList{u"libqt6core6 "_s,    u"libcurl4 "_s, u"!libqt6gui6"_s,
                                            u"!libqt6widgets6"_s, u"!libgl"_s,    u"!libx11"_s};
}

void TestPackage::debianFields()
{
    if (!hasPackage)
        QSKIP("dpkg or dpkg-shlibdeps is not installed (package dpkg-dev)");
    QFETCH(QString, package);
    QFETCH(QString, section);
    QFETCH(QString, summary);
    QFETCH(QString, recommends);
    QFETCH(QStringList, libraries);
    const auto field = [file = debian.value(package)](const QString &name) {
        return QString::fromUtf8(runTool(u"dpkg-deb"_s, {u"--field"_s, file, name}).out).trimmed();
    };
    QCOMPARE(field(u"Package"_s), package);
    QCOMPARE(field(u"Version"_s), u"" CATALIST_VERSION "-1"_s);
    QCOMPARE(field(u"Section"_s), section);
    QCOMPARE(field(u"Homepage"_s), u"https://catalist.example.org/"_s);
    QCOMPARE(field(u"Description"_s).section(u'\n', 0, 0), summary);
    QCOMPARE(field(u"Recommends"_s), recommends);
    const QString depends = field(u"Depends"_s);
    for (const QString &library : std::as_const(libraries)) {
        const bool isUnwanted = library.startsWith(u'!');
        QVERIFY2(depends.contains(isUnwanted ? library.sliced(1) : library) != isUnwanted, qPrintable(depends));
    }
}

void TestPackage::debianFiles()
{
    if (!hasPackage)
        QSKIP("dpkg or dpkg-shlibdeps is not installed (package dpkg-dev)");
    for (const QString &package : std::as_const(debian)) {
        const Outcome unpacked = runTool(u"dpkg-deb"_s, {u"--extract"_s, package, work.path(u"deb"_s)});
        QVERIFY2(unpacked.code == 0, unpacked.out.constData());
    }

    QStringList paths{u"usr"_s};
    const QStringList below = expected();
    for (const QString &path : below)
        paths.append(u"usr/"_s + path);
    QCOMPARE(tree(work.path(u"deb"_s)), paths);

    const QByteArray changelog =
        runTool(u"gzip"_s, {u"-dc"_s, work.path(u"deb/usr/share/doc/catalist/changelog.gz"_s)}).out;
    QVERIFY(changelog.contains("\n## " CATALIST_VERSION "\n"));
    const QString terms =
        QString::fromUtf8(work.read(u"tree/share/doc/catalist/LICENSE"_s)).section(u"\n\n"_s, 1).trimmed();
    QVERIFY(terms.size() > 50);
    const QString copyright = QString::fromUtf8(work.read(u"deb/usr/share/doc/catalist/copyright"_s));
    QVERIFY2(copyright.contains(u' ' + QString(terms).replace(u'\n', u"\n "_s)), qPrintable(copyright));
}

void TestPackage::debianPolicy()
{
    if (!hasPackage)
        QSKIP("dpkg or dpkg-shlibdeps is not installed (package dpkg-dev)");
    if (!hasTool("lintian"))
        QSKIP("lintian is not installed (package lintian)");
    // The path of its temporary files must not have special characters.
    const Outcome checked = runTool(
        u"env"_s, QStringList{u"TMPDIR=/tmp"_s, u"lintian"_s, u"--allow-root"_s, u"--fail-on"_s, u"error,warning"_s}
                      + debian.values());
    QCOMPARE(checked.out, QByteArray());
    QCOMPARE(checked.code, 0);
}

void TestPackage::installedStartedAndRemoved()
{
    if (!hasPackage)
        QSKIP("dpkg or dpkg-shlibdeps is not installed (package dpkg-dev)");
    const Folder root;
    const Folder database;
    database.write(u"status"_s, "");
    database.makeFolder(u"info"_s);
    database.makeFolder(u"updates"_s);
    const auto dpkg = [&root, &database](const QStringList &arguments) {
        // The libraries that it depends on are outside of this root.
        return runTool(u"dpkg"_s, QStringList{u"--instdir="_s + root.path(), u"--admindir="_s + database.path(),
                                              u"--log=/dev/null"_s, u"--force-not-root"_s, u"--force-depends"_s}
                                      + arguments);
    };

    // The command first, as a build server has it.
    for (const QString &name : {u"catalist-cli"_s, u"catalist"_s}) {
        const Outcome added = dpkg({u"--install"_s, debian.value(name)});
        QVERIFY2(added.code == 0, added.out.constData());
        QVERIFY(root.exists(u"usr/bin/"_s + name));
        QCOMPARE(root.exists(u"usr/bin/catalist"_s), name == u"catalist"_s);
    }
    QCOMPARE(startAndEnd(root.path(u"usr/bin/catalist"_s)), QString());

    const QString catalogue = root.path(u"usr/share/doc/catalist/examples/catalogue"_s);
    const Folder published;
    const QList<QStringList> commands = {{u"check"_s, catalogue, u"--strict"_s},
                                         {u"export"_s, catalogue, u"--url"_s, u"https://apps.example.org/"_s,
                                          u"--output"_s, published.path(u"Apps.json"_s)},
                                         {u"verify"_s, catalogue, u"--index"_s, published.path(u"Apps.json"_s),
                                          u"--url"_s, u"https://apps.example.org/"_s}};
    for (const QStringList &command : commands) {
        const Outcome done = runTool(root.path(u"usr/bin/catalist-cli"_s), command);
        QVERIFY2(done.code == 0, done.out.constData());
    }

    const Outcome removed = dpkg({u"--remove"_s, u"catalist"_s, u"catalist-cli"_s});
    QVERIFY2(removed.code == 0, removed.out.constData());
    QCOMPARE(tree(root.path()), QStringList());
}

CATALIST_TEST(TestPackage)
#include "tst_package.moc"
