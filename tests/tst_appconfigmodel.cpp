#include "model/appconfigmodel.h"

#include "folder.h"
#include "projectdata.h"
#include "testrunner.h"

#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

AppConfig named(const QString &name)
{
    AppConfig app;
    app.names.insert(u"en"_s, name);
    return app;
}

QStringList names(const AppConfigModel &model)
{
    QStringList list;
    for (const AppConfig &app : model.apps)
        list.append(app.names.value(u"en"_s));
    return list;
}

const QStringList THREE{u"a"_s, u"b"_s, u"c"_s};

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
    void clears();
    void loadKeepsIndex();
    void failedLoadSaysNothing();
    void onlyASaveClearsTheMark();
    void publishingIsNotSaving();

private:
    void fill(int index, const QStringList &apps = THREE);

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

void TestAppConfigModel::fill(int index, const QStringList &apps)
{
    for (const QString &name : apps)
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
    QCOMPARE(model->getCurrentCfg().names.value(u"en"_s), u"b"_s);
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
    QVERIFY(model->apps.constFirst() == named(u"[New App]"_s));
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
    model->apps[1].descriptions.insert(u"en"_s, u"en.html"_s);
    model->apps[1].files = QStringList{u"Lua"_s};
    model->applyChanges({{u"en"_s, u"New"_s}, {u"de"_s, u"Neu"_s}}, u"Author"_s, u"1.2.3"_s, QDate(2024, 2, 29),
                        u"icon.png"_s, u"5.03"_s, {5, 12});

    AppConfig expected;
    expected.names = {{u"en"_s, u"New"_s}, {u"de"_s, u"Neu"_s}};
    expected.author = u"Author"_s;
    expected.version = QVersionNumber(1, 2, 3);
    expected.date = QDate(2024, 2, 29);
    expected.icon = u"icon.png"_s;
    expected.minTxVersion = QVersionNumber(5, 3);
    expected.hardware = {678, 3859};
    expected.descriptions.insert(u"en"_s, u"en.html"_s);
    expected.files = QStringList{u"Lua"_s};
    QVERIFY(model->apps.at(1) == expected);
    QVERIFY(model->apps.at(0) == named(u"a"_s));
    QVERIFY(model->modified);
    QCOMPARE(appsSpy->size(), 1);
    QCOMPARE(indexSpy->size(), 0);
}

void TestAppConfigModel::appliesVersions_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QVersionNumber>("version");
    QTest::newRow("three segments") << u"1.2.3"_s << QVersionNumber(1, 2, 3);
    QTest::newRow("empty") << QString() << QVersionNumber();
    QTest::newRow("suffix") << u"1.2-beta"_s << QVersionNumber(1, 2);
    QTest::newRow("no number") << u"v1.2"_s << QVersionNumber();
    QTest::newRow("padded") << u"5.03"_s << QVersionNumber(5, 3);
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

    model->applyChanges({{u"en"_s, u"x"_s}}, {}, {}, {}, {}, {}, {1});
    QCOMPARE(appsSpy->size(), 0);
    model->setAppFiles({u"x"_s});
    QCOMPARE(appsSpy->size(), 1);
    model->setDescriptionFiles({{u"en"_s, u"x"_s}});
    QCOMPARE(appsSpy->size(), 2);

    QVERIFY(model->apps == before);
    QVERIFY(!model->modified);
    QCOMPARE(model->index, index);
}

void TestAppConfigModel::replacesLists()
{
    fill(2);
    const QStringList files{u"Lua"_s, u"Lua"_s, u"a.lua"_s};
    model->setAppFiles(files);
    QCOMPARE(model->apps.at(2).files, files);
    QVERIFY(model->modified);
    QCOMPARE(appsSpy->size(), 1);

    model->modified = false;
    const QMap<QString, QString> descriptions{{u"de"_s, u"de.html"_s}};
    model->setDescriptionFiles(descriptions);
    QCOMPARE(model->apps.at(2).descriptions, descriptions);
    QVERIFY(model->modified);
    QCOMPARE(appsSpy->size(), 2);
    QCOMPARE(indexSpy->size(), 0);
}

void TestAppConfigModel::removes_data()
{
    QTest::addColumn<QStringList>("apps");
    QTest::addColumn<int>("index");
    QTest::addColumn<QStringList>("left");
    QTest::addColumn<int>("newIndex");
    QTest::newRow("first") << THREE << 0 << QStringList{THREE[1], THREE[2]} << 0;
    QTest::newRow("middle") << THREE << 1 << QStringList{THREE[0], THREE[2]} << 1;
    QTest::newRow("last") << THREE << 2 << QStringList{THREE[0], THREE[1]} << 1;
    QTest::newRow("only one") << QStringList{THREE[0]} << 0 << QStringList() << -1;
    QTest::newRow("none") << THREE << -1 << THREE << -1;
    QTest::newRow("at the end") << THREE << 3 << THREE << 2;
    QTest::newRow("past the end") << THREE << 9 << THREE << 2;
}

void TestAppConfigModel::removes()
{
    QFETCH(QStringList, apps);
    QFETCH(int, index);
    fill(index, apps);
    model->removeCurrent();
    QTEST(names(*model), "left");
    QTEST(model->index, "newIndex");
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
    folder.write(u"Apps.csv"_s, "{\"en\":\"One\"};;;;;{};\n");
    fill(2);
    model->modified = true;
    QVERIFY(model->load(folder.path(u"Apps.csv"_s)));
    QCOMPARE(names(*model), QStringList{u"One"_s});
    QCOMPARE(model->index, 2);
    QVERIFY(!model->modified);
    QCOMPARE(appsSpy->size(), 1);
    QCOMPARE(indexSpy->size(), 0);
}

void TestAppConfigModel::failedLoadSaysNothing()
{
    const Folder folder;
    folder.write(u"bad.csv"_s, "{\"en\":\"One\"};;;;;{};\n\n");
    fill(2);
    model->modified = true;
    QVERIFY(!model->load(folder.path(u"missing.csv"_s)));
    QCOMPARE(names(*model), THREE);
    QVERIFY(!model->load(folder.path(u"bad.csv"_s)));
    QCOMPARE(names(*model), QStringList{u"One"_s});
    QVERIFY(model->modified);
    QCOMPARE(model->index, 2);
    QCOMPARE(appsSpy->size(), 0);
}

void TestAppConfigModel::onlyASaveClearsTheMark()
{
    const Folder folder;
    model->createNew();
    appsSpy->clear();
    QVERIFY(!model->save(folder.path(u"missing/Apps.csv"_s)));
    QVERIFY(model->modified);
    QVERIFY(model->save(folder.path(u"Apps.csv"_s)));
    QVERIFY(!model->modified);
    QCOMPARE(appsSpy->size(), 0);
    QCOMPARE(folder.read(u"Apps.csv"_s), HEADER + "{\"en\":\"[New App]\"};;;;;{};;;0.00\n");
}

void TestAppConfigModel::publishingIsNotSaving()
{
    const Folder folder;
    model->createNew();
    appsSpy->clear();
    const QList<AppConfig> before = model->apps;
    QVERIFY(model->saveRepo(folder.path(u"Apps.json"_s), u"http://x/"_s, folder.path()));
    QVERIFY(!model->saveRepo(folder.path(u"missing/Apps.json"_s), QString(), folder.path()));
    QVERIFY(model->modified);
    QVERIFY(model->apps == before);
    QCOMPARE(appsSpy->size(), 0);
    QCOMPARE(indexSpy->size(), 0);
}

CATALIST_TEST(TestAppConfigModel)
#include "tst_appconfigmodel.moc"
