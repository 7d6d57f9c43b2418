#include "dialoganswers.h"
#include "io/projectfile.h"
#include "scratchhome.h"
#include "ui/mainwindow.h"
#include "windowfixture.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDateEdit>
#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRandomGenerator>
#include <QTabWidget>
#include <QTableWidget>

#include <algorithm>
#include <array>
#include <numeric>
#include <optional>
#include <random>

using namespace Qt::StringLiterals;

namespace {

constexpr quint32 FIXED_SEED = 19850712;
constexpr int DEFAULT_ACTIONS = 1500;
constexpr qint64 DEFAULT_MILLISECONDS = 20000;
constexpr qsizetype REPORTED_ACTIONS = 20;

const QString LOAD_ERROR = u"Error loading <b>Apps.csv</b> settings"_s;
const QString SAVE_ERROR = u"Error saving <b>Apps.csv</b> settings"_s;
const QString NO_PROJECT = u"First create a new project"_s;
const QString SAVE_FIRST = u"Save application data before quitting?"_s;
const QString OUTSIDE = u"The file must be inside the project directory or subdirectory."_s;
const QString DELETE_DESCRIPTION = u"Delete from app configuration?<br>The file will be preserved."_s;
const QString EXISTING_CODE = u"Cannot insert new description file. Language \"%1\" already exists."_s;
const QString UNREADABLE = u"Error loading <b>%1</b>"_s;
const QString LANGUAGE_QUESTION = u"Select language code:"_s;
/// Stands for the questions of the toolkit's own file dialogs, whose words are not ours.
const QString ANY_TEXT = u"*"_s;

const QByteArray NEW_DESCRIPTION = "<!DOCTYPE html>\n<html>\n<head>\n  <meta charset=\"utf-8\">\n"
                                   "  <title>#Title</title>\n</head>\n<body>\n  <h1>#App Name</h1>\n  <p></p>\n"
                                   "  <h2>#Description</h2>\n  <p>...</p>\n  <h2>#Usage</h2>\n  <ol>\n    <li>\n"
                                   "      <p>...</p>\n    </li>\n  </ol>\n</body>\n</html>\n";

const QStringList PROJECTS{u"one"_s, u"one more"_s, u"three"_s, u"cwd"_s};

struct BoxTypes
{
    const char *box;
    QList<TxType> shownFrom;
    QList<TxType> stored;
};

const QList<BoxTypes> BOXES{
    {"kr7Compatible", {TxKr7, TxKr7Alt}, {TxKr7}},
    {"vl7Compatible", {TxVl7}, {TxVl7}},
    {"vl5Compatible", {TxVl5}, {TxVl5}},
    {"kr5Compatible", {TxKr5}, {TxKr5}},
    {"kr9Compatible", {TxKr9, TxKr9B}, {TxKr9, TxKr9B}},
    {"vl9Compatible", {TxVl9, TxVl9B}, {TxVl9, TxVl9B}},
    {"vl3Compatible", {TxVl3, TxVl3B}, {TxVl3, TxVl3B}},
    {"kr7IICompatible", {TxKr7II, TxKr7IIB}, {TxKr7II, TxKr7IIB}},
    {"vl7IICompatible", {TxVl7II, TxVl7IIB}, {TxVl7II, TxVl7IIB}},
    {"kr5IICompatible", {TxKr5II, TxKr5IIB}, {TxKr5II, TxKr5IIB}},
    {"vl5IICompatible", {TxVl5II, TxVl5IIB}, {TxVl5II, TxVl5IIB}},
    {"kr9g2Compatible", {TxVl9G2}, {TxKr9G2}},
    {"vl9g2Compatible", {TxVl9G2}, {TxVl9G2}},
};

const std::array<std::array<const char *, 3>, 3> LANGUAGE_ROWS{{
    {"appName1_2", "lng1_2", "check1_2"},
    {"appName1_3", "lng1_3", "check1_3"},
    {"appName1_4", "lng1_4", "check1_4"},
}};
const QStringList ROW_LANGUAGES{u"cz"_s, u"de"_s, u"fr"_s, u"it"_s};
const std::array<const char *, 5> TEXT_FIELDS{"appName1_1", "author", "version", "icon", "minTxVersion"};

QString shownName(bool checked)
{
    return checked ? u"on"_s : u"off"_s;
}

/// A title or text that was, or was not, shown.
struct Said
{
    QString kind;
    QString text;
};

/// Does things to the window, and keeps beside it what the project, the editor and the disk must hold.
class Monkey
{
public:
    explicit Monkey(quint32 seed);
    ~Monkey();
    Q_DISABLE_COPY_MOVE(Monkey)

    /// What does not agree after one more action; empty when everything does.
    QString step();
    /// Leaves the window for good.
    QString leave();
    [[nodiscard]] QString lastActions() const { return log.join(u'\n'); }

private:
    using Action = void (Monkey::*)();
    struct Weighted
    {
        const char *name;
        Action action;
        int weight;
    };

    int number(int end) { return static_cast<int>(random() % static_cast<quint32>(end)); }
    bool chance(int percent) { return number(100) < percent; }
    QString oneOf(const QStringList &list) { return list.at(number(static_cast<int>(list.size()))); }
    QString someText();
    QString someCode();

    void note(const QString &what) { log.last() += u' ' + what; }
    void expect(const QString &kind, const QString &text) { expected.append({kind, text}); }
    template <typename T> T *get(const char *name) const { return child<T>(*window, name); }
    void press(const char *button) { get<QAbstractButton>(button)->click(); }
    [[nodiscard]] bool tabsUsable() const { return index >= 0; }
    [[nodiscard]] bool hasCurrent() const { return index >= 0 && index < records.size(); }
    [[nodiscard]] AppConfig current() const { return records.value(index); }
    [[nodiscard]] QString projectFolder() const { return QFileInfo(appPath).absoluteDir().canonicalPath(); }

    void startWindow();
    void writeProjects();

    void selectApp();
    void selectNoApp();
    void moveInList();
    void editField();
    void editBox();
    void editLanguage();
    void editDate();
    void apply();
    void newApp();
    void deleteApp();
    void addFile();
    void addFolder();
    void deleteFile();
    void pickIcon();
    void newDescription();
    void openDescription();
    void deleteDescription();
    void selectDescription();
    void typeInEditor();
    void editCode();
    void autoSave();
    void switchTab();
    void editRepository();
    void newProject();
    void openProject();
    void save();
    void publish();
    void close();
    void breakProjectFile();

    // What the actions do to what is kept here.
    void refreshed();
    void rowSelected(int row);
    void storeEditor();
    void closeEditor();
    void loaded(const QString &path);
    void cleared();
    void savedProject();

    bool answerLanguage();
    QString answerSaveDialog(const QStringList &paths);
    QString answerOpenDialog(const QStringList &paths);
    void cancelFileDialog();
    QStringList descriptionFiles();
    void addPicked(const char *button, const QStringList &paths);

    [[nodiscard]] QStringList fields() const;
    [[nodiscard]] QStringList fieldsOf(const AppConfig &app) const;
    [[nodiscard]] QString difference() const;
    [[nodiscard]] QString dialogDifference() const;
    [[nodiscard]] QString editorDifference() const;

    std::mt19937 random;
    QStringList log;
    Folder folder;
    QString folderBefore = QDir::currentPath();
    std::unique_ptr<DialogAnswers> dialogs = std::make_unique<DialogAnswers>();
    std::unique_ptr<MainWindow> window;
    int names = 0;

    QList<AppConfig> records;
    int index = -1;
    bool modified = false;
    QString appPath;
    QString repository;
    QStringList shownFields;
    int tableRow = -1;
    QString openFile;
    QString editorText;
    std::optional<bool> autoSaveLit; ///< unknown where emptying an empty editor may or may not count as an edit
    QHash<QString, QByteArray> disk;
    QList<Said> expected;
    QString complaint;
};

Monkey::Monkey(quint32 seed) : random(seed)
{
    clearSettings();
    writeProjects();
    QDir::setCurrent(folder.path(u"cwd"_s));
    log.append(u"start"_s);
    startWindow();
}

Monkey::~Monkey()
{
    QDir::setCurrent(folderBefore);
}

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
    autoSaveLit.reset();
    // Only what the window starts with says what a language box shows before the first app.
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

QString Monkey::someText()
{
    static const QStringList texts{u""_s,    u"1.2"_s,     u"5.3"_s,   u"a;b"_s,  u"say \"x\""_s, u"comma, comma"_s,
                                   u"Zoë"_s, u"{}"_s,      u"plain"_s, u"a\\b"_s, u"<b>"_s,       u"   "_s,
                                   u"1.x"_s, u"0007.008"_s};
    return oneOf(texts);
}

QString Monkey::someCode()
{
    static const QStringList codes{u"cz"_s, u"DE"_s, u"en"_s, u"fr"_s, u"it"_s, u"pl"_s, u"pT-br"_s, u"e\""_s};
    return oneOf(codes);
}

QStringList Monkey::fields() const
{
    QStringList texts;
    for (const char *name : TEXT_FIELDS)
        texts.append(get<QLineEdit>(name)->text());
    texts.append(get<QDateEdit>("publicationDate")->date().toString(Qt::ISODate));
    for (const BoxTypes &row : BOXES)
        texts.append(shownName(get<QCheckBox>(row.box)->isChecked()));
    for (const auto &[name, language, used] : LANGUAGE_ROWS) {
        const bool on = get<QCheckBox>(used)->isChecked();
        texts += {get<QLineEdit>(name)->text(), get<QComboBox>(language)->currentText(), shownName(on)};
        // Seen from the tab, whose own state is another matter.
        const auto *page = get<QWidget>("tabWidget");
        texts += {shownName(get<QLineEdit>(name)->isEnabledTo(page)),
                  shownName(get<QComboBox>(language)->isEnabledTo(page))};
    }
    return texts;
}

QStringList Monkey::fieldsOf(const AppConfig &app) const
{
    QStringList texts{app.names.value(u"en"_s), app.author, app.version.toString(), app.icon};
    texts.append(
        u"%1.%2"_s.arg(app.minTxVersion.segmentAt(0)).arg(app.minTxVersion.segmentAt(1), 2, 10, QLatin1Char('0')));
    texts.append((app.date.isValid() ? app.date : QDate(2000, 1, 1)).toString(Qt::ISODate));
    for (const BoxTypes &row : BOXES) {
        const bool on = std::any_of(row.shownFrom.begin(), row.shownFrom.end(),
                                    [&app](TxType type) { return app.hardware.contains(TX_IDS[type]); });
        texts.append(shownName(on));
    }
    QStringList codes = app.names.keys();
    codes.removeAll(u"en"_s);
    for (int row = 0; row < 3; ++row) {
        const QString code = codes.value(row);
        const bool on = row < codes.size();
        QString language = ROW_LANGUAGES.at(row);
        if (on) // a language that the box does not offer leaves it alone
            language = ROW_LANGUAGES.contains(code) ? code : shownFields.value(texts.size() + 1);
        texts += {on ? app.names.value(code) : QString(), language, shownName(on), shownName(on), shownName(on)};
    }
    return texts;
}

void Monkey::refreshed()
{
    storeEditor();
    closeEditor();
    tableRow = -1;
    autoSaveLit = false;
    shownFields = fieldsOf(current());
}

void Monkey::storeEditor()
{
    autoSaveLit = false;
    if (!openFile.isEmpty())
        disk.insert(openFile, editorText.toUtf8());
}

void Monkey::closeEditor()
{
    openFile.clear();
    editorText.clear();
}

void Monkey::rowSelected(int row)
{
    if (row == tableRow)
        return;
    tableRow = row;
    storeEditor();
    closeEditor();
    autoSaveLit = false;
    const QString path = projectFolder() + u'/' + std::next(current().descriptions.cbegin(), row).value();
    const QString real = QFileInfo(path).canonicalFilePath();
    if (disk.contains(real)) {
        openFile = real;
        editorText = QString::fromUtf8(disk.value(real));
    } else {
        expect(u"QMessageBox"_s, UNREADABLE.arg(path));
        dialogs->press(QMessageBox::Ok);
    }
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

void Monkey::selectApp()
{
    auto *list = get<QListWidget>("listApps");
    if (list->count() == 0)
        return;
    const int row = number(list->count());
    note(QString::number(row));
    const bool changes = row != list->currentRow();
    if (changes) {
        index = row;
        refreshed();
    }
    clickCell(list, row);
}

void Monkey::selectNoApp()
{
    auto *list = get<QListWidget>("listApps");
    if (list->currentRow() < 0)
        return;
    index = -1;
    refreshed();
    list->setCurrentRow(-1);
}

void Monkey::moveInList()
{
    static const std::array<Qt::Key, 4> keys{Qt::Key_Up, Qt::Key_Down, Qt::Key_Home, Qt::Key_End};
    auto *list = get<QListWidget>("listApps");
    const int before = list->currentRow();
    QTest::keyClick(list, keys.at(static_cast<size_t>(number(4))));
    if (list->currentRow() != before) {
        note(u"to %1"_s.arg(list->currentRow()));
        index = list->currentRow();
        refreshed();
    }
}

void Monkey::editField()
{
    if (!tabsUsable())
        return;
    const int field = number(static_cast<int>(TEXT_FIELDS.size()));
    const QString text = someText();
    note(u"%1 to \"%2\""_s.arg(QLatin1String(TEXT_FIELDS.at(static_cast<size_t>(field))), text));
    get<QLineEdit>(TEXT_FIELDS.at(static_cast<size_t>(field)))->setText(text);
    shownFields[field] = text;
}

void Monkey::editBox()
{
    if (!tabsUsable())
        return;
    const int box = number(static_cast<int>(BOXES.size()));
    note(QLatin1String(BOXES.at(box).box));
    press(BOXES.at(box).box);
    QString &shown = shownFields[static_cast<qsizetype>(TEXT_FIELDS.size()) + 1 + box];
    shown = shownName(shown == shownName(false));
}

void Monkey::editLanguage()
{
    if (!tabsUsable())
        return;
    const int row = number(3);
    const auto &[name, language, used] = LANGUAGE_ROWS.at(static_cast<size_t>(row));
    const qsizetype first = static_cast<qsizetype>(TEXT_FIELDS.size()) + 1 + BOXES.size() + row * 5LL;
    if (!get<QCheckBox>(used)->isChecked() || chance(20)) {
        note(QLatin1String(used));
        press(used);
        for (const int part : {2, 3, 4})
            shownFields[first + part] = shownName(get<QCheckBox>(used)->isChecked());
    } else if (chance(50)) {
        const int choice = number(static_cast<int>(ROW_LANGUAGES.size()));
        note(QLatin1String(language));
        get<QComboBox>(language)->setCurrentIndex(choice);
        shownFields[first + 1] = ROW_LANGUAGES.at(choice);
    } else {
        const QString text = someText();
        note(QLatin1String(name));
        get<QLineEdit>(name)->setText(text);
        shownFields[first] = text;
    }
}

void Monkey::editDate()
{
    if (!tabsUsable())
        return;
    const QDate date = QDate(1990, 1, 1).addDays(number(20000));
    get<QDateEdit>("publicationDate")->setDate(date);
    shownFields[static_cast<qsizetype>(TEXT_FIELDS.size())] = date.toString(Qt::ISODate);
}

void Monkey::apply()
{
    if (hasCurrent()) {
        AppConfig &app = records[index];
        auto field = shownFields.cbegin();
        app.names = {{u"en"_s, *field++}};
        app.author = *field++;
        app.version = QVersionNumber::fromString(*field++);
        app.icon = *field++;
        app.minTxVersion = QVersionNumber::fromString(*field++);
        app.date = QDate::fromString(*field++, Qt::ISODate);
        app.hardware.clear();
        for (const BoxTypes &row : BOXES) {
            if (*field++ == shownName(false))
                continue;
            for (const TxType type : row.stored)
                app.hardware.append(TX_IDS[type]);
        }
        for (int row = 0; row < 3; ++row, field += 5) {
            if (field[2] == shownName(true))
                app.names.insert(field[1], field[0]);
        }
        modified = true;
        refreshed();
    }
    press("applyButton");
}

void Monkey::newApp()
{
    AppConfig app;
    app.names.insert(u"en"_s, u"[New App]"_s);
    records.append(app);
    index = static_cast<int>(records.size()) - 1;
    modified = true;
    refreshed();
    press("btnNewApp");
}

void Monkey::deleteApp()
{
    if (hasCurrent())
        records.removeAt(index);
    index = std::min(index, static_cast<int>(records.size()) - 1);
    modified = true;
    refreshed();
    press("btnDeleteApp");
}

void Monkey::addPicked(const char *button, const QStringList &paths)
{
    if (!tabsUsable())
        return;
    expect(u"FileDialog"_s, {});
    const QString path = oneOf(paths);
    // The picker shows another folder when that of the project is gone.
    const bool picks = chance(60) && QFileInfo(appPath).absoluteDir().exists();
    note(picks ? path : u"cancelled"_s);
    if (picks)
        dialogs->pickInProject(path);
    else
        dialogs->cancel();
    if (hasCurrent()) {
        if (picks)
            records[index].files.append(path);
        modified = true;
    }
    refreshed();
    press(button);
}

void Monkey::addFile()
{
    addPicked("btnAddFile", {u"main.lua"_s, u"lib/util.lua"_s, u"doc/de.html"_s});
}

void Monkey::addFolder()
{
    addPicked("btnAddFolder", {u"lib"_s, u"img"_s, u"doc"_s});
}

void Monkey::deleteFile()
{
    if (!tabsUsable())
        return;
    auto *list = get<QListWidget>("listAppFiles");
    const int row = number(list->count() + 1) - 1;
    list->setCurrentRow(row);
    note(QString::number(row));
    if (hasCurrent()) {
        if (row >= 0)
            records[index].files.removeAt(row);
        modified = true;
    }
    refreshed();
    press("btnDeleteFile");
}

void Monkey::pickIcon()
{
    if (!tabsUsable())
        return;
    expect(u"FileDialog"_s, {});
    if (chance(50) && QFileInfo(appPath).absoluteDir().exists()) {
        dialogs->pickInProject(u"img/icon.png"_s);
        shownFields[3] = u"img/icon.png"_s;
    } else {
        note(u"cancelled"_s);
        dialogs->cancel();
    }
    press("iconBtn");
}

/// Whether the file dialog comes next.
bool Monkey::answerLanguage()
{
    expect(u"QInputDialog"_s, LANGUAGE_QUESTION);
    if (chance(10)) {
        note(u"cancelled"_s);
        dialogs->cancel();
        return false;
    }
    const QString code = chance(5) ? QString() : someCode();
    note(u"\"%1\""_s.arg(code));
    dialogs->enterText(code);
    if (code.isEmpty())
        return false;
    log.last() += u' ';
    if (current().descriptions.contains(code.toLower())) {
        expect(u"QMessageBox"_s, EXISTING_CODE.arg(code.toLower()));
        dialogs->press(QMessageBox::Ok);
        return false;
    }
    return true;
}

void Monkey::cancelFileDialog()
{
    note(u"cancelled"_s);
    expect(u"QFileDialog"_s, {});
    dialogs->cancel();
}

/// The file that the dialog gives back; empty when it is left without one.
QString Monkey::answerSaveDialog(const QStringList &paths)
{
    if (chance(15)) {
        cancelFileDialog();
        return {};
    }
    QString path = oneOf(paths);
    note(path);
    expect(u"QFileDialog"_s, {});
    if (!QFileInfo::exists(path)) {
        dialogs->chooseFile(path);
        return path;
    }
    expect(u"QMessageBox"_s, ANY_TEXT);
    if (chance(75)) {
        dialogs->chooseFile(path);
        dialogs->press(QMessageBox::Yes);
        return path;
    }
    note(u"not replaced"_s);
    dialogs->answer([path](QWidget *dialog) {
        auto *edit = child<QLineEdit>(*dialog, "fileNameEdit");
        edit->setText(path);
        QTest::keyClick(edit, Qt::Key_Return);
        qobject_cast<QDialog *>(dialog)->reject();
    });
    dialogs->press(QMessageBox::No);
    return {};
}

QString Monkey::answerOpenDialog(const QStringList &paths)
{
    if (chance(15)) {
        cancelFileDialog();
        return {};
    }
    QString path = oneOf(paths);
    note(path);
    expect(u"QFileDialog"_s, {});
    if (QFileInfo::exists(path)) {
        dialogs->chooseFile(path);
        return path;
    }
    note(u"missing"_s);
    expect(u"QMessageBox"_s, ANY_TEXT);
    dialogs->answer([path](QWidget *dialog) {
        auto *edit = child<QLineEdit>(*dialog, "fileNameEdit");
        edit->setText(path);
        QTest::keyClick(edit, Qt::Key_Return);
        qobject_cast<QDialog *>(dialog)->reject();
    });
    dialogs->press(QMessageBox::Ok);
    return {};
}

/// In the project, in a folder whose name begins alike, and elsewhere.
QStringList Monkey::descriptionFiles()
{
    const QString here = projectFolder();
    return {
        here + u"/doc/cz.html"_s,
        here + u"/doc/en.html"_s,
        here + u"/doc/made %1.html"_s.arg(number(10)),
        here + u"/made %1.html"_s.arg(number(10)),
        here + u"/none/made.html"_s,
        folder.path(u"one more/doc/de.html"_s),
        folder.path(u"three/doc/fr.html"_s),
    };
}

void Monkey::newDescription()
{
    if (!tabsUsable())
        return;
    // Without a current app there is nothing to describe, and nothing is asked.
    if (hasCurrent() && answerLanguage()) {
        const QString code = log.last().section(u'"', 1, -2).toLower();
        const QString here = projectFolder();
        const QString path = answerSaveDialog(descriptionFiles());
        if (!path.isEmpty() && (here.isEmpty() || !path.startsWith(here))) {
            expect(u"QMessageBox"_s, OUTSIDE);
            dialogs->press(QMessageBox::Ok);
        } else if (!path.isEmpty()) {
            records[index].descriptions.insert(code, QDir(here).relativeFilePath(path));
            modified = true;
            refreshed();
            if (QFileInfo(path).dir().exists())
                disk.insert(path, NEW_DESCRIPTION);
        }
    }
    press("btnNewDescription");
}

void Monkey::openDescription()
{
    if (!tabsUsable())
        return;
    if (hasCurrent() && answerLanguage()) {
        const QString code = log.last().section(u'"', 1, -2).toLower();
        const QString here = projectFolder();
        const QString path = answerOpenDialog(descriptionFiles());
        if (!path.isEmpty() && (here.isEmpty() || !path.startsWith(here))) {
            expect(u"QMessageBox"_s, OUTSIDE);
            dialogs->press(QMessageBox::Ok);
        } else if (!path.isEmpty()) {
            records[index].descriptions.insert(code, QDir(here).relativeFilePath(path));
            modified = true;
            refreshed();
        }
    }
    press("btnOpenDescription");
}

void Monkey::deleteDescription()
{
    if (!tabsUsable())
        return;
    if (tableRow >= 0) {
        expect(u"QMessageBox"_s, DELETE_DESCRIPTION);
        if (chance(50))
            dialogs->press(QMessageBox::Yes);
        else
            dialogs->pressKey(Qt::Key_Escape);
        if (hasCurrent()) {
            records[index].descriptions.remove(std::next(current().descriptions.cbegin(), tableRow).key());
            modified = true;
        }
        refreshed();
    }
    press("btnDeleteDescription");
}

void Monkey::selectDescription()
{
    auto *table = get<QTableWidget>("tableWidget");
    if (!tabsUsable() || table->rowCount() == 0)
        return;
    const int row = number(table->rowCount());
    note(QString::number(row));
    rowSelected(row);
    if (chance(50)) {
        showTab(*window, "tabDescription");
        clickCell(table, row, number(2));
    } else {
        table->setCurrentCell(row, number(2));
    }
}

void Monkey::typeInEditor()
{
    static const QStringList pieces{u"x"_s,       u"<b>"_s,       u"</b>"_s,   u"\n"_s,    u"<img src=\"a.png\">"_s,
                                    u"<table>"_s, u"&amp;&#0;"_s, u"Žluť 🚀"_s, u"<!-- "_s, u"<ul><li>"_s,
                                    u"</p>"_s,    u"<h1>"_s};
    auto *editor = get<QPlainTextEdit>("descriptionEdit");
    if (!tabsUsable() || !editor->isEnabled())
        return;
    if (chance(30)) {
        showTab(*window, "tabDescription");
        QTest::keyClick(editor, 'k');
        if (openFile.isEmpty())
            return;
        editorText.insert(editor->textCursor().position() - 1, u'k');
    } else if (openFile.isEmpty()) {
        return;
    } else if (editorText.size() > 2000) {
        editor->selectAll();
        editor->textCursor().removeSelectedText();
        editorText.clear();
    } else {
        const QString piece = oneOf(pieces);
        QTextCursor cursor = editor->textCursor();
        cursor.movePosition(chance(50) ? QTextCursor::Start : QTextCursor::End);
        editor->setTextCursor(cursor);
        editorText.insert(cursor.position(), piece);
        editor->insertPlainText(piece);
    }
    autoSaveLit = true;
}

void Monkey::editCode()
{
    auto *table = get<QTableWidget>("tableWidget");
    if (!tabsUsable() || table->rowCount() == 0)
        return;
    const int row = number(table->rowCount());
    const QString code = someCode();
    note(u"of %1 to %2"_s.arg(row).arg(code));
    const bool typed = chance(50);
    if (typed) {
        rowSelected(row);
        showTab(*window, "tabDescription");
        clickCell(table, row);
    }

    const QStringList codes = current().descriptions.keys();
    // What a cell already holds is no change, however it was entered.
    if (codes.at(row) != code) {
        QMap<QString, QString> descriptions;
        for (int i = 0; i < codes.size(); ++i)
            descriptions.insert(i == row ? code : codes.at(i), current().descriptions.value(codes.at(i)));
        records[index].descriptions = descriptions;
        modified = true;
        refreshed();
    }
    if (typed) {
        QTest::keyClick(table, Qt::Key_F2);
        auto *edit = table->viewport()->findChild<QLineEdit *>();
        if (!edit) {
            complaint = u"The code cannot be edited"_s;
            return;
        }
        edit->setText(code);
        const QPointer<QLineEdit> whileEditing = edit;
        QTest::keyClick(edit, Qt::Key_Return);
        if (!QTest::qWaitFor([&whileEditing] { return !whileEditing; }))
            complaint = u"The editor of the code does not close"_s;
    } else if (codes.at(row) != code) {
        table->item(row, 0)->setText(code);
    }
}

void Monkey::autoSave()
{
    auto *button = get<QPushButton>("btnAutosave");
    if (!tabsUsable() || !button->isEnabled())
        return;
    storeEditor();
    button->click();
}

void Monkey::switchTab()
{
    static const std::array<const char *, 3> tabs{"tabGeneral", "tabAppFiles", "tabDescription"};
    showTab(*window, tabs.at(static_cast<size_t>(number(3))));
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
    autoSaveLit.reset();
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
            complaint = u"The project file does not hold the records"_s;
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
        complaint = u"Nothing was published"_s;
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
        complaint = u"What was published is not what the records say"_s;
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
        complaint = u"The window did not close, or did not stay"_s;
        return;
    }
    if (!closes)
        return;
    if (const QString wrong = dialogDifference(); !wrong.isEmpty()) {
        complaint = wrong;
        return;
    }
    expected.clear();
    dialogs->shown.clear();
    window.reset();
    if (!QApplication::topLevelWidgets().isEmpty()) {
        complaint = u"A widget outlived the window"_s;
        startWindow();
        return;
    }
    startWindow();
}

/// While nobody looks, so that the next start or opening fails, or finds other apps.
void Monkey::breakProjectFile()
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
                         + QByteArray("{\"en\":\"Again\"};A;1;674;05-03-2024;{\"en\":\"doc/en.html\",\"fr\":"
                                      "\"doc/fr.html\"};main.lua;;5.01\n")
                               .repeated(number(8)));
    }
}

QString Monkey::step()
{
    static const QList<Weighted> actions{
        {"select an app", &Monkey::selectApp, 10},
        {"select none", &Monkey::selectNoApp, 2},
        {"move in the list", &Monkey::moveInList, 4},
        {"edit a field", &Monkey::editField, 8},
        {"toggle a box", &Monkey::editBox, 6},
        {"edit a language", &Monkey::editLanguage, 6},
        {"edit the date", &Monkey::editDate, 3},
        {"apply", &Monkey::apply, 6},
        {"new app", &Monkey::newApp, 3},
        {"delete app", &Monkey::deleteApp, 2},
        {"add a file", &Monkey::addFile, 1},
        {"add a folder", &Monkey::addFolder, 1},
        {"delete a file", &Monkey::deleteFile, 2},
        {"pick an icon", &Monkey::pickIcon, 1},
        {"new description", &Monkey::newDescription, 3},
        {"open existing description", &Monkey::openDescription, 3},
        {"delete a description", &Monkey::deleteDescription, 2},
        {"select a description", &Monkey::selectDescription, 12},
        {"type", &Monkey::typeInEditor, 12},
        {"edit a code", &Monkey::editCode, 3},
        {"auto-save", &Monkey::autoSave, 3},
        {"switch tabs", &Monkey::switchTab, 3},
        {"edit the repository", &Monkey::editRepository, 1},
        {"new project", &Monkey::newProject, 1},
        {"open a project", &Monkey::openProject, 4},
        {"save", &Monkey::save, 4},
        {"publish", &Monkey::publish, 1},
        {"close", &Monkey::close, 2},
        {"change a project file outside", &Monkey::breakProjectFile, 1},
    };
    static const int total = std::accumulate(actions.begin(), actions.end(), 0,
                                             [](int sum, const Weighted &action) { return sum + action.weight; });
    int left = number(total);
    auto chosen = actions.begin();
    while (left >= chosen->weight)
        left -= (chosen++)->weight;

    expected.clear();
    dialogs->shown.clear();
    log.append(QLatin1String(chosen->name));
    if (log.size() > REPORTED_ACTIONS)
        log.removeFirst();
    (this->*chosen->action)();
    return complaint.isEmpty() ? difference() : complaint;
}

QString Monkey::leave()
{
    if (modified)
        dialogs->press(QMessageBox::No);
    const bool closed = window->close();
    window.reset();
    if (!closed || !dialogs->allAnswered())
        return u"The window cannot be left"_s;
    return QApplication::topLevelWidgets().isEmpty() ? QString() : u"A widget outlived the window"_s;
}

QString Monkey::dialogDifference() const
{
    QStringList wanted;
    for (const Said &said : expected)
        wanted.append(said.kind + u": "_s + said.text);
    QStringList shown;
    for (qsizetype i = 0; i < dialogs->shown.size(); ++i) {
        const ShownDialog &dialog = dialogs->shown.at(i);
        const bool anyText = i < expected.size() && expected.at(i).text == ANY_TEXT;
        shown.append(dialog.kind + u": "_s + (anyText ? ANY_TEXT : dialog.text));
    }
    if (shown != wanted)
        return u"Dialogs: %1\nexpected: %2"_s.arg(shown.join(u" | "_s), wanted.join(u" | "_s));
    return dialogs->allAnswered() ? QString() : u"Dialogs and answers do not go together"_s;
}

QString Monkey::editorDifference() const
{
    const auto *editor = get<QPlainTextEdit>("descriptionEdit");
    const bool lit = get<QPushButton>("btnAutosave")->isEnabledTo(get<QWidget>("tabWidget"));
    if (editor->isReadOnly() != openFile.isEmpty())
        return openFile.isEmpty() ? u"A text can be typed without a file"_s : u"The open file cannot be edited"_s;
    if (editor->toPlainText() != editorText)
        return u"The editor holds \"%1\"\nnot \"%2\""_s.arg(editor->toPlainText(), editorText);
    if (autoSaveLit && lit != *autoSaveLit)
        return u"Auto-save is %1"_s.arg(shownName(lit));
    for (auto file = disk.cbegin(); file != disk.cend(); ++file) {
        QFile onDisk(file.key());
        if (!onDisk.open(QIODevice::ReadOnly))
            return file.key() + u" is gone"_s;
        if (const QByteArray bytes = onDisk.readAll(); bytes != file.value())
            return u"%1 holds \"%2\"\nnot \"%3\""_s.arg(file.key(), QString::fromUtf8(bytes),
                                                        QString::fromUtf8(file.value()));
    }
    return {};
}

QString Monkey::difference() const
{
    if (QString wrong = dialogDifference(); !wrong.isEmpty())
        return wrong;
    const QString title = modified ? u"Orva Catalist (*)"_s : u"Orva Catalist"_s;
    if (window->windowTitle() != title)
        return u"The title is \"%1\""_s.arg(window->windowTitle());

    QStringList listed;
    const auto *list = get<QListWidget>("listApps");
    for (int row = 0; row < list->count(); ++row)
        listed.append(list->item(row)->text());
    QStringList wanted;
    for (const AppConfig &app : records)
        wanted.append(app.names.value(u"en"_s));
    if (listed != wanted)
        return u"The list shows %1\nnot %2"_s.arg(listed.join(u" | "_s), wanted.join(u" | "_s));
    if (list->currentRow() != (hasCurrent() ? index : -1))
        return u"The list is at %1, not at %2"_s.arg(list->currentRow()).arg(index);
    if (get<QTabWidget>("tabWidget")->isEnabled() != (index >= 0))
        return u"The tabs are wrongly enabled or disabled at %1"_s.arg(index);
    if (!appPath.isEmpty() && get<QLabel>("appsLbl")->text() != u"Apps (%1): "_s.arg(appPath))
        return u"The label names %1"_s.arg(get<QLabel>("appsLbl")->text());
    if (get<QLineEdit>("repository")->text() != repository)
        return u"The repository is %1"_s.arg(get<QLineEdit>("repository")->text());

    if (const QStringList shown = fields(); shown != shownFields)
        return u"The fields show %1\nnot %2"_s.arg(shown.join(u" | "_s), shownFields.join(u" | "_s));
    QStringList files;
    const auto *fileList = get<QListWidget>("listAppFiles");
    for (int row = 0; row < fileList->count(); ++row)
        files.append(fileList->item(row)->text());
    if (files != current().files)
        return u"The files are %1\nnot %2"_s.arg(files.join(u" | "_s), current().files.join(u" | "_s));

    const auto *table = get<QTableWidget>("tableWidget");
    const QMap<QString, QString> descriptions = current().descriptions;
    QStringList codes;
    QStringList paths;
    for (int row = 0; row < table->rowCount(); ++row) {
        codes.append(table->item(row, 0)->text());
        paths.append(table->item(row, 1)->text());
    }
    if (codes != descriptions.keys() || paths != descriptions.values())
        return u"The table shows %1"_s.arg((codes + paths).join(u" | "_s));
    if (table->currentRow() != tableRow)
        return u"The table is at %1, not at %2"_s.arg(table->currentRow()).arg(tableRow);
    return editorDifference();
}

QtMessageHandler logBefore = nullptr;
QStringList warnings;

// The program traces every path that it opens, and the platform of the tests has no window manager to tell of sizes;
// thousands of such lines would use up what a test may log.
void logOnlyWhatMatters(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    if (type == QtDebugMsg || message.contains(u"propagateSizeHints"_s))
        return;
    // An edited code refills the table while the editor of the cell is still about to close.
    if (type == QtWarningMsg && message.contains(u"editor that does not belong to this view"_s))
        return;
    if (type == QtWarningMsg)
        warnings.append(message);
    logBefore(type, context, message);
}

int actionsPerRound()
{
    bool given = false;
    const int actions = qEnvironmentVariableIntValue("CATALIST_MONKEY_ACTIONS", &given);
    return given ? actions : DEFAULT_ACTIONS;
}

} // namespace

class TestMonkey : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void randomActions_data();
    void randomActions();
};

void TestMonkey::initTestCase()
{
    logBefore = qInstallMessageHandler(logOnlyWhatMatters);
}

void TestMonkey::cleanupTestCase()
{
    qInstallMessageHandler(logBefore);
}

void TestMonkey::randomActions_data()
{
    QTest::addColumn<quint32>("seed");
    const QByteArray given = qgetenv("CATALIST_MONKEY_SEED");
    if (!given.isEmpty()) {
        QTest::newRow("given seed") << given.toUInt();
        return;
    }
    QTest::newRow("fixed seed") << FIXED_SEED;
    QTest::newRow("fresh seed") << QRandomGenerator::system()->generate();
}

void TestMonkey::randomActions()
{
    QFETCH(quint32, seed);
    const int actions = actionsPerRound();
    const bool timed = !qEnvironmentVariableIsSet("CATALIST_MONKEY_ACTIONS");
    qInfo("CATALIST_MONKEY_SEED=%u", seed);
    QElapsedTimer clock;
    clock.start();
    Monkey monkey(seed);
    int done = 0;
    QString wrong;
    while (wrong.isEmpty() && done < actions && !(timed && clock.hasExpired(DEFAULT_MILLISECONDS))) {
        warnings.clear();
        wrong = monkey.step();
        if (wrong.isEmpty() && !warnings.isEmpty())
            wrong = u"Unexpected warning: "_s + warnings.join(u'\n');
        ++done;
    }
    QVERIFY2(wrong.isEmpty(), qPrintable(u"Seed %1, action %2: %3\nThe last actions:\n%4"_s.arg(seed).arg(done).arg(
                                  wrong, monkey.lastActions())));
    QVERIFY2(done >= std::min(actions, 100), QByteArray::number(done).constData());
    wrong = monkey.leave();
    QVERIFY2(wrong.isEmpty(),
             qPrintable(u"Seed %1: %2\nThe last actions:\n%3"_s.arg(seed).arg(wrong, monkey.lastActions())));
    qInfo("%d actions in %lld ms", done, static_cast<long long>(clock.elapsed()));
}

int main(int argc, char *argv[])
{
    // A long round is the wish of whoever asked for it, not a hang.
    const int seconds = actionsPerRound() / 2 + 120;
    if (actionsPerRound() > DEFAULT_ACTIONS)
        qputenv("QTEST_FUNCTION_TIMEOUT", QByteArray::number(seconds * 1000));
    const ScratchHome home;
    const QApplication application(argc, argv);
    TestMonkey test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_monkey.moc"
