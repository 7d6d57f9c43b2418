#include "monkey.h"

#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTabWidget>
#include <QTableWidget>

using namespace Qt::StringLiterals;

QString Monkey::difference() const
{
    if (QString wrong = dialogDifference(); !wrong.isEmpty())
        return wrong;
    const QString title = modified ? u"Orva Catalist (*)"_s : u"Orva Catalist"_s;
    if (window->windowTitle() != title)
        return u"The title is \"%1\""_s.arg(window->windowTitle());

    const QStringList listed = listTexts(*window, "listApps");
    QStringList wanted;
    for (const AppConfig &app : records)
        wanted.append(app.names.value(u"en"_s));
    if (listed != wanted)
        return u"The list shows %1\nnot %2"_s.arg(listed.join(u" | "_s), wanted.join(u" | "_s));
    const int listRow = get<QListWidget>("listApps")->currentRow();
    if (listRow != (hasCurrent() ? index : -1))
        return u"The list is at %1, not at %2"_s.arg(listRow).arg(index);
    if (get<QTabWidget>("tabWidget")->isEnabled() != (index >= 0))
        return u"The tabs are wrongly enabled or disabled at %1"_s.arg(index);
    if (!appPath.isEmpty() && get<QLabel>("appsLbl")->text() != u"Apps (%1): "_s.arg(appPath))
        return u"The label names %1"_s.arg(get<QLabel>("appsLbl")->text());
    if (get<QLineEdit>("repository")->text() != repository)
        return u"The repository is %1"_s.arg(get<QLineEdit>("repository")->text());

    if (const QStringList shown = fields(); shown != shownFields)
        return u"The fields show %1\nnot %2"_s.arg(shown.join(u" | "_s), shownFields.join(u" | "_s));
    const QStringList files = listTexts(*window, "listAppFiles");
    if (files != current().files)
        return u"The files are %1\nnot %2"_s.arg(files.join(u" | "_s), current().files.join(u" | "_s));

    const auto *table = get<QTableWidget>("tableWidget");
    const QMap<QString, QString> descriptions = current().descriptions;
    QStringList codes;
    QStringList paths;
    for (int row = 0; row < table->rowCount(); ++row) {
        codes.append(table->item(row, 0)->text());
        paths.append(table->item(row, 1)->text());
    }
    if (codes != descriptions.keys() || paths != descriptions.values())
        return u"The table shows %1"_s.arg((codes + paths).join(u" | "_s));
    if (table->currentRow() != tableRow)
        return u"The table is at %1, not at %2"_s.arg(table->currentRow()).arg(tableRow);
    return editorDifference();
}

QString Monkey::editorDifference() const
{
    const auto *editor = get<QPlainTextEdit>("descriptionEdit");
    const bool isEnabled = get<QPushButton>("btnAutosave")->isEnabledTo(get<QWidget>("tabWidget"));
    if (editor->isReadOnly() != openFile.isEmpty())
        return openFile.isEmpty() ? u"A text can be typed without a file"_s : u"The open file cannot be edited"_s;
    if (editor->toPlainText() != editorText)
        return u"The editor holds \"%1\"\nnot \"%2\""_s.arg(editor->toPlainText(), editorText);
    if (autoSaveEnabled && isEnabled != *autoSaveEnabled)
        return u"Auto-save is %1"_s.arg(onOrOff(isEnabled));
    for (auto file = disk.cbegin(); file != disk.cend(); ++file) {
        QFile onDisk(file.key());
        if (!onDisk.open(QIODevice::ReadOnly))
            return file.key() + u" is gone"_s;
        if (const QByteArray bytes = onDisk.readAll(); bytes != file.value())
            return u"%1 holds \"%2\"\nnot \"%3\""_s.arg(file.key(), QString::fromUtf8(bytes),
                                                        QString::fromUtf8(file.value()));
    }
    return {};
}
