#include "folder.h"
#include "httpserver.h"
#include "testrunner.h"
#include "webviewertest.h"

#include <QElapsedTimer>
#include <QNetworkRequest>
#include <QTest>

#include <memory>

class TestSimpleWebViewerDownloads : public QObject
{
    Q_OBJECT

private slots:
    void cleanup();

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

void TestSimpleWebViewerDownloads::cleanup()
{
    QCOMPARE(QApplication::topLevelWidgets().size(), 0);
}

void TestSimpleWebViewerDownloads::loadsFiveAtATime()
{
    HttpServer server;
    QList<QUrl> urls;
    QStringList paths;
    for (int i = 1; i <= 6; ++i) {
        paths += QStringLiteral("/%1").arg(i);
        urls += server.url(paths.constLast());
        server.serve(paths.constLast(), {.body = picture(QColor(Qt::red).darker(100 + 10 * i))});
        server.hold(paths.constLast());
    }
    ReplyWatch watch;
    CountingViewer viewer;
    viewer.setUpdatesEnabled(false); // painting between two replies would ask for the sixth
    viewer.setHtml(htmlWithImages(urls));
    QCOMPARE(watch.running().size(), 5);
    QTRY_COMPARE(server.openRequests(), 5);
    QCOMPARE(server.requests(paths.constLast()), 0);

    for (qsizetype i = 0; i < 4; ++i) {
        server.release(paths.at(i));
        QTRY_COMPARE(watch.deleted.size(), i + 1);
    }
    QCOMPARE(viewer.reloads, 0);
    QCOMPARE(watch.running().size(), 1);
    server.release(paths.at(4));
    QTRY_COMPARE(viewer.reloads, 1);
    QTRY_COMPARE(server.requests(paths.constLast()), 1);
    viewer.setUpdatesEnabled(true);
    for (int i = 1; i <= 5; ++i)
        QVERIFY(shows(viewer, QColor(Qt::red).darker(100 + 10 * i)));
    QVERIFY(!shows(viewer, QColor(Qt::red).darker(160)));

    server.release(paths.constLast());
    QTRY_COMPARE(viewer.reloads, 2);
    QVERIFY(shows(viewer, QColor(Qt::red).darker(160)));
    QCOMPARE(server.requests().size(), 6);
    QCOMPARE(server.mostOpenRequests(), 5);
}

void TestSimpleWebViewerDownloads::loadsTheNextFiveAfterTheFirstFive()
{
    HttpServer server;
    server.hold(QStringLiteral("/first"));
    server.hold(QStringLiteral("/then"));
    QList<QUrl> urls;
    for (int i = 0; i < 11; ++i)
        urls += server.url((i < 5 ? QStringLiteral("/first?%1") : QStringLiteral("/then?%1")).arg(i));
    ReplyWatch watch;
    CountingViewer viewer;
    viewer.setUpdatesEnabled(false); // painting between two replies would ask for the others
    viewer.setHtml(htmlWithImages(urls));
    QTRY_COMPARE(server.requests(QStringLiteral("/first")), 5);

    server.release(QStringLiteral("/first"));
    QTRY_COMPARE(viewer.reloads, 1);
    QTRY_COMPARE(watch.running().size(), 5);
    QTRY_COMPARE(server.requests(QStringLiteral("/then")), 5);
    server.release(QStringLiteral("/then"));
    QTRY_COMPARE(viewer.reloads, 3);
    QCOMPARE(server.requests(QStringLiteral("/then")), 6);
    QCOMPARE(server.mostOpenRequests(), 5);
}

void TestSimpleWebViewerDownloads::startsNoMoreThanFive()
{
    HttpServer server;
    server.hold(QStringLiteral("/a"));
    ReplyWatch watch;
    CountingViewer viewer;
    const QUrl sixth = server.url(QStringLiteral("/sixth"));
    for (int i = 0; i < 5; ++i)
        viewer.downloadResource(server.url(QStringLiteral("/a?%1").arg(i)));
    viewer.downloadResource(sixth);
    QVERIFY(!viewer.loadResource(STYLE_SHEET, sixth).isValid());
    QVERIFY(!viewer.loadResource(PAGE, sixth).isValid());
    QCOMPARE(watch.running().size(), 5);

    server.release(QStringLiteral("/a"));
    QTRY_COMPARE(viewer.reloads, 1);
    QCOMPARE(server.requests(QStringLiteral("/sixth")), 0);
    viewer.downloadResource(sixth);
    QTRY_COMPARE(viewer.reloads, 2);
    QCOMPARE(server.requests(QStringLiteral("/sixth")), 1);
}

void TestSimpleWebViewerDownloads::givesADownloadFiveSeconds()
{
    HttpServer server;
    server.serve(QStringLiteral("/quick"), {.body = picture(Qt::green)});
    server.serve(QStringLiteral("/never"), {.body = picture(Qt::red)});
    server.hold(QStringLiteral("/never"));
    const QString html = htmlWithImages({server.url(QStringLiteral("/never")), server.url(QStringLiteral("/quick"))});
    ReplyWatch watch;
    CountingViewer viewer;
    QElapsedTimer clock;
    clock.start();
    viewer.setHtml(html);
    QTRY_COMPARE(watch.deleted, QList<QUrl>{server.url(QStringLiteral("/quick"))});
    QTRY_COMPARE(server.openRequests(), 1);
    QCOMPARE(viewer.reloads, 0);

    QTRY_COMPARE_WITH_TIMEOUT(viewer.reloads, 1, 8000);
    QVERIFY2(clock.elapsed() >= 4500, qPrintable(QString::number(clock.elapsed())));
    QVERIFY2(clock.elapsed() <= 8000, qPrintable(QString::number(clock.elapsed())));
    QTRY_COMPARE(server.openRequests(), 0);
    QVERIFY(shows(viewer, Qt::green));
    QVERIFY(!shows(viewer, Qt::red));

    QTRY_VERIFY(watch.running().isEmpty());
    server.release(QStringLiteral("/never"));
    viewer.setHtml(html);
    QVERIFY(watch.running().isEmpty());
    QVERIFY(!shows(viewer, Qt::red));

    viewer.clear();
    viewer.setHtml(html);
    QTRY_COMPARE(viewer.reloads, 2);
    QVERIFY(shows(viewer, Qt::red));
    QCOMPARE(server.requests(QStringLiteral("/never")), 2);
    QCOMPARE(server.requests(QStringLiteral("/quick")), 2);
}

void TestSimpleWebViewerDownloads::abortFailsEveryDownload()
{
    HttpServer server;
    const QStringList paths{QStringLiteral("/a"), QStringLiteral("/b"), QStringLiteral("/c")};
    QList<QUrl> urls;
    for (const QString &path : paths) {
        server.hold(path);
        server.serve(path, {.body = picture(Qt::red)});
        urls += server.url(path);
    }
    ReplyWatch watch;
    CountingViewer viewer;
    viewer.setHtml(htmlWithImages(urls));
    QTRY_COMPARE(server.openRequests(), 3);

    viewer.abort();
    QTRY_COMPARE(viewer.reloads, 1);
    QTRY_COMPARE(server.openRequests(), 0);
    QTRY_COMPARE(watch.deleted.size(), 3);
    QCOMPARE(viewer.reloads, 1);
    for (const QUrl &url : urls)
        QVERIFY(!viewer.loadResource(IMAGE, url).isValid());
    viewer.setHtml(htmlWithImages(urls));
    QVERIFY(watch.running().isEmpty());
    viewer.abort();
    QCOMPARE(viewer.reloads, 1);
}

void TestSimpleWebViewerDownloads::abortOfTheOnlyDownloadStoresTheErrorPage()
{
    HttpServer server;
    server.hold(QStringLiteral("/a"));
    CountingViewer viewer;
    viewer.downloadResource(server.url(QStringLiteral("/a")));
    viewer.abort();
    QTRY_COMPARE(viewer.reloads, 1);
    QCOMPARE(viewer.loadResource(STYLE_SHEET, server.url(QStringLiteral("/a"))), QVariant(ERROR_PAGE));
}

void TestSimpleWebViewerDownloads::clearForgetsTheCache()
{
    HttpServer server;
    server.serve(QStringLiteral("/a.png"), {.body = picture(Qt::red)});
    const QString html = QStringLiteral("Text") + htmlWithImages({server.url(QStringLiteral("/a.png"))});
    CountingViewer viewer;
    viewer.setHtml(html);
    QTRY_COMPARE(viewer.reloads, 1);
    QVERIFY(shows(viewer, Qt::red));

    QVERIFY(QMetaObject::invokeMethod(&viewer, "clear"));
    QVERIFY(viewer.document()->isEmpty());
    server.serve(QStringLiteral("/a.png"), {.body = picture(Qt::green)});
    viewer.setHtml(html);
    QTRY_COMPARE(viewer.reloads, 2);
    QVERIFY(shows(viewer, Qt::green));
    QCOMPARE(server.requests(QStringLiteral("/a.png")), 2);
}

void TestSimpleWebViewerDownloads::clearForgetsDownloads()
{
    HttpServer server;
    server.serve(QStringLiteral("/a.png"), {.body = picture(Qt::red)});
    server.hold(QStringLiteral("/a.png"));
    const QUrl url = server.url(QStringLiteral("/a.png"));
    ReplyWatch watch;
    CountingViewer viewer;
    viewer.setHtml(htmlWithImages({url}));
    QTRY_COMPARE(server.openRequests(), 1);

    viewer.clear();
    viewer.abort();
    QCOMPARE(watch.running().size(), 1);
    QVERIFY(!watch.running().constFirst()->isFinished());
    server.release(QStringLiteral("/a.png"));
    QTRY_COMPARE(watch.deleted, QList<QUrl>{url});
    QCOMPARE(viewer.reloads, 0);
    QVERIFY(viewer.document()->isEmpty());

    viewer.setHtml(htmlWithImages({url}));
    QVERIFY(!shows(viewer, Qt::red));
    QTRY_COMPARE(server.requests(QStringLiteral("/a.png")), 2);
}

void TestSimpleWebViewerDownloads::clearMakesRoomForDownloads()
{
    HttpServer server;
    ReplyWatch watch;
    CountingViewer viewer;
    server.hold(QStringLiteral("/old"));
    for (int i = 0; i < 5; ++i)
        viewer.downloadResource(server.url(QStringLiteral("/old?%1").arg(i)));
    QTRY_COMPARE(server.openRequests(), 5);
    viewer.clear();
    viewer.downloadResource(server.url(QStringLiteral("/new")));
    QCOMPARE(watch.running().size(), 6);
    QTRY_COMPARE(viewer.reloads, 1);
    QCOMPARE(server.openRequests(), 5);
}

void TestSimpleWebViewerDownloads::ignoresForeignReplies()
{
    HttpServer server;
    QNetworkAccessManager manager;
    const QPointer<QNetworkReply> reply = manager.get(QNetworkRequest(server.url(QStringLiteral("/a"))));
    QTRY_VERIFY(reply->isFinished());
    CountingViewer viewer;
    QVERIFY(QMetaObject::invokeMethod(&viewer, "onReplyFinished", Q_ARG(QNetworkReply*, reply.data())));
    QVERIFY(reply);
    QTRY_VERIFY(!reply);
    QCOMPARE(viewer.reloads, 0);
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
    const Folder folder;
    folder.write(QStringLiteral("a.png"), picture(Qt::red));
    HttpServer server;
    server.hold(QStringLiteral("/a"));
    auto viewer = std::make_unique<CountingViewer>();
    viewer->setSearchPaths({QStringLiteral("file:///") + folder.path()});
    viewer->setHtml(htmlWithImages({server.url(QStringLiteral("/a")).toString()}));
    QTRY_COMPARE(server.openRequests(), 1);
    viewer->setHtml(htmlWithImages({QStringLiteral("a.png")}));
    if (forgotten)
        viewer->clear();

    int changes = 0;
    connect(viewer.get(), &QTextBrowser::textChanged, this, [&changes] { ++changes; });
    viewer.reset();
    QTRY_COMPARE(server.openRequests(), 0);
    QCOMPARE(changes, 0);
}

CATALIST_TEST(TestSimpleWebViewerDownloads)
#include "tst_simplewebviewer_downloads.moc"
