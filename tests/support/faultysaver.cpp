// Saves on demand, each time in a process of its own with the ordered fault.
//   faultysaver (project|description|index|draft) PATH [SOURCE]
// A line "FOLDER|CALL|FAULT|ERRNO" on standard input orders a save of the new content, or of what is loaded from the
// source; the source of an index is the folder of its catalogue. The answer is a line "saved|...", "failed|..." or
// "killed", where ... is "modified" or "unmodified" and the names of the calls. Unless it was killed, the process then
// waits for another line, saves once more without a fault, and answers as before.

#include "faults.h"
#include "history/drafts.h"
#include "history/history.h"
#include "io/repositoryindex.h"
#include "io/wholefile.h"
#include "model/appconfigmodel.h"

#include <QCoreApplication>

#include <cstdio>
#include <dlfcn.h>
#include <iostream>
#include <optional>
#include <string>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

constexpr uid_t NOBODY = 65534;
const QByteArray NEW_DESCRIPTION = "<p>new</p>\r\n<p>and longer</p>\n";

// Staged files are linked from /proc/self/fd, which is closed after a change of user unless the process is dumpable.
void becomeOrdinaryUser()
{
    if (::getuid() == 0 && ::setresuid(NOBODY, NOBODY, NOBODY) != 0)
        qFatal("Cannot become an ordinary user");
    if (::prctl(PR_SET_DUMPABLE, 1) != 0)
        qFatal("Cannot reach the files of the process");
}

template <typename Function> Function found(const char *name)
{
    void *symbol = ::dlsym(RTLD_DEFAULT, name);
    if (!symbol)
        qFatal("%s is not preloaded", name);
    return reinterpret_cast<Function>(symbol);
}

class Saver
{
public:
    Saver(QString what, QString target, QString from)
        : kind(std::move(what)), path(std::move(target)), source(std::move(from))
    {
        model.createNew();
        model.createNew();
        model.apps[1].author = u"New"_s;
        model.apps[1].files = kind == "index"_L1 ? QStringList{u"files"_s} : QStringList();
    }

    bool save()
    {
        if (kind == "project"_L1)
            return (source.isEmpty() || model.load(source)) && model.save(path);
        if (kind == "index"_L1) {
            IndexReport report;
            model.saveRepo(path, u"http://x/"_s, source, &report);
            return !report.error;
        }
        if (kind == "draft"_L1) {
            drafts.keep(path, NEW_DESCRIPTION);
            return true;
        }
        const auto text =
            source.isEmpty() ? FileResult<QByteArray>(NEW_DESCRIPTION) : readWholeFile(source, LARGEST_DESCRIPTION);
        return text && History::saveFile(path, *text);
    }

    /// Leaves what an earlier save of this process would have left.
    void prepare()
    {
        if (kind == "draft"_L1)
            drafts.keep(path, "an earlier draft");
    }

    [[nodiscard]] const char *mark() const { return model.modified ? "modified" : "unmodified"; }

private:
    QString kind;
    QString path;
    QString source;
    AppConfigModel model;
    History::Drafts drafts;
};

bool nextLine(QStringList *parts)
{
    std::string line;
    if (!std::getline(std::cin, line))
        return false;
    *parts = QString::fromStdString(line).split(u'|');
    return true;
}

void answer(bool saved, const Saver &saver, const char *calls)
{
    std::printf("%s|%s|%s\n", saved ? "saved" : "failed", saver.mark(), calls);
    std::fflush(stdout);
}

[[noreturn]] void saveTwice(Saver &saver, const QStringList &order)
{
    const auto arm = found<ArmFaults>("armFaults");
    const auto disarm = found<DisarmFaults>("disarmFaults");
    const QByteArray folder = order.value(0).toUtf8();
    saver.prepare();
    arm(folder.constData(), order.value(1).toInt(), static_cast<Fault>(order.value(2).toInt()), order.value(3).toInt());
    const bool saved = saver.save();
    answer(saved, saver, disarm());

    QStringList ignored;
    if (!nextLine(&ignored))
        ::_exit(2);
    const bool savedAgain = saver.save();
    answer(savedAgain, saver, "");
    ::_exit(0);
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    becomeOrdinaryUser();
    const QStringList arguments = QCoreApplication::arguments();
    Saver saver(arguments.value(1), arguments.value(2), arguments.value(3));
    QStringList order;
    while (nextLine(&order)) {
        const pid_t process = ::fork();
        if (process == 0)
            saveTwice(saver, order);
        int status = 0;
        if (::waitpid(process, &status, 0) != process)
            return 1;
        if (WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) {
            std::puts("killed");
            std::fflush(stdout);
        } else if (status != 0) {
            return 1;
        }
    }
    return 0;
}
