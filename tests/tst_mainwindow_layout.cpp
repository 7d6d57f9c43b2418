#include "testrunner.h"
#include "viewer/simplewebviewer.h"
#include "windowtest.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QFrame>
#include <QGridLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLayout>
#include <QLayoutItem>
#include <QListWidget>
#include <QMenuBar>
#include <QMetaEnum>
#include <QPlainTextEdit>
#include <QSizePolicy>
#include <QSplitter>
#include <QStatusBar>
#include <QTabWidget>
#include <QTableWidget>
#include <QToolBar>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

template <typename Enum> QString keyOf(Enum value)
{
    return QLatin1String(QMetaEnum::fromType<Enum>().valueToKey(static_cast<int>(value)));
}

QString yesOrNo(bool value)
{
    return value ? u"yes"_s : u"no"_s;
}

QString nameOf(const QObject *object)
{
    return object ? object->objectName() : u"none"_s;
}

/// The inner parts of Qt's widgets have names that begin with "qt_" or "_", or none.
bool isOurs(const QObject *object)
{
    const QString name = object->objectName();
    return !name.isEmpty() && !name.startsWith("qt_"_L1) && !name.startsWith('_'_L1);
}

/// The name of the widget or layout in a layout item; "-" for a spacer.
QString itemName(QLayoutItem *item)
{
    if (!item)
        return u"none"_s;
    if (item->spacerItem())
        return u"-"_s;
    return item->widget() ? nameOf(item->widget()) : nameOf(item->layout());
}

QStringList textsOf(const QComboBox *box)
{
    QStringList texts;
    for (int i = 0; i < box->count(); ++i)
        texts.append(box->itemText(i));
    return texts;
}

/// The widgets and layouts of the form, one per line, indented by depth.
class Dump
{
public:
    explicit Dump(const MainWindow &window)
    {
        const QWidget *toolBar = child<QToolBar>(window, "mainToolBar");
        add(u"size %1 x %2"_s.arg(window.width()).arg(window.height()));
        add(u"title %1"_s.arg(window.windowTitle()));
        add(u"central widget %1"_s.arg(nameOf(window.centralWidget())));
        add(u"menu bar %1, width %2"_s.arg(nameOf(window.menuBar())).arg(window.menuBar()->width()));
        add(u"status bar %1"_s.arg(nameOf(window.statusBar())));
        add(u"tool bar %1, %2"_s.arg(nameOf(toolBar),
                                     keyOf(window.toolBarArea(child<QToolBar>(window, "mainToolBar")))));
        addWidget(&window);
    }

    QStringList lines;

private:
    void add(const QString &line) { lines.append(QString(depth * 2, u' ') + line); }

    void addWidget(const QWidget *widget)
    {
        add(u"%1 %2%3%4"_s.arg(QLatin1String(widget->metaObject()->className()), nameOf(widget), text(widget),
                               widget->isEnabledTo(widget->parentWidget()) ? QString() : u", disabled"_s));
        ++depth;
        if (widget->maximumWidth() != QWIDGETSIZE_MAX)
            add(u"maximum width %1"_s.arg(widget->maximumWidth()));
        addFacts(widget);
        if (widget->layout() && isOurs(widget->layout()))
            addLayout(widget->layout(), true);
        // Sorted by name, as their own order changes when one is raised.
        QList<QWidget *> parts = widget->findChildren<QWidget *>(QString(), Qt::FindDirectChildrenOnly);
        std::sort(parts.begin(), parts.end(),
                  [](const QWidget *left, const QWidget *right) { return left->objectName() < right->objectName(); });
        for (const QWidget *part : std::as_const(parts)) {
            if (isOurs(part) || part->objectName() == "qt_tabwidget_stackedwidget"_L1)
                addWidget(part);
        }
        --depth;
    }

    /// The text that it shows, except for dates.
    static QString text(const QWidget *widget)
    {
        for (const char *property : {"text", "title"}) {
            const QVariant shown = widget->property(property);
            if (shown.isValid() && !widget->inherits("QDateEdit"))
                return u" \"%1\""_s.arg(shown.toString());
        }
        return {};
    }

    void addFacts(const QWidget *widget)
    {
        if (const auto *label = qobject_cast<const QLabel *>(widget); label && label->buddy())
            add(u"buddy %1"_s.arg(nameOf(label->buddy())));
        if (const auto *check = qobject_cast<const QCheckBox *>(widget))
            add(u"checked: %1"_s.arg(yesOrNo(check->isChecked())));
        if (const auto *box = qobject_cast<const QComboBox *>(widget))
            add(u"items %1; current %2; editable: %3"_s.arg(textsOf(box).join(u' '), box->currentText(),
                                                            yesOrNo(box->isEditable())));
        if (const auto *list = qobject_cast<const QListWidget *>(widget))
            add(u"items: %1"_s.arg(list->count()));
        if (const auto *splitter = qobject_cast<const QSplitter *>(widget))
            addSplitter(splitter);
        if (const auto *tabs = qobject_cast<const QTabWidget *>(widget))
            addTabs(tabs);
        if (const auto *table = qobject_cast<const QTableWidget *>(widget))
            addTable(table);
        if (const auto *edit = qobject_cast<const QPlainTextEdit *>(widget))
            add(u"font %1, %2 points"_s.arg(edit->font().family()).arg(edit->font().pointSize()));
        if (const auto *view = qobject_cast<const SimpleWebViewer *>(widget))
            add(u"frame %1, %2"_s.arg(keyOf(view->frameShape()), keyOf(view->frameShadow())));
    }

    void addSplitter(const QSplitter *splitter)
    {
        add(u"%1; collapsible: %2; opaque: %3"_s.arg(keyOf(splitter->orientation()),
                                                     yesOrNo(splitter->childrenCollapsible()),
                                                     yesOrNo(splitter->opaqueResize())));
        for (int i = 0; i < splitter->count(); ++i)
            add(u"part %1, stretch %2"_s.arg(nameOf(splitter->widget(i)))
                    .arg(splitter->widget(i)->sizePolicy().horizontalStretch()));
    }

    void addTabs(const QTabWidget *tabs)
    {
        add(u"current tab: %1"_s.arg(tabs->currentIndex()));
        for (int i = 0; i < tabs->count(); ++i)
            add(u"tab %1 \"%2\""_s.arg(nameOf(tabs->widget(i)), tabs->tabText(i)));
    }

    void addTable(const QTableWidget *table)
    {
        for (int i = 0; i < table->columnCount(); ++i)
            add(u"column \"%1\""_s.arg(table->horizontalHeaderItem(i)->text()));
        add(u"rows: %1; last column stretches: %2; %3"_s.arg(table->rowCount())
                .arg(yesOrNo(table->horizontalHeader()->stretchLastSection()), keyOf(table->selectionBehavior())));
        add(u"policies %1, %2"_s.arg(keyOf(table->sizePolicy().horizontalPolicy()),
                                     keyOf(table->sizePolicy().verticalPolicy())));
    }

    void addRows(const QFormLayout *form)
    {
        for (int row = 0; row < form->rowCount(); ++row)
            add(u"row %1 | %2"_s.arg(itemName(form->itemAt(row, QFormLayout::LabelRole)),
                                     itemName(form->itemAt(row, QFormLayout::FieldRole))));
    }

    void addCells(const QGridLayout *grid)
    {
        for (int row = 0; row < grid->rowCount(); ++row) {
            QStringList cells;
            for (int column = 0; column < grid->columnCount(); ++column)
                cells.append(itemName(grid->itemAtPosition(row, column)));
            add(u"row "_s + cells.join(u" | "_s));
        }
        add(u"items: %1"_s.arg(grid->count()));
    }

    void addItems(const QLayout *layout)
    {
        for (int i = 0; i < layout->count(); ++i)
            add(u"item "_s + itemName(layout->itemAt(i)));
    }

    void addLayout(QLayout *layout, bool isOfWidget)
    {
        QString line = QLatin1String(layout->metaObject()->className()) + u' ' + nameOf(layout);
        const QMargins margins = layout->contentsMargins();
        if (isOfWidget)
            line += u", margins %1 %2 %3 %4"_s.arg(margins.left())
                        .arg(margins.top())
                        .arg(margins.right())
                        .arg(margins.bottom());
        add(line);
        ++depth;
        if (const auto *form = qobject_cast<const QFormLayout *>(layout))
            addRows(form);
        else if (const auto *grid = qobject_cast<const QGridLayout *>(layout))
            addCells(grid);
        else
            addItems(layout);
        for (int i = 0; i < layout->count(); ++i) {
            if (QLayout *inside = layout->itemAt(i)->layout())
                addLayout(inside, false);
        }
        --depth;
    }

    int depth = 0;
};

/// The lines that only one of two texts has, after the last common line above them.
QString difference(const QStringList &expected, const QStringList &found)
{
    // The number of common lines from each pair of lines to the ends.
    QList<QList<int>> common(expected.size() + 1, QList<int>(found.size() + 1));
    for (qsizetype i = expected.size() - 1; i >= 0; --i) {
        for (qsizetype k = found.size() - 1; k >= 0; --k)
            common[i][k] = expected.at(i) == found.at(k) ? common.at(i + 1).at(k + 1) + 1
                                                         : std::max(common.at(i + 1).at(k), common.at(i).at(k + 1));
    }
    QStringList report;
    QString above;
    const auto add = [&report, &above](QChar sign, const QString &line) {
        if (!above.isNull())
            report.append(u"  "_s + above);
        above = QString();
        report.append(sign + u' ' + line);
    };
    qsizetype i = 0;
    qsizetype k = 0;
    while (i < expected.size() || k < found.size()) {
        if (i < expected.size() && k < found.size() && expected.at(i) == found.at(k)) {
            above = expected.at(i++);
            ++k;
        } else if (k == found.size() || (i < expected.size() && common.at(i + 1).at(k) >= common.at(i).at(k + 1))) {
            add(u'-', expected.at(i++));
        } else {
            add(u'+', found.at(k++));
        }
    }
    return report.join(u'\n');
}

} // namespace

class TestMainWindowLayout : public WindowTest
{
    Q_OBJECT

private slots:
    void init() override;

    void form();
    void differencesAreReported_data();
    void differencesAreReported();
};

void TestMainWindowLayout::init()
{
    WindowTest::init();
    window = std::make_unique<MainWindow>();
}

void TestMainWindowLayout::form()
{
    const QString expected = QString::fromUtf8(readFile(u"" CATALIST_SOURCE_DIR "/tests/data/mainwindow.txt"_s));
    QVERIFY(expected.endsWith(u'\n'));
    const QString differs = difference(expected.chopped(1).split(u'\n'), Dump(*window).lines);
    QVERIFY2(differs.isEmpty(), qPrintable(u"The form is not that of tests/data/mainwindow.txt:\n"_s + differs));
}

void TestMainWindowLayout::differencesAreReported_data()
{
    QTest::addColumn<QStringList>("found");
    QTest::addColumn<QString>("report");
    QTest::newRow("none") << words("a b c d") << QString();
    QTest::newRow("another line") << words("a x c d") << u"  a\n- b\n+ x"_s;
    QTest::newRow("a line more") << words("a b c d e") << u"  d\n+ e"_s;
    QTest::newRow("a line less") << words("b c d") << u"- a"_s;
    QTest::newRow("other order") << words("a c b d") << u"  a\n- b\n  c\n+ b"_s;
    QTest::newRow("far apart") << words("x b c y") << u"- a\n+ x\n  c\n- d\n+ y"_s;
    QTest::newRow("nothing in common") << QStringList() << u"- a\n- b\n- c\n- d"_s;
}

void TestMainWindowLayout::differencesAreReported()
{
    QFETCH(QStringList, found);
    QTEST(difference(words("a b c d"), found), "report");
}

CATALIST_TEST(TestMainWindowLayout)
#include "tst_mainwindow_layout.moc"
