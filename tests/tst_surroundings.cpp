#include "folder.h"
#include "testrunner.h"

#include <QDateTime>
#include <QFile>
#include <QLocale>
#include <QTest>
#include <QTimeZone>

#include <clocale>

using namespace Qt::StringLiterals;

/// The difficult surroundings in which CTest runs the tests.
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
    QCOMPARE(QTimeZone::systemTimeZoneId(), "Pacific/Kiritimati"_ba);
    QCOMPARE(QDateTime(QDate(2024, 3, 5), QTime(0, 0), Qt::LocalTime).offsetFromUtc(), 14 * 60 * 60);
}

void TestSurroundings::localeOfQt()
{
    const QLocale system = QLocale::system();
    QCOMPARE(system.toString(QDate(2024, 8, 5), QLocale::LongFormat), u"5 Ağustos 2024 Pazartesi"_s);
    QCOMPARE(system.toString(1.5), u"1,5"_s);
}

void TestSurroundings::localeOfTheCLibrary()
{
#ifdef Q_OS_LINUX
    if (!QFile::exists(qEnvironmentVariable("LOCPATH")))
        QSKIP("The locales of the tests could not be made (package locales)");
    QCOMPARE(QByteArray(std::setlocale(LC_CTYPE, nullptr)), "tr_TR.UTF-8"_ba);
    QCOMPARE(QByteArray(std::setlocale(LC_TIME, nullptr)), "tr_TR.UTF-8"_ba);
#else
    QSKIP("Locales have other names here");
#endif
}

CATALIST_TEST(TestSurroundings)
#include "tst_surroundings.moc"
