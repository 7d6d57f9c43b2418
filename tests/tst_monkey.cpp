#include "monkey/monkey.h"
#include "scratchhome.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QtTest>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr quint32 FIXED_SEED = 19850712;
constexpr int DEFAULT_ACTIONS = 1500;
constexpr qint64 DEFAULT_MILLISECONDS = 20000;

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
