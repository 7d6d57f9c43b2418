#include "folder.h"
#include "testrunner.h"

#include <QDir>
#include <QDirIterator>
#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;

/// The includes in src against the table of layers in docs/architecture.md.
class TestLayers : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void includesPointDown_data();
    void includesPointDown();

private:
    /// The highest layer is 0; -1 when the table has no row for the path.
    [[nodiscard]] qsizetype layerOf(const QString &path) const;

    QStringList places; // from the top
};

void TestLayers::initTestCase()
{
    const QString text = QString::fromUtf8(readFile(u"" CATALIST_SOURCE_DIR "/docs/architecture.md"_s));
    static const QRegularExpression row(u"^\\| \\w+ \\| `src/([^`]+)` \\|"_s, QRegularExpression::MultilineOption);
    for (auto match = row.globalMatch(text); match.hasNext();)
        places.append(match.next().captured(1));
    QVERIFY(places.size() > 5);
}

qsizetype TestLayers::layerOf(const QString &path) const
{
    qsizetype layer = -1;
    for (qsizetype i = 0; i < places.size(); ++i) {
        if (path.startsWith(places.at(i)) && (layer < 0 || places.at(i).size() > places.at(layer).size()))
            layer = i;
    }
    return layer;
}

void TestLayers::includesPointDown_data()
{
    QTest::addColumn<QString>("path");
    const QDir src(u"" CATALIST_SOURCE_DIR "/src"_s);
    QDirIterator files(src.path(), {u"*.cpp"_s, u"*.h"_s}, QDir::Files, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString path = src.relativeFilePath(files.next());
        QTest::newRow(qPrintable(path)) << path;
    }
}

void TestLayers::includesPointDown()
{
    QFETCH(QString, path);
    const qsizetype layer = layerOf(path);
    QVERIFY(layer >= 0);
    const QString text = QString::fromUtf8(readFile(u"" CATALIST_SOURCE_DIR "/src/"_s + path));
    static const QRegularExpression include(u"^#include \"([^\"]+/[^\"]+)\""_s, QRegularExpression::MultilineOption);
    for (auto match = include.globalMatch(text); match.hasNext();) {
        const QString included = match.next().captured(1);
        QVERIFY2(layerOf(included) >= layer, qPrintable(included));
    }
}

CATALIST_TEST(TestLayers)
#include "tst_layers.moc"
