#include "monkey.h"

#include <QApplication>

#include <numeric>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype REPORTED_ACTIONS = 20;

} // namespace

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
        {"change a project file outside", &Monkey::changeProjectFile, 1},
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
    return problem.isEmpty() ? difference() : problem;
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
