// Saves a catalogue, in a process of its own so that it can be killed or limited.
//   once PATH NUMBER        saves one of several catalogues
//   forever PATH            saves two catalogues in turn and reports each on standard output
//   limited PATH BYTES      saves while no file may grow beyond a size
//   texts PATH TAG COUNT    replaces a file by large texts, one after the other, of lines "TAG NUMBER"
//   unsaved PATH TAG COUNT  keeps such texts in the history as unsaved
// Ends with 0 when it saved, with 1 when a failure was reported and the changes are still marked as unsaved.

#include "filesizelimit.h"
#include "history/history.h"
#include "model/appconfigmodel.h"

#include <QCoreApplication>

#include <cstdio>
#include <optional>

using namespace Qt::StringLiterals;

namespace {

constexpr int APPS = 3000;

void fill(AppConfigModel &model, const QString &number)
{
    model.clear();
    for (int i = 0; i < APPS; ++i) {
        model.createNew();
        model.apps.last().author = u"Author %1 of catalogue %2"_s.arg(i).arg(number);
    }
}

int save(AppConfigModel &model, const QString &path)
{
    if (model.save(path))
        return model.modified ? 2 : 0;
    return model.modified ? 1 : 2;
}

[[noreturn]] void saveForever(const QString &path)
{
    AppConfigModel first;
    AppConfigModel second;
    fill(first, u"1"_s);
    fill(second, u"2"_s);
    for (;;) {
        if (save(first, path) != 0 || save(second, path) != 0)
            qFatal("Cannot save");
        std::puts("saved");
        std::fflush(stdout);
    }
}

QByteArray text(const QString &tag, int number)
{
    return u"%1 %2\n"_s.arg(tag).arg(number).toUtf8().repeated(5000);
}

bool replaceByTexts(const QString &path, const QString &tag, int count)
{
    for (int i = 0; i < count; ++i) {
        if (!History::saveFile(path, text(tag, i)))
            return false;
    }
    return true;
}

void keepTexts(const QString &path, const QString &tag, int count)
{
    for (int i = 0; i < count; ++i)
        History::keepUnsaved(path, text(tag, i));
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    const QString mode = arguments.value(1);
    const QString path = arguments.value(2);
    if (mode == "forever"_L1)
        saveForever(path);
    if (mode == "texts"_L1)
        return replaceByTexts(path, arguments.value(3), arguments.value(4).toInt()) ? 0 : 1;
    if (mode == "unsaved"_L1) {
        keepTexts(path, arguments.value(3), arguments.value(4).toInt());
        return 0;
    }

    AppConfigModel model;
    fill(model, arguments.value(3));
#ifdef Q_OS_UNIX
    std::optional<FileSizeLimit> limit;
    if (mode == "limited"_L1)
        limit.emplace(arguments.value(3).toULong());
#endif
    return save(model, path);
}
