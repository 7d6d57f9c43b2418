#include "folder.h"
#include "lengths.h"
#include "testrunner.h"
#include "viewer/simplewebviewer.h"

#include <QAbstractTextDocumentLayout>
#include <QApplication>
#include <QFont>
#include <QImage>
#include <QSizeF>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

const QString MESSAGE = u"Too large or too deeply nested to be shown."_s;

QString nested(const QString &opening, const QString &closing, int depth)
{
    return opening.repeated(depth) + u"end"_s + closing.repeated(depth);
}

QString lines(int count)
{
    return u"a line<br>"_s.repeated(count) + u"end"_s;
}

} // namespace

/// Content that the toolkit's layout would never come to an end with, or only after minutes.
class TestLayoutLimits : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void content_data();
    void content();
    void manyLocalImages();
    void pageOfItsOwn();
    void narrowedView();
    void magnifiedView();
    void magnifiedByTheApplication();
    void monstrousFont();
    void hiddenView();
    void contentAfterTheMessage();

private:
    void expectMessage();

    std::unique_ptr<Folder> folder;
    std::unique_ptr<SimpleWebViewer> viewer;
};

void TestLayoutLimits::init()
{
    folder = std::make_unique<Folder>();
    viewer = std::make_unique<SimpleWebViewer>();
    viewer->setSearchPaths({u"file:///"_s + folder->path()});
    viewer->resize(400, 300);
    viewer->show();
    QVERIFY(QTest::qWaitForWindowExposed(viewer.get()));
}

void TestLayoutLimits::cleanup()
{
    viewer.reset();
    folder.reset();
}

void TestLayoutLimits::expectMessage()
{
    QCOMPARE(viewer->toPlainText(), MESSAGE);
    QVERIFY(viewer->document()->size().height() > 10);
    QVERIFY(!viewer->document()->documentLayout()->signalsBlocked());
    QVERIFY(!viewer->grab().isNull());
}

void TestLayoutLimits::content_data()
{
    QTest::addColumn<QString>("html");
    QTest::addColumn<bool>("shown");

    struct Element
    {
        const char *name;
        QString opening;
        QString closing;
        int most;
    };
    const QList<Element> elements{
        {"blocks", u"<div>"_s, u"</div>"_s, 500},
        {"bold text", u"<b>"_s, u"</b>"_s, 500},
        {"bold text never closed", u"<b>"_s, {}, 500},
        {"capitals", u"<DIV>"_s, u"</DIV>"_s, 500},
        {"unknown elements", u"<x>"_s, u"</x>"_s, 500},
        {"signs", u"<_>"_s, u"</_>"_s, 500},
        {"blanks before the name", u"< b>"_s, u"</b>"_s, 500},
        {"slashes in quotes", u"<b title=\"/>\">"_s, u"</b>"_s, 500},
        {"without an end tag in the language", u"<wbr>"_s, {}, 500},
        {"links", u"<a href=\"x\">"_s, u"</a>"_s, 500},
        {"lists", u"<ul><li>"_s, u"</li></ul>"_s, 500},
        {"quotations", u"<blockquote>"_s, u"</blockquote>"_s, 500},
        {"definitions", u"<dl><dd>"_s, u"</dd></dl>"_s, 500},
        {"tables", u"<table><tr><td>"_s, u"</td></tr></table>"_s, 12},
        {"tables in lists", u"<ul><li><table><tr><td>"_s, u"</td></tr></table></li></ul>"_s, 12},
    };
    for (const Element &element : elements) {
        QTest::addRow("%s, deep", element.name) << nested(element.opening, element.closing, element.most) << true;
        QTest::addRow("%s, too deep", element.name)
            << nested(element.opening, element.closing, element.most + 1) << false;
        QTest::addRow("%s, far too deep", element.name) << nested(element.opening, element.closing, 10000) << false;
        QTest::addRow("%s, side by side", element.name)
            << (element.opening + u"x"_s + element.closing).repeated(element.closing.isEmpty() ? 500 : 600) + u"end"_s
            << true;
    }

    QTest::newRow("paragraphs never closed") << u"<p>a"_s.repeated(2000) + u"end"_s << true;
    QTest::newRow("items never closed") << u"<ul>"_s + u"<li>a"_s.repeated(2000) + u"end"_s << true;
    QTest::newRow("cells never closed") << u"<table>"_s + u"<tr><td>a"_s.repeated(2000) + u"end"_s << true;
    QTest::newRow("anchors closed at once") << u"<a name=\"x\"/>"_s.repeated(2000) + u"end"_s << true;
    QTest::newRow("ends without a beginning") << u"</b></div></table>"_s.repeated(10000) + u"end"_s << true;
    QTest::newRow("comments") << u"<p><!-- <div> -->a</p>"_s.repeated(600) + u"end"_s << true;
    QTest::newRow("quotation marks in a tag") << u"<p title=don't>a</p>"_s + nested(u"<b>"_s, u"</b>"_s, 501) << false;
    QTest::newRow("other ends") << u"<b>"_s.repeated(499) + u"end"_s + u"</y>"_s.repeated(lengthOf(100'000, 1'000'000))
                                << true;
    QTest::newRow("deepest indent") << u"<p style=\"-qt-block-indent:-2147483648\">a"_s << false;
    QTest::newRow("no elements") << u"&lt;b&gt; 3 > 2 "_s.repeated(1000) + u"end"_s << true;
    QTest::newRow("closed in another order") << u"<div><b></div>"_s.repeated(600) + u"end"_s << true;

    QTest::newRow("floating") << u"<p>end</p>"_s + u"<img src=\"a\" style=\"float:left\">"_s.repeated(500) << true;
    QTest::newRow("too many floating") << u"<img src=\"a\" style=\"float:left\">"_s.repeated(501) << false;
    QTest::newRow("floating tables") << u"<table style=\"float:left\"><tr><td>x</td></tr></table>"_s.repeated(501)
                                     << false;

    QTest::newRow("too high with its line before") << u"<p>a<img src=\"a\" width=\"4200000\">"_s << false;

    QTest::newRow("wide image") << u"<img src=\"a\" width=\"3000000\">end"_s << true;
    QTest::newRow("too wide an image") << u"<img src=\"a\" width=\"9999180\">end"_s << false;
    QTest::newRow("too wide a row of images") << u"<img src=\"a\" width=\"30000\">"_s.repeated(300) << false;
    QTest::newRow("tall images") << u"<p><img src=\"a\" height=\"15000\"></p>"_s.repeated(200) + u"end"_s << true;
    QTest::newRow("too tall images") << u"<p><img src=\"a\" height=\"30000\"></p>"_s.repeated(300) << false;
    QTest::newRow("lines") << lines(100000) << true;
    QTest::newRow("too many lines") << lines(600000) << false;
    QTest::newRow("paragraphs") << u"<p>a line of a text</p>\n"_s.repeated(50000) + u"end"_s << true;
    QTest::newRow("too many paragraphs") << u"<p>a line of a text</p>"_s.repeated(300000) << false;
    QTest::newRow("line") << u"<p style=\"white-space:pre\">"_s + u"x "_s.repeated(100000) + u"end"_s << true;
    QTest::newRow("too long a line") << u"<p style=\"white-space:pre\">"_s + u"x "_s.repeated(900000) << false;
    QTest::newRow("too many tabs") << u"<pre>"_s + u"\t"_s.repeated(120000) << false;
    QTest::newRow("columns") << u"<table><tr><td colspan=\"1000\">end</table>"_s << true;
    QTest::newRow("too many columns") << u"<table><tr><td colspan=\"1001\">end</table>"_s << false;
    QTest::newRow("long table") << u"<table>"_s + u"<tr><td>a</td></tr>"_s.repeated(5000) + u"</table>end"_s << true;
    QTest::newRow("too narrow a table") << u"<table><tr><td>"_s + u"a "_s.repeated(400000) << false;
    QTest::newRow("too large margins") << u"<p style=\"margin-top:8000000px\">a"_s.repeated(2) << false;
    QTest::newRow("too large an indent") << u"<p style=\"margin-left:9000000px\">a"_s << false;
    QTest::newRow("too large padding") << u"<table cellpadding=\"5000000\"><tr><td>a</table>"_s << false;
    QTest::newRow("too large padding of a cell") << u"<table><tr><td style=\"padding:5000000px\">a</table>"_s << false;
    QTest::newRow("too wide a table") << u"<table width=\"9000000\"><tr><td>a</table>"_s << false;
    QTest::newRow("too wide a cell") << u"<table><tr><td width=\"9000000\">a</table>"_s << false;
    QTest::newRow("too wide by far in percent") << u"<table width=\"90000000%\"><tr><td>a</table>"_s << false;
    QTest::newRow("too high a line") << u"<p style=\"line-height:90000000%\">a"_s << false;
    QTest::newRow("too far apart") << u"<p style=\"letter-spacing:5000000px\">aa"_s << false;
}

void TestLayoutLimits::content()
{
    QFETCH(QString, html);
    QFETCH(bool, shown);
    viewer->setHtml(html);
    if (shown) {
        // The size makes the toolkit lay out all of it.
        QVERIFY(viewer->document()->size().height() > 10);
        QVERIFY(viewer->toPlainText().contains(u"end"_s));
    } else {
        expectMessage();
    }
    viewer->reload();
    QCOMPARE(viewer->toPlainText() == MESSAGE, !shown);
}

void TestLayoutLimits::manyLocalImages()
{
    QImage image(1, 20000, QImage::Format_Mono);
    image.fill(0);
    QVERIFY(image.save(folder->path(u"tall.png"_s)));
    const QString html = u"<p><img src=\"%1\"></p>"_s.arg(QUrl::fromLocalFile(folder->path(u"tall.png"_s)).toString());
    viewer->setHtml(html.repeated(150) + u"end"_s);
    QVERIFY(viewer->document()->size().height() > 3'000'000);
    QVERIFY(viewer->toPlainText().endsWith(u"end"_s));
    viewer->setHtml(html.repeated(500));
    expectMessage();
}

void TestLayoutLimits::pageOfItsOwn()
{
    folder->write(u"wide.html"_s, "<img src=\"a\" width=\"9999180\">");
    folder->write(u"page.html"_s, "<p>page</p>");
    viewer->setSource(QUrl::fromLocalFile(folder->path(u"wide.html"_s)));
    expectMessage();
    viewer->reload();
    expectMessage();
    viewer->setSource(QUrl::fromLocalFile(folder->path(u"page.html"_s)));
    QCOMPARE(viewer->toPlainText(), u"page"_s);
    QVERIFY(viewer->document()->size().height() > 10);
}

void TestLayoutLimits::narrowedView()
{
    viewer->setHtml(u"<p>"_s + u"a line of a text "_s.repeated(10000) + u"</p>"_s + u"<p>text</p>"_s.repeated(90000));
    QVERIFY(viewer->toPlainText().startsWith(u"a line"_s));
    viewer->resize(20, 300);
    expectMessage();
    viewer->resize(400, 300);
    expectMessage();
}

void TestLayoutLimits::magnifiedView()
{
    viewer->setHtml(u"<p>text</p>"_s.repeated(60000));
    QVERIFY(viewer->toPlainText().startsWith(u"text"_s));
    viewer->zoomIn(2);
    QVERIFY(viewer->toPlainText().startsWith(u"text"_s));
    viewer->zoomIn(100);
    expectMessage();
}

void TestLayoutLimits::magnifiedByTheApplication()
{
    const QFont before = QApplication::font();
    viewer->setHtml(u"<p>text</p>"_s.repeated(60000));
    QFont font = before;
    font.setPointSize(90);
    QApplication::setFont(font);
    QTRY_COMPARE(viewer->toPlainText(), MESSAGE);
    QApplication::setFont(before);
}

void TestLayoutLimits::monstrousFont()
{
    QFont font = viewer->font();
    font.setPixelSize(3000);
    viewer->setFont(font);
    for (const int depth : {501, 1, 501})
        viewer->setHtml(nested(u"<b>"_s, u"</b>"_s, depth));
    expectMessage();
}

void TestLayoutLimits::hiddenView()
{
    SimpleWebViewer hidden;
    hidden.setHtml(u"<img src=\"a\" width=\"9999180\">"_s);
    QCOMPARE(hidden.toPlainText(), MESSAGE);
    hidden.setHtml(u"<p>text</p>"_s);
    hidden.show();
    QVERIFY(QTest::qWaitForWindowExposed(&hidden));
    QCOMPARE(hidden.toPlainText(), u"text"_s);
    QVERIFY(hidden.document()->size().height() > 10);
}

void TestLayoutLimits::contentAfterTheMessage()
{
    viewer->setHtml(u"<p>text</p>"_s);
    const QSizeF size = viewer->document()->size();
    const QImage picture = viewer->grab().toImage();
    for (const QString &html : {lines(600000), nested(u"<b>"_s, u"</b>"_s, 501)}) {
        viewer->setHtml(html);
        expectMessage();
        viewer->setHtml(u"<p>text</p>"_s);
        QCOMPARE(viewer->document()->size(), size);
        QCOMPARE(viewer->grab().toImage(), picture);
    }
}

CATALIST_TEST(TestLayoutLimits)
#include "tst_layoutlimits.moc"
