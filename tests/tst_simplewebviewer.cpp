#include "testrunner.h"
#include "webviewertest.h"

#include <QDesktopServices>
#include <QFile>
#include <QNetworkRequest>
#include <QTest>
#include <QTextCursor>

using namespace Qt::StringLiterals;

namespace {

const QString LOADING_PAGE = u"<!DOCTYPE html><html><head><meta charset=\"utf-8\"></head><body>"
                             "<h1>Loading...</h1></body></html>"_s;

class LinkTarget : public QObject
{
    Q_OBJECT

public:
    QList<QUrl> opened;

public slots:
    void open(const QUrl &url) { opened.append(url); }
};

} // namespace

class TestSimpleWebViewer : public ViewerTest
{
    Q_OBJECT

private slots:
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

void TestSimpleWebViewer::declaresItsSlots()
{
    const QMetaObject &meta = SimpleWebViewer::staticMetaObject;
    QCOMPARE(meta.methodCount() - meta.methodOffset(), 2);
    QVERIFY(meta.indexOfSlot("clear()") >= meta.methodOffset());
    QVERIFY(meta.indexOfSlot("onReplyFinished(QNetworkReply*)") >= meta.methodOffset());
}

void TestSimpleWebViewer::handsLinksToTheDesktop()
{
    server->serve(u"/page"_s, {.body = "Page"});
    LinkTarget desktop;
    QDesktopServices::setUrlHandler(u"http"_s, &desktop, "open");
    const auto forget = qScopeGuard([] { QDesktopServices::unsetUrlHandler(u"http"_s); });
    viewer->setHtml(u"<a href=\"%1\">Link</a>"_s.arg(server->url(u"/page"_s).toString()));
    QVERIFY(QTest::qWaitForWindowExposed(viewer.get()));

    QTextCursor inLink(viewer->document());
    inLink.setPosition(2);
    QTest::mouseClick(viewer->viewport(), Qt::LeftButton, Qt::NoModifier, viewer->cursorRect(inLink).center());

    QTRY_COMPARE(desktop.opened, QList<QUrl>{server->url(u"/page"_s)});
    QVERIFY(viewer->openExternalLinks());
    QCOMPARE(viewer->source(), QUrl());
    QCOMPARE(viewer->toPlainText(), u"Link"_s);
    QVERIFY(watch->manager.isNull());
}

void TestSimpleWebViewer::followsRedirectsThatAreNoLessSafe()
{
    viewer->downloadResource(server->url(u"/any"_s));
    QVERIFY(watch->manager);
    QCOMPARE(watch->manager->redirectPolicy(), QNetworkRequest::NoLessSafeRedirectPolicy);
    QVERIFY(!watch->manager->parent());
}

void TestSimpleWebViewer::passesOtherTypesThrough()
{
    const QByteArray sheet = "p { color: #ff0000; }";
    server->serve(u"/sheet.css"_s, {.body = sheet});
    const QUrl url = server->url(u"/sheet.css"_s);
    QVERIFY(!viewer->loadResource(STYLE_SHEET, url).isValid());
    QVERIFY(!viewer->loadResource(STYLE_SHEET, url).isValid());
    QTRY_COMPARE(viewer->reloads, 1);
    QCOMPARE(viewer->loadResource(STYLE_SHEET, url), QVariant(sheet));
    QCOMPARE(viewer->loadResource(QTextDocument::UserResource, url), QVariant(sheet));
    QCOMPARE(viewer->loadResource(PAGE, url), QVariant(sheet));
    QCOMPARE(server->requests().size(), 1);
}

void TestSimpleWebViewer::showsAPageAfterLoading()
{
    server->serve(u"/page"_s, {.body = "<h1>The page</h1>"});
    server->hold(u"/page"_s);
    viewer->setSource(server->url(u"/page"_s));
    QCOMPARE(viewer->toPlainText(), u"Loading..."_s);
    QTRY_COMPARE(server->openRequests(), 1);
    QCOMPARE(viewer->toPlainText(), u"Loading..."_s);

    server->release(u"/page"_s);
    QTRY_COMPARE(viewer->reloads, 1);
    QCOMPARE(viewer->toPlainText(), u"The page"_s);
    QCOMPARE(viewer->source(), server->url(u"/page"_s));
    QCOMPARE(server->requests(), QStringList{u"/page"_s});
}

void TestSimpleWebViewer::showsARedirectedPage()
{
    server->redirect(u"/old"_s, server->url(u"/new"_s));
    server->serve(u"/new"_s, {.body = "The page"});
    viewer->setSource(server->url(u"/old"_s));
    QCOMPARE(viewer->toPlainText(), u"Loading..."_s);
    QTRY_COMPARE(viewer->reloads, 1);
    QCOMPARE(viewer->toPlainText(), u"The page"_s);
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
    server->serve(u"/status"_s, {.status = 404, .body = "Page of the server"});
    server->drop(u"/dropped"_s);
    server->hold(u"/aborted"_s);
    const QUrl url = failure == "unreachable"_L1 ? unreachableUrl() : server->url(u'/' + failure);

    viewer->setSource(url);
    QCOMPARE(viewer->toPlainText(), u"Loading..."_s);
    if (failure == "aborted"_L1) {
        QTRY_COMPARE(server->openRequests(), 1);
        viewer->abort();
    }
    QTRY_COMPARE(viewer->reloads, 1);
    QCOMPARE(viewer->toPlainText(), u"Connection error."_s);
    QCOMPARE(viewer->loadResource(PAGE, url), QVariant(ERROR_PAGE));
    QTRY_COMPARE(watch->deleted, QList<QUrl>{url});
    QVERIFY(watch->running().isEmpty());
}

void TestSimpleWebViewer::keepsMessagePagesToTheOnlyEntry()
{
    server->serve(u"/other"_s, {.body = "Other"});
    viewer->downloadResource(server->url(u"/other"_s));
    QTRY_COMPARE(viewer->reloads, 1);

    const QUrl url = server->url(u"/none"_s);
    QVERIFY(!viewer->loadResource(PAGE, url).isValid());
    QVERIFY(!viewer->loadResource(PAGE, url).isValid());
    QTRY_COMPARE(viewer->reloads, 2);
    QVERIFY(!viewer->loadResource(PAGE, url).isValid());
    QCOMPARE(viewer->loadResource(PAGE, server->url(u"/other"_s)), QVariant("Other"_ba));
    QCOMPARE(server->requests(), QStringList({u"/other"_s, u"/none"_s}));
}

void TestSimpleWebViewer::answersTheOnlyPageWithTheLoadingPage()
{
    server->serve(u"/page"_s, {.body = "Page"});
    server->hold(u"/page"_s);
    const QUrl url = server->url(u"/page"_s);
    QCOMPARE(viewer->loadResource(PAGE, url), QVariant(LOADING_PAGE));
    QCOMPARE(viewer->loadResource(PAGE, url), QVariant(LOADING_PAGE));
    QVERIFY(!viewer->loadResource(IMAGE, url).isValid());
    QVERIFY(!viewer->loadResource(STYLE_SHEET, url).isValid());
    QTRY_COMPARE(server->openRequests(), 1);

    server->release(u"/page"_s);
    QTRY_COMPARE(viewer->reloads, 1);
    QCOMPARE(viewer->loadResource(PAGE, url), QVariant("Page"_ba));
    QCOMPARE(server->requests().size(), 1);
}

void TestSimpleWebViewer::resolvesNamesAgainstThePage()
{
    server->serve(u"/folder/page"_s, {.body = "<img src=\"images/a.png\">"});
    server->serve(u"/folder/images/a.png"_s, {.body = picture(Qt::red)});
    viewer->setSearchPaths({server->url(u"/elsewhere"_s).toString()});
    viewer->setSource(server->url(u"/folder/page"_s));
    QTRY_COMPARE(viewer->reloads, 2);
    QVERIFY(hasPicture(Qt::red));
    QCOMPARE(server->requests(), QStringList({u"/folder/page"_s, u"/folder/images/a.png"_s}));

    QTRY_VERIFY(watch->running().isEmpty());
    watch->deleted.clear();
    QVERIFY(!viewer->loadResource(STYLE_SHEET, QUrl(u"a.css"_s)).isValid());
    QTRY_COMPARE(watch->deleted, QList<QUrl>{QUrl(u"a.css"_s)});
    QCOMPARE(server->requests().size(), 2);
}

void TestSimpleWebViewer::keepsEverythingForTheSameSource()
{
    server->serve(u"/page"_s, {.body = "<img src=\"/a.png\">"});
    server->serve(u"/a.png"_s, {.body = picture(Qt::red)});
    server->hold(u"/a.png"_s);
    viewer->setSource(server->url(u"/page"_s));
    QTRY_COMPARE(server->requests(u"/a.png"_s), 1);

    viewer->setSource(server->url(u"/page"_s));
    QCOMPARE(watch->running().size(), 1);
    QCOMPARE(viewer->reloads, 1);
    server->release(u"/a.png"_s);
    QTRY_COMPARE(viewer->reloads, 2);
    QVERIFY(hasPicture(Qt::red));

    QTRY_VERIFY(watch->running().isEmpty());
    viewer->setSource(server->url(u"/page"_s));
    QVERIFY(hasPicture(Qt::red));
    QVERIFY(watch->running().isEmpty());
    QCOMPARE(server->requests(), QStringList({u"/page"_s, u"/a.png"_s}));
}

void TestSimpleWebViewer::dropsEverythingForAnotherSource()
{
    server->serve(u"/one"_s, {.body = "One <img src=\"/a.png\"><img src=\"/b.png\">"});
    server->serve(u"/two"_s, {.body = "Two"});
    server->hold(u"/a.png"_s);
    server->hold(u"/b.png"_s);
    server->hold(u"/two"_s);
    viewer->setSource(server->url(u"/one"_s));
    QTRY_COMPARE(server->openRequests(), 2);
    QVERIFY(viewer->toPlainText().startsWith(u"One"_s));

    viewer->setSource(server->url(u"/two"_s));
    QCOMPARE(viewer->toPlainText(), u"Loading..."_s);
    QTRY_COMPARE(server->requests(u"/two"_s), 1);
    QTRY_COMPARE(server->openRequests(), 1);
    server->release(u"/two"_s);
    QTRY_COMPARE(viewer->toPlainText(), u"Two"_s);

    viewer->setSource(server->url(u"/one"_s));
    QCOMPARE(viewer->toPlainText(), u"Loading..."_s);
    QTRY_COMPARE(server->requests(u"/one"_s), 2);
    QTRY_COMPARE(server->requests(u"/b.png"_s), 2);
}

void TestSimpleWebViewer::previewStyleSheet()
{
    QFile file(u":/Resources/Resources/storefrontHtml.css"_s);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QStringList rules = QString::fromUtf8(file.readAll()).split(u'}', Qt::SkipEmptyParts);
    for (QString &rule : rules) {
        rule = rule.simplified().replace(" {"_L1, "{"_L1);
        rule.replace("{ "_L1, "{"_L1);
        if (rule.endsWith(u';'))
            rule.chop(1);
    }
    rules.removeAll(QString());

    const QStringList expected{
        u"body{margin-left: 10px; margin-right: 10px; float: left; font-size: large; color: #222222; "
        "max-width: 960px"_s,
        u"h1, h2, h3{color: #111111; font-weight: bold"_s,
        u"h1, h2, h3, p{margin-bottom: 6px"_s,
        u"h1{font-size: xx-large"_s,
        u"h2{font-size: xx-large"_s,
        u"h3{font-size: x-large"_s,
        u"a{color: #0099ff; vertical-align: baseline"_s,
        u"li{margin-left: -10px; margin-bottom: 4px"_s,
        u"p, ul, ol{max-width: 540px"_s,
        u"pre{padding: 0px 24px; max-width: 800px; white-space: pre-wrap"_s,
        u"code{font-family: Consolas, Monaco, Andale Mono, monospace; line-height: 1.5; font-size: 13px"_s,
        u"blockquote{margin: 1em 2em; max-width: 476px"_s,
        u"blockquote p{color: #666; max-width: 460px"_s,
        u"hr{width: 540px; text-align: left; margin: 0 auto 0 0; color: #999"_s,
        u"table{border-collapse: collapse; margin: 1em 1em; border: 1px solid #CCC"_s,
        u"table thead{background-color: #EEE"_s,
        u"table thead td{color: #666"_s,
        u"table td{padding: 0.5em 1em; border: 1px solid #CCC"_s,
    };
    QCOMPARE(rules, expected);
}

CATALIST_TEST(TestSimpleWebViewer)
#include "tst_simplewebviewer.moc"
