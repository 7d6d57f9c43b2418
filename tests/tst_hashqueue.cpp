#include "folder.h"
#include "io/hashqueue.h"
#include "testrunner.h"

#include <QDir>
#include <QRegularExpression>
#include <QTest>

#include <memory>

#ifdef Q_OS_UNIX
#include <sys/resource.h>
#endif

using namespace Qt::StringLiterals;

namespace {

QStringList messages;

void collect(QtMsgType /*type*/, const QMessageLogContext & /*context*/, const QString &message)
{
    messages.append(message);
}

} // namespace

class TestHashQueue : public QObject
{
    Q_OBJECT

private slots:
    void startsNoThreadInVain_data();
    void startsNoThreadInVain();
    void oneThreadUsesEachHashAtOnce();
    void messagesAreInOrder();
    void endsEarly();
#ifdef Q_OS_UNIX
    void threadsAreRefused_data();
    void threadsAreRefused();
#endif
};

void TestHashQueue::startsNoThreadInVain_data()
{
    QTest::addColumn<int>("threads");
    QTest::addColumn<int>("files");
    QTest::addColumn<int>("most");
    QTest::newRow("one thread") << 1 << 2000 << 0;
    QTest::newRow("no file") << 1000 << 0 << 0;
    QTest::newRow("one file") << 1000 << 1 << 0;
    QTest::newRow("two files") << 1000 << 2 << 1;
    QTest::newRow("four threads") << 4 << 2000 << 3;
}

void TestHashQueue::startsNoThreadInVain()
{
    QFETCH(int, threads);
    QFETCH(int, files);
    QFETCH(int, most);
    const QString list = u"/proc/self/task"_s;
    if (!QDir(list).exists())
        QSKIP("This system does not list the threads of a program");
    const Folder folder;
    folder.write(u"file"_s, "abc");

    const uint before = QDir(list).count();
    HashQueue queue(threads);
    int used = 0;
    for (int i = 0; i < files; ++i)
        queue.add(folder.path(u"file"_s), [&used](const FileResult<ContentHash> &hash) { used += hash ? 1 : 0; });
    queue.finish();
    QCOMPARE(used, files);
    QVERIFY(QDir(list).count() <= before + static_cast<uint>(most));
}

void TestHashQueue::oneThreadUsesEachHashAtOnce()
{
    const Folder folder;
    folder.write(u"file"_s, "abc");
    HashQueue queue(1);
    int used = 0;
    for (int added = 1; added <= 3; ++added) {
        queue.add(folder.path(u"file"_s), [&used](const FileResult<ContentHash> &hash) { used += hash ? 1 : 0; });
        QCOMPARE(used, added);
    }
}

void TestHashQueue::messagesAreInOrder()
{
    const Folder folder;
    QStringList expected;
    messages.clear();
    const QtMessageHandler before = qInstallMessageHandler(collect);
    HashQueue queue(16);
    for (int i = 0; i < 2000; ++i) {
        const QString path = folder.path(u"missing%1"_s.arg(i));
        expected.append(u"File \" \"%1\" \" read error."_s.arg(path));
        queue.add(path, [path](const FileResult<ContentHash> &hash) { messages.append(hash.error().path); });
        expected.append(path);
    }
    queue.finish();
    qInstallMessageHandler(before);
    QCOMPARE(messages, expected);
}

void TestHashQueue::endsEarly()
{
    const Folder folder;
    folder.write(u"file"_s, "abc");
    for (int round = 0; round < 100; ++round) {
        auto queue = std::make_unique<HashQueue>(4);
        for (int i = 0; i < round; ++i)
            queue->add(folder.path(u"file"_s), [](const FileResult<ContentHash> &hash) { QVERIFY(hash); });
    }
}

#ifdef Q_OS_UNIX
void TestHashQueue::threadsAreRefused_data()
{
    QTest::addColumn<int>("threads");
    for (const int threads : {1, 2, 16})
        QTest::addRow("%d", threads) << threads;
}

void TestHashQueue::threadsAreRefused()
{
    QFETCH(int, threads);
    const Folder folder;
    folder.write(u"file"_s, "abc");
    const OrdinaryUser user;
    rlimit before = {};
    QCOMPARE(::getrlimit(RLIMIT_NPROC, &before), 0);
    const rlimit none{0, before.rlim_max};
    QCOMPARE(::setrlimit(RLIMIT_NPROC, &none), 0);
    if (threads > 1)
        QTest::ignoreMessage(QtCriticalMsg, QRegularExpression(u"^QThread::start: Thread creation error"_s));
    int used = 0;
    {
        HashQueue queue(threads);
        for (int i = 0; i < 2000; ++i)
            queue.add(folder.path(u"file"_s), [&used](const FileResult<ContentHash> &hash) { used += hash ? 1 : 0; });
        queue.finish();
    }
    QCOMPARE(::setrlimit(RLIMIT_NPROC, &before), 0);
    QCOMPARE(used, 2000);
}
#endif

CATALIST_TEST(TestHashQueue)
#include "tst_hashqueue.moc"
