#include "testrunner.h"
#include "webviewertest.h"

#include <QElapsedTimer>
#include <QNetworkRequest>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

class TestSimpleWebViewerDownloads : public ViewerTest
{
    Q_OBJECT

private slots:
    void loadsFiveAtATime();
    void loadsTheNextFiveAfterTheFirstFive();
    void startsNoMoreThanFive();
    void givesADownloadFiveSeconds();

    void abortFailsEveryDownload();
    void abortOfTheOnlyDownloadStoresTheErrorPage();

    void clearForgetsTheCache();
    void clearForgetsDownloads();
    void clearMakesRoomForDownloads();

    void ignoresForeignReplies();
    void endsWithDownloadsPending_data();
    void endsWithDownloadsPending();
};

void TestSimpleWebViewerDownloads::loadsFiveAtATime()
{
    QList<QUrl> urls;
    QStringList paths;
    for (int i = 1; i <= 6; ++i) {
        paths += u"/%1"_s.arg(i);
        urls += server->url(paths.constLast());
        server->serve(paths.constLast(), {.body = picture(QColor(Qt::red).darker(100 + 10 * i))});
        server->hold(paths.constLast());
    }
    viewer->setUpdatesEnabled(false); // painting between two replies would request the sixth
    viewer->setHtml(htmlWithImages(urls));
    QCOMPARE(watch->running().size(), 5);
    QTRY_COMPARE(server->openRequests(), 5);
    QCOMPARE(server->requests(paths.constLast()), 0);

    for (qsizetype i = 0; i < 4; ++i) {
        server->release(paths.at(i));
        QTRY_COMPARE(watch->deleted.size(), i + 1);
    }
    QCOMPARE(viewer->reloads, 0);
    QCOMPARE(watch->running().size(), 1);
    server->release(paths.at(4));
    QTRY_COMPARE(viewer->reloads, 1);
    QTRY_COMPARE(server->requests(paths.constLast()), 1);
    viewer->setUpdatesEnabled(true);
    for (int i = 1; i <= 5; ++i)
        QVERIFY(hasPicture(QColor(Qt::red).darker(100 + 10 * i)));
    QVERIFY(!hasPicture(QColor(Qt::red).darker(160)));

    server->release(paths.constLast());
    QTRY_COMPARE(viewer->reloads, 2);
    QVERIFY(hasPicture(QColor(Qt::red).darker(160)));
    QCOMPARE(server->requests().size(), 6);
    QCOMPARE(server->mostOpenRequests(), 5);
}

void TestSimpleWebViewerDownloads::loadsTheNextFiveAfterTheFirstFive()
{
    server->hold(u"/first"_s);
    server->hold(u"/then"_s);
    QList<QUrl> urls;
    for (int i = 0; i < 11; ++i)
        urls += server->url((i < 5 ? u"/first?%1"_s : u"/then?%1"_s).arg(i));
    viewer->setUpdatesEnabled(false); // painting between two replies would request the others
    viewer->setHtml(htmlWithImages(urls));
    QTRY_COMPARE(server->requests(u"/first"_s), 5);

    server->release(u"/first"_s);
    QTRY_COMPARE(viewer->reloads, 1);
    QTRY_COMPARE(watch->running().size(), 5);
    QTRY_COMPARE(server->requests(u"/then"_s), 5);
    server->release(u"/then"_s);
    QTRY_COMPARE(viewer->reloads, 3);
    QCOMPARE(server->requests(u"/then"_s), 6);
    QCOMPARE(server->mostOpenRequests(), 5);
}

void TestSimpleWebViewerDownloads::startsNoMoreThanFive()
{
    server->hold(u"/a"_s);
    const QUrl sixth = server->url(u"/sixth"_s);
    for (int i = 0; i < 5; ++i)
        viewer->downloadResource(server->url(u"/a?%1"_s.arg(i)));
    viewer->downloadResource(sixth);
    QVERIFY(!viewer->loadResource(STYLE_SHEET, sixth).isValid());
    QVERIFY(!viewer->loadResource(PAGE, sixth).isValid());
    QCOMPARE(watch->running().size(), 5);

    server->release(u"/a"_s);
    QTRY_COMPARE(viewer->reloads, 1);
    QCOMPARE(server->requests(u"/sixth"_s), 0);
    viewer->downloadResource(sixth);
    QTRY_COMPARE(viewer->reloads, 2);
    QCOMPARE(server->requests(u"/sixth"_s), 1);
}

void TestSimpleWebViewerDownloads::givesADownloadFiveSeconds()
{
    server->serve(u"/quick"_s, {.body = picture(Qt::green)});
    server->serve(u"/never"_s, {.body = picture(Qt::red)});
    server->hold(u"/never"_s);
    const QString html = htmlWithImages({server->url(u"/never"_s), server->url(u"/quick"_s)});
    QElapsedTimer clock;
    clock.start();
    viewer->setHtml(html);
    QTRY_COMPARE(watch->deleted, QList<QUrl>{server->url(u"/quick"_s)});
    QTRY_COMPARE(server->openRequests(), 1);
    QCOMPARE(viewer->reloads, 0);

    QTRY_COMPARE_WITH_TIMEOUT(viewer->reloads, 1, 8000);
    QVERIFY2(clock.elapsed() >= 4500, qPrintable(QString::number(clock.elapsed())));
    QVERIFY2(clock.elapsed() <= 8000, qPrintable(QString::number(clock.elapsed())));
    QTRY_COMPARE(server->openRequests(), 0);
    QVERIFY(hasPicture(Qt::green));
    QVERIFY(!hasPicture(Qt::red));

    QTRY_VERIFY(watch->running().isEmpty());
    server->release(u"/never"_s);
    viewer->setHtml(html);
    QVERIFY(watch->running().isEmpty());
    QVERIFY(!hasPicture(Qt::red));

    viewer->clear();
    viewer->setHtml(html);
    QTRY_COMPARE(viewer->reloads, 2);
    QVERIFY(hasPicture(Qt::red));
    QCOMPARE(server->requests(u"/never"_s), 2);
    QCOMPARE(server->requests(u"/quick"_s), 2);
}

void TestSimpleWebViewerDownloads::abortFailsEveryDownload()
{
    const QStringList paths{u"/a"_s, u"/b"_s, u"/c"_s};
    QList<QUrl> urls;
    for (const QString &path : paths) {
        server->hold(path);
        server->serve(path, {.body = picture(Qt::red)});
        urls += server->url(path);
    }
    viewer->setHtml(htmlWithImages(urls));
    QTRY_COMPARE(server->openRequests(), 3);

    viewer->abort();
    QTRY_COMPARE(viewer->reloads, 1);
    QTRY_COMPARE(server->openRequests(), 0);
    QTRY_COMPARE(watch->deleted.size(), 3);
    QCOMPARE(viewer->reloads, 1);
    for (const QUrl &url : urls)
        QVERIFY(!viewer->loadResource(IMAGE, url).isValid());
    viewer->setHtml(htmlWithImages(urls));
    QVERIFY(watch->running().isEmpty());
    viewer->abort();
    QCOMPARE(viewer->reloads, 1);
}

void TestSimpleWebViewerDownloads::abortOfTheOnlyDownloadStoresTheErrorPage()
{
    server->hold(u"/a"_s);
    viewer->downloadResource(server->url(u"/a"_s));
    viewer->abort();
    QTRY_COMPARE(viewer->reloads, 1);
    QCOMPARE(viewer->loadResource(STYLE_SHEET, server->url(u"/a"_s)), QVariant(ERROR_PAGE));
}

void TestSimpleWebViewerDownloads::clearForgetsTheCache()
{
    server->serve(u"/a.png"_s, {.body = picture(Qt::red)});
    const QString html = u"Text"_s + htmlWithImages({server->url(u"/a.png"_s)});
    viewer->setHtml(html);
    QTRY_COMPARE(viewer->reloads, 1);
    QVERIFY(hasPicture(Qt::red));

    QVERIFY(QMetaObject::invokeMethod(viewer.get(), "clear"));
    QVERIFY(viewer->document()->isEmpty());
    server->serve(u"/a.png"_s, {.body = picture(Qt::green)});
    viewer->setHtml(html);
    QTRY_COMPARE(viewer->reloads, 2);
    QVERIFY(hasPicture(Qt::green));
    QCOMPARE(server->requests(u"/a.png"_s), 2);
}

void TestSimpleWebViewerDownloads::clearForgetsDownloads()
{
    server->serve(u"/a.png"_s, {.body = picture(Qt::red)});
    server->hold(u"/a.png"_s);
    const QUrl url = server->url(u"/a.png"_s);
    viewer->setHtml(htmlWithImages({url}));
    QTRY_COMPARE(server->openRequests(), 1);

    viewer->clear();
    viewer->abort();
    QCOMPARE(watch->running().size(), 1);
    QVERIFY(!watch->running().constFirst()->isFinished());
    server->release(u"/a.png"_s);
    QTRY_COMPARE(watch->deleted, QList<QUrl>{url});
    QCOMPARE(viewer->reloads, 0);
    QVERIFY(viewer->document()->isEmpty());

    viewer->setHtml(htmlWithImages({url}));
    QVERIFY(!hasPicture(Qt::red));
    QTRY_COMPARE(server->requests(u"/a.png"_s), 2);
}

void TestSimpleWebViewerDownloads::clearMakesRoomForDownloads()
{
    server->hold(u"/old"_s);
    for (int i = 0; i < 5; ++i)
        viewer->downloadResource(server->url(u"/old?%1"_s.arg(i)));
    QTRY_COMPARE(server->openRequests(), 5);
    viewer->clear();
    viewer->downloadResource(server->url(u"/new"_s));
    QCOMPARE(watch->running().size(), 6);
    QTRY_COMPARE(viewer->reloads, 1);
    QCOMPARE(server->openRequests(), 5);
}

void TestSimpleWebViewerDownloads::ignoresForeignReplies()
{
    QNetworkAccessManager manager;
    const QPointer<QNetworkReply> reply = manager.get(QNetworkRequest(server->url(u"/a"_s)));
    QTRY_VERIFY(reply->isFinished());
    QVERIFY(QMetaObject::invokeMethod(viewer.get(), "onReplyFinished", Q_ARG(QNetworkReply*, reply.data())));
    QVERIFY(reply);
    QTRY_VERIFY(!reply);
    QCOMPARE(viewer->reloads, 0);
}

void TestSimpleWebViewerDownloads::endsWithDownloadsPending_data()
{
    QTest::addColumn<bool>("forgotten");
    QTest::newRow("pending") << false;
    QTest::newRow("forgotten by clear") << true;
}

void TestSimpleWebViewerDownloads::endsWithDownloadsPending()
{
    QFETCH(bool, forgotten);
    folder->write(u"a.png"_s, picture(Qt::red));
    server->hold(u"/a"_s);
    viewer->setSearchPaths({u"file:///"_s + folder->path()});
    viewer->setHtml(htmlWithImages({server->url(u"/a"_s).toString()}));
    QTRY_COMPARE(server->openRequests(), 1);
    viewer->setHtml(htmlWithImages({u"a.png"_s}));
    if (forgotten)
        viewer->clear();

    const QSignalSpy changes(viewer.get(), &QTextBrowser::textChanged);
    viewer.reset();
    QTRY_COMPARE(server->openRequests(), 0);
    QCOMPARE(changes.size(), 0);
}

CATALIST_TEST(TestSimpleWebViewerDownloads)
#include "tst_simplewebviewer_downloads.moc"
