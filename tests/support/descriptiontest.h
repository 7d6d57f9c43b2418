#pragma once

#include "windowtest.h"

#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPointer>
#include <QPushButton>
#include <QTableWidget>
#include <QTest>

inline const QByteArray DESCRIPTIONS = R"({"cz":"doc/cz.html","de":"doc/de.html"})";
inline const QByteArray SECOND_APP = R"({"en":"Beta"};Bob;2.0;675;06-03-2024;{"en":"doc/beta.html"};;;0.00
)";

// The contents of the files.
inline const QByteArray CZ = "<p>Popis č</p>";
inline const QByteArray DE = "<p>Über</p>\n";
inline const QByteArray BETA = "<p>Beta</p>";

/// Base of the tests of descriptions.
class DescriptionTest : public WindowTest
{
protected:
    QTableWidget *table = nullptr;
    QPlainTextEdit *editor = nullptr;
    QPushButton *autoSave = nullptr;

    void init() override
    {
        WindowTest::init();
        folder->write(QStringLiteral("main.lua"), "m");
        folder->write(QStringLiteral("doc/cz.html"), CZ);
        folder->write(QStringLiteral("doc/de.html"), DE);
        folder->write(QStringLiteral("doc/beta.html"), BETA);
    }

    static QByteArray project(const QByteArray &descriptions)
    {
        return HEADER + R"({"en":"Alpha"};Ann;1.2;674;05-03-2024;)" + descriptions + ";main.lua;;5.01\n" + SECOND_APP;
    }

    /// The window on the descriptions of the first app.
    void open(const QByteArray &descriptions = DESCRIPTIONS, const QString &csv = QStringLiteral("Apps.csv"))
    {
        folder->write(csv, project(descriptions));
        storeProject(folder->path(csv));
        window = openWindow<MainWindow>();
        table = child<QTableWidget>(*window, "tableWidget");
        editor = child<QPlainTextEdit>(*window, "descriptionEdit");
        autoSave = child<QPushButton>(*window, "btnAutosave");
        selectApp(0);
        showTab(*window, "tabDescription");
    }

    void openFile(int row) { clickCell(table, row, 1); }
    [[nodiscard]] bool autoSaveIsEnabled() const { return autoSave->isEnabled(); }

    QLineEdit *beginEditingCode(int row, const QString &code)
    {
        clickCell(table, row);
        QTest::mouseDClick(table->viewport(), Qt::LeftButton, {}, table->visualItemRect(table->item(row, 0)).center());
        auto *edit = table->viewport()->findChild<QLineEdit *>();
        if (!edit)
            qFatal("The code cannot be edited");
        edit->selectAll();
        QTest::keyClick(edit, Qt::Key_Delete);
        type(edit, code);
        return edit;
    }

    void editCode(int row, const QString &code, Qt::Key end = Qt::Key_Return)
    {
        const QPointer<QLineEdit> edit = beginEditingCode(row, code);
        QTest::keyClick(edit, end);
        if (!QTest::qWaitFor([&edit] { return edit.isNull(); }))
            qFatal("The code is still being edited");
    }

    void addDescription(const char *button, const QString &language, const QString &file)
    {
        answers->enterText(language);
        answers->chooseFile(file);
        click(*window, button);
    }

    [[nodiscard]] QStringList rows() const
    {
        QStringList texts;
        for (int row = 0; row < table->rowCount(); ++row)
            texts.append(table->item(row, 0)->text() + QLatin1Char('=') + table->item(row, 1)->text());
        return texts;
    }

    [[nodiscard]] QByteArray saved(const QString &csv = QStringLiteral("Apps.csv")) const
    {
        clickTool(*window, "actionSave");
        return folder->read(csv);
    }
};
