// A plugin that takes the window of the program that loads it through an author's work on a copy of a catalogue, and
// leaves the two files that the work ends in and pictures of the window. tour.sh starts a program with it.
// Ends the program with 1 at the first step that did not do what it should.

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

namespace {

constexpr QSize PICTURE_SIZE(1120, 760);
const QString REPOSITORY = QStringLiteral("https://apps.example.org/");
const QString NEW_APP = QStringLiteral("Range Check");

[[noreturn]] void endHere(const char *step)
{
    std::fprintf(stderr, "The tour ends here: %s\n", step);
    // The window stands in the middle of what it does, and has no end to come to.
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
    [[nodiscard]] QString project(const QString &relative) const
    {
        return folder + QStringLiteral("/catalogue/") + relative;
    }
    void picture(QWidget *widget, const QString &name) const;
    void select(const QString &app) const;
    void seePicture(const QString &name) const; ///< of the description that is open
    [[nodiscard]] QByteArray savedLine(const QByteArray &part) const;
    [[nodiscard]] bool indexAgreesWithFiles() const;

    QString folder;
    DialogAnswers dialogs;
    QWidget *window;
};

void Tour::picture(QWidget *widget, const QString &name) const
{
    require(widget->grab().save(folder + QLatin1Char('/') + name), qPrintable(QStringLiteral("picture ") + name));
}

void Tour::select(const QString &app) const
{
    auto *list = child<QListWidget>(*window, "listApps");
    const QList<QListWidgetItem *> found = list->findItems(app, Qt::MatchExactly);
    require(found.size() == 1, qPrintable(QStringLiteral("select ") + app));
    clickCell(list, list->row(found.constFirst()));
}

/// The line of the project file that holds a text; empty when none does.
QByteArray Tour::savedLine(const QByteArray &part) const
{
    const QList<QByteArray> lines = content(project(QStringLiteral("Apps.csv"))).split('\n');
    for (const QByteArray &line : lines) {
        if (line.contains(part))
            return line;
    }
    return {};
}

void Tour::seePicture(const QString &name) const
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

    dialogs.chooseFile(project(QStringLiteral("Apps.csv")));
    clickTool(*window, "actionOpen_project");
    require(dialogs.allAnswered() && child<QListWidget>(*window, "listApps")->count() > 0, "open the project again");

    retype(*window, "repository", REPOSITORY.chopped(1));
    QTest::keyClick(child<QLineEdit>(*window, "repository"), Qt::Key_Return);
    require(child<QLineEdit>(*window, "repository")->text() == REPOSITORY, "name the repository");
}

void Tour::lookAround()
{
    select(QStringLiteral("Altimeter"));
    showTab(*window, "tabDescription");
    clickCell(child<QTableWidget>(*window, "tableWidget"), 2, 1);
    seePicture(QStringLiteral("altimeter-screen.png"));
    picture(window, QStringLiteral("catalist.png"));
    showTab(*window, "tabGeneral");
}

void Tour::editAnApp()
{
    select(QStringLiteral("Flight Timer"));
    select(QStringLiteral("Altimeter"));
    retype(*window, "version", QStringLiteral("1.5.0"));
    click(*window, "applyButton");
    require(window->windowTitle().endsWith(QStringLiteral(" (*)")), "apply a new version");
    picture(window, QStringLiteral("general.png"));
    clickTool(*window, "actionSave");
    require(savedLine("\"Altimeter\"").contains(";1.5.0;") && !window->windowTitle().contains(QLatin1Char('*')),
            "save it");
}

void Tour::addAnApp()
{
    click(*window, "btnNewApp");
    retype(*window, "appName1_1", NEW_APP);
    const QStringList names{QStringLiteral("Zkouška dosahu"), QStringLiteral("Reichweitentest"),
                            QStringLiteral("Test de portée")};
    for (qsizetype i = 0; i < names.size(); ++i) {
        const QString row = QString::number(i + 2);
        click(*window, qPrintable(QStringLiteral("check1_") + row));
        retype(*window, qPrintable(QStringLiteral("appName1_") + row), names.at(i));
    }
    retype(*window, "author", QStringLiteral("Søren Kjær"));
    retype(*window, "version", QStringLiteral("0.9"));
    child<QDateEdit>(*window, "publicationDate")->setDate(QDate(2026, 6, 21));
    retype(*window, "minTxVersion", QStringLiteral("5.03"));
    for (const char *box : {"kr9Compatible", "vl9Compatible", "kr9g2Compatible", "vl9g2Compatible"})
        click(*window, box);

    dialogs.answer([this](QWidget *picker) {
        auto *tree = child<QTreeView>(*picker, "treeView");
        const QModelIndex icon = treeEntry(tree, QStringLiteral("icons/range-check.png"));
        require(icon.isValid(), "see the icon in the picker");
        QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, tree->visualRect(icon).center());
        picture(picker, QStringLiteral("picker.png"));
        QTest::keyClick(picker, Qt::Key_Return);
    });
    click(*window, "iconBtn");
    require(dialogs.allAnswered()
                && child<QLineEdit>(*window, "icon")->text() == QLatin1String("icons/range-check.png"),
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
    dialogs.pickInProject(QStringLiteral("RangeCheck/main.lua"));
    click(*window, "btnAddFile");
    dialogs.pickInProject(QStringLiteral("RangeCheck/sounds"));
    click(*window, "btnAddFolder");
    require(dialogs.allAnswered() && child<QListWidget>(*window, "listAppFiles")->count() == 2,
            "list a file and a folder");
    picture(window, QStringLiteral("files.png"));
}

void Tour::describeIt()
{
    showTab(*window, "tabDescription");
    const QString file = QStringLiteral("descriptions/range-check.en.html");
    dialogs.enterText(QStringLiteral("en"));
    dialogs.chooseFile(project(file));
    click(*window, "btnNewDescription");
    require(dialogs.allAnswered() && content(project(file)).contains("<title>#Title</title>"),
            "start a description from the template");

    auto *table = child<QTableWidget>(*window, "tableWidget");
    clickCell(table, 0, 1);
    auto *editor = child<QPlainTextEdit>(*window, "descriptionEdit");
    const QString html = QStringLiteral("<!DOCTYPE html>\n<html>\n<head>\n  <meta charset=\"utf-8\">\n"
                                        "  <title>Range Check</title>\n</head>\n<body>\n"
                                        "  <h1>Range Check</h1>\n"
                                        "  <p>Listens to the signal while you walk away from the model, and "
                                        "tells you where it began to fade.</p>\n"
                                        "  <p><img src=\"range-check-screen.png\"></p>\n"
                                        "  <h2>How to use it</h2>\n  <ol>\n    <li>Start it beside the model.</li>\n"
                                        "    <li>Walk thirty paces.</li>\n  </ol>\n</body>\n</html>\n");
    editor->selectAll();
    type(editor, html);
    seePicture(QStringLiteral("range-check-screen.png"));
    QTest::keyClick(editor, Qt::Key_Home, Qt::ControlModifier);
    picture(window, QStringLiteral("description.png"));
    click(*window, "btnAutosave");
    require(content(project(file)) == html.toUtf8(), "save the description");
}

void Tour::publish()
{
    dialogs.chooseFile(folder + QStringLiteral("/Apps.json"));
    clickTool(*window, "actionSave_generate_JSON");
    require(dialogs.allAnswered() && indexAgreesWithFiles(), "publish, with the size and SHA-1 of every file");
    require(QFile::copy(project(QStringLiteral("Apps.csv")), folder + QStringLiteral("/Apps.csv")), "keep Apps.csv");
    require(window->close(), "close");
}

bool Tour::indexAgreesWithFiles() const
{
    const QJsonArray apps = QJsonDocument::fromJson(content(folder + QStringLiteral("/Apps.json")))
                                .object()
                                .value(QLatin1String("applications"))
                                .toArray();
    int files = 0;
    for (const auto app : apps) {
        const QJsonArray entries = app.toObject().value(QLatin1String("files")).toArray();
        for (const auto entry : entries) {
            const QJsonObject file = entry.toObject();
            const QByteArray bytes =
                content(project(file.value(QLatin1String("url")).toString().mid(REPOSITORY.size())));
            const QByteArray hash = QCryptographicHash::hash(bytes, QCryptographicHash::Sha1).toHex();
            if (bytes.isEmpty() || file.value(QLatin1String("size")).toInteger() != bytes.size()
                || file.value(QLatin1String("hash")).toString() != QLatin1String(hash))
                return false;
            ++files;
        }
    }
    return apps.size() == child<QListWidget>(*window, "listApps")->count() && files > apps.size();
}

/// In the catalogue, to know it again.
QString mark(const QString &folder)
{
    return folder + QStringLiteral("/catalogue/.made-by-the-tour");
}

/// What the tour has left before goes; whatever else lies in the folder stays. False when there is a catalogue of
/// somebody else.
bool clearResults(const QString &folder)
{
    QDir catalogue(folder + QStringLiteral("/catalogue"));
    if (catalogue.exists() && !QFile::exists(mark(folder)))
        return false;
    const QStringList results{QStringLiteral("Apps.csv"),        QStringLiteral("Apps.json"),
                              QStringLiteral("general.png"),     QStringLiteral("files.png"),
                              QStringLiteral("description.png"), QStringLiteral("picker.png"),
                              QStringLiteral("catalist.png")};
    for (const QString &name : results) {
        const QString path = folder + QLatin1Char('/') + name;
        if (QFile::exists(path) && !QFile::remove(path))
            return false;
    }
    return catalogue.removeRecursively() && QDir().mkpath(folder);
}

/// What a transmitter shows of the app that the tour adds.
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
    write({20, 34, 230, 56}, 46, dark, QStringLiteral("−62 dB"));
    constexpr int BARS = 12;
    for (int bar = 0; bar < BARS; ++bar)
        painter.fillRect(20 + bar * 18, 124 - 2 * (BARS - bar), 12, 2 * (BARS - bar), dark);
    painter.end();
    return screen.save(path);
}

/// The files of the app that the tour adds, most of them made of files that the catalogue has.
bool addMaterial(const QString &catalogue)
{
    return QDir(catalogue).mkpath(QStringLiteral("RangeCheck"))
           && QFile::copy(catalogue + QStringLiteral("/ServoTester/main.lua"),
                          catalogue + QStringLiteral("/RangeCheck/main.lua"))
           && copyTree(catalogue + QStringLiteral("/VarioSounds/sounds/soft"),
                       catalogue + QStringLiteral("/RangeCheck/sounds"))
           && QFile::copy(catalogue + QStringLiteral("/icons/telemetry-logger.png"),
                          catalogue + QStringLiteral("/icons/range-check.png"))
           && drawScreen(catalogue + QStringLiteral("/descriptions/range-check-screen.png"));
}

QWidget *mainWindow()
{
    const QWidgetList windows = QApplication::topLevelWidgets();
    for (QWidget *window : windows) {
        if (window->objectName() == QLatin1String("MainWindow") && window->isVisible())
            return window;
    }
    return nullptr;
}

void prepare(const QString &catalogue, const QString &folder)
{
    if (QFile::exists(QSettings(QStringLiteral("Orva model"), QStringLiteral("Catalist")).fileName()))
        endHere("these settings are somebody's own");
    require(clearResults(folder) && copyTree(catalogue, folder + QStringLiteral("/catalogue"))
                && QFile(mark(folder)).open(QIODevice::WriteOnly),
            "copy the catalogue");
    storeProject(folder + QStringLiteral("/catalogue/Apps.csv"));
}

void takeTour(const QString &folder)
{
    QWidget *window = mainWindow();
    require(window && QTest::qWaitForWindowActive(window), "see the window");
    require(addMaterial(folder + QStringLiteral("/catalogue")), "add the files of another app");

    Tour tour(folder, window);
    tour.start();
    tour.lookAround();
    tour.editAnApp();
    tour.addAnApp();
    tour.listItsFiles();
    tour.describeIt();
    tour.publish();
    // The program ends by itself now; its exit code would be the same before the end of the tour.
    require(QFile(QDir::homePath() + QStringLiteral("/tour-finished")).open(QIODevice::WriteOnly), "finish");
    std::printf("Apps.csv, Apps.json and the pictures are in %s\n", qPrintable(folder));
}

} // namespace

class TourPlugin : public QGenericPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QGenericPluginFactoryInterface_iid FILE "tour.json")

public:
    /// Comes before the window, which finds the stored project; the tour begins when the window waits for its user.
    QObject *create(const QString &key, const QString &options) override;
};

QObject *TourPlugin::create(const QString & /*key*/, const QString & /*options*/)
{
    usualHandler = qInstallMessageHandler(endWhenFatal);
    // The traces of the window and the complaints of the offscreen platform would hide the steps.
    QLoggingCategory::setFilterRules(QStringLiteral("default.debug=false\ndefault.warning=false"));
    QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);

    const QString catalogue = qEnvironmentVariable("CATALIST_TOUR_CATALOGUE");
    const QString folder = qEnvironmentVariable("CATALIST_TOUR_FOLDER");
    if (catalogue.isEmpty() || folder.isEmpty())
        endHere("nobody says on which catalogue, and where to leave the results");
    const QString results = QDir(folder).absolutePath();
    prepare(QDir(catalogue).absolutePath(), results);

    auto *beginning = new QTimer;
    beginning->setSingleShot(true);
    connect(beginning, &QTimer::timeout, beginning, [results] { takeTour(results); });
    beginning->start(0);
    return beginning;
}

#include "tour.moc"
