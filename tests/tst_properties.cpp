#include "io/projectfile.h"
#include "io/replacefile.h"
#include "model/appconfigmodel.h"

#include "folder.h"
#include "seed.h"
#include "testrunner.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonParseError>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

/// Random records that the project file can hold.
class Author
{
public:
    explicit Author(quint32 seed) : random(seed) { }

    int below(int bound) { return static_cast<int>(random.bounded(bound)); }

    /// Without characters that break a cell.
    QString text(int longest)
    {
        static const QString characters =
            u"ab Z09\"'\\{}[]:|/%#?<>&\u00e9\u0130\u0131\u05d0\u0645\u65e5\u200f\u00a0\t"_s;
        QString result;
        for (int length = below(longest + 1); length > 0; --length) {
            if (below(20) == 0)
                result += u"\U0001f6e9"_s;
            else
                result += characters.at(below(static_cast<int>(characters.size())));
        }
        return result;
    }

    /// In JSON, line ends and commas are possible, too.
    QMap<QString, QString> texts()
    {
        QMap<QString, QString> map;
        for (int count = below(5); count > 0; --count)
            map.insert(text(3), text(10) + QStringList{QString(), u"\n"_s, u",\r"_s}.at(below(3)) + text(5));
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
            list.append(u'x' + text(8) + u'y');
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

/// Properties that must hold for all data, tested with random data.
class TestProperties : public QObject
{
    Q_OBJECT

private slots:
    void savedRecordsComeBack();
    void modelAgreesWithReference();
};

void TestProperties::savedRecordsComeBack()
{
    const quint32 seed = testSeed();
    Author author(seed);
    const Folder folder;
    const QString path = folder.path(u"Apps.csv"_s);
    for (int round = 0; round < 300; ++round) {
        QList<AppConfig> apps;
        for (int count = author.below(20); count > 0; --count)
            apps.append(author.app());
        const QByteArray where = u"Seed %1, round %2"_s.arg(seed).arg(round).toUtf8();
        QVERIFY2(replaceFile(path, projectContent(apps)), where.constData());
        const QByteArray saved = folder.read(u"Apps.csv"_s);

        QList<AppConfig> loaded;
        QVERIFY2(readProject(path, &loaded), where.constData());
        QVERIFY2(loaded == apps, where.constData());
        QVERIFY2(replaceFile(path, projectContent(loaded)), where.constData());
        QVERIFY2(folder.read(u"Apps.csv"_s) == saved, where.constData());
    }
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
            made.names.insert(u"en"_s, u"[New App]"_s);
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
        QVERIFY2(same, qPrintable(u"Seed %1, step %2"_s.arg(seed).arg(step)));
    }
}

CATALIST_TEST(TestProperties)
#include "tst_properties.moc"
