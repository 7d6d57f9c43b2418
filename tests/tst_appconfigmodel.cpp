#include "model/appconfigmodel.h"

#include "folder.h"
#include "projectdata.h"
#include "testrunner.h"

#include <QSignalSpy>
#include <QTest>

namespace {

AppConfig named(const QString &name)
{
    AppConfig app;
    app.names.insert(QStringLiteral("en"), name);
    return app;
}

QStringList names(const AppConfigModel &model)
{
    QStringList list;
    for (const AppConfig &app : model.apps)
        list.append(app.names.value(QStringLiteral("en")));
    return list;
}

const QStringList THREE{QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c")};

} // namespace

class TestAppConfigModel : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void startsEmpty();
    void setIndexTakesAnything_data();
    void setIndexTakesAnything();
    void currentRecord();
    void createsNew();
    void applies();
    void appliesVersions_data();
    void appliesVersions();
    void appliesTypes_data();
    void appliesTypes();
    void changesNothingWithoutCurrent_data();
    void changesNothingWithoutCurrent();
    void replacesLists();
    void removes_data();
    void removes();
    void removesTheOnlyOne();
    void clears();
    void loadKeepsIndex();
    void failedLoadSaysNothing();
    void savesAndClearsMark();
    void failedSaveKeepsMark();
    void publishingIsNotSaving();

private:
    void fill(int index);

    std::unique_ptr<AppConfigModel> model;
    std::unique_ptr<QSignalSpy> indexSpy;
    std::unique_ptr<QSignalSpy> appsSpy;
};

void TestAppConfigModel::init()
{
    model = std::make_unique<AppConfigModel>();
    indexSpy = std::make_unique<QSignalSpy>(model.get(), &AppConfigModel::currentIndexChanged);
    appsSpy = std::make_unique<QSignalSpy>(model.get(), &AppConfigModel::appsChanged);
}

void TestAppConfigModel::cleanup()
{
    appsSpy.reset();
    indexSpy.reset();
    model.reset();
}

void TestAppConfigModel::fill(int index)
{
    for (const QString &name : THREE)
        model->apps.append(named(name));
    model->index = index;
}

void TestAppConfigModel::startsEmpty()
{
    QVERIFY(model->apps.isEmpty());
    QCOMPARE(model->index, -1);
    QVERIFY(!model->modified);
    QVERIFY(model->getCurrentCfg() == AppConfig());
    QVERIFY(!model->getAppCfg(0));
}

void TestAppConfigModel::setIndexTakesAnything_data()
{
    QTest::addColumn<int>("index");
    QTest::newRow("none") << -1;
    QTest::newRow("first") << 0;
    QTest::newRow("same again") << 1;
    QTest::newRow("past the end") << 5;
    QTest::newRow("far below") << -100;
}

void TestAppConfigModel::setIndexTakesAnything()
{
    QFETCH(int, index);
    fill(1);
    model->setIndex(index);
    QCOMPARE(model->index, index);
    QCOMPARE(*indexSpy, QList<QVariantList>{{index}});
    QCOMPARE(appsSpy->size(), 0);
    QVERIFY(!model->modified);
}

void TestAppConfigModel::currentRecord()
{
    fill(1);
    QCOMPARE(model->getCurrentCfg().names.value(QStringLiteral("en")), QStringLiteral("b"));
    QCOMPARE(model->getAppCfg(2), &model->apps.at(2));
    QVERIFY(!model->getAppCfg(3));
    QVERIFY(!model->getAppCfg(-1));
    model->setIndex(5);
    QVERIFY(model->getCurrentCfg() == AppConfig());
    QVERIFY(!model->getAppCfg(5));
    model->setIndex(3);
    QVERIFY(model->getCurrentCfg() == AppConfig());
}

void TestAppConfigModel::createsNew()
{
    model->createNew();
    QCOMPARE(model->apps.size(), 1);
    QVERIFY(model->apps.constFirst() == named(QStringLiteral("[New App]")));
    QCOMPARE(model->index, 0);
    QVERIFY(model->modified);
    QCOMPARE(appsSpy->size(), 1);

    model->setIndex(-1);
    model->createNew();
    QCOMPARE(model->index, 1);
    QCOMPARE(appsSpy->size(), 2);
    QCOMPARE(indexSpy->size(), 1);
}

void TestAppConfigModel::applies()
{
    fill(1);
    model->apps[1].descriptions.insert(QStringLiteral("en"), QStringLiteral("en.html"));
    model->apps[1].files = QStringList{QStringLiteral("Lua")};
    model->applyChanges({{QStringLiteral("en"), QStringLiteral("New")}, {QStringLiteral("de"), QStringLiteral("Neu")}},
                        QStringLiteral("Author"), QStringLiteral("1.2.3"), QDate(2024, 2, 29),
                        QStringLiteral("icon.png"), QStringLiteral("5.03"), {5, 12});

    AppConfig expected;
    expected.names = {{QStringLiteral("en"), QStringLiteral("New")}, {QStringLiteral("de"), QStringLiteral("Neu")}};
    expected.author = QStringLiteral("Author");
    expected.version = QVersionNumber(1, 2, 3);
    expected.date = QDate(2024, 2, 29);
    expected.icon = QStringLiteral("icon.png");
    expected.minTxVersion = QVersionNumber(5, 3);
    expected.hardware = {678, 3859};
    expected.descriptions.insert(QStringLiteral("en"), QStringLiteral("en.html"));
    expected.files = QStringList{QStringLiteral("Lua")};
    QVERIFY(model->apps.at(1) == expected);
    QVERIFY(model->apps.at(0) == named(QStringLiteral("a")));
    QVERIFY(model->modified);
    QCOMPARE(appsSpy->size(), 1);
    QCOMPARE(indexSpy->size(), 0);
}

void TestAppConfigModel::appliesVersions_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QVersionNumber>("version");
    QTest::newRow("three segments") << QStringLiteral("1.2.3") << QVersionNumber(1, 2, 3);
    QTest::newRow("empty") << QString() << QVersionNumber();
    QTest::newRow("suffix") << QStringLiteral("1.2-beta") << QVersionNumber(1, 2);
    QTest::newRow("no number") << QStringLiteral("v1.2") << QVersionNumber();
    QTest::newRow("padded") << QStringLiteral("5.03") << QVersionNumber(5, 3);
}

void TestAppConfigModel::appliesVersions()
{
    QFETCH(QString, text);
    QFETCH(QVersionNumber, version);
    fill(0);
    model->applyChanges({}, {}, text, {}, {}, text, {});
    QCOMPARE(model->apps.at(0).version, version);
    QCOMPARE(model->apps.at(0).minTxVersion, version);
}

void TestAppConfigModel::appliesTypes_data()
{
    QTest::addColumn<QList<int>>("types");
    QTest::addColumn<QList<int>>("hardware");
    QTest::newRow("none") << QList<int>{} << QList<int>{};
    QTest::newRow("two ids") << QList<int>{5, 12} << QList<int>{678, 3859};
    QTest::newRow("order and duplicates kept") << QList<int>{20, 0, 20} << QList<int>{3867, 673, 3867};
}

void TestAppConfigModel::appliesTypes()
{
    QFETCH(QList<int>, types);
    fill(0);
    model->apps[0].hardware = {680};
    model->applyChanges({}, {}, {}, {}, {}, {}, types);
    QTEST(model->apps.at(0).hardware, "hardware");
}

void TestAppConfigModel::changesNothingWithoutCurrent_data()
{
    QTest::addColumn<int>("index");
    QTest::newRow("none") << -1;
    QTest::newRow("at the end") << 3;
    QTest::newRow("past the end") << 7;
}

void TestAppConfigModel::changesNothingWithoutCurrent()
{
    QFETCH(int, index);
    fill(index);
    const QList<AppConfig> before = model->apps;

    model->applyChanges({{QStringLiteral("en"), QStringLiteral("x")}}, {}, {}, {}, {}, {}, {1});
    QCOMPARE(appsSpy->size(), 0);
    model->setAppFiles({QStringLiteral("x")});
    QCOMPARE(appsSpy->size(), 1);
    model->setDescriptionFiles({{QStringLiteral("en"), QStringLiteral("x")}});
    QCOMPARE(appsSpy->size(), 2);

    QVERIFY(model->apps == before);
    QVERIFY(!model->modified);
    QCOMPARE(model->index, index);
}

void TestAppConfigModel::replacesLists()
{
    fill(2);
    const QStringList files{QStringLiteral("Lua"), QStringLiteral("Lua"), QStringLiteral("a.lua")};
    model->setAppFiles(files);
    QCOMPARE(model->apps.at(2).files, files);
    QVERIFY(model->modified);
    QCOMPARE(appsSpy->size(), 1);

    model->modified = false;
    const QMap<QString, QString> descriptions{{QStringLiteral("de"), QStringLiteral("de.html")}};
    model->setDescriptionFiles(descriptions);
    QCOMPARE(model->apps.at(2).descriptions, descriptions);
    QVERIFY(model->modified);
    QCOMPARE(appsSpy->size(), 2);
    QCOMPARE(indexSpy->size(), 0);
}

void TestAppConfigModel::removes_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<QStringList>("left");
    QTest::addColumn<int>("newIndex");
    QTest::newRow("first") << 0 << QStringList{THREE[1], THREE[2]} << 0;
    QTest::newRow("middle") << 1 << QStringList{THREE[0], THREE[2]} << 1;
    QTest::newRow("last") << 2 << QStringList{THREE[0], THREE[1]} << 1;
    QTest::newRow("none") << -1 << THREE << -1;
    QTest::newRow("at the end") << 3 << THREE << 2;
    QTest::newRow("past the end") << 9 << THREE << 2;
}

void TestAppConfigModel::removes()
{
    QFETCH(int, index);
    fill(index);
    model->removeCurrent();
    QTEST(names(*model), "left");
    QTEST(model->index, "newIndex");
    QVERIFY(model->modified);
    QCOMPARE(appsSpy->size(), 1);
    QCOMPARE(indexSpy->size(), 0);
}

void TestAppConfigModel::removesTheOnlyOne()
{
    model->apps.append(named(THREE[0]));
    model->index = 0;
    model->removeCurrent();
    QVERIFY(model->apps.isEmpty());
    QCOMPARE(model->index, -1);
    QVERIFY(model->modified);
    QCOMPARE(appsSpy->size(), 1);
    QCOMPARE(indexSpy->size(), 0);
}

void TestAppConfigModel::clears()
{
    fill(1);
    model->modified = true;
    model->clear();
    QVERIFY(model->apps.isEmpty());
    QCOMPARE(model->index, -1);
    QVERIFY(!model->modified);
    QCOMPARE(appsSpy->size(), 1);
    QCOMPARE(indexSpy->size(), 0);
}

void TestAppConfigModel::loadKeepsIndex()
{
    const Folder folder;
    folder.write(QStringLiteral("Apps.csv"), "{\"en\":\"One\"};;;;;{};\n");
    fill(2);
    model->modified = true;
    QVERIFY(model->load(folder.path(QStringLiteral("Apps.csv"))));
    QCOMPARE(names(*model), QStringList{QStringLiteral("One")});
    QCOMPARE(model->index, 2);
    QVERIFY(!model->modified);
    QCOMPARE(appsSpy->size(), 1);
    QCOMPARE(indexSpy->size(), 0);
}

void TestAppConfigModel::failedLoadSaysNothing()
{
    const Folder folder;
    folder.write(QStringLiteral("bad.csv"), "{\"en\":\"One\"};;;;;{};\n\n");
    fill(2);
    model->modified = true;
    QVERIFY(!model->load(folder.path(QStringLiteral("missing.csv"))));
    QCOMPARE(names(*model), THREE);
    QVERIFY(!model->load(folder.path(QStringLiteral("bad.csv"))));
    QCOMPARE(names(*model), QStringList{QStringLiteral("One")});
    QVERIFY(model->modified);
    QCOMPARE(model->index, 2);
    QCOMPARE(appsSpy->size(), 0);
}

void TestAppConfigModel::savesAndClearsMark()
{
    const Folder folder;
    model->createNew();
    appsSpy->clear();
    QVERIFY(model->save(folder.path(QStringLiteral("Apps.csv"))));
    QVERIFY(!model->modified);
    QCOMPARE(appsSpy->size(), 0);
    QCOMPARE(folder.read(QStringLiteral("Apps.csv")), HEADER + "{\"en\":\"[New App]\"};;;;;{};;;0.00\n");
}

void TestAppConfigModel::failedSaveKeepsMark()
{
    const Folder folder;
    model->createNew();
    appsSpy->clear();
    QVERIFY(!model->save(folder.path(QStringLiteral("missing/Apps.csv"))));
    QVERIFY(model->modified);
    QCOMPARE(appsSpy->size(), 0);
}

void TestAppConfigModel::publishingIsNotSaving()
{
    const Folder folder;
    model->createNew();
    appsSpy->clear();
    const QList<AppConfig> before = model->apps;
    QVERIFY(model->saveRepo(folder.path(QStringLiteral("Apps.json")), QStringLiteral("http://x/"), folder.path()));
    QVERIFY(!model->saveRepo(folder.path(QStringLiteral("missing/Apps.json")), QString(), folder.path()));
    QVERIFY(model->modified);
    QVERIFY(model->apps == before);
    QCOMPARE(appsSpy->size(), 0);
    QCOMPARE(indexSpy->size(), 0);
}

CATALIST_TEST(TestAppConfigModel)
#include "tst_appconfigmodel.moc"
