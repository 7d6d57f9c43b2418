#include "httpserver.h"
#include "testrunner.h"
#include "webviewertest.h"

#include <QDesktopServices>
#include <QFile>
#include <QNetworkRequest>
#include <QTest>
#include <QTextCursor>

namespace {

const QString LOADING_PAGE = QStringLiteral("<!DOCTYPE html><html><head><meta charset=\"utf-8\"></head><body>"
                                            "<h1>Loading...</h1></body></html>");

class LinkTarget : public QObject
{
    Q_OBJECT

public:
    QList<QUrl> opened;

public slots:
    void open(const QUrl &url) { opened.append(url); }
};

} // namespace

class TestSimpleWebViewer : public QObject
{
    Q_OBJECT

private slots:
    void cleanup();

    void declaresItsSlots();
    void handsLinksToTheDesktop();
    void followsRedirectsThatAreNoLessSafe();
    void passesOtherTypesThrough();

    void showsAPageAfterLoading();
    void showsARedirectedPage();
    void showsAnErrorForAFailedPage_data();
    void showsAnErrorForAFailedPage();
    void keepsMessagePagesToTheOnlyEntry();
    void answersTheOnlyPageWithTheLoadingPage();
    void resolvesNamesAgainstThePage();
    void keepsEverythingForTheSameSource();
    void dropsEverythingForAnotherSource();

    void previewStyleSheet();
};

void TestSimpleWebViewer::cleanup()
{
    QCOMPARE(QApplication::topLevelWidgets().size(), 0);
}

void TestSimpleWebViewer::declaresItsSlots()
{
    const QMetaObject &meta = SimpleWebViewer::staticMetaObject;
    QCOMPARE(meta.methodCount() - meta.methodOffset(), 2);
    QVERIFY(meta.indexOfSlot("clear()") >= meta.methodOffset());
    QVERIFY(meta.indexOfSlot("onReplyFinished(QNetworkReply*)") >= meta.methodOffset());
}

void TestSimpleWebViewer::handsLinksToTheDesktop()
{
    HttpServer server;
    server.serve(QStringLiteral("/page"), {.body = "Page"});
    LinkTarget desktop;
    QDesktopServices::setUrlHandler(QStringLiteral("http"), &desktop, "open");
    const auto forget = qScopeGuard([] { QDesktopServices::unsetUrlHandler(QStringLiteral("http")); });
    ReplyWatch watch;
    CountingViewer viewer;
    viewer.setHtml(QStringLiteral("<a href=\"%1\">Link</a>").arg(server.url(QStringLiteral("/page")).toString()));
    QVERIFY(QTest::qWaitForWindowExposed(&viewer));

    QTextCursor inLink(viewer.document());
    inLink.setPosition(2);
    QTest::mouseClick(viewer.viewport(), Qt::LeftButton, Qt::NoModifier, viewer.cursorRect(inLink).center());

    QTRY_COMPARE(desktop.opened, QList<QUrl>{server.url(QStringLiteral("/page"))});
    QVERIFY(viewer.openExternalLinks());
    QCOMPARE(viewer.source(), QUrl());
    QCOMPARE(viewer.toPlainText(), QStringLiteral("Link"));
    QVERIFY(watch.manager.isNull());
}

void TestSimpleWebViewer::followsRedirectsThatAreNoLessSafe()
{
    HttpServer server;
    ReplyWatch watch;
    CountingViewer viewer;
    viewer.downloadResource(server.url(QStringLiteral("/any")));
    QVERIFY(watch.manager);
    QCOMPARE(watch.manager->redirectPolicy(), QNetworkRequest::NoLessSafeRedirectPolicy);
    QVERIFY(!watch.manager->parent());
}

void TestSimpleWebViewer::passesOtherTypesThrough()
{
    HttpServer server;
    const QByteArray sheet = "p { color: #ff0000; }";
    server.serve(QStringLiteral("/sheet.css"), {.body = sheet});
    const QUrl url = server.url(QStringLiteral("/sheet.css"));
    CountingViewer viewer;
    QVERIFY(!viewer.loadResource(STYLE_SHEET, url).isValid());
    QVERIFY(!viewer.loadResource(STYLE_SHEET, url).isValid());
    QTRY_COMPARE(viewer.reloads, 1);
    QCOMPARE(viewer.loadResource(STYLE_SHEET, url), QVariant(sheet));
    QCOMPARE(viewer.loadResource(QTextDocument::UserResource, url), QVariant(sheet));
    QCOMPARE(viewer.loadResource(PAGE, url), QVariant(sheet));
    QCOMPARE(server.requests().size(), 1);
}

void TestSimpleWebViewer::showsAPageAfterLoading()
{
    HttpServer server;
    server.serve(QStringLiteral("/page"), {.body = "<h1>The page</h1>"});
    server.hold(QStringLiteral("/page"));
    CountingViewer viewer;
    viewer.setSource(server.url(QStringLiteral("/page")));
    QCOMPARE(viewer.toPlainText(), QStringLiteral("Loading..."));
    QTRY_COMPARE(server.openRequests(), 1);
    QCOMPARE(viewer.toPlainText(), QStringLiteral("Loading..."));

    server.release(QStringLiteral("/page"));
    QTRY_COMPARE(viewer.reloads, 1);
    QCOMPARE(viewer.toPlainText(), QStringLiteral("The page"));
    QCOMPARE(viewer.source(), server.url(QStringLiteral("/page")));
    QCOMPARE(server.requests(), QStringList{QStringLiteral("/page")});
}

void TestSimpleWebViewer::showsARedirectedPage()
{
    HttpServer server;
    server.redirect(QStringLiteral("/old"), server.url(QStringLiteral("/new")));
    server.serve(QStringLiteral("/new"), {.body = "The page"});
    CountingViewer viewer;
    viewer.setSource(server.url(QStringLiteral("/old")));
    QCOMPARE(viewer.toPlainText(), QStringLiteral("Loading..."));
    QTRY_COMPARE(viewer.reloads, 1);
    QCOMPARE(viewer.toPlainText(), QStringLiteral("The page"));
}

void TestSimpleWebViewer::showsAnErrorForAFailedPage_data()
{
    QTest::addColumn<QString>("failure");
    QTest::newRow("nobody listens") << "unreachable";
    QTest::newRow("not found") << "status";
    QTest::newRow("connection closed") << "dropped";
    QTest::newRow("aborted") << "aborted";
}

void TestSimpleWebViewer::showsAnErrorForAFailedPage()
{
    QFETCH(QString, failure);
    HttpServer server;
    server.serve(QStringLiteral("/status"), {.status = 404, .body = "Page of the server"});
    server.drop(QStringLiteral("/dropped"));
    server.hold(QStringLiteral("/aborted"));
    const QUrl url =
        failure == QLatin1String("unreachable") ? unreachableUrl() : server.url(QLatin1Char('/') + failure);
    ReplyWatch watch;
    CountingViewer viewer;

    viewer.setSource(url);
    QCOMPARE(viewer.toPlainText(), QStringLiteral("Loading..."));
    if (failure == QLatin1String("aborted")) {
        QTRY_COMPARE(server.openRequests(), 1);
        viewer.abort();
    }
    QTRY_COMPARE(viewer.reloads, 1);
    QCOMPARE(viewer.toPlainText(), QStringLiteral("Connection error."));
    QCOMPARE(viewer.loadResource(PAGE, url), QVariant(ERROR_PAGE));
    QTRY_COMPARE(watch.deleted, QList<QUrl>{url});
    QVERIFY(watch.running().isEmpty());
}

void TestSimpleWebViewer::keepsMessagePagesToTheOnlyEntry()
{
    HttpServer server;
    server.serve(QStringLiteral("/other"), {.body = "Other"});
    CountingViewer viewer;
    viewer.downloadResource(server.url(QStringLiteral("/other")));
    QTRY_COMPARE(viewer.reloads, 1);

    const QUrl url = server.url(QStringLiteral("/none"));
    QVERIFY(!viewer.loadResource(PAGE, url).isValid());
    QVERIFY(!viewer.loadResource(PAGE, url).isValid());
    QTRY_COMPARE(viewer.reloads, 2);
    QVERIFY(!viewer.loadResource(PAGE, url).isValid());
    QCOMPARE(viewer.loadResource(PAGE, server.url(QStringLiteral("/other"))), QVariant(QByteArray("Other")));
    QCOMPARE(server.requests(), QStringList({QStringLiteral("/other"), QStringLiteral("/none")}));
}

void TestSimpleWebViewer::answersTheOnlyPageWithTheLoadingPage()
{
    HttpServer server;
    server.serve(QStringLiteral("/page"), {.body = "Page"});
    server.hold(QStringLiteral("/page"));
    const QUrl url = server.url(QStringLiteral("/page"));
    CountingViewer viewer;
    QCOMPARE(viewer.loadResource(PAGE, url), QVariant(LOADING_PAGE));
    QCOMPARE(viewer.loadResource(PAGE, url), QVariant(LOADING_PAGE));
    QVERIFY(!viewer.loadResource(IMAGE, url).isValid());
    QVERIFY(!viewer.loadResource(STYLE_SHEET, url).isValid());
    QTRY_COMPARE(server.openRequests(), 1);

    server.release(QStringLiteral("/page"));
    QTRY_COMPARE(viewer.reloads, 1);
    QCOMPARE(viewer.loadResource(PAGE, url), QVariant(QByteArray("Page")));
    QCOMPARE(server.requests().size(), 1);
}

void TestSimpleWebViewer::resolvesNamesAgainstThePage()
{
    HttpServer server;
    server.serve(QStringLiteral("/folder/page"), {.body = "<img src=\"images/a.png\">"});
    server.serve(QStringLiteral("/folder/images/a.png"), {.body = picture(Qt::red)});
    ReplyWatch watch;
    CountingViewer viewer;
    viewer.setSearchPaths({server.url(QStringLiteral("/elsewhere")).toString()});
    viewer.setSource(server.url(QStringLiteral("/folder/page")));
    QTRY_COMPARE(viewer.reloads, 2);
    QVERIFY(shows(viewer, Qt::red));
    QCOMPARE(server.requests(), QStringList({QStringLiteral("/folder/page"), QStringLiteral("/folder/images/a.png")}));

    QTRY_VERIFY(watch.running().isEmpty());
    watch.deleted.clear();
    QVERIFY(!viewer.loadResource(STYLE_SHEET, QUrl(QStringLiteral("a.css"))).isValid());
    QTRY_COMPARE(watch.deleted, QList<QUrl>{QUrl(QStringLiteral("a.css"))});
    QCOMPARE(server.requests().size(), 2);
}

void TestSimpleWebViewer::keepsEverythingForTheSameSource()
{
    HttpServer server;
    server.serve(QStringLiteral("/page"), {.body = "<img src=\"/a.png\">"});
    server.serve(QStringLiteral("/a.png"), {.body = picture(Qt::red)});
    server.hold(QStringLiteral("/a.png"));
    ReplyWatch watch;
    CountingViewer viewer;
    viewer.setSource(server.url(QStringLiteral("/page")));
    QTRY_COMPARE(server.requests(QStringLiteral("/a.png")), 1);

    viewer.setSource(server.url(QStringLiteral("/page")));
    QCOMPARE(watch.running().size(), 1);
    QCOMPARE(viewer.reloads, 1);
    server.release(QStringLiteral("/a.png"));
    QTRY_COMPARE(viewer.reloads, 2);
    QVERIFY(shows(viewer, Qt::red));

    QTRY_VERIFY(watch.running().isEmpty());
    viewer.setSource(server.url(QStringLiteral("/page")));
    QVERIFY(shows(viewer, Qt::red));
    QVERIFY(watch.running().isEmpty());
    QCOMPARE(server.requests(), QStringList({QStringLiteral("/page"), QStringLiteral("/a.png")}));
}

void TestSimpleWebViewer::dropsEverythingForAnotherSource()
{
    HttpServer server;
    server.serve(QStringLiteral("/one"), {.body = "One <img src=\"/a.png\"><img src=\"/b.png\">"});
    server.serve(QStringLiteral("/two"), {.body = "Two"});
    server.hold(QStringLiteral("/a.png"));
    server.hold(QStringLiteral("/b.png"));
    server.hold(QStringLiteral("/two"));
    CountingViewer viewer;
    viewer.setSource(server.url(QStringLiteral("/one")));
    QTRY_COMPARE(server.openRequests(), 2);
    QVERIFY(viewer.toPlainText().startsWith(QStringLiteral("One")));

    viewer.setSource(server.url(QStringLiteral("/two")));
    QCOMPARE(viewer.toPlainText(), QStringLiteral("Loading..."));
    QTRY_COMPARE(server.requests(QStringLiteral("/two")), 1);
    QTRY_COMPARE(server.openRequests(), 1);
    server.release(QStringLiteral("/two"));
    QTRY_COMPARE(viewer.toPlainText(), QStringLiteral("Two"));

    viewer.setSource(server.url(QStringLiteral("/one")));
    QCOMPARE(viewer.toPlainText(), QStringLiteral("Loading..."));
    QTRY_COMPARE(server.requests(QStringLiteral("/one")), 2);
    QTRY_COMPARE(server.requests(QStringLiteral("/b.png")), 2);
}

void TestSimpleWebViewer::previewStyleSheet()
{
    QFile file(QStringLiteral(":/Resources/Resources/storefrontHtml.css"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    QStringList rules = QString::fromUtf8(file.readAll()).split(QLatin1Char('}'), Qt::SkipEmptyParts);
    for (QString &rule : rules) {
        rule = rule.simplified().replace(QLatin1String(" {"), QLatin1String("{"));
        rule.replace(QLatin1String("{ "), QLatin1String("{"));
        if (rule.endsWith(QLatin1Char(';')))
            rule.chop(1);
    }
    rules.removeAll(QString());

    const QStringList expected{
        QStringLiteral("body{margin-left: 10px; margin-right: 10px; float: left; font-size: large; color: #222222; "
                       "max-width: 960px"),
        QStringLiteral("h1, h2, h3{color: #111111; font-weight: bold"),
        QStringLiteral("h1, h2, h3, p{margin-bottom: 6px"),
        QStringLiteral("h1{font-size: xx-large"),
        QStringLiteral("h2{font-size: xx-large"),
        QStringLiteral("h3{font-size: x-large"),
        QStringLiteral("a{color: #0099ff; vertical-align: baseline"),
        QStringLiteral("li{margin-left: -10px; margin-bottom: 4px"),
        QStringLiteral("p, ul, ol{max-width: 540px"),
        QStringLiteral("pre{padding: 0px 24px; max-width: 800px; white-space: pre-wrap"),
        QStringLiteral("code{font-family: Consolas, Monaco, Andale Mono, monospace; line-height: 1.5; font-size: 13px"),
        QStringLiteral("blockquote{margin: 1em 2em; max-width: 476px"),
        QStringLiteral("blockquote p{color: #666; max-width: 460px"),
        QStringLiteral("hr{width: 540px; text-align: left; margin: 0 auto 0 0; color: #999"),
        QStringLiteral("table{border-collapse: collapse; margin: 1em 1em; border: 1px solid #CCC"),
        QStringLiteral("table thead{background-color: #EEE"),
        QStringLiteral("table thead td{color: #666"),
        QStringLiteral("table td{padding: 0.5em 1em; border: 1px solid #CCC"),
    };
    QCOMPARE(rules, expected);
}

CATALIST_TEST(TestSimpleWebViewer)
#include "tst_simplewebviewer.moc"
