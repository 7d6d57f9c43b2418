#include "filesizelimit.h"
#include "httpserver.h"
#include "testrunner.h"
#include "ui/filedialog.h"
#include "viewer/simplewebviewer.h"
#include "windowtest.h"

#include <QAction>
#include <QDateEdit>
#include <QDialogButtonBox>
#include <QFile>
#include <QLabel>
#include <QLibraryInfo>
#include <QLineEdit>
#include <QProcess>
#include <QStandardPaths>
#include <QTabBar>
#include <QTabWidget>
#include <QTableWidget>
#include <QTemporaryDir>
#include <QTranslator>
#include <QXmlStreamReader>

using namespace Qt::StringLiterals;

namespace {

struct Text
{
    QString context;
    QString source;

    friend bool operator==(const Text &, const Text &) = default;
    friend auto qHash(const Text &text, size_t seed = 0) { return qHashMulti(seed, text.context, text.source); }
};

/// The texts that lupdate extracts for translators. Empty where it is not installed.
QSet<Text> extractedTexts()
{
    QString lupdate = QStandardPaths::findExecutable(u"lupdate"_s, {QLibraryInfo::path(QLibraryInfo::BinariesPath)});
    if (lupdate.isEmpty())
        lupdate = QStandardPaths::findExecutable(u"lupdate"_s);
    if (lupdate.isEmpty())
        return {};
    const QTemporaryDir folder;
    QFile file(folder.filePath(u"catalist.ts"_s));
    if (QProcess::execute(lupdate, {u"-silent"_s, u"" CATALIST_SOURCE_DIR "/src"_s, u"-ts"_s, file.fileName()}) != 0
        || !file.open(QIODevice::ReadOnly))
        qFatal("No extracted texts");
    QSet<Text> texts;
    QString context;
    QXmlStreamReader xml(&file);
    while (!xml.atEnd()) {
        if (!xml.readNextStartElement())
            continue;
        if (xml.name() == "name"_L1)
            context = xml.readElementText();
        else if (xml.name() == "source"_L1)
            texts.insert({context, xml.readElementText()});
    }
    return texts;
}

/// Puts marks around every extracted text.
class Marks : public QTranslator
{
public:
    explicit Marks(QSet<Text> extracted) : texts(std::move(extracted)) { }

    [[nodiscard]] bool isEmpty() const override { return false; }

    [[nodiscard]] QString translate(const char *context, const char *source, const char * /*disambiguation*/,
                                    int /*n*/) const override
    {
        const Text text{QString::fromUtf8(context), QString::fromUtf8(source)};
        asked.insert(text);
        if (!texts.contains(text))
            return {};
        // A shortcut has to stay one.
        return text.source.isEmpty() || text.source.startsWith("Ctrl+"_L1) ? text.source : u"⟦%1⟧"_s.arg(text.source);
    }

    QSet<Text> texts;
    mutable QSet<Text> asked;
};

/// Qt translates the texts of these itself.
bool isMadeByQt(const QObject *object)
{
    const QObject *parent = object->parent();
    return object->objectName().startsWith("qt_"_L1) || qobject_cast<const QDialogButtonBox *>(parent)
           || qobject_cast<const QLineEdit *>(parent) || qobject_cast<const QTabBar *>(parent);
}

/// Every text of an object that users may see or hear, without what they typed.
QStringList texts(const QObject *object)
{
    QStringList found;
    for (const char *property : {"windowTitle", "text", "title", "toolTip", "statusTip", "whatsThis", "accessibleName",
                                 "accessibleDescription", "placeholderText"}) {
        const bool isTyped = (qobject_cast<const QLineEdit *>(object) || qobject_cast<const QDateEdit *>(object))
                             && QLatin1String(property) == "text"_L1;
        if (!isTyped)
            found.append(object->property(property).toString());
    }
    if (const auto *tabs = qobject_cast<const QTabWidget *>(object)) {
        for (int i = 0; i < tabs->count(); ++i)
            found += {tabs->tabText(i), tabs->tabToolTip(i)};
    }
    if (const auto *table = qobject_cast<const QTableWidget *>(object)) {
        for (int i = 0; i < table->columnCount(); ++i)
            found.append(table->horizontalHeaderItem(i)->text());
    }
    found.removeAll(QString());
    return found;
}

/// The texts of a window that were not translated, without those that are data.
QStringList unmarked(const QWidget &window, const QString &data)
{
    QStringList found;
    QObjectList objects = window.findChildren<QObject *>();
    objects.append(const_cast<QWidget *>(&window));
    for (const QObject *object : objects) {
        if (isMadeByQt(object))
            continue;
        const QStringList shown = texts(object);
        for (const QString &text : shown) {
            const bool isData = text == data || text == u"<qt>%1</qt>"_s.arg(data.toHtmlEscaped());
            if (!text.startsWith(u'⟦') && !isData)
                found.append(object->objectName() + u": "_s + text);
        }
    }
    return found;
}

} // namespace

/// Every text is translated, and among those that are extracted.
class TestTranslations : public WindowTest
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init() override;
    void cleanup() override;

    void contexts();
    void windows();
    void everyTextIsSeen();

private:
    void failToOpenAndSave();
    void publish();
    void closeOnAFullDisk();
    void describe();
    void preview();

    QSet<Text> extracted;
    std::unique_ptr<Marks> marks;
};

void TestTranslations::initTestCase()
{
    extracted = extractedTexts();
    if (extracted.isEmpty())
        QSKIP("lupdate is not installed (package qt6-l10n-tools)");
}

void TestTranslations::init()
{
    WindowTest::init();
    marks = std::make_unique<Marks>(extracted);
    QCoreApplication::installTranslator(marks.get());
}

void TestTranslations::cleanup()
{
    QCoreApplication::removeTranslator(marks.get());
    WindowTest::cleanup();
}

void TestTranslations::contexts()
{
    QSet<QString> contexts;
    for (const Text &text : std::as_const(marks->texts))
        contexts.insert(text.context);
    QCOMPARE(contexts, (QSet<QString>{u"MainWindow"_s, u"FileDialog"_s, u"SimpleWebViewer"_s}));
}

void TestTranslations::windows()
{
    openExample();
    const QString project = folder->path(u"catalogue/Apps.csv"_s);
    QCOMPARE(unmarked(*window, project).join(u'\n'), QString());

    const FileDialog files(project, {u"*.*"_s}, window.get());
    QCOMPARE(unmarked(files, {}).join(u'\n'), QString());
    // A text that is not translated is found.
    child<QLabel>(*window, "label_3")->setText(u"App name"_s);
    QCOMPARE(unmarked(*window, project), QStringList{u"label_3: App name"_s});
}

void TestTranslations::failToOpenAndSave()
{
    const QString project = folder->path(u"catalogue/Apps.csv"_s);
    clickNewProject(folder->path(u"elsewhere.csv"_s));
    folder->makeFolder(u"elsewhere.csv"_s);
    answers->press(QMessageBox::Ok);
    clickTool(*window, "actionSave");

    folder->write(u"broken.csv"_s, "one;cell\n");
    answers->chooseFile(folder->path(u"broken.csv"_s));
    answers->press(QMessageBox::Ok);
    clickTool(*window, "actionOpen_project");
    clickOpenProject(project);

    answers->cancel();
    clickTool(*window, "actionSave_generate_JSON");
    publish();
}

// Of one app and of several, with one file and with several.
void TestTranslations::publish()
{
    for (const QByteArray &apps : {"{};;;;;{};a.txt;;\n"_ba, "{};;;;;{};;;\n{};;;;;{};;;\n"_ba}) {
        folder->write(u"small/a.txt"_s, "a");
        folder->write(u"small/Apps.csv"_s, HEADER + apps);
        clickOpenProject(folder->path(u"small/Apps.csv"_s));
        clickPublish(folder->path(u"Apps%1.json"_s.arg(apps.size())));
    }
    clickOpenProject(folder->path(u"catalogue/Apps.csv"_s));
}

void TestTranslations::closeOnAFullDisk()
{
    openDescription(0, 1);
    typeInDescription(u"x"_s);
    const FileSizeLimit fullDisk(0);
    answers->press(QMessageBox::No);
    answers->pressButton(u"⟦Close all the same⟧"_s);
    QVERIFY(window->close());
}

void TestTranslations::describe()
{
    selectApp(0);
    showTab(*window, "tabDescription");
    answers->enterText(u"en"_s); // exists already
    answers->press(QMessageBox::Ok);
    click(*window, "btnNewDescription");
    answers->enterText(u"it"_s);
    answers->chooseFile(folder->path(u"outside.html"_s));
    answers->press(QMessageBox::Ok);
    click(*window, "btnNewDescription");
    answers->enterText(u"it"_s);
    answers->cancel();
    click(*window, "btnOpenDescription");

    QVERIFY(QFile::remove(folder->path(u"catalogue/descriptions/altimeter.cz.html"_s)));
    answers->press(QMessageBox::Ok);
    clickCell(child<QTableWidget>(*window, "tableWidget"), 0, 1);
    answers->cancel();
    click(*window, "btnDeleteDescription");
}

void TestTranslations::preview()
{
    SimpleWebViewer viewer;
    viewer.setSource(unreachableUrl());
    QCOMPARE(viewer.toPlainText(), u"⟦Loading...⟧"_s);
    QTRY_COMPARE(viewer.toPlainText(), u"⟦Connection error.⟧"_s);
    viewer.setHtml(u"<table><tr><td>"_s.repeated(101));
    QCOMPARE(viewer.toPlainText(), u"⟦Too large or too deeply nested to be shown.⟧"_s);
}

void TestTranslations::everyTextIsSeen()
{
    answers->press(QMessageBox::Ok);
    window = openWindow<MainWindow>();
    clickTool(*window, "actionSave");
    window.reset();

    openExample();
    failToOpenAndSave();
    describe();
    preview();
    answers->pickInProject(u"icons/altimeter.png"_s);
    showTab(*window, "tabGeneral");
    click(*window, "iconBtn");
    click(*window, "btnNewApp");
    answers->cancel();
    QVERIFY(!window->close());
    closeOnAFullDisk();

    for (const ShownDialog &dialog : std::as_const(answers->shown)) {
        QVERIFY2(dialog.title.startsWith(u'⟦'), qPrintable(dialog.title));
        QVERIFY2(dialog.text.isEmpty() || dialog.text.startsWith(u'⟦'), qPrintable(dialog.text));
        QVERIFY2(dialog.filters.isEmpty() || dialog.filters.constFirst().startsWith(u'⟦'),
                 qPrintable(dialog.filters.join(u'\n')));
    }
    QStringList neverAsked;
    for (const Text &text : std::as_const(marks->texts)) {
        if (!marks->asked.contains(text))
            neverAsked.append(text.context + u": "_s + text.source);
    }
    QCOMPARE(neverAsked.join(u'\n'), QString());
}

CATALIST_TEST(TestTranslations)
#include "tst_translations.moc"
