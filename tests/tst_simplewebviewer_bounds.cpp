#include "memory.h"
#include "testrunner.h"
#include "webviewertest.h"

#include <QElapsedTimer>
#include <QFile>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 MEGABYTE = 1000LL * 1000;

} // namespace

/// Files that are not regular or too large, and small files of huge pictures.
class TestSimpleWebViewerBounds : public ViewerTest
{
    Q_OBJECT

private slots:
    void unreadableFiles_data();
    void unreadableFiles();
    void largestFile();
    void filesByNameAlone();
    void manyPictures_data();
    void manyPictures();
};

void TestSimpleWebViewerBounds::unreadableFiles_data()
{
    QTest::addColumn<QString>("file"); // relative to the folder, or absolute
    QTest::addColumn<QString>("html"); // %1 is the URL, %2 the path, %3 the name; if empty, the file is the page
    const QList<std::pair<const char *, QString>> files{
        {"pipe", u"pipe"_s},
        {"endless device", u"/dev/zero"_s},
        {"sparse file", u"sparse"_s},
        {"file of the system", u"/proc/self/pagemap"_s},
    };
    const QList<std::pair<const char *, QString>> places{
        {"picture", u"<img src=\"%1\">"_s},
        {"picture by its path", u"<img src=\"%2\">"_s},
        {"background", u"<body background=\"%1\">"_s},
        {"style sheet", u"<head><link rel=\"stylesheet\" href=\"%1\"></head>"_s},
        {"imported style sheet", u"<style>@import url(%1);</style>"_s},
        {"page", {}},
    };
    for (const auto &[fileName, file] : files) {
        for (const auto &[placeName, html] : places)
            QTest::addRow("%s as a %s", fileName, placeName) << file << html;
        if (!file.startsWith(u'/'))
            QTest::addRow("%s as a relative picture", fileName) << file << u"<img src=\"%3\">"_s;
    }
}

void TestSimpleWebViewerBounds::unreadableFiles()
{
#ifndef Q_OS_UNIX
    QSKIP("There are no such files here.");
#endif
    QFETCH(QString, file);
    QFETCH(QString, html);
    folder->makePipe(u"pipe"_s);
    QFile sparse(folder->path(u"sparse"_s));
    QVERIFY(sparse.open(QIODevice::WriteOnly) && sparse.resize(1'000'000 * MEGABYTE));
    folder->write(u"good.png"_s, picture(Qt::red));
    const QString path = file.startsWith(u'/') ? file : folder->path(file);
    const QUrl url = QUrl::fromLocalFile(path);

    viewer->setSearchPaths({u"file:///"_s + folder->path()});
    resetPeakMemory();
    const qint64 before = memoryValue("VmRSS:");
    QElapsedTimer clock;
    clock.start();
    const QString page = html + u"<p>text</p>"_s;
    if (html.isEmpty())
        viewer->setSource(url);
    else
        viewer->setHtml(QString(page).replace(u"%1"_s, url.toString()).replace(u"%2"_s, path).replace(u"%3"_s, file));
    viewer->grab();
    if (html.contains(u"%3"_s) || html.contains(u"%2"_s))
        QTRY_COMPARE(viewer->reloads, 1);
    QVERIFY(!viewer->loadResource(IMAGE, url).isValid());
    QCOMPARE(viewer->toPlainText().trimmed().endsWith(u"text"_s), !html.isEmpty());
    QVERIFY2(clock.elapsed() < 2000, QByteArray::number(clock.elapsed()).constData());
    if (before > 0)
        QVERIFY(memoryValue("VmHWM:") - before < 100 * MEGABYTE);

    viewer->clear();
    viewer->setHtml(htmlWithImages({QUrl::fromLocalFile(folder->path(u"good.png"_s))}));
    QTRY_VERIFY(hasPicture(Qt::red));
}

void TestSimpleWebViewerBounds::largestFile()
{
    constexpr qint64 LARGEST = 32 * MEGABYTE;
    folder->write(u"large.png"_s, picture(Qt::red) + QByteArray(LARGEST - picture(Qt::red).size(), '\0'));
    folder->write(u"larger.png"_s, picture(Qt::green) + QByteArray(LARGEST + 1 - picture(Qt::green).size(), '\0'));
    viewer->setSearchPaths({u"file:///"_s + folder->path()});
    const QString large = QUrl::fromLocalFile(folder->path(u"large.png"_s)).toString();
    const QString larger = QUrl::fromLocalFile(folder->path(u"larger.png"_s)).toString();
    for (const QStringList &names : {QStringList{large, larger}, QStringList{u"large.png"_s, u"larger.png"_s}}) {
        viewer->clear();
        viewer->setHtml(htmlWithImages(names));
        QTRY_VERIFY(hasPicture(Qt::red));
        QVERIFY(!hasPicture(Qt::green));
    }
}

void TestSimpleWebViewerBounds::filesByNameAlone()
{
    folder->write(u"a.png"_s, picture(Qt::red));
    viewer->setSearchPaths({u"file:///"_s + folder->path(u"none"_s)});
    viewer->setHtml(htmlWithImages({folder->path(u"a.png"_s)}));
    QVERIFY(hasPicture(Qt::red));
}

void TestSimpleWebViewerBounds::manyPictures_data()
{
    QTest::addColumn<QString>("address");
    QTest::newRow("files") << u"file://%1/%2.png"_s;
    QTest::newRow("one file under many names") << u"file://%1/0.png?%2"_s;
    QTest::newRow("in the addresses") << u"data:image/png;name=%2;base64,%3"_s;
    QTest::newRow("as relative names") << u"%2.png"_s;
    QTest::newRow("downloads under many names") << u"%4?%2"_s;
}

void TestSimpleWebViewerBounds::manyPictures()
{
    QFETCH(QString, address);
    // 121 MB when decoded.
    const QByteArray png = picture(Qt::red, {5500, 5500});
    server->serve(u"/a.png"_s, {.body = png});
    QString html;
    for (int i = 0; i < 40; ++i) {
        folder->write(u"%1.png"_s.arg(i), png);
        QString name = address;
        name.replace(u"%1"_s, folder->path()).replace(u"%2"_s, QString::number(i));
        name.replace(u"%3"_s, QString::fromLatin1(png.toBase64()))
            .replace(u"%4"_s, server->url(u"/a.png"_s).toString());
        html += u"<img width=\"20\" height=\"20\" src=\""_s + name + u"\"><br>"_s;
    }
    viewer->setSearchPaths({u"file:///"_s + folder->path()});
    viewer->resize(300, 1200);
    resetPeakMemory();
    const qint64 before = memoryValue("VmRSS:");
    const bool isLoadedLater = !address.startsWith(u"file"_s) && !address.startsWith(u"data"_s);
    viewer->setHtml(html);
    if (isLoadedLater)
        QTRY_VERIFY_WITH_TIMEOUT(viewer->reloads > 0, 20000);
    viewer->grab();
    if (before > 0) {
        const qint64 more = memoryValue("VmHWM:") - before;
        QVERIFY2(more < 900 * MEGABYTE, QByteArray::number(more / MEGABYTE).constData());
    }
    // Four fit into 512 MB.
    QCOMPARE(pixelsOf(*viewer, Qt::red), 4 * 20 * 20);
    viewer->setHtml(htmlWithImages({QUrl::fromLocalFile(folder->path(u"0.png"_s)).toString()}));
    viewer->setHtml(html);
    viewer->grab();
    QCOMPARE(pixelsOf(*viewer, Qt::red), 4 * 20 * 20);
}

CATALIST_TEST(TestSimpleWebViewerBounds)
#include "tst_simplewebviewer_bounds.moc"
