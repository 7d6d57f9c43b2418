#include "testrunner.h"
#include "viewer/simplewebviewer.h"
#include "windowtest.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFile>
#include <QFormLayout>
#include <QFrame>
#include <QGridLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLayout>
#include <QLayoutItem>
#include <QLineEdit>
#include <QListWidget>
#include <QMargins>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QSizePolicy>
#include <QSplitter>
#include <QStatusBar>
#include <QTabWidget>
#include <QTableWidget>
#include <QToolBar>

namespace {

/// The layout that an item of another one is, or the widget in it; "-" for a spacer.
QString itemName(QLayoutItem *item)
{
    if (item->spacerItem())
        return QStringLiteral("-");
    return item->widget() ? item->widget()->objectName() : item->layout()->objectName();
}

QStringList itemNames(const QLayout *layout)
{
    QStringList names;
    for (int i = 0; i < layout->count(); ++i)
        names.append(itemName(layout->itemAt(i)));
    return names;
}

QString formItem(const QFormLayout *form, int row, QFormLayout::ItemRole role)
{
    QLayoutItem *item = form->itemAt(row, role);
    return item ? itemName(item) : QString();
}

} // namespace

class TestMainWindowLayout : public WindowTest
{
    Q_OBJECT

private slots:
    void init() override;

    void windowItself();
    void widgets_data();
    void widgets();
    void noOtherWidgets();
    void layouts_data();
    void layouts();
    void formRows_data();
    void formRows();
    void splitters_data();
    void splitters();
    void tabs();

    void languageBoxes_data();
    void languageBoxes();
    void transmitterBoxes_data();
    void transmitterBoxes();
    void states();
    void table();
    void descriptionWidgets();
};

void TestMainWindowLayout::init()
{
    WindowTest::init();
    window = std::make_unique<MainWindow>();
}

void TestMainWindowLayout::windowItself()
{
    QCOMPARE(window->objectName(), QStringLiteral("MainWindow"));
    QCOMPARE(window->size(), QSize(678, 620));
    QCOMPARE(window->windowTitle(), QStringLiteral("Orva Catalist"));
    QCOMPARE(window->centralWidget()->objectName(), QStringLiteral("centralWidget"));
    QCOMPARE(window->menuBar()->objectName(), QStringLiteral("menuBar"));
    QCOMPARE(window->statusBar()->objectName(), QStringLiteral("statusBar"));
    QCOMPARE(window->toolBarArea(child<QToolBar>(*window, "mainToolBar")), Qt::TopToolBarArea);
}

void TestMainWindowLayout::widgets_data()
{
    QTest::addColumn<QString>("className");
    QTest::addColumn<QString>("parent");
    QTest::addColumn<QString>("text"); // or title; null where there is none to show

    const auto row = [](const char *name, const char *className, const char *parent, const char *text = nullptr) {
        QTest::newRow(name) << QString::fromLatin1(className) << QString::fromLatin1(parent) << QString::fromUtf8(text);
    };
    row("centralWidget", "QWidget", "MainWindow");
    row("splitter", "QSplitter", "centralWidget");
    row("layoutWidget", "QWidget", "splitter");
    row("label_9", "QLabel", "layoutWidget", "Repository URL:");
    row("repository", "QLineEdit", "layoutWidget", "http://");
    row("appsLbl", "QLabel", "layoutWidget", "Apps:");
    row("listApps", "QListWidget", "layoutWidget");
    row("btnNewApp", "QPushButton", "layoutWidget", "New app");
    row("btnDeleteApp", "QPushButton", "layoutWidget", "Delete app");
    row("tabWidget", "QTabWidget", "splitter");
    row("tabGeneral", "QWidget", "qt_tabwidget_stackedwidget");
    row("groupBox", "QGroupBox", "tabGeneral", "App info");
    row("label_3", "QLabel", "groupBox", "App name");
    row("appName1_1", "QLineEdit", "groupBox", "");
    row("label_8", "QLabel", "groupBox", "Default [EN]");
    for (const char *number : {"2", "3", "4"}) {
        row(qPrintable(QStringLiteral("appName1_%1").arg(QLatin1String(number))), "QLineEdit", "groupBox", "");
        row(qPrintable(QStringLiteral("lng1_%1").arg(QLatin1String(number))), "QComboBox", "groupBox");
        row(qPrintable(QStringLiteral("check1_%1").arg(QLatin1String(number))), "QCheckBox", "groupBox", "");
    }
    row("label_4", "QLabel", "groupBox", "Author");
    row("author", "QLineEdit", "groupBox", "");
    row("label_5", "QLabel", "groupBox", "Version");
    row("version", "QLineEdit", "groupBox", "");
    row("label_6", "QLabel", "groupBox", "Publication date");
    row("publicationDate", "QDateEdit", "groupBox");
    row("label_7", "QLabel", "groupBox", "Icon");
    row("icon", "QLineEdit", "groupBox", "");
    row("iconBtn", "QPushButton", "groupBox", "...");
    row("groupBox_2", "QGroupBox", "tabGeneral", "Transmitter info");
    row("label", "QLabel", "groupBox_2", "Minimum Tx version");
    row("minTxVersion", "QLineEdit", "groupBox_2", "");
    row("label_2", "QLabel", "groupBox_2", "Compatible transmitters");
    row("kr9Compatible", "QCheckBox", "groupBox_2", "KR-9");
    row("vl3Compatible", "QCheckBox", "groupBox_2", "VL-3");
    row("kr7Compatible", "QCheckBox", "groupBox_2", "KR-7");
    row("vl7Compatible", "QCheckBox", "groupBox_2", "VL-7");
    row("kr5IICompatible", "QCheckBox", "groupBox_2", "KR-5II");
    row("vl9Compatible", "QCheckBox", "groupBox_2", "VL-9");
    row("kr7IICompatible", "QCheckBox", "groupBox_2", "KR-7II");
    row("vl5Compatible", "QCheckBox", "groupBox_2", "VL-5");
    row("vl7IICompatible", "QCheckBox", "groupBox_2", "VL-7II");
    row("vl5IICompatible", "QCheckBox", "groupBox_2", "VL-5II");
    row("kr5Compatible", "QCheckBox", "groupBox_2", "KR-5");
    row("kr9g2Compatible", "QCheckBox", "groupBox_2", "KR-9II");
    row("vl9g2Compatible", "QCheckBox", "groupBox_2", "VL-9II");
    row("applyButton", "QPushButton", "tabGeneral", "Apply");
    row("tabAppFiles", "QWidget", "qt_tabwidget_stackedwidget");
    row("listAppFiles", "QListWidget", "tabAppFiles");
    row("btnAddFile", "QPushButton", "tabAppFiles", "Add file");
    row("btnAddFolder", "QPushButton", "tabAppFiles", "Add folder");
    row("btnDeleteFile", "QPushButton", "tabAppFiles", "Delete");
    row("tabDescription", "QWidget", "qt_tabwidget_stackedwidget");
    row("splitter_3", "QSplitter", "tabDescription");
    row("groupBox_3", "QGroupBox", "splitter_3", "Description files");
    row("tableWidget", "QTableWidget", "groupBox_3");
    row("btnNewDescription", "QPushButton", "groupBox_3", "New");
    row("btnOpenDescription", "QPushButton", "groupBox_3", "Open existing");
    row("btnDeleteDescription", "QPushButton", "groupBox_3", "Delete");
    row("btnAutosave", "QPushButton", "groupBox_3", "Auto-save");
    row("groupBox_4", "QGroupBox", "splitter_3", "Description content");
    row("splitter_2", "QSplitter", "groupBox_4");
    row("descriptionEdit", "QPlainTextEdit", "splitter_2");
    row("descriptionView", "SimpleWebViewer", "splitter_2");
    row("menuBar", "QMenuBar", "MainWindow");
    row("menuFile", "QMenu", "menuBar", "File");
    row("mainToolBar", "QToolBar", "MainWindow");
    row("statusBar", "QStatusBar", "MainWindow");
}

void TestMainWindowLayout::widgets()
{
    QFETCH(QString, text);
    const auto *widget = child<QWidget>(*window, QTest::currentDataTag());
    QTEST(QString::fromLatin1(widget->metaObject()->className()), "className");
    QTEST(widget->parent()->objectName(), "parent");
    if (text.isNull())
        return;
    const QVariant shown = widget->property("text").isValid() ? widget->property("text") : widget->property("title");
    QCOMPARE(shown.toString(), text);
}

// What the toolkit makes inside of its own widgets has names that begin with "qt_" or none.
void TestMainWindowLayout::noOtherWidgets()
{
    constexpr int OURS = 72;
    int count = 0;
    const QList<QWidget *> all = window->findChildren<QWidget *>();
    for (const QWidget *widget : all) {
        const QWidget *parent = widget->parentWidget();
        const bool ours = !widget->objectName().isEmpty() && !widget->objectName().startsWith(QLatin1String("qt_"));
        const QStringList containers =
            words("MainWindow centralWidget splitter layoutWidget qt_tabwidget_stackedwidget tabGeneral groupBox "
                  "groupBox_2 tabAppFiles tabDescription splitter_3 groupBox_3 groupBox_4 splitter_2");
        if (ours && (containers.contains(parent->objectName()) || parent->objectName() == QLatin1String("menuBar")))
            ++count;
    }
    QCOMPARE(count, OURS);
}

void TestMainWindowLayout::layouts_data()
{
    QTest::addColumn<QString>("className");
    QTest::addColumn<int>("margin"); // -1 for a layout inside of another one
    QTest::addColumn<QStringList>("items");

    const auto row = [](const char *name, const char *className, int margin, const char *items) {
        QTest::newRow(name) << QString::fromLatin1(className) << margin << words(items);
    };
    row("horizontalLayout_2", "QHBoxLayout", 11, "splitter");
    row("verticalLayout", "QVBoxLayout", 0, "label_9 repository appsLbl listApps horizontalLayout");
    row("horizontalLayout", "QHBoxLayout", -1, "btnNewApp - btnDeleteApp");
    row("verticalLayout_2", "QVBoxLayout", 11, "groupBox groupBox_2 horizontalLayout_7");
    row("horizontalLayout_11", "QHBoxLayout", -1, "appName1_1 label_8");
    row("horizontalLayout_10", "QHBoxLayout", -1, "appName1_2 lng1_2 check1_2");
    row("horizontalLayout_9", "QHBoxLayout", -1, "appName1_3 lng1_3 check1_3");
    row("horizontalLayout_8", "QHBoxLayout", -1, "appName1_4 lng1_4 check1_4");
    row("horizontalLayout_12", "QHBoxLayout", -1, "icon iconBtn");
    row("horizontalLayout_7", "QHBoxLayout", -1, "- applyButton");
    row("horizontalLayout_4", "QHBoxLayout", 11, "horizontalLayout_3");
    row("horizontalLayout_3", "QHBoxLayout", -1, "listAppFiles verticalLayout_3");
    row("verticalLayout_3", "QVBoxLayout", -1, "btnAddFile btnAddFolder btnDeleteFile -");
    row("verticalLayout_6", "QVBoxLayout", 11, "splitter_3");
    row("horizontalLayout_5", "QHBoxLayout", 11, "tableWidget verticalLayout_4");
    row("verticalLayout_4", "QVBoxLayout", -1, "btnNewDescription btnOpenDescription btnDeleteDescription btnAutosave");
    row("horizontalLayout_6", "QHBoxLayout", 11, "splitter_2");
}

void TestMainWindowLayout::layouts()
{
    QFETCH(int, margin);
    const auto *layout = child<QLayout>(*window, QTest::currentDataTag());
    QTEST(QString::fromLatin1(layout->metaObject()->className()), "className");
    QTEST(itemNames(layout), "items");
    if (margin >= 0)
        QCOMPARE(layout->contentsMargins(), QMargins(margin, margin, margin, margin));
}

void TestMainWindowLayout::formRows_data()
{
    QTest::addColumn<QString>("form");
    QTest::addColumn<int>("row");
    QTest::addColumn<QString>("label");
    QTest::addColumn<QString>("field");

    const auto add = [](const char *form, int number, const char *label, const char *field) {
        QTest::addRow("%s %d", form, number)
            << QString::fromLatin1(form) << number << QString::fromLatin1(label) << QString::fromLatin1(field);
    };
    add("formLayout_2", 0, "label_3", "horizontalLayout_11");
    add("formLayout_2", 1, "", "horizontalLayout_10");
    add("formLayout_2", 2, "", "horizontalLayout_9");
    add("formLayout_2", 3, "", "horizontalLayout_8");
    add("formLayout_2", 4, "label_4", "author");
    add("formLayout_2", 5, "label_5", "version");
    add("formLayout_2", 6, "label_6", "publicationDate");
    add("formLayout_2", 7, "label_7", "horizontalLayout_12");
    add("formLayout", 0, "label", "minTxVersion");
    add("formLayout", 1, "label_2", "gridLayout");
}

void TestMainWindowLayout::formRows()
{
    QFETCH(QString, form);
    QFETCH(int, row);
    const auto *layout = child<QFormLayout>(*window, qPrintable(form));
    QTEST(formItem(layout, row, QFormLayout::LabelRole), "label");
    QTEST(formItem(layout, row, QFormLayout::FieldRole), "field");
    QCOMPARE(layout->rowCount(), form == QLatin1String("formLayout") ? 2 : 8);
    QCOMPARE(layout->contentsMargins(), QMargins(11, 11, 11, 11));
}

void TestMainWindowLayout::splitters_data()
{
    QTest::addColumn<Qt::Orientation>("orientation");
    QTest::addColumn<bool>("collapsible");
    QTest::addColumn<QStringList>("parts");
    QTest::newRow("splitter") << Qt::Horizontal << true << words("layoutWidget tabWidget");
    QTest::newRow("splitter_2") << Qt::Horizontal << false << words("descriptionEdit descriptionView");
    QTest::newRow("splitter_3") << Qt::Vertical << false << words("groupBox_3 groupBox_4");
}

void TestMainWindowLayout::splitters()
{
    const auto *splitter = child<QSplitter>(*window, QTest::currentDataTag());
    QTEST(splitter->orientation(), "orientation");
    QTEST(splitter->childrenCollapsible(), "collapsible");
    QVERIFY(splitter->opaqueResize());
    QStringList parts;
    for (int i = 0; i < splitter->count(); ++i)
        parts.append(splitter->widget(i)->objectName());
    QTEST(parts, "parts");

    const bool stretches = splitter->objectName() != QLatin1String("splitter_2");
    QCOMPARE(splitter->widget(0)->sizePolicy().horizontalStretch(), 0);
    QCOMPARE(splitter->widget(1)->sizePolicy().horizontalStretch(), stretches ? 1 : 0);
}

void TestMainWindowLayout::tabs()
{
    const auto *widget = child<QTabWidget>(*window, "tabWidget");
    QCOMPARE(widget->count(), 3);
    QCOMPARE(widget->currentIndex(), 0);
    QCOMPARE(widget->widget(0)->objectName(), QStringLiteral("tabGeneral"));
    QCOMPARE(widget->tabText(0), QStringLiteral("General info"));
    QCOMPARE(widget->widget(1)->objectName(), QStringLiteral("tabAppFiles"));
    QCOMPARE(widget->tabText(1), QStringLiteral("Application files"));
    QCOMPARE(widget->widget(2)->objectName(), QStringLiteral("tabDescription"));
    QCOMPARE(widget->tabText(2), QStringLiteral("Description"));
}

void TestMainWindowLayout::languageBoxes_data()
{
    QTest::addColumn<QString>("number");
    for (const char *number : {"2", "3", "4"})
        QTest::newRow(number) << QString::fromLatin1(number);
}

void TestMainWindowLayout::languageBoxes()
{
    QFETCH(QString, number);
    const auto *box = child<QComboBox>(*window, qPrintable(QStringLiteral("lng1_") + number));
    QStringList items;
    for (int i = 0; i < box->count(); ++i)
        items.append(box->itemText(i));
    QCOMPARE(items, words("cz de fr it"));
    QCOMPARE(box->currentText(), QStringLiteral("cz"));
    QVERIFY(!box->isEditable());
    QVERIFY(!box->isEnabledTo(child<QWidget>(*window, "tabGeneral")));
    QVERIFY(!child<QLineEdit>(*window, qPrintable(QStringLiteral("appName1_") + number))
                 ->isEnabledTo(child<QWidget>(*window, "tabGeneral")));
    const auto *check = child<QCheckBox>(*window, qPrintable(QStringLiteral("check1_") + number));
    QVERIFY(!check->isChecked());
    QVERIFY(check->isEnabledTo(child<QWidget>(*window, "tabGeneral")));
}

void TestMainWindowLayout::transmitterBoxes_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<int>("column");
    QTest::newRow("kr9Compatible") << 2 << 0;
    QTest::newRow("vl3Compatible") << 3 << 0;
    QTest::newRow("kr7Compatible") << 1 << 0;
    QTest::newRow("vl7Compatible") << 1 << 1;
    QTest::newRow("kr5IICompatible") << 5 << 0;
    QTest::newRow("vl9Compatible") << 2 << 1;
    QTest::newRow("kr7IICompatible") << 4 << 0;
    QTest::newRow("vl5Compatible") << 0 << 1;
    QTest::newRow("vl7IICompatible") << 4 << 1;
    QTest::newRow("vl5IICompatible") << 5 << 1;
    QTest::newRow("kr5Compatible") << 0 << 0;
    QTest::newRow("kr9g2Compatible") << 6 << 0;
    QTest::newRow("vl9g2Compatible") << 6 << 1;
}

void TestMainWindowLayout::transmitterBoxes()
{
    QFETCH(int, row);
    QFETCH(int, column);
    const auto *grid = child<QGridLayout>(*window, "gridLayout");
    QVERIFY(grid->itemAtPosition(row, column));
    const auto *box = child<QCheckBox>(*window, QTest::currentDataTag());
    QCOMPARE(grid->itemAtPosition(row, column)->widget(), box);
    QCOMPARE(grid->count(), 13);
    QVERIFY(box->isChecked());
}

void TestMainWindowLayout::states()
{
    QVERIFY(!child<QTabWidget>(*window, "tabWidget")->isEnabled());
    QCOMPARE(child<QLabel>(*window, "appsLbl")->maximumWidth(), 300);
    // With one, an "&" in the path of the project would be a shortcut.
    QVERIFY(!child<QLabel>(*window, "appsLbl")->buddy());
    QCOMPARE(child<QListWidget>(*window, "listApps")->count(), 0);
    QCOMPARE(child<QListWidget>(*window, "listAppFiles")->count(), 0);
    QCOMPARE(child<QMenuBar>(*window, "menuBar")->width(), 678);
}

void TestMainWindowLayout::table()
{
    const auto *table = child<QTableWidget>(*window, "tableWidget");
    QCOMPARE(table->columnCount(), 2);
    QCOMPARE(table->rowCount(), 0);
    QCOMPARE(table->horizontalHeaderItem(0)->text(), QStringLiteral("Language"));
    QCOMPARE(table->horizontalHeaderItem(1)->text(), QStringLiteral("File"));
    QVERIFY(table->horizontalHeader()->stretchLastSection());
    QCOMPARE(table->selectionBehavior(), QAbstractItemView::SelectRows);
    QCOMPARE(table->sizePolicy().horizontalPolicy(), QSizePolicy::Expanding);
    QCOMPARE(table->sizePolicy().verticalPolicy(), QSizePolicy::Expanding);
}

void TestMainWindowLayout::descriptionWidgets()
{
    const auto *edit = child<QPlainTextEdit>(*window, "descriptionEdit");
    QCOMPARE(edit->font().family(), QStringLiteral("Courier New"));
    QCOMPARE(edit->font().pointSize(), 10);
    const auto *view = child<SimpleWebViewer>(*window, "descriptionView");
    QCOMPARE(view->frameShape(), QFrame::NoFrame);
    QCOMPARE(view->frameShadow(), QFrame::Plain);
    QFile css(QStringLiteral(":/Resources/Resources/storefrontHtml.css"));
    QVERIFY(css.open(QIODevice::ReadOnly));
    QCOMPARE(view->document()->defaultStyleSheet(), QString::fromUtf8(css.readAll()));
}

CATALIST_TEST(TestMainWindowLayout)
#include "tst_mainwindow_layout.moc"
