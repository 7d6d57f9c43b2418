#include "model/appconfig.h"

#include "testrunner.h"

#include <QTest>

using namespace Qt::StringLiterals;

class TestAppConfig : public QObject
{
    Q_OBJECT

private slots:
    void startsEmpty();
    void hardwareIds_data();
    void hardwareIds();
    void compatibility_data();
    void compatibility();
    void firmware_data();
    void firmware();
    void copiesAndMoves();
};

void TestAppConfig::startsEmpty()
{
    const AppConfig app;
    QVERIFY(app.names.isEmpty());
    QVERIFY(app.author.isEmpty());
    QVERIFY(app.version.isNull());
    QVERIFY(!app.date.isValid());
    QVERIFY(app.icon.isEmpty());
    QVERIFY(app.minTxVersion.isNull());
    QVERIFY(app.hardware.isEmpty());
    QVERIFY(app.descriptions.isEmpty());
    QVERIFY(app.files.isEmpty());
}

void TestAppConfig::hardwareIds_data()
{
    QTest::addColumn<unsigned>("type");
    QTest::addColumn<int>("position");
    QTest::addColumn<int>("id");

    QTest::newRow("KR-7, other id") << unsigned(TxKr7Alt) << 0 << 673;
    QTest::newRow("KR-7") << unsigned(TxKr7) << 1 << 674;
    QTest::newRow("VL-7") << unsigned(TxVl7) << 2 << 675;
    QTest::newRow("VL-5") << unsigned(TxVl5) << 3 << 676;
    QTest::newRow("KR-5") << unsigned(TxKr5) << 4 << 677;
    QTest::newRow("KR-9") << unsigned(TxKr9) << 5 << 678;
    QTest::newRow("VL-9") << unsigned(TxVl9) << 6 << 679;
    QTest::newRow("VL-3") << unsigned(TxVl3) << 7 << 680;
    QTest::newRow("KR-7II") << unsigned(TxKr7II) << 8 << 652;
    QTest::newRow("VL-7II") << unsigned(TxVl7II) << 9 << 653;
    QTest::newRow("KR-5II") << unsigned(TxKr5II) << 10 << 3857;
    QTest::newRow("VL-5II") << unsigned(TxVl5II) << 11 << 3858;
    QTest::newRow("KR-9, second id") << unsigned(TxKr9B) << 12 << 3859;
    QTest::newRow("VL-9, second id") << unsigned(TxVl9B) << 13 << 3860;
    QTest::newRow("KR-7II, second id") << unsigned(TxKr7IIB) << 14 << 3861;
    QTest::newRow("VL-7II, second id") << unsigned(TxVl7IIB) << 15 << 3862;
    QTest::newRow("KR-5II, second id") << unsigned(TxKr5IIB) << 16 << 3863;
    QTest::newRow("VL-5II, second id") << unsigned(TxVl5IIB) << 17 << 3864;
    QTest::newRow("VL-3, second id") << unsigned(TxVl3B) << 18 << 3865;
    QTest::newRow("KR-9II") << unsigned(TxKr9G2) << 19 << 3866;
    QTest::newRow("VL-9II") << unsigned(TxVl9G2) << 20 << 3867;
}

void TestAppConfig::hardwareIds()
{
    QFETCH(unsigned, type);
    QFETCH(int, position);
    QFETCH(int, id);

    QCOMPARE(type, unsigned(position));
    QCOMPARE(TX_IDS[type], id);
    QCOMPARE(TX_IDS.size(), size_t(21));

    AppConfig app;
    app.hardware = {id};
    for (unsigned other = 0; other < TX_IDS.size(); ++other) {
        const bool sameModel = other == type || (other <= TxKr7 && type <= TxKr7);
        QCOMPARE(app.isCompatible(static_cast<TxType>(other)), sameModel);
    }
}

void TestAppConfig::compatibility_data()
{
    QTest::addColumn<QList<int>>("hardware");
    QTest::addColumn<QList<int>>("types"); // of all compatible transmitters

    QTest::newRow("none") << QList<int>{} << QList<int>{};
    QTest::newRow("empty cell of the file") << QList<int>{0} << QList<int>{};
    QTest::newRow("unknown id") << QList<int>{1, -5, 99999} << QList<int>{};
    QTest::newRow("other id of the KR-7") << QList<int>{673} << QList<int>{0, 1};
    QTest::newRow("KR-7") << QList<int>{674} << QList<int>{0, 1};
    QTest::newRow("both ids of the KR-7") << QList<int>{674, 673} << QList<int>{0, 1};
    QTest::newRow("duplicates") << QList<int>{678, 678, 678} << QList<int>{5};
    QTest::newRow("several") << QList<int>{3867, 652, 0, 680} << QList<int>{7, 8, 20};
}

void TestAppConfig::compatibility()
{
    QFETCH(QList<int>, hardware);
    QFETCH(QList<int>, types);

    AppConfig app;
    app.hardware = hardware;
    for (int type = 0; type < 21; ++type)
        QCOMPARE(app.isCompatible(static_cast<TxType>(type)), types.contains(type));
    QCOMPARE(app.hardware, hardware);
}

void TestAppConfig::firmware_data()
{
    QTest::addColumn<QVersionNumber>("version");
    QTest::addColumn<QString>("text");

    QTest::newRow("none") << QVersionNumber() << u"0.00"_s;
    QTest::newRow("one segment") << QVersionNumber(5) << u"5.00"_s;
    QTest::newRow("padded") << QVersionNumber(5, 3) << u"5.03"_s;
    QTest::newRow("two digits") << QVersionNumber(4, 12) << u"4.12"_s;
    QTest::newRow("three digits") << QVersionNumber(4, 123) << u"4.123"_s;
    QTest::newRow("further segments") << QVersionNumber(4, 10, 2) << u"4.10"_s;
}

void TestAppConfig::firmware()
{
    QFETCH(QVersionNumber, version);
    QTEST(firmwareText(version), "text");
}

void TestAppConfig::copiesAndMoves()
{
    AppConfig app;
    app.names.insert(u"en"_s, u"Name"_s);
    app.author = u"Author"_s;
    app.version = QVersionNumber(1, 2);
    app.date = QDate(2024, 2, 29);
    app.icon = u"icon.png"_s;
    app.minTxVersion = QVersionNumber(5, 3);
    app.hardware = {674};
    app.descriptions.insert(u"en"_s, u"en.html"_s);
    app.files = QStringList{u"Lua"_s};

    const AppConfig copy(app);
    QVERIFY(copy == app);
    AppConfig moved;
    moved = std::move(app);
    QVERIFY(moved == copy);
    QVERIFY(!(moved == AppConfig()));
}

CATALIST_TEST(TestAppConfig)
#include "tst_appconfig.moc"
