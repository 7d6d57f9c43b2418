#include "ui/mainwindow.h"

#include "ui/filedialog.h"
#include "ui_mainwindow.h"

#include <QSignalBlocker>

#include <algorithm>

namespace {

struct TransmitterBox
{
    QCheckBox *Ui_MainWindow::*box;
    QList<TxType> shownFrom; ///< the box is checked when the app runs on one of these
    QList<TxType> stored; ///< what "Apply" stores for the checked box
};

const std::array<TransmitterBox, 13> &transmitterBoxes()
{
    static const std::array<TransmitterBox, 13> boxes{{
        {&Ui_MainWindow::kr7Compatible, {TxKr7}, {TxKr7}},
        {&Ui_MainWindow::vl7Compatible, {TxVl7}, {TxVl7}},
        {&Ui_MainWindow::vl5Compatible, {TxVl5}, {TxVl5}},
        {&Ui_MainWindow::kr5Compatible, {TxKr5}, {TxKr5}},
        {&Ui_MainWindow::kr9Compatible, {TxKr9, TxKr9B}, {TxKr9, TxKr9B}},
        {&Ui_MainWindow::vl9Compatible, {TxVl9, TxVl9B}, {TxVl9, TxVl9B}},
        {&Ui_MainWindow::vl3Compatible, {TxVl3, TxVl3B}, {TxVl3, TxVl3B}},
        {&Ui_MainWindow::kr7IICompatible, {TxKr7II, TxKr7IIB}, {TxKr7II, TxKr7IIB}},
        {&Ui_MainWindow::vl7IICompatible, {TxVl7II, TxVl7IIB}, {TxVl7II, TxVl7IIB}},
        {&Ui_MainWindow::kr5IICompatible, {TxKr5II, TxKr5IIB}, {TxKr5II, TxKr5IIB}},
        {&Ui_MainWindow::vl5IICompatible, {TxVl5II, TxVl5IIB}, {TxVl5II, TxVl5IIB}},
        // This is meant: both boxes of the second generation show the id that the VL-9II stores.
        {&Ui_MainWindow::kr9g2Compatible, {TxVl9G2}, {TxKr9G2}},
        {&Ui_MainWindow::vl9g2Compatible, {TxVl9G2}, {TxVl9G2}},
    }};
    return boxes;
}

} // namespace

void MainWindow::LanguageRow::setEnabled(bool enabled) const
{
    name->setEnabled(enabled);
    language->setEnabled(enabled);
}

std::array<MainWindow::LanguageRow, 3> MainWindow::languageRows() const
{
    return {{
        {ui->appName1_2, ui->lng1_2, ui->check1_2},
        {ui->appName1_3, ui->lng1_3, ui->check1_3},
        {ui->appName1_4, ui->lng1_4, ui->check1_4},
    }};
}

void MainWindow::appsChanged()
{
    {
        const QSignalBlocker blocker(ui->listApps);
        fillAppList();
        ui->listApps->setCurrentRow(model.index);
        ui->listApps->scrollToItem(ui->listApps->currentItem());
    }
    appIndexChanged(model.index);
    checkAsterisk();
    if (!recordsDraftTimer.isActive())
        recordsDraftTimer.start();
}

// Only the rows that differ change, which keeps the place that is looked at, and is quick for thousands of apps.
void MainWindow::fillAppList()
{
    QListWidget *list = ui->listApps;
    if (list->count() != model.apps.size())
        list->clear();
    for (int i = 0; const AppConfig *app = model.getAppCfg(i); ++i) {
        const QString name = app->names.value(DEFAULT_LANGUAGE);
        const bool isNew = i == list->count();
        QListWidgetItem *item = isNew ? new QListWidgetItem : list->item(i);
        if (isNew || item->text() != name) {
            item->setText(name);
            item->setToolTip(plainToolTip(name));
        }
        if (isNew)
            list->addItem(item);
    }
}

void MainWindow::appIndexChanged(int index)
{
    const AppConfig app = model.getCurrentCfg();
    ui->tabWidget->setEnabled(index >= 0);
    showGeneral(app);
    showFiles(app);
    showDescriptions(app);
}

void MainWindow::showGeneral(const AppConfig &app)
{
    ui->appName1_1->setText(app.names.value(DEFAULT_LANGUAGE));
    ui->author->setText(app.author);
    ui->version->setText(app.version.toString());
    ui->icon->setText(app.icon);
    ui->minTxVersion->setText(firmwareText(app.minTxVersion));
    for (const TransmitterBox &row : transmitterBoxes()) {
        QCheckBox *box = ui.get()->*row.box;
        box->setChecked(std::any_of(row.shownFrom.cbegin(), row.shownFrom.cend(),
                                    [&app](TxType type) { return app.isCompatible(type); }));
    }
    // The field ignores an invalid date and would keep the one of the app before.
    ui->publicationDate->setDate(app.date.isValid() ? app.date : placeholderDate());
    showNames(app);
}

void MainWindow::showNames(const AppConfig &app)
{
    const auto rows = languageRows();
    auto row = rows.cbegin();
    for (auto name = app.names.cbegin(); name != app.names.cend() && row != rows.cend(); ++name) {
        if (name.key() == DEFAULT_LANGUAGE)
            continue;
        row->name->setText(name.value());
        row->used->setChecked(true);
        row->language->setCurrentText(name.key());
        ++row;
    }
    for (; row != rows.cend(); ++row) {
        row->name->clear();
        row->used->setChecked(false);
        row->language->setCurrentIndex(static_cast<int>(row - rows.cbegin()));
    }
}

void MainWindow::on_applyButton_clicked()
{
    QMap<QString, QString> names{{DEFAULT_LANGUAGE, ui->appName1_1->text()}};
    for (const LanguageRow &row : languageRows()) {
        if (row.used->isChecked())
            names.insert(row.language->currentText(), row.name->text());
    }

    QList<int> types;
    for (const TransmitterBox &row : transmitterBoxes()) {
        const QCheckBox *box = ui.get()->*row.box;
        if (box->isChecked()) {
            for (const TxType type : row.stored)
                types.append(static_cast<int>(type));
        }
    }

    model.applyChanges(names, ui->author->text(), ui->version->text(), ui->publicationDate->date(), ui->icon->text(),
                       ui->minTxVersion->text(), types);
}

void MainWindow::on_check1_2_stateChanged(int state)
{
    languageRows()[0].setEnabled(state != Qt::Unchecked);
}

void MainWindow::on_check1_3_stateChanged(int state)
{
    languageRows()[1].setEnabled(state != Qt::Unchecked);
}

void MainWindow::on_check1_4_stateChanged(int state)
{
    languageRows()[2].setEnabled(state != Qt::Unchecked);
}

void MainWindow::on_listApps_currentRowChanged(int /*currentRow*/)
{
    model.setIndex(ui->listApps->currentRow());
}

void MainWindow::on_listApps_itemClicked(QListWidgetItem * /*item*/)
{
    // The current row alone decides which app is shown.
}

void MainWindow::on_btnNewApp_clicked()
{
    createNewApp();
    // The author types its name next.
    if (ui->tabWidget->currentWidget() == ui->tabGeneral) {
        ui->appName1_1->setFocus();
        ui->appName1_1->selectAll();
    }
}

void MainWindow::createNewApp()
{
    model.createNew();
}

void MainWindow::on_btnDeleteApp_clicked()
{
    model.removeCurrent();
}

void MainWindow::on_iconBtn_clicked()
{
    QStringList pictures;
    for (const char *ending : ICON_ENDINGS)
        pictures.append(QStringLiteral("*.") + QLatin1String(ending));
    FileDialog dialog(appPath, pictures, this);
    if (dialog.exec() == QDialog::Accepted)
        ui->icon->setText(dialog.getPath());
}
