// A plugin that edits and publishes a copy of a catalogue in the window of the program that loads it, and leaves both
// files and pictures of the window. tour.sh starts a program with it. Ends the program with 1 at the first failure.

#include "dialoganswers.h"
#include "folder.h"
#include "windowfixture.h"

#include <QApplication>
#include <QCryptographicHash>
#include <QDateEdit>
#include <QDir>
#include <QGenericPlugin>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLineEdit>
#include <QListWidget>
#include <QLoggingCategory>
#include <QPainter>
#include <QPlainTextEdit>
#include <QTableWidget>
#include <QTextBrowser>
#include <QTreeView>

#include <cstdio>
#include <cstdlib>

using namespace Qt::StringLiterals;

namespace {

constexpr QSize PICTURE_SIZE(1120, 760);
const QString REPOSITORY = u"https://apps.example.org/"_s;
const QString NEW_APP = u"Range Check"_s;

[[noreturn]] void endHere(const char *step)
{
    std::fprintf(stderr, "The tour ends here: %s\n", step);
    // Not exit(), as the window is in the middle of an action.
    std::_Exit(EXIT_FAILURE);
}

void require(bool done, const char *step)
{
    if (!done)
        endHere(step);
    std::printf("  %s\n", step);
    std::fflush(stdout);
}

QtMessageHandler usualHandler = nullptr;

void endWhenFatal(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    if (type == QtFatalMsg)
        endHere(qPrintable(message));
    usualHandler(type, context, message);
}

QByteArray content(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

class Tour
{
public:
    Tour(QString results, QWidget *mainWindow) : folder(std::move(results)), window(mainWindow) { }

    void start();
    void lookAround();
    void editAnApp();
    void addAnApp();
    void listItsFiles();
    void describeIt();
    void publish();

private:
    [[nodiscard]] QString project(const QString &relative) const { return folder + u"/catalogue/"_s + relative; }
    void picture(QWidget *widget, const QString &name) const;
    void select(const QString &app) const;
    void awaitPicture(const QString &name) const; ///< in the preview
    [[nodiscard]] QByteArray savedLine(const QByteArray &part) const;
    [[nodiscard]] bool indexAgreesWithFiles() const;

    QString folder;
    DialogAnswers dialogs;
    QWidget *window;
};

void Tour::picture(QWidget *widget, const QString &name) const
{
    require(widget->grab().save(folder + u'/' + name), qPrintable(u"picture "_s + name));
}

void Tour::select(const QString &app) const
{
    auto *list = child<QListWidget>(*window, "listApps");
    const QList<QListWidgetItem *> found = list->findItems(app, Qt::MatchExactly);
    require(found.size() == 1, qPrintable(u"select "_s + app));
    clickCell(list, list->row(found.constFirst()));
}

/// The line of the project file that contains a text; empty when there is none.
QByteArray Tour::savedLine(const QByteArray &part) const
{
    const QList<QByteArray> lines = content(project(u"Apps.csv"_s)).split('\n');
    for (const QByteArray &line : lines) {
        if (line.contains(part))
            return line;
    }
    return {};
}

void Tour::awaitPicture(const QString &name) const
{
    const auto *preview = child<QTextBrowser>(*window, "descriptionView");
    require(
        QTest::qWaitFor([preview, &name] {
            return !preview->document()->resource(QTextDocument::ImageResource, QUrl(name)).value<QPixmap>().isNull();
        }),
        "see the picture of a description in the preview");
}

void Tour::start()
{
    window->resize(PICTURE_SIZE);
    require(child<QListWidget>(*window, "listApps")->count() > 0, "start with the last project");

    dialogs.chooseFile(project(u"Apps.csv"_s));
    clickTool(*window, "actionOpen_project");
    require(dialogs.allAnswered() && child<QListWidget>(*window, "listApps")->count() > 0, "open the project again");

    retype(*window, "repository", REPOSITORY.chopped(1));
    QTest::keyClick(child<QLineEdit>(*window, "repository"), Qt::Key_Return);
    require(child<QLineEdit>(*window, "repository")->text() == REPOSITORY, "name the repository");
}

void Tour::lookAround()
{
    select(u"Altimeter"_s);
    showTab(*window, "tabDescription");
    clickCell(child<QTableWidget>(*window, "tableWidget"), 2, 1);
    awaitPicture(u"altimeter-screen.png"_s);
    picture(window, u"catalist.png"_s);
    showTab(*window, "tabGeneral");
}

void Tour::editAnApp()
{
    select(u"Flight Timer"_s);
    select(u"Altimeter"_s);
    retype(*window, "version", u"1.5.0"_s);
    click(*window, "applyButton");
    require(window->windowTitle().endsWith(u" (*)"_s), "apply a new version");
    picture(window, u"general.png"_s);
    clickTool(*window, "actionSave");
    require(savedLine("\"Altimeter\"").contains(";1.5.0;") && !window->windowTitle().contains(u'*'), "save it");
}

void Tour::addAnApp()
{
    click(*window, "btnNewApp");
    retype(*window, "appName1_1", NEW_APP);
    const QStringList names{u"Zkouška dosahu"_s, u"Reichweitentest"_s, u"Test de portée"_s};
    for (qsizetype i = 0; i < names.size(); ++i) {
        const QString row = QString::number(i + 2);
        click(*window, qPrintable(u"check1_"_s + row));
        retype(*window, qPrintable(u"appName1_"_s + row), names.at(i));
    }
    retype(*window, "author", u"Søren Kjær"_s);
    retype(*window, "version", u"0.9"_s);
    child<QDateEdit>(*window, "publicationDate")->setDate(QDate(2026, 6, 21));
    retype(*window, "minTxVersion", u"5.03"_s);
    for (const char *box : {"kr9Compatible", "vl9Compatible", "kr9g2Compatible", "vl9g2Compatible"})
        click(*window, box);

    dialogs.answer([this](QWidget *picker) {
        auto *tree = child<QTreeView>(*picker, "treeView");
        const QModelIndex icon = treeEntry(tree, u"icons/range-check.png"_s);
        require(icon.isValid(), "see the icon in the picker");
        QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, tree->visualRect(icon).center());
        picture(picker, u"picker.png"_s);
        QTest::keyClick(picker, Qt::Key_Return);
    });
    click(*window, "iconBtn");
    require(dialogs.allAnswered() && child<QLineEdit>(*window, "icon")->text() == "icons/range-check.png"_L1,
            "pick the icon");
    click(*window, "applyButton");
    clickTool(*window, "actionSave");
    require(savedLine("\"Range Check\"")
                == "{\"cz\":\"Zkouška dosahu\",\"de\":\"Reichweitentest\",\"en\":\"Range Check\",\"fr\":\"Test de "
                   "portée\"};Søren Kjær;0.9;678,3859,679,3860,3866,3867;21-06-2026;{};;icons/range-check.png;5.03",
            "add an app in four languages");
}

void Tour::listItsFiles()
{
    showTab(*window, "tabAppFiles");
    dialogs.pickInProject(u"RangeCheck/main.lua"_s);
    click(*window, "btnAddFile");
    dialogs.pickInProject(u"RangeCheck/sounds"_s);
    click(*window, "btnAddFolder");
    require(dialogs.allAnswered() && child<QListWidget>(*window, "listAppFiles")->count() == 2,
            "list a file and a folder");
    picture(window, u"files.png"_s);
}

void Tour::describeIt()
{
    showTab(*window, "tabDescription");
    const QString file = u"descriptions/range-check.en.html"_s;
    dialogs.enterText(u"en"_s);
    dialogs.chooseFile(project(file));
    click(*window, "btnNewDescription");
    require(dialogs.allAnswered() && content(project(file)).contains("<title>#Title</title>"),
            "start a description from the template");

    auto *table = child<QTableWidget>(*window, "tableWidget");
    clickCell(table, 0, 1);
    auto *editor = child<QPlainTextEdit>(*window, "descriptionEdit");
    const QString html = u"<!DOCTYPE html>\n<html>\n<head>\n  <meta charset=\"utf-8\">\n"
                         "  <title>Range Check</title>\n</head>\n<body>\n"
                         "  <h1>Range Check</h1>\n"
                         "  <p>Listens to the signal while you walk away from the model, and "
                         "tells you where it began to fade.</p>\n"
                         "  <p><img src=\"range-check-screen.png\"></p>\n"
                         "  <h2>How to use it</h2>\n  <ol>\n    <li>Start it beside the model.</li>\n"
                         "    <li>Walk thirty paces.</li>\n  </ol>\n</body>\n</html>\n"_s;
    editor->selectAll();
    type(editor, html);
    awaitPicture(u"range-check-screen.png"_s);
    QTest::keyClick(editor, Qt::Key_Home, Qt::ControlModifier);
    picture(window, u"description.png"_s);
    click(*window, "btnAutosave");
    require(content(project(file)) == html.toUtf8(), "save the description");
}

void Tour::publish()
{
    dialogs.chooseFile(folder + u"/Apps.json"_s);
    clickTool(*window, "actionSave_generate_JSON");
    require(dialogs.allAnswered() && indexAgreesWithFiles(), "publish, with the size and SHA-1 of every file");
    require(QFile::copy(project(u"Apps.csv"_s), folder + u"/Apps.csv"_s), "keep Apps.csv");
    require(window->close(), "close");
}

bool Tour::indexAgreesWithFiles() const
{
    const QJsonArray apps =
        QJsonDocument::fromJson(content(folder + u"/Apps.json"_s)).object().value("applications"_L1).toArray();
    int files = 0;
    for (const auto app : apps) {
        const QJsonArray entries = app.toObject().value("files"_L1).toArray();
        for (const auto entry : entries) {
            const QJsonObject file = entry.toObject();
            const QByteArray bytes = content(project(file.value("url"_L1).toString().mid(REPOSITORY.size())));
            const QByteArray hash = QCryptographicHash::hash(bytes, QCryptographicHash::Sha1).toHex();
            if (bytes.isEmpty() || file.value("size"_L1).toInteger() != bytes.size()
                || file.value("hash"_L1).toString() != QLatin1String(hash))
                return false;
            ++files;
        }
    }
    return apps.size() == child<QListWidget>(*window, "listApps")->count() && files > apps.size();
}

/// The file that marks a catalogue as made by the tour.
QString mark(const QString &folder)
{
    return folder + u"/catalogue/.made-by-the-tour"_s;
}

/// Removes the results of an earlier tour, and nothing else. False when the folder has another catalogue.
bool clearResults(const QString &folder)
{
    QDir catalogue(folder + u"/catalogue"_s);
    if (catalogue.exists() && !QFile::exists(mark(folder)))
        return false;
    const QStringList results{u"Apps.csv"_s,        u"Apps.json"_s,  u"general.png"_s, u"files.png"_s,
                              u"description.png"_s, u"picker.png"_s, u"catalist.png"_s};
    for (const QString &name : results) {
        const QString path = folder + u'/' + name;
        if (QFile::exists(path) && !QFile::remove(path))
            return false;
    }
    return catalogue.removeRecursively() && QDir().mkpath(folder);
}

/// Draws the app of the tour as a transmitter shows it.
bool drawScreen(const QString &path)
{
    const QColor dark(0x17, 0x22, 0x2c);
    QImage screen(256, 144, QImage::Format_RGB32);
    screen.fill(QColor(0x2c, 0x36, 0x3f));
    QPainter painter(&screen);
    painter.fillRect(8, 8, 240, 18, dark);
    painter.fillRect(8, 26, 240, 110, QColor(0xd0, 0xdd, 0xc9));
    const auto write = [&painter](const QRect &place, int pixels, const QColor &color, const QString &text) {
        QFont font;
        font.setPixelSize(pixels);
        font.setBold(true);
        painter.setFont(font);
        painter.setPen(color);
        painter.drawText(place, Qt::AlignLeft | Qt::AlignVCenter, text);
    };
    write({16, 8, 200, 18}, 11, Qt::white, NEW_APP);
    write({20, 34, 230, 56}, 46, dark, u"−62 dB"_s);
    constexpr int BARS = 12;
    for (int bar = 0; bar < BARS; ++bar)
        painter.fillRect(20 + bar * 18, 124 - 2 * (BARS - bar), 12, 2 * (BARS - bar), dark);
    painter.end();
    return screen.save(path);
}

/// Makes the files of the app that the tour adds, most of them from files of the catalogue.
bool addMaterial(const QString &catalogue)
{
    return QDir(catalogue).mkpath(u"RangeCheck"_s)
           && QFile::copy(catalogue + u"/ServoTester/main.lua"_s, catalogue + u"/RangeCheck/main.lua"_s)
           && copyTree(catalogue + u"/VarioSounds/sounds/soft"_s, catalogue + u"/RangeCheck/sounds"_s)
           && QFile::copy(catalogue + u"/icons/telemetry-logger.png"_s, catalogue + u"/icons/range-check.png"_s)
           && drawScreen(catalogue + u"/descriptions/range-check-screen.png"_s);
}

QWidget *mainWindow()
{
    const QWidgetList windows = QApplication::topLevelWidgets();
    for (QWidget *window : windows) {
        if (window->objectName() == "MainWindow"_L1 && window->isVisible())
            return window;
    }
    return nullptr;
}

void prepare(const QString &catalogue, const QString &folder)
{
    if (QFile::exists(QSettings(u"Orva model"_s, u"Catalist"_s).fileName()))
        endHere("these settings are somebody's own");
    require(clearResults(folder) && copyTree(catalogue, folder + u"/catalogue"_s)
                && QFile(mark(folder)).open(QIODevice::WriteOnly),
            "copy the catalogue");
    storeProject(folder + u"/catalogue/Apps.csv"_s);
}

void takeTour(const QString &folder)
{
    QWidget *window = mainWindow();
    require(window && QTest::qWaitForWindowActive(window), "see the window");
    require(addMaterial(folder + u"/catalogue"_s), "add the files of another app");

    Tour tour(folder, window);
    tour.start();
    tour.lookAround();
    tour.editAnApp();
    tour.addAnApp();
    tour.listItsFiles();
    tour.describeIt();
    tour.publish();
    // The exit code of the program does not show that the tour was complete.
    require(QFile(QDir::homePath() + u"/tour-finished"_s).open(QIODevice::WriteOnly), "finish");
    std::printf("Apps.csv, Apps.json and the pictures are in %s\n", qPrintable(folder));
}

} // namespace

class TourPlugin : public QGenericPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QGenericPluginFactoryInterface_iid FILE "tour.json")

public:
    /// Called before the window exists, so that it opens the stored project; the tour starts in the event loop.
    QObject *create(const QString &key, const QString &options) override;
};

QObject *TourPlugin::create(const QString & /*key*/, const QString & /*options*/)
{
    usualHandler = qInstallMessageHandler(endWhenFatal);
    // The messages of the window and of the offscreen platform would hide the steps.
    QLoggingCategory::setFilterRules(u"default.debug=false\ndefault.warning=false"_s);
    QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);

    const QString catalogue = qEnvironmentVariable("CATALIST_TOUR_CATALOGUE");
    const QString folder = qEnvironmentVariable("CATALIST_TOUR_FOLDER");
    if (catalogue.isEmpty() || folder.isEmpty())
        endHere("CATALIST_TOUR_CATALOGUE or CATALIST_TOUR_FOLDER is not set");
    const QString results = QDir(folder).absolutePath();
    prepare(QDir(catalogue).absolutePath(), results);

    auto *beginning = new QTimer;
    beginning->setSingleShot(true);
    connect(beginning, &QTimer::timeout, beginning, [results] { takeTour(results); });
    beginning->start(0);
    return beginning;
}

#include "tour.moc"
