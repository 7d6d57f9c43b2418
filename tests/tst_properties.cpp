#include "io/projectfile.h"
#include "model/appconfigmodel.h"

#include "folder.h"
#include "seed.h"
#include "testrunner.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonParseError>
#include <QSignalSpy>
#include <QTest>

namespace {

/// Random records that the project file can hold.
class Author
{
public:
    explicit Author(quint32 seed) : random(seed) { }

    int below(int bound) { return static_cast<int>(random.bounded(bound)); }

    /// Characters that a cell can hold as they are.
    QString text(int longest)
    {
        static const QString characters =
            QStringLiteral("ab Z09\"'\\{}[]:|/%#?<>&\u00e9\u0130\u0131\u05d0\u0645\u65e5\u200f\u00a0\t");
        QString result;
        for (int length = below(longest + 1); length > 0; --length) {
            if (below(20) == 0)
                result += QStringLiteral("\U0001f6e9");
            else
                result += characters.at(below(static_cast<int>(characters.size())));
        }
        return result;
    }

    /// JSON holds line ends and commas too.
    QMap<QString, QString> texts()
    {
        QMap<QString, QString> map;
        for (int count = below(5); count > 0; --count)
            map.insert(text(3), text(10)
                                    + QStringList{QString(), QStringLiteral("\n"), QStringLiteral(",\r")}.at(below(3))
                                    + text(5));
        return map;
    }

    QVersionNumber version()
    {
        QList<int> segments;
        for (int count = below(5); count > 0; --count)
            segments.append(below(3) == 0 ? below(2147483647) : below(30));
        return QVersionNumber(segments);
    }

    QStringList files()
    {
        QStringList list;
        for (int count = below(5); count > 0; --count)
            list.append(QLatin1Char('x') + text(8) + QLatin1Char('y'));
        return list;
    }

    AppConfig app()
    {
        AppConfig result;
        result.names = texts();
        result.author = text(12);
        result.version = version();
        result.date = below(4) == 0 ? QDate() : QDate(1, 1, 1).addDays(below(3'652'000));
        result.icon = text(12);
        result.minTxVersion = QVersionNumber(below(100), below(1000));
        do
            result.hardware.append(below(5) == 0 ? -below(2147483647) : TX_IDS[static_cast<size_t>(below(21))]);
        while (below(3) > 0);
        result.descriptions = texts();
        result.files = files();
        return result;
    }

private:
    QRandomGenerator random;
};

} // namespace

/// What holds for all data, tried on random data.
class TestProperties : public QObject
{
    Q_OBJECT

private slots:
    void savedRecordsComeBack();
    void textsAreReadAsJson();
    void modelAgreesWithReference();
};

void TestProperties::savedRecordsComeBack()
{
    const quint32 seed = testSeed();
    Author author(seed);
    const Folder folder;
    const QString path = folder.path(QStringLiteral("Apps.csv"));
    for (int round = 0; round < 300; ++round) {
        QList<AppConfig> apps;
        for (int count = author.below(20); count > 0; --count)
            apps.append(author.app());
        const QByteArray where = QStringLiteral("Seed %1, round %2").arg(seed).arg(round).toUtf8();
        QVERIFY2(writeProject(path, apps), where.constData());
        const QByteArray saved = folder.read(QStringLiteral("Apps.csv"));

        QList<AppConfig> loaded;
        QVERIFY2(readProject(path, &loaded), where.constData());
        QVERIFY2(loaded == apps, where.constData());
        QVERIFY2(writeProject(path, loaded), where.constData());
        QVERIFY2(folder.read(QStringLiteral("Apps.csv")) == saved, where.constData());
    }
}

/// Whatever the shorter way is by which plain texts are read.
void TestProperties::textsAreReadAsJson()
{
    const quint32 seed = testSeed();
    Author author(seed);
    const QString pieces = QStringLiteral("\"\"\"\"{}[]:,,\\nu0041 a\u00e9\ufffe\u0001") + QChar(0xd83d);
    int understood = 0;
    for (int round = 0; round < 20'000; ++round) {
        QString cell = QStringLiteral("{\"de\":\"Uhr\",\"en\":\"Clock\"}");
        for (int count = author.below(4); count > 0; --count) {
            const int place = author.below(static_cast<int>(cell.size()));
            if (author.below(2) == 0)
                cell.insert(place, pieces.at(author.below(static_cast<int>(pieces.size()))));
            else
                cell.remove(place, 1 + author.below(3));
        }
        QJsonParseError error;
        const QVariantMap members = QJsonDocument::fromJson(cell.toUtf8(), &error).object().toVariantMap();
        const std::optional<AppConfig> app = appFromCells({cell, {}, {}, {}, {}, QStringLiteral("{}"), {}});
        const QByteArray where = QStringLiteral("Seed %1, round %2: %3").arg(seed).arg(round).arg(cell).toUtf8();
        QVERIFY2(app.has_value() == (error.error == QJsonParseError::NoError), where.constData());
        if (!app)
            continue;
        ++understood;
        QVERIFY2(app->names.size() == members.size(), where.constData());
        for (auto name = app->names.cbegin(); name != app->names.cend(); ++name) {
            QVERIFY2(members.contains(name.key()), where.constData());
            QVERIFY2(name.value() == members.value(name.key()).toString(), where.constData());
        }
    }
    QVERIFY(understood > 1'000);
}

void TestProperties::modelAgreesWithReference()
{
    const quint32 seed = testSeed();
    Author author(seed);
    AppConfigModel model;
    const QSignalSpy changes(&model, &AppConfigModel::appsChanged);
    const QSignalSpy moves(&model, &AppConfigModel::currentIndexChanged);

    QList<AppConfig> apps;
    int index = -1;
    bool modified = false;
    int changed = 0;
    int moved = 0;
    const auto isCurrent = [&] { return index >= 0 && index < apps.size(); };
    const std::array<std::function<void()>, 7> actions{
        [&] {
            model.createNew();
            AppConfig made;
            made.names.insert(QStringLiteral("en"), QStringLiteral("[New App]"));
            apps.append(made);
            index = static_cast<int>(apps.size()) - 1;
            modified = true;
            ++changed;
        },
        [&] {
            index = author.below(static_cast<int>(apps.size()) + 4) - 2;
            model.setIndex(index);
            ++moved;
        },
        [&] {
            model.removeCurrent();
            if (isCurrent())
                apps.removeAt(index);
            index = std::min(index, static_cast<int>(apps.size()) - 1);
            modified = true;
            ++changed;
        },
        [&] {
            const AppConfig next = author.app();
            QList<int> types;
            QList<qint32> ids;
            for (int count = author.below(6); count > 0; --count) {
                types.append(author.below(21));
                ids.append(TX_IDS[static_cast<size_t>(types.constLast())]);
            }
            model.applyChanges(next.names, next.author, next.version.toString(), next.date, next.icon,
                               firmwareText(next.minTxVersion), types);
            if (!isCurrent())
                return;
            const AppConfig old = apps.at(index);
            apps[index] = next;
            apps[index].hardware = ids;
            apps[index].files = old.files;
            apps[index].descriptions = old.descriptions;
            modified = true;
            ++changed;
        },
        [&] {
            const QStringList files = author.files();
            model.setAppFiles(files);
            if (isCurrent()) {
                apps[index].files = files;
                modified = true;
            }
            ++changed;
        },
        [&] {
            const QMap<QString, QString> descriptions = author.texts();
            model.setDescriptionFiles(descriptions);
            if (isCurrent()) {
                apps[index].descriptions = descriptions;
                modified = true;
            }
            ++changed;
        },
        [&] {
            if (author.below(10) > 0)
                return;
            model.clear();
            apps.clear();
            index = -1;
            modified = false;
            ++changed;
        },
    };

    for (int step = 0; step < 5000; ++step) {
        actions.at(static_cast<size_t>(author.below(static_cast<int>(actions.size()))))();
        const bool same = model.apps == apps && model.index == index && model.modified == modified
                          && changes.size() == changed && moves.size() == moved
                          && model.getCurrentCfg() == (isCurrent() ? apps.at(index) : AppConfig());
        QVERIFY2(same, qPrintable(QStringLiteral("Seed %1, step %2").arg(seed).arg(step)));
    }
}

CATALIST_TEST(TestProperties)
#include "tst_properties.moc"
