#pragma once

#include "windowtest.h"

#include <QByteArray>
#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QString>
#include <QStringList>

#include <array>

/// A check box of "General info".
struct TransmitterBox
{
    const char *label;
    const char *objectName;
};

inline constexpr std::array<TransmitterBox, 13> BOXES{{
    {"KR-7", "kr7Compatible"},
    {"VL-7", "vl7Compatible"},
    {"VL-5", "vl5Compatible"},
    {"KR-5", "kr5Compatible"},
    {"KR-9", "kr9Compatible"},
    {"VL-9", "vl9Compatible"},
    {"VL-3", "vl3Compatible"},
    {"KR-7II", "kr7IICompatible"},
    {"VL-7II", "vl7IICompatible"},
    {"KR-5II", "kr5IICompatible"},
    {"VL-5II", "vl5IICompatible"},
    {"KR-9II", "kr9g2Compatible"},
    {"VL-9II", "vl9g2Compatible"},
}};

inline const QByteArray CLOCK_AND_LAMP =
    R"({"de":"Uhr","en":"Clock"};Ann;1.2;674,3859;05-03-2024;{};main.lua;img/a.png;5.01
{"en":"Lamp"};Bob;2.0;;;{};;;0.00
)";

inline const QByteArray FIVE_APPS = R"({"en":"One"};a1;1;674;01-01-2021;{};;;0.00
{"en":"Two"};a2;2;674;02-01-2021;{};;;0.00
{"en":"Three"};a3;3;674;03-01-2021;{};;;0.00
{"en":"Four"};a4;4;674;04-01-2021;{};;;0.00
{"en":"Five"};a5;5;674;05-01-2021;{"en":"five.html"};f5.lua;;0.00
)";

/// Base of the tests of apps in a project.
class AppsTest : public WindowTest
{
protected:
    void open(const QByteArray &apps, int row = 0)
    {
        folder->write(QStringLiteral("Apps.csv"), HEADER + apps);
        storeProject(folder->path(QStringLiteral("Apps.csv")));
        window = openWindow<MainWindow>();
        if (row >= 0)
            selectApp(row);
    }

    [[nodiscard]] QString text(const char *lineEdit) const { return child<QLineEdit>(*window, lineEdit)->text(); }
    [[nodiscard]] QString language(const char *box) const { return child<QComboBox>(*window, box)->currentText(); }
    [[nodiscard]] bool isEnabled(const char *widget) const { return child<QWidget>(*window, widget)->isEnabled(); }
    [[nodiscard]] bool isChecked(const char *box) const { return child<QCheckBox>(*window, box)->isChecked(); }

    [[nodiscard]] QStringList checkedBoxes() const
    {
        QStringList labels;
        for (const TransmitterBox &box : BOXES) {
            if (isChecked(box.objectName))
                labels.append(child<QCheckBox>(*window, box.objectName)->text());
        }
        return labels;
    }

    /// The lines after the header of the project file, after "Save".
    [[nodiscard]] QByteArray saved() const
    {
        clickTool(*window, "actionSave");
        const QByteArray content = folder->read(QStringLiteral("Apps.csv"));
        return content.startsWith(HEADER) ? content.sliced(HEADER.size()) : "No header: " + content;
    }
};
