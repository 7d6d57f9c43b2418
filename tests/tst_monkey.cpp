#include "lengths.h"
#include "monkey/monkey.h"
#include "testrunner.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QTest>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr quint32 FIXED_SEED = 19850712;

QtMessageHandler logBefore = nullptr;
QStringList warnings;

// Leaves out debug messages and those of the offscreen platform about sizes, as the log of a test is limited.
void logWithoutNoise(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    if (type == QtDebugMsg || message.contains(u"propagateSizeHints"_s))
        return;
    // An edited code refills the table while the cell editor is still closing.
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
    return given ? actions : lengthOf(500, 10'000);
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
    logBefore = qInstallMessageHandler(logWithoutNoise);
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
    qInfo("CATALIST_MONKEY_SEED=%u", seed);
    QElapsedTimer clock;
    clock.start();
    Monkey monkey(seed);
    int done = 0;
    QString wrong;
    while (wrong.isEmpty() && done < actions) {
        warnings.clear();
        wrong = monkey.step();
        if (wrong.isEmpty() && !warnings.isEmpty())
            wrong = u"Unexpected warning: "_s + warnings.join(u'\n');
        ++done;
    }
    QVERIFY2(wrong.isEmpty(), qPrintable(u"Seed %1, action %2: %3\nThe last actions:\n%4"_s.arg(seed).arg(done).arg(
                                  wrong, monkey.lastActions())));
    wrong = monkey.leave();
    QVERIFY2(wrong.isEmpty(),
             qPrintable(u"Seed %1: %2\nThe last actions:\n%3"_s.arg(seed).arg(wrong, monkey.lastActions())));
    qInfo("%d actions in %lld ms", done, static_cast<long long>(clock.elapsed()));
}

CATALIST_TEST(TestMonkey)
#include "tst_monkey.moc"
