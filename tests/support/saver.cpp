// Saves a catalogue, in a process of its own so that it can be killed or limited.
//   once PATH NUMBER        saves one of several catalogues
//   forever PATH            saves two catalogues in turn and says so on standard output
//   limited PATH BYTES      saves while no file may grow beyond a size
//   texts PATH TAG COUNT    replaces a file by large texts, one after the other, of lines "TAG NUMBER"
//   unsaved PATH TAG COUNT  puts such texts into the history as what was never saved
// Ends with 0 when it saved, with 1 when a failure was reported and the changes are still marked as unsaved.

#include "io/history.h"
#include "io/replacefile.h"
#include "model/appconfigmodel.h"

#include <QCoreApplication>

#include <csignal>
#include <cstdio>

#ifdef Q_OS_UNIX
#include <sys/resource.h>
#endif

namespace {

constexpr int APPS = 3000;

void fill(AppConfigModel &model, const QString &number)
{
    model.clear();
    for (int i = 0; i < APPS; ++i) {
        model.createNew();
        model.apps.last().author = QStringLiteral("Author %1 of catalogue %2").arg(i).arg(number);
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
    fill(first, QStringLiteral("1"));
    fill(second, QStringLiteral("2"));
    for (;;) {
        if (save(first, path) != 0 || save(second, path) != 0)
            qFatal("Cannot save");
        std::puts("saved");
        std::fflush(stdout);
    }
}

QByteArray text(const QString &tag, int number)
{
    return QStringLiteral("%1 %2\n").arg(tag).arg(number).toUtf8().repeated(5000);
}

bool replaceByTexts(const QString &path, const QString &tag, int count)
{
    for (int i = 0; i < count; ++i) {
        if (!replaceFile(path, text(tag, i), LineEnds::AsGiven))
            return false;
    }
    return true;
}

void keepTexts(const QString &path, const QString &tag, int count)
{
    for (int i = 0; i < count; ++i)
        keepUnsaved(path, text(tag, i));
}

void limitFileSize(const QString &bytes)
{
#ifdef Q_OS_UNIX
    std::signal(SIGXFSZ, SIG_IGN);
    const rlim_t limit = bytes.toULong();
    const rlimit limits{limit, limit};
    if (::setrlimit(RLIMIT_FSIZE, &limits) != 0)
        qFatal("Cannot limit the size of files");
#else
    Q_UNUSED(bytes)
#endif
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    const QString mode = arguments.value(1);
    const QString path = arguments.value(2);
    if (mode == QLatin1String("forever"))
        saveForever(path);
    if (mode == QLatin1String("texts"))
        return replaceByTexts(path, arguments.value(3), arguments.value(4).toInt()) ? 0 : 1;
    if (mode == QLatin1String("unsaved")) {
        keepTexts(path, arguments.value(3), arguments.value(4).toInt());
        return 0;
    }

    AppConfigModel model;
    fill(model, arguments.value(3));
    if (mode == QLatin1String("limited"))
        limitFileSize(arguments.value(3));
    return save(model, path);
}
