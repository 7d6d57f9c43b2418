#include "folder.h"
#include "lengths.h"
#include "pictures.h"
#include "seed.h"
#include "testrunner.h"
#include "viewer/simplewebviewer.h"

#include <QAbstractTextDocumentLayout>
#include <QApplication>
#include <QFont>
#include <QImage>
#include <QRandomGenerator>
#include <QSizeF>
#include <QTest>
#include <QTextDocument>

using namespace Qt::StringLiterals;

namespace {

const QString MESSAGE = u"Too large or too deeply nested to be shown."_s;
constexpr qreal LARGEST_HEIGHT = 8'380'000; // in pixels

QString nested(const QString &opening, const QString &closing, int depth)
{
    return opening.repeated(depth) + u"end"_s + closing.repeated(depth);
}

QString lines(int count)
{
    return u"a line<br>"_s.repeated(count) + u"end"_s;
}

QString row(const QString &cell)
{
    return u"<tr>"_s + cell + u"</tr>"_s;
}

/// Random HTML of a limited size, with mistakes.
class SloppyPage
{
public:
    explicit SloppyPage(quint32 seed) : random(seed) { }

    QString text()
    {
        QString html;
        for (int parts = below(10); parts >= 0; --parts)
            html += part(2);
        return html;
    }

private:
    int below(int end) { return static_cast<int>(random.bounded(end)); }
    QString oneOf(const QStringList &texts) { return texts.at(below(static_cast<int>(texts.size()))); }
    QString length() { return QString::number(1 + (below(4) == 0 ? below(3000) : below(60))); }

    QString style()
    {
        const QString styles =
            oneOf({u"margin-top:%1px"_s, u"margin:%1px"_s, u"float:left"_s, u"float:right"_s, u"white-space:pre"_s,
                   u"line-height:%1%"_s, u"font-size:%1px"_s, u"text-indent:%1px"_s, u"padding:%1px"_s, u"width:%1px"_s,
                   u"page-break-before:always"_s, u"color:red;;}"_s, u"background-image:url(b.png)"_s,
                   u"border:%1px solid"_s, u"display:none"_s});
        return below(3) > 0 ? QString()
                            : u" style=\""_s + (styles.contains(u'%') ? styles.arg(length()) : styles) + u'"';
    }

    QString image()
    {
        QString tag = u"<img src="_s + oneOf({u"a.png"_s, u"b.png"_s, u"none.png"_s, u"\"a.png?1\""_s, u"''"_s});
        for (const QString &side : {u"width"_s, u"height"_s}) {
            if (below(3) == 0)
                tag += u' ' + side + u'=' + length();
        }
        return tag + style() + u'>';
    }

    QString part(int depth)
    {
        const QString inside = depth > 0 ? part(depth - 1) + (below(2) ? part(depth - 1) : QString()) : u"text "_s;
        switch (below(14)) {
        case 0:
            return u"<p"_s + style() + u'>' + inside;
        case 1:
            return u"<ul"_s + style() + u"><li>"_s + inside + u"<li>"_s + oneOf({u"</ul>"_s, {}});
        case 2:
            return image() + inside;
        case 3:
            return u"<table border="_s + length() + style() + u"><tr><td colspan="_s + QString::number(below(9)) + u'>'
                   + inside + u"<td rowspan="_s + QString::number(below(9)) + style() + u'>' + inside
                   + oneOf({u"</table>"_s, u"<tr><td>"_s});
        case 4:
            return u"<a name=x>"_s + inside;
        case 5:
            return u"<b>"_s + inside + oneOf({u"</b>"_s, u"</i>"_s, {}});
        case 6:
            return u"<!-- "_s + inside + oneOf({u"-->"_s, u"--></p>"_s});
        case 7:
            return u"<script>if (a<b && c>d) x('<td colspan=99>')</script>"_s + inside;
        case 8:
            return u"<pre"_s + style() + u">a\tb\n\n"_s + inside + u"</pre>"_s;
        case 9:
            return u"<div"_s + style() + u'>' + inside + oneOf({u"</div>"_s, {}, u"</div></div>"_s});
        case 10:
            return u"3 < 4 & 5 > 4 "_s + inside;
        case 11:
            return u"<h1"_s + style() + u'>' + inside + u"</h2>"_s;
        case 12:
            return u"<blockquote>"_s + inside + u"<hr width="_s + length() + u"><br/>"_s;
        default:
            return u"some words of a text "_s.repeated(below(30));
        }
    }

    QRandomGenerator random;
};

/// Records the requested resources, and has two of them.
template <typename Browser> class Requests : public Browser
{
public:
    QStringList names;

    QVariant loadResource(int type, const QUrl &name) override
    {
        names.append(QString::number(type) + u' ' + name.toString());
        if (name.path() == u"a.png"_s)
            return picture(Qt::red, {40, 30});
        return name.path() == u"b.png"_s ? picture(Qt::green, {7, 1500}) : QVariant();
    }
};

} // namespace

/// Content for which Qt's layout never ends, and similar content for which it does.
class TestLayoutLimits : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void content_data();
    void content();
    void sameAsTheTextBrowser();
    void requestsNothingBeforeTheLayout();
    void manyLocalImages();
    void pageAsSource();
    void followedLink();
    void backOntoARefusedPage();
    void narrowedView();
    void magnifiedView();
    void magnifiedByTheApplication();
    void hugeFont();
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
    QTest::addColumn<bool>("isShown");
    const auto shown = [](const char *name, const QString &html) { QTest::newRow(name) << html << true; };
    const auto refused = [](const char *name, const QString &html) { QTest::newRow(name) << html << false; };

    struct Element
    {
        const char *name;
        QString opening;
        QString closing;
    };
    const QList<Element> elements{
        {"blocks", u"<div>"_s, u"</div>"_s},
        {"bold text", u"<b>"_s, u"</b>"_s},
        {"bold text never closed", u"<b>"_s, {}},
        {"capitals", u"<DIV>"_s, u"</DIV>"_s},
        {"unknown elements", u"<x>"_s, u"</x>"_s},
        {"spaces before the name", u"< b>"_s, u"</b>"_s},
        {"slashes in quotes", u"<b title=\"/>\">"_s, u"</b>"_s},
        {"links", u"<a href=\"x\">"_s, u"</a>"_s},
        {"lists", u"<ul><li>"_s, u"</li></ul>"_s},
        {"quotations", u"<blockquote>"_s, u"</blockquote>"_s},
        {"definitions", u"<dl><dd>"_s, u"</dd></dl>"_s},
    };
    for (const Element &element : elements) {
        QTest::addRow("%s, deep", element.name) << nested(element.opening, element.closing, 1000) << true;
        QTest::addRow("%s, side by side", element.name)
            << (element.opening + u"x"_s + element.closing).repeated(600) + u"end"_s << true;
    }
    for (const QString &tag : {u"<wbr>"_s, u"<input>"_s, u"<col>"_s, u"<_>"_s})
        QTest::addRow("%s", qPrintable(tag)) << tag.repeated(501) + u"end"_s << true;
    for (const QString &tag : {u"<a name=\"x\">"_s, u"<font color=\"red\">"_s, u"<b>"_s}) {
        QTest::addRow("%s open in paragraphs", qPrintable(tag))
            << (u"<p>"_s + tag + u"a</p>"_s).repeated(501) + u"end"_s << true;
        QTest::addRow("%s open in items", qPrintable(tag))
            << u"<ul>"_s + (u"<li>"_s + tag + u"a</li>"_s).repeated(501) + u"</ul>end"_s << true;
    }
    shown("less-than signs", u"<p>a < b and c < d</p>"_s.repeated(300) + u"end"_s);
    shown("script", u"<script>"_s + u"if (a<b) c();\n"_s.repeated(600) + u"</script><p>end</p>"_s);
    shown("paragraphs never closed", u"<p>a"_s.repeated(2000) + u"end"_s);
    shown("items never closed", u"<ul>"_s + u"<li>a"_s.repeated(2000) + u"end"_s);
    shown("cells never closed", u"<table>"_s + u"<tr><td>a"_s.repeated(2000) + u"end"_s);
    shown("anchors closed at once", u"<a name=\"x\"/>"_s.repeated(2000) + u"end"_s);
    shown("ends without a beginning", u"</b></div></table>"_s.repeated(10000) + u"end"_s);
    shown("no elements", u"&lt;b&gt; 3 > 2 "_s.repeated(1000) + u"end"_s);

    const QString table = u"<table><tr><td>"_s;
    const QString tableEnd = u"</td></tr></table>"_s;
    shown("tables, deep", nested(table, tableEnd, 15));
    refused("tables, too deep", nested(table, tableEnd, 21));
    refused("tables, far too deep", nested(table, tableEnd, 100'000));
    refused("tables in lists, too deep", nested(u"<ul><li>"_s + table, tableEnd + u"</li></ul>"_s, 21));
    shown("tables side by side", (table + tableEnd).repeated(1001) + u"end"_s);
    shown("tables without rows", u"<table><td>a"_s.repeated(300) + u"end"_s);
    shown("tables that only begin", u"<table>"_s.repeated(3000) + u"end"_s);
    shown("columns", u"<table><tr><td colspan=\"20000\">end</table>"_s);
    shown("spans", table + u"end</td></tr>"_s + row(u"<td colspan=\"100\">x</td>"_s).repeated(500) + u"</table>"_s);
    shown("spans of more rows than there are",
          u"<table>"_s + row(u"<td colspan=5000 rowspan=5000>end</td>"_s) + u"</table>"_s);
    refused("too many spans",
            u"<table>"_s + row(u"<td colspan=1000 rowspan=1000>x</td>"_s).repeated(200) + u"</table>"_s);
    refused("too many spans after a quoted sign",
            u"<table>"_s + row(u"<td title=\">\" colspan='1000' ROWSPAN = 1000>x</td>"_s).repeated(200));
    refused("too many spans in tables inside of each other",
            (u"<table>"_s + row(u"<td colspan=20000>x</td>"_s).repeated(30) + u"<tr><td>"_s).repeated(2));
    for (const QString &cell :
         {u"<td colspan=\"&#50;0000\">"_s, u"<td colspan=1 colspan=20000>"_s, u"<td colspan=20000 colspan='&#49;'>"_s,
          u"<td colspan=+20000>"_s, u"<td title=\"colspan=1\" colspan=20000>"_s, u"<td \">\" colspan=20000>"_s,
          u"<td title='\\'>' colspan=20000>"_s, u"<'td' 'colspan'=20000>"_s, u"<&#116;d &#99;olspan=20000>"_s})
        QTest::addRow("too many spans in %s", qPrintable(cell)) << u"<table>"_s + row(cell).repeated(100) << false;
    for (const QString &tag : {u"<p title='<table>'>"_s, u"</table/x>"_s, u"<!DOCTYPE <table>"_s, u"< !--<table>-->"_s})
        QTest::addRow("too many spans after %s", qPrintable(tag))
            << u"<table>"_s + row(u"<td>"_s).repeated(100) + tag + row(u"<td colspan=20000>"_s) << false;
    refused("too many spans without a table", row(u"<td colspan=20000>"_s).repeated(100));
    refused("too many spans in a table in a cell before its first row",
            u"<table>"_s + row(u"<td>"_s).repeated(100) + u"<tr><td><table><td colspan=20000>"_s);
    const QString rows = row(u"<td>"_s).repeated(100);
    refused("too many spans after a table that another end tag closes",
            u"<table>"_s + rows + u"<b><table></b>"_s + row(u"<td colspan=20000>"_s));
    refused("too many spans after a table in a row",
            u"<table>"_s + rows + u"<tr><table><tr></table>"_s + row(u"<td colspan=20000>"_s));
    refused("too many rows of tags without a name",
            u"<table>"_s + row(u"<td colspan=20000>"_s) + u"<>"_s.repeated(100) + u"<tr>"_s);
    shown("wide table beside a long one", u"<table>"_s + row(u"<td>a"_s).repeated(2000) + u"</table><table>"_s
                                              + row(u"<td colspan=1000>end"_s) + u"</table>"_s);
    shown("spans in a comment",
          u"<!-- <table>"_s + row(u"<td colspan=1000 rowspan=1000>x</td>"_s).repeated(200) + u"--><p>end</p>"_s);
    shown("table of much text", table + u"a "_s.repeated(600'000) + u"end"_s);
    shown("tables of much text", (table + u"letters "_s.repeated(10'000) + tableEnd).repeated(10) + u"end"_s);
    shown("long table", u"<table>"_s + row(u"<td>a</td>"_s).repeated(5000) + u"</table>end"_s);

    shown("floating", u"<p>end</p>"_s + u"<img src=\"a\" style=\"float:left\">"_s.repeated(501));
    shown("floating tables", u"<table style=\"float:left\"><tr><td>x</td></tr></table>"_s.repeated(501) + u"end"_s);

    shown("image that raises two lines too high", u"<p>end<img src=\"a\" width=\"4200000\">"_s);
    shown("wide image", u"<img src=\"a\" width=\"9999180\" height=\"10\">end"_s);
    shown("wide row of images", u"<img src=\"a\" width=\"30000\" height=\"9\">"_s.repeated(300) + u"end"_s);
    shown("tall images", u"<p><img src=\"a\" height=\"27000\" width=\"1\"></p>"_s.repeated(300) + u"end"_s);
    refused("two images that are too tall together",
            u"<img src=\"a\" height=\"5000000\"><br><img src=\"a\" height=\"5000000\">"_s);
    refused("too tall images", u"<p><img src=\"a\" height=\"30000\"></p>"_s.repeated(300));
    shown("lines", lines(100000));
    refused("too many lines", u"<p style=\"font-size:90px\">"_s + lines(100000));
    shown("paragraphs", u"<p>a line of a text</p>\n"_s.repeated(50000) + u"end"_s);
    shown("paragraphs in large letters",
          u"<p style=\"font-size:90px; margin:900px 0\">a</p>"_s.repeated(8000) + u"end"_s);
    refused("too large letters", u"<table><tr><td style=\"font-size:900px\">"_s + u"a<br>"_s.repeated(10000));
    shown("line", u"<p style=\"white-space:pre\">"_s + u"x "_s.repeated(900000) + u"end"_s);
    shown("tabs", u"<pre>"_s + u"\t"_s.repeated(120000) + u"end"_s);
    shown("large margins", u"<p style=\"margin-top:4000px\">a"_s.repeated(1000) + u"end"_s);
    shown("margins that meet", u"<p style=\"margin:5000px 0\">a</p>"_s.repeated(1000) + u"end"_s);
    refused("too large margins", u"<p style=\"margin-top:4000000px\">a"_s.repeated(4));
    shown("large indent", u"<p style=\"margin-left:9000000px\">end"_s);
    shown("deepest indent", u"<p style=\"-qt-block-indent:-2147483648\">end"_s);
    refused("too large padding", u"<table cellpadding=\"5000000\"><tr><td>a</table>"_s);
    refused("too large padding of a cell", u"<table><tr><td style=\"padding:5000000px\">a</table>"_s);
    shown("wide table", u"<table width=\"9000000\"><tr><td>end</table>"_s);
    shown("wide cell", u"<table><tr><td width=\"9000000\">end</table>"_s);
    shown("wide by far in percent", u"<table width=\"90000000%\"><tr><td>end</table>"_s);
    refused("too high a line", u"<p style=\"line-height:90000000%\">a"_s);
    shown("far apart", u"<p style=\"letter-spacing:5000000px\">end"_s);
}

void TestLayoutLimits::content()
{
    QFETCH(QString, html);
    QFETCH(bool, isShown);
    viewer->setHtml(html);
    if (isShown) {
        QTextDocument document;
        document.setHtml(html);
        QCOMPARE(viewer->toPlainText(), document.toPlainText());
        // The size needs the whole layout.
        QVERIFY(viewer->document()->size().height() > 10);
    } else {
        expectMessage();
    }
    viewer->reload();
    QCOMPARE(viewer->toPlainText() == MESSAGE, !isShown);
}

void TestLayoutLimits::sameAsTheTextBrowser()
{
    const quint32 seed = testSeed();
    Requests<QTextBrowser> plain;
    Requests<SimpleWebViewer> bounded;
    for (QTextBrowser *browser : {static_cast<QTextBrowser *>(&plain), static_cast<QTextBrowser *>(&bounded)}) {
        browser->resize(400, 300);
        browser->show();
        QVERIFY(QTest::qWaitForWindowExposed(browser));
    }
    const quint32 pages = lengthOf(300U, 4000U);
    for (quint32 i = 0; i < pages; ++i) {
        const QString html = SloppyPage(seed + i).text();
        const QByteArray context = "CATALIST_SEED=" + QByteArray::number(seed + i) + '\n' + html.toUtf8();
        plain.names.clear();
        bounded.names.clear();
        plain.setHtml(html);
        bounded.setHtml(html);
        // Qt ends some of the pages that are higher than the limit, by chance.
        if (plain.document()->size().height() > LARGEST_HEIGHT) {
            QVERIFY2(bounded.toPlainText() == MESSAGE, context.constData());
            continue;
        }
        QVERIFY2(bounded.toHtml() == plain.toHtml(), context.constData());
        QVERIFY2(bounded.document()->size() == plain.document()->size(), context.constData());
        QVERIFY2(bounded.grab().toImage() == plain.grab().toImage(), context.constData());
        QVERIFY2(bounded.names == plain.names, context.constData());
    }
}

void TestLayoutLimits::requestsNothingBeforeTheLayout()
{
    Requests<QTextBrowser> plain;
    Requests<SimpleWebViewer> bounded;
    const QString html = u"<p>text</p>"_s.repeated(20000) + u"<img src=\"none.png\">"_s;
    plain.setHtml(html);
    bounded.setHtml(html);
    QCOMPARE(bounded.names, plain.names);
}

void TestLayoutLimits::manyLocalImages()
{
    QImage image(1, 20000, QImage::Format_Mono);
    image.fill(0);
    QVERIFY(image.save(folder->path(u"tall.png"_s)));
    const QString html = u"<p><img src=\"%1\"></p>"_s.arg(QUrl::fromLocalFile(folder->path(u"tall.png"_s)).toString());
    viewer->setHtml(html.repeated(400) + u"end"_s);
    QVERIFY(viewer->document()->size().height() > 8'000'000);
    QVERIFY(viewer->toPlainText().endsWith(u"end"_s));
    // Pictures that do not fit are left out.
    viewer->setHtml(html.repeated(500) + u"end"_s);
    QVERIFY(viewer->document()->size().height() > 8'000'000);
    QVERIFY(viewer->toPlainText().endsWith(u"end"_s));
}

void TestLayoutLimits::pageAsSource()
{
    folder->write(u"high.html"_s, "<table cellpadding=5000000><tr><td>a</table>");
    folder->write(u"page.html"_s, "<p>page</p>");
    viewer->setSource(QUrl::fromLocalFile(folder->path(u"high.html"_s)));
    expectMessage();
    viewer->reload();
    expectMessage();
    viewer->setSource(QUrl::fromLocalFile(folder->path(u"page.html"_s)));
    QCOMPARE(viewer->toPlainText(), u"page"_s);
    QVERIFY(viewer->document()->size().height() > 10);
}

void TestLayoutLimits::followedLink()
{
    const QByteArray spans = "<table>" + row(u"<td colspan=1000 rowspan=1000>x</td>"_s).toUtf8().repeated(200);
    folder->write(u"spans.html"_s, spans);
    folder->write(u"spans.md"_s, spans);
    for (const QString &name : {u"spans.html"_s, u"spans.md"_s}) {
        viewer->setSource(QUrl::fromLocalFile(folder->path(name)));
        QCOMPARE(viewer->toPlainText(), MESSAGE);
    }
}

void TestLayoutLimits::backOntoARefusedPage()
{
    folder->write(u"spans.html"_s, "<table>" + row(u"<td colspan=1000 rowspan=1000>x</td>"_s).toUtf8().repeated(200));
    folder->write(u"high.html"_s, "<table cellpadding=5000000><tr><td>a</table>");
    folder->write(u"page.html"_s, "<p>page</p>");
    const QUrl page = QUrl::fromLocalFile(folder->path(u"page.html"_s));
    for (const QString &refused : {u"spans.html"_s, u"high.html"_s}) {
        viewer->setSource(QUrl::fromLocalFile(folder->path(refused)));
        expectMessage();
        viewer->setSource(page);
        QCOMPARE(viewer->toPlainText(), u"page"_s);
        viewer->backward();
        expectMessage();
        viewer->forward();
        QCOMPARE(viewer->toPlainText(), u"page"_s);
        QVERIFY(viewer->document()->size().height() > 10);
        viewer->backward();
        viewer->setHtml(u"<p>text</p>"_s);
        QCOMPARE(viewer->toPlainText(), u"text"_s);
        QVERIFY(viewer->document()->size().height() > 10);
    }
}

void TestLayoutLimits::narrowedView()
{
    const QString text = u"<p style=\"font-size:90px\">"_s + u"many words "_s.repeated(25000) + u"</p>"_s;
    viewer->resize(2000, 300);
    viewer->setHtml(text);
    QVERIFY(viewer->toPlainText().startsWith(u"many"_s));
    viewer->resize(100, 300);
    expectMessage();
    viewer->reload();
    expectMessage();
    viewer->resize(2000, 300);
    QTRY_VERIFY(viewer->toPlainText().startsWith(u"many"_s));
    QVERIFY(viewer->document()->size().height() > 10000);
}

void TestLayoutLimits::magnifiedView()
{
    viewer->setHtml(u"<p>text</p>"_s.repeated(60000));
    QVERIFY(viewer->toPlainText().startsWith(u"text"_s));
    viewer->zoomIn(2);
    QVERIFY(viewer->toPlainText().startsWith(u"text"_s));
    viewer->zoomIn(100);
    expectMessage();
    viewer->zoomOut(100);
    QTRY_VERIFY(viewer->toPlainText().startsWith(u"text"_s));
}

void TestLayoutLimits::magnifiedByTheApplication()
{
    const QFont before = QApplication::font();
    viewer->setHtml(u"<p>text</p>"_s.repeated(60000));
    QFont font = before;
    font.setPointSize(120);
    QApplication::setFont(font);
    QTRY_COMPARE(viewer->toPlainText(), MESSAGE);
    QApplication::setFont(before);
    QTRY_VERIFY(viewer->toPlainText().startsWith(u"text"_s));
}

void TestLayoutLimits::hugeFont()
{
    QFont font = viewer->font();
    font.setPixelSize(3000);
    viewer->setFont(font);
    viewer->setHtml(lines(3000));
    expectMessage();
    viewer->setHtml(lines(1));
    QVERIFY(viewer->toPlainText().endsWith(u"end"_s));
}

void TestLayoutLimits::hiddenView()
{
    SimpleWebViewer hidden;
    hidden.setHtml(u"<img src=\"a\" height=\"9999180\">"_s);
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
    for (const QString &html : {u"<p style=\"margin-top:4000000px\">a"_s.repeated(4),
                                nested(u"<table><tr><td>"_s, u"</td></tr></table>"_s, 21),
                                nested(u"<table><tr><td>"_s, u"</td></tr></table>"_s, 2000)}) {
        viewer->setHtml(html);
        expectMessage();
        viewer->setHtml(u"<p>text</p>"_s);
        QCOMPARE(viewer->document()->size(), size);
        QCOMPARE(viewer->grab().toImage(), picture);
    }
}

CATALIST_TEST(TestLayoutLimits)
#include "tst_layoutlimits.moc"
