#include "monkey.h"

#include "io/projectfile.h"

#include <QAction>
#include <QApplication>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLineEdit>
#include <QSettings>

using namespace Qt::StringLiterals;

namespace {

const QString SAVE_FIRST = u"Save application data before quitting?"_s;

const QStringList PROJECTS{u"one"_s, u"one more"_s, u"three"_s, u"cwd"_s};

} // namespace

void Monkey::writeProjects()
{
    const QList<QByteArray> contents{
        HEADER
            + "{\"cz\":\"C\",\"de\":\"D\",\"en\":\"First\",\"fr\":\"F\",\"it\":\"I\"};A;1.0;673,3866;05-03-2024;"
              "{\"cz\":\"doc/cz.html\",\"en\":\"doc/en.html\",\"fr\":\"doc/none.html\"};main.lua,lib;img/"
              "icon.png;5.03\n"
              "{\"en\":\"Second\",\"xx\":\"X\"};B;2.0;675,3867;;{\"en\":\"doc/en.html\"};;;5.4\n"
              "{\"de\":\"Ohne\"};;;;06-03-2024;{};;;\n",
        HEADER,
        HEADER
            + "{\"en\":\"Only\"};C;1.2.3;9999;06-03-2024;{\"de\":\"doc/de.html\",\"en\":\"doc/en.html\"};a,b;;0.00\n",
        HEADER,
    };
    for (qsizetype i = 0; i < PROJECTS.size(); ++i) {
        const QString project = PROJECTS.at(i) + u'/';
        folder.write(project + u"Apps.csv"_s, contents.at(i));
        folder.write(project + u"broken.csv"_s, HEADER + "{\"en\":\"Good\"};A;1;1;1;{};;;\n{\"en\":broken};;;;;;\n");
        folder.write(project + u"main.lua"_s, "main");
        folder.write(project + u"lib/util.lua"_s, "util");
        folder.write(project + u"img/icon.png"_s, "not a picture");
        for (const QString &name : {u"cz"_s, u"de"_s, u"en"_s, u"fr"_s}) {
            const QString path = project + u"doc/"_s + name + u".html"_s;
            const QByteArray text = "<p>" + path.toUtf8() + " č <img src=\"../img/icon.png\"></p>\n";
            folder.write(path, text);
            disk.insert(folder.path(path), text);
        }
    }
}

void Monkey::startWindow()
{
    records.clear();
    index = -1;
    modified = false;
    tableRow = -1;
    appPath = QSettings(u"Orva model"_s, u"Catalist"_s).value(u"appPath"_s).toString();
    repository = QSettings(u"Orva model"_s, u"Catalist"_s).value(u"repo"_s, u"http://"_s).toString();
    openFile.clear();
    editorText.clear();
    autoSaveEnabled.reset();
    // What a language box shows before the first app is only known from the window.
    shownFields.clear();
    QList<AppConfig> apps;
    if (!appPath.isEmpty()) {
        if (readProject(appPath, &apps)) {
            records = apps;
        } else {
            expect(u"QMessageBox"_s, LOAD_ERROR);
            dialogs->press(QMessageBox::Ok);
        }
    }
    window = openWindow<MainWindow>();
    shownFields = fields();
}

void Monkey::cleared()
{
    records.clear();
    index = -1;
    modified = false;
    refreshed();
}

void Monkey::loaded(const QString &path)
{
    appPath = path;
    QList<AppConfig> apps;
    if (readProject(path, &apps)) {
        records = apps;
        modified = false;
        if (index >= records.size())
            index = -1;
        refreshed();
    } else {
        expect(u"QMessageBox"_s, LOAD_ERROR);
        dialogs->press(QMessageBox::Ok);
        cleared();
    }
}

void Monkey::savedProject()
{
    if (appPath.isEmpty()) {
        expect(u"QMessageBox"_s, NO_PROJECT);
        dialogs->press(QMessageBox::Ok);
        return;
    }
    storeEditor();
    if (QFileInfo(appPath).dir().exists()) {
        modified = false;
    } else {
        expect(u"QMessageBox"_s, SAVE_ERROR);
        dialogs->press(QMessageBox::Ok);
    }
}

void Monkey::editRepository()
{
    static const QStringList urls{u"http://127.0.0.1"_s, u"http://127.0.0.1/"_s, u""_s, u"x"_s};
    repository = oneOf(urls);
    retype(*window, "repository", repository);
    QTest::keyClick(get<QLineEdit>("repository"), Qt::Key_Return);
    if (!repository.endsWith(u'/'))
        repository += u'/';
}

void Monkey::newProject()
{
    QStringList paths{folder.path(u"gone/Apps.csv"_s)};
    for (const QString &project : PROJECTS)
        paths.append(folder.path(project + u"/Apps.csv"_s));
    const QString path = answerSaveDialog(paths);
    if (!path.isEmpty()) {
        appPath = path;
        cleared();
    }
    get<QAction>("actionNew_project")->trigger();
}

void Monkey::openProject()
{
    QStringList paths{folder.path(u"gone/Apps.csv"_s)};
    for (const QString &project : PROJECTS)
        paths += {folder.path(project + u"/Apps.csv"_s), folder.path(project + u"/Apps.csv"_s),
                  folder.path(project + u"/broken.csv"_s)};
    storeEditor();
    closeEditor();
    tableRow = -1;
    autoSaveEnabled.reset();
    const QString path = answerOpenDialog(paths);
    if (!path.isEmpty())
        loaded(path);
    if (chance(50))
        get<QAction>("actionOpen_project")->trigger();
    else
        clickTool(*window, "actionOpen_project");
}

void Monkey::save()
{
    savedProject();
    clickTool(*window, "actionSave");
    if (!appPath.isEmpty() && QFileInfo(appPath).dir().exists()) {
        QFile file(appPath);
        if (!file.open(QIODevice::ReadOnly) || file.readAll() != projectContent(records))
            problem = u"The project file differs from the records"_s;
    }
}

void Monkey::publish()
{
    savedProject();
    const QString path = answerSaveDialog({folder.path(u"Apps.json"_s), folder.path(u"%1.json"_s.arg(names++))});
    get<QAction>("actionSave_generate_JSON")->trigger();
    if (path.isEmpty())
        return;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        problem = u"Nothing was published"_s;
        return;
    }
    const QJsonArray apps = QJsonDocument::fromJson(file.readAll()).object().value(u"applications"_s).toArray();
    bool same = apps.size() == records.size();
    for (qsizetype i = 0; same && i < apps.size(); ++i) {
        const QJsonObject app = apps.at(i).toObject();
        same = app.value(u"author"_s) == records.at(i).author
               && app.value(u"name"_s).toObject().size() == records.at(i).names.size()
               && app.value(u"previewIcon"_s) == repository + records.at(i).icon;
    }
    if (!same)
        problem = u"The index differs from the records"_s;
}

void Monkey::close()
{
    bool closes = true;
    bool asked = modified;
    bool saves = false;
    if (asked) {
        expect(u"QMessageBox"_s, SAVE_FIRST);
        switch (number(4)) {
        case 0:
            dialogs->press(QMessageBox::Yes);
            saves = true;
            break;
        case 1:
            dialogs->press(QMessageBox::No);
            break;
        case 2:
            dialogs->press(QMessageBox::Cancel);
            closes = false;
            break;
        default:
            dialogs->pressKey(Qt::Key_Escape);
            closes = false;
        }
    }
    if (saves)
        savedProject();
    note(closes ? (saves ? u"with a save"_s : u"at once"_s) : u"cancelled"_s);
    if (window->close() != closes) {
        problem = u"The window closed or stayed open against expectation"_s;
        return;
    }
    if (!closes)
        return;
    if (const QString wrong = dialogDifference(); !wrong.isEmpty()) {
        problem = wrong;
        return;
    }
    expected.clear();
    dialogs->shown.clear();
    window.reset();
    if (!QApplication::topLevelWidgets().isEmpty()) {
        problem = u"A widget outlived the window"_s;
        startWindow();
        return;
    }
    startWindow();
}

/// From outside, so that the next start or opening fails, or finds other apps.
void Monkey::changeProjectFile()
{
    const QString project = oneOf(PROJECTS);
    note(project);
    switch (number(3)) {
    case 0:
        QFile::remove(folder.path(project + u"/Apps.csv"_s));
        break;
    case 1:
        folder.write(project + u"/Apps.csv"_s, "broken\n");
        break;
    default:
        folder.write(project + u"/Apps.csv"_s,
                     HEADER
                         + "{\"en\":\"Again\"};A;1;674;05-03-2024;{\"en\":\"doc/en.html\",\"fr\":"
                           "\"doc/fr.html\"};main.lua;;5.01\n"_ba.repeated(number(8)));
    }
}
