#include "folder.h"
#include "testrunner.h"

#include <QDateTime>
#include <QFile>
#include <QLocale>
#include <QTest>
#include <QTimeZone>

#include <clocale>

/// The surroundings that all tests rely on to be awkward.
class TestSurroundings : public QObject
{
    Q_OBJECT

private slots:
    void folder();
    void timeZone();
    void localeOfQt();
    void localeOfTheCLibrary();
};

void TestSurroundings::folder()
{
    const QString path = Folder().path();
    for (const char16_t character : {u' ', u'é', u'%', u'#', u'?', u'<'})
        QVERIFY2(path.contains(character), qPrintable(path));
}

void TestSurroundings::timeZone()
{
    QCOMPARE(QTimeZone::systemTimeZoneId(), QByteArray("Pacific/Kiritimati"));
    QCOMPARE(QDateTime(QDate(2024, 3, 5), QTime(0, 0), Qt::LocalTime).offsetFromUtc(), 14 * 60 * 60);
}

void TestSurroundings::localeOfQt()
{
    const QLocale system = QLocale::system();
    QCOMPARE(system.toString(QDate(2024, 8, 5), QLocale::LongFormat), QStringLiteral("5 Ağustos 2024 Pazartesi"));
    QCOMPARE(system.toString(1.5), QStringLiteral("1,5"));
}

void TestSurroundings::localeOfTheCLibrary()
{
#ifdef Q_OS_LINUX
    if (!QFile::exists(qEnvironmentVariable("LOCPATH")))
        QSKIP("The locales of the tests could not be made (package locales)");
    QCOMPARE(QByteArray(std::setlocale(LC_CTYPE, nullptr)), QByteArray("tr_TR.UTF-8"));
    QCOMPARE(QByteArray(std::setlocale(LC_TIME, nullptr)), QByteArray("tr_TR.UTF-8"));
#else
    QSKIP("Locales have other names here");
#endif
}

CATALIST_TEST(TestSurroundings)
#include "tst_surroundings.moc"
